#include <wx/fileconf.h>
#include <wx/mstream.h>

#include <algorithm>
#include <cerrno>
#include <set>
#include <string_view>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/ui/settings/settingssource.h"

namespace {

// The toolkit keeps keys in sorted arrays and groups in each other: more would become slow.
constexpr std::size_t mostBytes = 256 * 1024;
constexpr std::ptrdiff_t deepestGroup = 16;
constexpr std::size_t mostWarnings = 5;  // about one reading
constexpr std::size_t mostTold = 50;

// The length of the UTF-8 character at the front of `text`, 0 when there is none.
std::size_t characterLength(std::string_view text) {
    const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(0);
    if (lead < 0x80) return lead == 0 ? 0 : 1;
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return 0;
    }
    const unsigned char next = byte(1);
    const bool tooLong = (lead == 0xE0 && next < 0xA0) || (lead == 0xF0 && next < 0x90);
    const bool noCharacter = (lead == 0xED && next > 0x9F) || (lead == 0xF4 && next > 0x8F);
    return tooLong || noCharacter ? 0 : length;
}

// The line, from 1, of the first byte that is no text; 0 when there is none. Each becomes "?".
std::ptrdiff_t mendText(std::string& text) {
    std::ptrdiff_t first = 0;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = characterLength(std::string_view(text).substr(at));
        if (length == 0) {
            const auto here = text.begin() + static_cast<std::ptrdiff_t>(at);
            if (first == 0) first = 1 + std::count(text.begin(), here, '\n');
            text[at] = '?';
        }
        at += std::max<std::size_t>(length, 1);
    }
    return first;
}

// Whether some group lies too deep in others.
bool hasDeepGroup(std::string_view text) {
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        if (line.find('[') < line.find_first_of("=#;") &&
            std::count(line.begin(), line.end(), '/') > deepestGroup)
            return true;
    }
    return false;
}

std::string directoryOf(const std::string& path) {
    std::size_t end = path.size();
    while (end > 0 && !qvplatform::isPathSeparator(path[end - 1])) --end;
    return path.substr(0, end);
}

class SettingsFile : public SettingsSource {
public:
    explicit SettingsFile(const std::string& path) : path_(path) {}

    std::unique_ptr<wxConfigBase> open() override;
    bool commit(wxConfigBase& config) override;
    std::string place() const override { return path_; }
    std::string lockFile() const override {
        const std::string directory = directoryOf(path_);
        qvplatform::makeDirectories(directory);
        return directory + "." + path_.substr(directory.size()) + ".lock";
    }

private:
    bool read(std::string& text);
    std::unique_ptr<wxConfigBase> parse(const std::string& text);
    bool keepDamaged();
    // Each use of the store reads the file: what is wrong with it is told once.
    void warn(const std::string& text) {
        if (told_.size() < mostTold && told_.insert(text).second)
            wlwrite(("settings file \"" + path_ + "\": " + text + "\n").c_str());
    }

    bool leaveAlone(const char* why) {
        warn(std::string(why) + ", it is left alone");
        return false;
    }

    std::string path_;
    bool damaged_ = false;
    std::set<std::string> told_;
};

bool SettingsFile::read(std::string& text) {
    const qvplatform::FileStatus status = qvplatform::fileSystem().status(path_);
    if (!status.exists()) return true;
    // From a pipe or a device the end might never come.
    if (!status.isFile()) return leaveAlone("is no file");
    if (status.size > static_cast<std::int64_t>(mostBytes)) return leaveAlone("too large");
    errno = 0;
    if (!qvplatform::readWholeFile(path_, text)) {
        warn(qvplatform::errorText(errno));
        return false;
    }
    if (text.compare(0, 3, "\xEF\xBB\xBF") == 0) text.erase(0, 3);
    if (hasDeepGroup(text)) return leaveAlone("its groups lie too deep in each other");
    const std::ptrdiff_t line = mendText(text);
    damaged_ = line != 0;
    if (damaged_) warn("line " + std::to_string(line) + " holds bytes that are not UTF-8 text");
    return true;
}

std::unique_ptr<wxConfigBase> SettingsFile::parse(const std::string& text) {
    const ToolkitMessages messages;
    wxMemoryInputStream stream(text.data(), text.size());
    auto config = std::make_unique<wxFileConfig>(stream, wxConvUTF8);
    const std::vector<std::string>& all = messages.all();
    for (std::size_t i = 0; i < std::min(all.size(), mostWarnings); ++i) {
        const bool nameless = all[i].compare(0, 7, "file ''") == 0;  // it was given a text alone
        warn(nameless ? all[i].substr(9) : all[i]);
    }
    if (all.size() > mostWarnings)
        warn("and " + std::to_string(all.size() - mostWarnings) + " more of the kind");
    return config;
}

std::unique_ptr<wxConfigBase> SettingsFile::open() {
    std::string text;
    return read(text) ? parse(text) : nullptr;
}

// What could not be read as text would be lost with the file that is replaced.
bool SettingsFile::keepDamaged() {
    std::string text;
    if (!qvplatform::readWholeFile(path_, text)) return false;
    qvplatform::SafeFile copy;
    return copy.open(path_ + ".damaged") && copy.write(text) && copy.commit();
}

bool SettingsFile::commit(wxConfigBase& config) {
    wxMemoryOutputStream stream;
    const ToolkitMessages messages;
    bool done = static_cast<wxFileConfig&>(config).Save(stream, wxConvUTF8);
    std::string text(stream.GetSize(), '\0');
    stream.CopyTo(text.data(), text.size());
    // It could not be read again.
    if (text.size() > mostBytes) {
        wlwrite(("the settings could not be kept: too large for \"" + path_ + "\"\n").c_str());
        return false;
    }
    qvplatform::SafeFile file;
    done = done && (!damaged_ || keepDamaged()) && file.open(path_) && file.write(text) &&
           file.commit();
    if (!done) wlwrite(("the settings could not be kept: " + file.error() + "\n").c_str());
    return done;
}

}  // namespace

std::unique_ptr<SettingsSource> settingsFile(const std::string& path) {
    return std::make_unique<SettingsFile>(path);
}
