#include "qvutils/ui/app/qvcommandlog.h"

#include <cerrno>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/files.h"

std::string qvAsComment(const std::string& text) {
    std::string comment;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        comment += "// " + text.substr(at, end - at) + "\n";
        at = end + 1;
    }
    return comment;
}

void qvLogFile::open(const std::string& path, const std::string& heading) {
    std::string cause;
    {
        const std::lock_guard guard(mutex_);
        if (path == path_) return;
        close();
        path_ = path;
        if (path.empty()) return;
        file_ = qvplatform::fileSystem().open(path, "a");
        if (file_ && put(heading + "\n")) return;
        cause = qvplatform::errorText(errno);
        close();
    }
    // The warning may come back here, to be logged.
    wlwrite(("could not write the log file \"" + path + "\": " + cause + "\n").c_str());
}

void qvLogFile::add(const std::string& text) {
    std::string cause;
    {
        const std::lock_guard guard(mutex_);
        if (!file_ || text.empty()) return;
        if (put(text)) return;
        cause = qvplatform::errorText(errno);
        close();
    }
    wlwrite(("could not write the log file \"" + path_ + "\": " + cause + "\n").c_str());
}

bool qvLogFile::put(const std::string& text) {
    return qvplatform::fileSystem().write(file_, text.data(), text.size()) &&
           std::fflush(file_) == 0;
}

void qvLogFile::close() {
    if (file_) qvplatform::fileSystem().close(file_);
    file_ = nullptr;
}

void qvCommandRecord::add(const std::string& command, bool failed) {
    if (commands_.size() < most) {
        commands_.push_back(failed ? qvAsComment("failed: " + command) : command + "\n");
    } else if (commands_.size() == most) {
        commands_.push_back("// nothing more was recorded\n");
        wlwrite("too many commands: nothing more is recorded\n");
    }
}

bool qvCommandRecord::save(const std::string& path, const std::string& heading) const {
    qvplatform::SafeFile file;
    bool done = file.open(path) && file.write(heading + "\n");
    for (const std::string& command : commands_) done = done && file.write(command);
    if (done && file.commit()) return true;
    qverr().set((file.error() + "\n").c_str());
    return false;
}
