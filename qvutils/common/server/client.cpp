#include "qvutils/common/server/client.h"

#include <cstring>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/server/sendframe.h"

using qvplatform::ConnectResult;
using qvplatform::TcpSocket;

struct Client::Connection {
    TcpSocket socket;
};

/// The reply, waited for as long as `wait` says.
class Client::Source : public qvFrameSource {
public:
    Source(Client& client, const qvWait& wait) : client_(client), wait_(wait) {}

    long receive(void* data, std::size_t size, bool insideFrame) override {
        const qvWaitCallback& callback = client_.callback_;
        const int slice = insideFrame ? callback.slice() : wait_.slice(callback);
        return client_.connection_->socket.receive(data, size, slice, insideFrame);
    }
    bool goOn(bool insideFrame) override {
        client_.callback_.call();
        return insideFrame || !wait_.isOver();
    }

private:
    Client& client_;
    const qvWait& wait_;
};

Client::Client() : connection_(std::make_shared<Connection>()) {}
Client::Client(const Client& other) = default;
Client& Client::operator=(const Client& other) = default;
Client::~Client() = default;

bool Client::Connect(int port, const char* serverName) {
    CloseConnection();
    if (!serverName) return fail("CODEERROR in Client::Init: serverName=NULL");
    if (!qvplatform::startSockets()) return fail("socket error: WSAStartup failed");
    const std::vector<std::string> addresses = qvplatform::addressesOfHost(serverName);
    if (addresses.empty()) return fail("Server not found");
    ConnectResult result = ConnectResult::failed;
    for (const std::string& address : addresses) {
        result = connection_->socket.connect(address, port, connectTimeout_);
        if (result == ConnectResult::connected) return true;
    }
    if (result == ConnectResult::timeout) return fail("Timeout");
    return fail("Client error: " + qvplatform::socketErrorText());
}

bool Client::IsConnected() const {
    return connection_->socket.isOpen();
}

void Client::CloseConnection() {
    connection_->socket.close();
}

const char* Client::sendMessage(const char* text) {
    unsigned size = 0;
    return sendData(size, text, std::strlen(text) + 1);
}

bool Client::sendMessageBlind(const char* text) {
    return send(text, std::strlen(text) + 1);
}

const char* Client::sendData(unsigned& size, const void* data, std::size_t length) {
    size = 0;
    if (!send(data, length) || !receive()) return nullptr;
    size = buffer_.length();
    return buffer_.data();
}

void Client::setWaitCallback(void (*function)(void*), int intervalMs, void* arg) {
    callback_ = {function, intervalMs, arg};
}

bool Client::send(const void* data, std::size_t size) {
    if (!IsConnected()) return fail("Client error: there is no connection");
    const auto goOn = [this] {
        callback_.call();
        return IsConnected();
    };
    std::string message;
    if (qvSendFrame(connection_->socket, data, size, callback_.slice(), limits_.stallMs, goOn,
                    message)) {
        return true;
    }
    CloseConnection();
    return fail(message);
}

bool Client::receive() {
    const qvWait wait(replyTimeout_);
    Source source(*this, wait);
    std::string message;
    switch (qvReadFrame(source, limits_, buffer_, message)) {
        case qvFrameResult::complete:
            return true;
        case qvFrameResult::none:
            message = "Timeout";
            break;
        case qvFrameResult::closed:
            message = "Client error: the server closed the connection";
            break;
        case qvFrameResult::protocolError:
            break;
    }
    CloseConnection();
    return fail(message);
}

bool Client::fail(const std::string& line) {
    lastError_ = line;
    wlwrite((line + "\n").c_str());
    return false;
}
