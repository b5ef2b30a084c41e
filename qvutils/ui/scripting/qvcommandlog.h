#pragma once
#include <cstdio>
#include <mutex>
#include <string>

#include "qvutils/common/platform/qvexport.h"

/// A text file to which lines are added as things happen, each on the disk before the next. May be
/// used on any thread. What cannot be written gives one warning and ends the log.
class QVCORE_API qvLogFile {
public:
    qvLogFile() = default;
    ~qvLogFile() { close(); }
    qvLogFile(const qvLogFile&) = delete;
    qvLogFile& operator=(const qvLogFile&) = delete;

    /// Goes on with a file, made when there is none, or with none for an empty path. `heading` is
    /// the line that this run begins with.
    void open(const std::string& path, const std::string& heading);
    bool isOpen() const { return file_ != nullptr; }
    void add(const std::string& text);
    /// Adds a line end where the text has none.
    void addLine(const std::string& text) {
        add(text.empty() || text.back() != '\n' ? text + "\n" : text);
    }

private:
    void close();
    bool put(const std::string& text);

    std::mutex mutex_;
    FILE* file_ = nullptr;
    std::string path_;
};

/// Commands in the order in which they were run, to be run again from a file.
class QVCORE_API qvCommandRecord {
public:
    /// Characters; what comes after them is not recorded.
    static constexpr std::size_t most = 64 * 1024 * 1024;

    /// One that failed is kept as a comment.
    void add(const std::string& command, bool failed);
    void clear() {
        commands_.clear();
        full_ = false;
    }
    /// Writes a command file, whole or not at all. False with an error posted.
    bool save(const std::string& path, const std::string& heading) const;

private:
    std::string commands_;  ///< as they are saved
    bool full_ = false;
};

/// Each line of a text made a comment.
QVCORE_API std::string qvAsComment(const std::string& text);
