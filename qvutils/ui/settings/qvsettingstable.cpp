#include "qvutils/ui/settings/qvsettingstable.h"

#include <charconv>
#include <climits>

namespace {

using Values = qvSettingValues;
using Listener = qvSettingsListener;

constexpr int least = INT_MIN;
constexpr int most = INT_MAX;

// Align is a side as the toolkit numbers them: 1 top, 2 left, 3 right, 4 bottom.
const qvSettingRow rows[] = {
    {"", "mainX", &Values::mainX, -100000, 1000000, "100", "main window: left edge", nullptr},
    {"", "mainY", &Values::mainY, -100000, 1000000, "100", "main window: top edge", nullptr},
    {"", "mainWidth", &Values::mainWidth, 1, 10000, "1200", "main window: width", nullptr},
    {"", "mainHeight", &Values::mainHeight, 1, 10000, "800", "main window: height", nullptr},
    {"", "projectWindowWidth", &Values::projectWindowWidth, 1, 10000, "300", "project tree: width",
     nullptr},
    {"", "projectWindowHeight", &Values::projectWindowHeight, 1, 10000, "600",
     "project tree: height", nullptr},
    {"", "projectWindowAlign", &Values::projectWindowAlign, 1, 10000, "2",
     "project tree: side of the main window (1 top, 2 left, 3 right, 4 bottom)", nullptr},
    {"", "cmdlineWindowWidth", &Values::cmdlineWindowWidth, 1, 10000, "900",
     "command window: width", nullptr},
    {"", "cmdlineWindowHeight", &Values::cmdlineWindowHeight, 1, 10000, "200",
     "command window: height", nullptr},
    {"", "cmdlineWindowAlign", &Values::cmdlineWindowAlign, 1, 10000, "4",
     "command window: side of the main window (1 top, 2 left, 3 right, 4 bottom)", nullptr},
    {"", "cmdlineWindowShown", &Values::cmdlineWindowShown, 0, 1, "1",
     "command window: visible (1) or not (0)", nullptr},
    {"", "projectWindowShown", &Values::projectWindowShown, 0, 1, "1",
     "project tree: visible (1) or not (0)", nullptr},
    {"", "SoundsEnabled", &Values::SoundsEnabled, 0, 1, "1", "sounds are played", nullptr},
    {"", "cpuPriority", &Values::cpuPriority, 1, 5, "3",
     "processor priority beside other programs, from 1 (least) to 5 (most); 3 leaves it as it is",
     &Listener::priorityChanged},
    {"", "startupDir", &Values::startupDir, 0, 0, "",
     "directory to change to when the prompt begins", nullptr},
    {"", "currentDir", &Values::currentDir, 0, 0, "", "working directory that was last set",
     nullptr},
    {"", "materialDir", &Values::materialDir, 0, 0, "",
     "directory where material files are looked for", &Listener::materialDirChanged},
    {"", "diagnosticlevel", &Values::diagnosticlevel, least, most, "1",
     "messages: below 0 none, 0 warnings, 1 all, from 2 on also where the settings are", nullptr},
    {"", "commandLogFile", &Values::commandLogFile, 0, 0, "",
     "file to which the commands are added as they are run", &Listener::logsChanged},
    {"", "outputLogFile", &Values::outputLogFile, 0, 0, "",
     "file to which results, messages and errors are added", &Listener::logsChanged},
    {"", "stopOnError", &Values::stopOnError, 0, 1, "0",
     "command files: stop at the first command that fails", nullptr},
    {"", "pauseOnError", &Values::pauseOnError, 0, 1, "0",
     "command files: ask whether to go on when a command has failed", nullptr},
    {"", "stepByStep", &Values::stepByStep, 0, 1, "0", "command files: ask before each command",
     nullptr},
    {"", "enableRecord", &Values::enableRecord, 0, 1, "0", "commands are recorded for saverecord",
     nullptr},

    {"commandline", "bgColour", &Values::bgColour, least, most, "16777215",
     "command window: background, blue * 65536 + green * 256 + red", nullptr},
    {"commandline", "fgColour", &Values::fgColour, least, most, "0", "command window: text colour",
     nullptr},
    {"commandline", "pointSize", &Values::pointSize, least, most, "10",
     "command window: size of the font in points", nullptr},
    {"commandline", "fontStyle", &Values::fontStyle, least, most, "90",
     "command window: style of the font (90 upright, 93 italic)", nullptr},
    {"commandline", "fontWeight", &Values::fontWeight, least, most, "400",
     "command window: weight of the font (400 normal, 700 bold)", nullptr},
    {"commandline", "underlined", &Values::underlined, least, most, "0",
     "command window: text is underlined (1) or not (0)", nullptr},
    {"commandline", "faceName", &Values::faceName, 0, 0, "",
     "command window: name of the font; the system's fixed-width font when empty", nullptr},
};

bool readInteger(const std::string& text, int low, int high, int& value) {
    int number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, number);
    if (failure != std::errc() || stop != end || number < low || number > high) return false;
    value = number;
    return true;
}

}  // namespace

qvSettingValues::qvSettingValues() {
    for (const qvSettingRow& row : rows) row.read(*this, row.atFirst);
}

std::string qvSettingRow::type() const {
    if (isText()) return "text";
    if (isFlag()) return "0 or 1";
    if (low == least && high == most) return "an integer";
    return std::to_string(low) + " to " + std::to_string(high);
}

bool qvSettingRow::read(qvSettingValues& values, const std::string& text) const {
    if (const auto* number = std::get_if<int qvSettingValues::*>(&field))
        return readInteger(text, low, high, values.**number);
    if (const auto* string = std::get_if<QVString qvSettingValues::*>(&field)) {
        values.** string = text.c_str();
        return true;
    }
    int flag = text == "true";
    if (text != "true" && text != "false" && !readInteger(text, 0, 1, flag)) return false;
    values.*std::get<bool qvSettingValues::*>(field) = flag != 0;
    return true;
}

std::string qvSettingRow::write(const qvSettingValues& values) const {
    if (const auto* number = std::get_if<int qvSettingValues::*>(&field))
        return std::to_string(values.**number);
    if (const auto* string = std::get_if<QVString qvSettingValues::*>(&field))
        return (values.**string).Chars();
    return values.*std::get<bool qvSettingValues::*>(field) ? "1" : "0";
}

std::span<const qvSettingRow> qvSettingRows() {
    return rows;
}

const qvSettingRow* qvFindSetting(const std::string& key) {
    for (const qvSettingRow& row : rows) {
        if (key == row.key) return &row;
    }
    return nullptr;
}
