#include "qvutils/ui/scripting/qvscriptserving.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/tasks/runsignal.h"
#include "qvutils/ui/scripting/qvcommandobject.h"

namespace {

constexpr const char* valueTag = "RETVAL:";
constexpr const char* errorTag = "ERROR:";

/// How many ports are tried when the first one is taken, before any free one will do.
constexpr int portsToTry = 100;

/// How many clients may wait for their turn. The system lets one more try again only after a
/// second.
constexpr long mostWaiting = 128;

/// Up to the first NUL.
std::size_t lengthOf(const char* text, std::size_t size) {
    return static_cast<std::size_t>(std::find(text, text + size, '\0') - text);
}

}  // namespace

bool qvScriptServing::isConnected() {
    return server_.isConnected() && server_.checkClient();
}

/// Says nothing: the caller does when no port will do.
bool qvScriptServing::tryPort(int port) {
    server_.setLog([](void*, const char*, bool) {}, nullptr);
    const bool listens = server_.Init(port, mostWaiting);
    if (listens) port_ = server_.localport();
    setLog(std::move(log_));
    return listens;
}

bool qvScriptServing::listen(int port) {
    if (qverr() || refuseWhileExecuting()) return false;
    const bool wasListening = isListening();
    if (tryPort(port)) return true;
    qverr().setf("%s\n", server_.lastError().c_str());
    if (wasListening) tryPort(port_);
    return false;
}

bool qvScriptServing::refuseWhileExecuting() {
    if (!executing_) return false;
    qverr().set(
        "the script server is busy: a command that came through it cannot start it again\n");
    return true;
}

bool qvScriptServing::start(int argument) {
    return !qverr() && !refuseWhileExecuting() && listenFrom(portBase + argument);
}

bool qvScriptServing::restart() {
    if (qverr() || refuseWhileExecuting()) return false;
    stop();
    return listenFrom(port_);
}

// Another run of the application may have the usual port.
bool qvScriptServing::listenFrom(int port) {
    for (int i = 0; i < portsToTry; ++i) {
        if (tryPort(port + i)) return true;
    }
    return listen(0);
}

void qvScriptServing::stop() {
    if (server_.isInitialised()) server_.Close();
}

void qvScriptServing::serve(const std::function<bool()>& goOn, int intervalMs) {
    if (qverr() || refuseWhileExecuting()) return;
    struct Wait {
        const std::function<bool()>& goOn;
        Server& server;
    } wait{goOn, server_};
    server_.setWaitCallback(
        [](void* arg) {
            const Wait& asked = *static_cast<Wait*>(arg);
            if (!asked.goOn()) asked.server.interrupt();
        },
        intervalMs, &wait);
    while (server_.isInitialised() && goOn()) {
        constexpr int withoutEnd = -1;
        unsigned size = 0;
        const char* text = server_.getData(size, withoutEnd);
        if (!text || !goOn()) continue;
        const std::string answer = answerTo(text, size);
        if (log_) logText(text, size, answer);
        server_.sendData(answer.c_str(), answer.size() + 1);
    }
    server_.setWaitCallback(nullptr, usualInterval, nullptr);
}

std::string qvScriptServing::answerTo(const char* text, unsigned size) {
    const std::size_t length = lengthOf(text, size);
    if (length + 1 < size) return std::string(errorTag) + "the text holds a NUL byte\n";
    const qvRunSignal running;
    executing_ = true;
    qvCommandAnswer answer = commands_.ExecuteForAnswer(std::string(text, length).c_str());
    executing_ = false;
    ++executed_;
    if (answer.text.size() > qvFrameHighestLimit - qvFrameHeaderSize) {
        answer = {true, false, "the answer is too long\n"};
    }
    if (answer.failed) return errorTag + answer.text;
    return valueTag + (answer.hasValue ? answer.text : "\n");
}

void qvScriptServing::setLog(Log log) {
    log_ = std::move(log);
    server_.setLog(log_ ? takeLine : nullptr, this);
}

void qvScriptServing::takeLine(void* self, const char* line, bool isFailure) {
    static_cast<qvScriptServing*>(self)->log_(line, isFailure);
}

// The beginning of a text tells it from others; a line break would look like another entry.
void qvScriptServing::logText(const char* text, unsigned size, const std::string& answer) {
    constexpr std::size_t most = 200;
    std::string line(text, std::min(lengthOf(text, size), most));
    if (line.size() == most) line += "...";
    if (answer.compare(0, std::strlen(errorTag), errorTag) == 0) {
        line += "  -> " + answer.substr(0, most);
    }
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.pop_back();
    for (char& c : line) {
        if (static_cast<unsigned char>(c) < ' ') c = ' ';
    }
    log_(line, false);
}
