#include "qvutils/ui/plugins/qvlicencefile.h"

#include <algorithm>
#include <cerrno>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/ui/plugins/qvlicencesignature.h"

namespace {

constexpr std::string_view blanks = " \t\r";

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// Whether the name fits the pattern, in which "*" stands for any text and "?" for any character.
/// Case does not count: some systems find a file under either.
bool fits(std::string_view pattern, std::string_view name) {
    std::size_t p = 0;
    std::size_t n = 0;
    std::size_t star = pattern.npos;
    std::size_t tried = 0;
    while (n < name.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            star = p++;
            tried = n;
        } else if (p < pattern.size() &&
                   (pattern[p] == '?' || lower(pattern[p]) == lower(name[n]))) {
            ++p;
            ++n;
        } else if (star != pattern.npos) {
            p = star + 1;
            n = ++tried;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', p) == pattern.npos;
}

/// Takes the next word or quoted text off the line. False at its end, where a comment begins too,
/// and, with `problem`, at a quote that does not end.
bool takeWord(std::string_view& line, std::string& word, bool& quoted, std::string& problem) {
    line.remove_prefix(std::min(line.find_first_not_of(blanks), line.size()));
    if (line.empty() || line[0] == '#') return false;
    quoted = line[0] == '"';
    if (quoted) line.remove_prefix(1);
    const std::size_t end = quoted ? line.find('"') : line.find_first_of(" \t\r\"#");
    if (quoted && end == line.npos) {
        problem = "a quote does not end";
        return false;
    }
    word = line.substr(0, end);
    line.remove_prefix(std::min(end + (quoted ? 1 : 0), line.size()));
    return true;
}

bool isControl(char c) {
    return (c >= 0 && c < ' ' && blanks.find(c) == blanks.npos) || c == '\x7f';
}

bool isPrintable(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < '\x7f'; });
}

}  // namespace

std::string qvLicenceFile::read(const std::string& path, std::string& text) {
    const qvplatform::FileStatus status = qvplatform::fileSystem().status(path);
    // From a pipe or a device the end might never come.
    if (status.kind == qvplatform::FileKind::other) return "\"" + path + "\" is no file";
    if (status.isFile() && status.size > static_cast<std::int64_t>(maxSize))
        return "\"" + path + "\" is longer than " + std::to_string(maxSize) + " bytes";
    if (qvplatform::readWholeFile(path, text)) return "";
    return "\"" + path + "\" cannot be read: " + qvplatform::errorText(errno);
}

bool qvLicenceFile::load(const std::string& path) {
    std::string text;
    const std::string problem = read(path, text);
    return problem.empty() ? parse(path, text) : refuse("licence file " + problem);
}

bool qvLicenceFile::parse(const std::string& path, std::string_view text) {
    number_ = "0";
    hasNumber_ = false;
    rules_.clear();
    unusable_.clear();
    const qvLicenceText parts = qvSplitLicence(text);
    if (std::string problem; !key_.empty() && !qvCheckLicenceSignature(parts, key_, problem))
        return refuse("licence file \"" + path + "\" " + problem);
    text = parts.body;
    if (text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
    for (int lineNumber = 1; !text.empty(); ++lineNumber) {
        const std::size_t length = std::min(text.find('\n'), text.size());
        std::string problem;
        if (!parseLine(text.substr(0, length), problem)) {
            return refuse("licence file \"" + path + "\", line " + std::to_string(lineNumber) +
                          ": " + problem);
        }
        text.remove_prefix(std::min(length + 1, text.size()));
    }
    return true;
}

bool qvLicenceFile::parseLine(std::string_view line, std::string& problem) {
    std::string key;
    std::string subject;
    bool quoted = false;
    if (std::any_of(line.begin(), line.end(), isControl)) {
        problem = "characters that are no text";
        return false;
    }
    if (!takeWord(line, key, quoted, problem)) return problem.empty();
    if (key == "signature") {
        problem = "something follows the signature";
        return false;
    }
    const bool isNumber = key == "licence";
    if (quoted || !(isNumber || key == "allow" || key == "deny")) {
        problem = "\"" + key + "\" is none of licence, allow, deny";
        return false;
    }
    if (!takeWord(line, subject, quoted, problem)) {
        if (problem.empty()) problem = "nothing follows \"" + key + "\"";
        return false;
    }
    if (!isNumber) return parseRule(subject, quoted, key == "allow", line, problem);
    if (hasNumber_) {
        problem = "a second licence number \"" + subject + "\"";
    } else if (subject.empty() || subject.size() > maxNumber || !isPrintable(subject)) {
        problem = "\"" + subject + "\" is no licence number: up to " + std::to_string(maxNumber) +
                  " printable characters without blanks";
    } else if (std::string more; takeWord(line, more, quoted, problem)) {
        problem = "\"" + more + "\" after the licence number";
    }
    number_ = subject;
    hasNumber_ = true;
    return problem.empty();
}

bool qvLicenceFile::parseRule(const std::string& subject, bool quoted, bool allows,
                              std::string_view rest, std::string& problem) {
    std::string reason;
    std::string more;
    bool reasonQuoted = false;
    if (subject.empty()) {
        problem = "an empty name";
    } else if (takeWord(rest, reason, reasonQuoted, problem)) {
        bool moreQuoted = false;
        if (!reasonQuoted) {
            problem = "the reason \"" + reason + "\" is not in quotes";
        } else if (reason.size() > maxReason) {
            problem = "a reason of more than " + std::to_string(maxReason) + " characters";
        } else if (takeWord(rest, more, moreQuoted, problem)) {
            problem = "\"" + more + "\" after the reason";
        }
    }
    rules_.push_back({allows, !quoted && subject == "installation", subject, reason});
    return problem.empty();
}

bool qvLicenceFile::allowsInstallation(std::string& reason) const {
    if (!unusable_.empty()) {
        reason = unusable_;
        return false;
    }
    for (const Rule& rule : rules_) {
        if (rule.installation) return answer(rule, reason);
    }
    return true;
}

bool qvLicenceFile::allowsPlugin(const std::string& file, std::string& reason) const {
    if (!unusable_.empty()) {
        reason = unusable_;
        return false;
    }
    for (const Rule& rule : rules_) {
        if (!rule.installation && fits(rule.pattern, file)) return answer(rule, reason);
    }
    return true;
}

bool qvLicenceFile::answer(const Rule& rule, std::string& reason) {
    if (rule.allows) return true;
    reason = rule.reason.empty() ? "the licence file denies it" : rule.reason;
    return false;
}

bool qvLicenceFile::refuse(const std::string& why) {
    number_ = "0";
    rules_.clear();
    unusable_ = why;
    qverr().set(why.c_str());
    return false;
}
