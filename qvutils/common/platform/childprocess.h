#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "qvutils/common/platform/qvexport.h"

namespace qvplatform {

/// The full path of a program that is looked for along the search path; empty when there is none.
/// Only full paths of the search path count, so that a program that happens to lie in the working
/// directory is never taken.
QVCORE_API std::string findProgram(const std::string& name);

/// A program that this process has started and watches. It has no input and no terminal to be
/// interrupted from; what it writes to its standard output and its standard error arrives here in
/// one stream. It ends with this process, or with the thread that has started it.
class QVCORE_API ChildProcess {
public:
    using Variables = std::vector<std::pair<std::string, std::string>>;

    ChildProcess() = default;
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    /// Kills the program when it still runs.
    ~ChildProcess();

    /// Starts a program once. The first argument is its full path; each argument reaches it as it
    /// is, as no shell is involved. `variables` join the environment of this process or replace
    /// what is there. On failure the cause is in `errno`.
    bool start(const std::vector<std::string>& arguments, const Variables& variables = {});
    /// Whether the program itself runs; what it has started in turn may outlive it.
    bool running();
    /// Waits for the end of the program, at most so long; true when it has ended.
    bool wait(int milliseconds);
    /// Once it has ended: its exit status, or 128 and the number of the signal that ended it.
    int exitStatus() const { return status_; }

    /// What has been written and not been read, at most `size` bytes; never waits.
    std::size_t readOutput(char* buffer, std::size_t size);
    /// Some program may still write; turns false when readOutput has come to the end.
    bool outputIsOpen() const { return output_ != -1; }
    /// Asks the program to end, where the system has a way of asking (Ctrl-C).
    void interrupt();
    /// Ends the program and what it has started, except what has made itself independent.
    void kill();

private:
    void closeOutput();

    std::intptr_t process_ = 0;
    std::intptr_t output_ = -1;
    /// What holds the program and its descendants together, where that is a thing of its own.
    [[maybe_unused]] std::intptr_t group_ = 0;
    bool started_ = false;
    bool ended_ = false;
    int status_ = 0;
};

}  // namespace qvplatform
