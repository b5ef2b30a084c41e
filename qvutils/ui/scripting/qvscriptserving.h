#pragma once
#include <cstdint>
#include <functional>
#include <string>

#include "qvutils/common/server/server.h"
#include "qvutils/ui/project/qvscriptserver.h"

class qvCommandObject;

/// Lets programs outside command the application: each text that comes is executed in the command
/// language and answered by one text,
///
///     RETVAL: and the values of its statements, one per line; "RETVAL:\n" when there are none
///     ERROR:  and the message of the first statement that failed, which ends the text
///
/// One program is served at a time. Results do not go to the output.
class QVCORE_API qvScriptServing : public qvScriptServer {
public:
    /// Takes a line for each text that was executed, and all that the server has to report.
    using Log = std::function<void(const std::string& line, bool isFailure)>;

    /// `commands` is not owned.
    explicit qvScriptServing(qvCommandObject& commands) : commands_(commands) {}

    bool isExecuting() const override { return executing_; }
    bool isInitialised() const override { return port_ != 0; }
    bool isListening() const override { return server_.isInitialised(); }
    bool isConnected() override;
    int localport() const override { return port_; }
    bool listen(int port) override;
    bool start(int argument) override;
    bool restart() override;
    void serve(const std::function<bool()>& goOn, int intervalMs) override;
    void stop() override;

    /// How to listen and whom to take; for the next start.
    ServerSettings& settings() { return server_.settings(); }
    /// Without a log, reports go to the diagnostic streams and texts are not put down.
    void setLog(Log log);
    /// How many texts have been executed.
    std::uint64_t executed() const { return executed_; }

    /// The answer to a text of `size` bytes, with or without a NUL at its end.
    std::string answerTo(const char* text, unsigned size);

private:
    bool tryPort(int port);
    bool listenFrom(int port);
    bool refuseWhileExecuting();
    void logText(const char* text, unsigned size, const std::string& answer);
    static void takeLine(void* self, const char* line, bool isFailure);

    qvCommandObject& commands_;
    Server server_;
    Log log_;
    int port_ = 0;
    std::uint64_t executed_ = 0;
    bool executing_ = false;
};
