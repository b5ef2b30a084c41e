#include "qvutils/ui/scripting/qvcommandlog.h"

#include <algorithm>
#include <cerrno>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/files.h"

namespace {

std::string failure(const std::string& path) {
    return "could not write the log file \"" + path + "\": " + qvplatform::errorText(errno) + "\n";
}

}  // namespace

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
    std::string message;
    {
        const std::lock_guard guard(mutex_);
        if (path == path_) return;
        close();
        path_ = path;
        if (path.empty()) return;
        file_ = qvplatform::fileSystem().open(path, "a");
        if (file_ && put(heading + "\n")) return;
        message = failure(path);
        close();
    }
    // The warning may come back here, to be logged.
    wlwrite(message.c_str());
}

void qvLogFile::add(const std::string& text) {
    std::string message;
    {
        const std::lock_guard guard(mutex_);
        if (!file_ || text.empty() || put(text)) return;
        message = failure(path_);
        close();
    }
    wlwrite(message.c_str());
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
    if (full_) return;
    full_ = commands_.size() + command.size() > most;
    if (full_) {
        commands_ += "// nothing more was recorded\n";
        wlwrite("too many commands: nothing more is recorded\n");
    } else {
        commands_ += failed ? qvAsComment("failed: " + command) : command + "\n";
    }
}

bool qvCommandRecord::save(const std::string& path, const std::string& heading) const {
    qvplatform::SafeFile file;
    if (file.open(path) && file.write(heading + "\n" + commands_) && file.commit()) return true;
    qverr().set((file.error() + "\n").c_str());
    return false;
}
