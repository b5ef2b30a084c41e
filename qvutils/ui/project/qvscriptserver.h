#pragma once
#include <functional>

#include "qvutils/common/platform/qvexport.h"

/// What a script that runs in a process of its own needs of the application: a port on which its
/// commands are taken, executed and answered. Failures are posted to qverr().
class QVCORE_API qvScriptServer {
public:
    /// A start argument counts from here; the usual one gives the port 5101.
    static constexpr int portBase = 5000;
    static constexpr int usualArgument = 101;
    /// How often `goOn` of serve() is usually asked, in milliseconds.
    static constexpr int usualInterval = 10;

    virtual ~qvScriptServer();

    /// A command of a connected program is being executed just now.
    virtual bool isExecuting() const = 0;
    /// It has been started, and has a port.
    virtual bool isInitialised() const = 0;
    /// Programs can connect. Without anybody who calls serve() they would not be answered.
    virtual bool isListening() const = 0;
    virtual bool isConnected() = 0;
    /// The port, 0 before the first start.
    virtual int localport() const = 0;

    /// Drops who is connected and listens on this very port, or with 0 on a free one. False when it
    /// is taken; a server that listened goes on listening where it did.
    virtual bool listen(int port) = 0;
    /// Listens on the port `portBase + argument` or, when that is taken, on the next free one.
    virtual bool start(int argument) = 0;
    /// Drops who is connected and listens on the same port again, or on the next free one.
    virtual bool restart() = 0;
    /// Executes what comes and answers it, as long as `goOn` returns true and the server listens.
    /// `goOn` is asked before each execution and, while there is nothing to do, every `intervalMs`;
    /// never during an execution.
    virtual void serve(const std::function<bool()>& goOn, int intervalMs) = 0;
    /// Drops who is connected and stops listening. The port is remembered for restart().
    virtual void stop() = 0;
};
