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
    /// How often `goOn` of serve() is asked at least, in milliseconds.
    static constexpr int interval = 10;

    virtual ~qvScriptServer();

    /// A command of a connected program is being executed just now.
    virtual bool isExecuting() const = 0;
    /// It has been started; between two runs it need not listen.
    virtual bool isInitialised() const = 0;
    virtual bool isConnected() const = 0;
    /// The port, 0 before the first start.
    virtual int localport() const = 0;

    /// Listens on the port `portBase + argument` or, when that is taken, on the next free one.
    virtual bool start(int argument) = 0;
    /// Drops who is connected and listens on the same port again, or on the next free one.
    virtual bool restart() = 0;
    /// Executes what comes and answers it, as long as `goOn` returns true. `goOn` is asked before
    /// each execution too; it may be in the middle of a frame, and is never asked during a command.
    virtual void serve(const std::function<bool()>& goOn) = 0;
    /// Drops who is connected and stops listening. The port is remembered for restart().
    virtual void stop() = 0;
};
