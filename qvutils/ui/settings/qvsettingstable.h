#pragma once
#include <span>
#include <string>
#include <variant>

#include "qvutils/common/platform/qvexport.h"
#include "qvutils/common/text/qvstring.h"

/// The values of an application's settings. What each means, its range and its value at first are
/// told by its row in qvSettingRows().
struct qvSettingValues {
    int mainX, mainY, mainWidth, mainHeight;
    int projectWindowWidth, projectWindowHeight, projectWindowAlign;
    int cmdlineWindowWidth, cmdlineWindowHeight, cmdlineWindowAlign;
    int cmdlineWindowShown, projectWindowShown;
    bool SoundsEnabled;
    int cpuPriority;
    QVString startupDir, currentDir, materialDir;
    int diagnosticlevel;
    QVString commandLogFile, outputLogFile;
    bool stopOnError, pauseOnError, stepByStep, enableRecord;

    int bgColour, fgColour, pointSize, fontStyle, fontWeight, underlined;
    QVString faceName;

    /// All settings as they are at first.
    QVCORE_API qvSettingValues();
};

/// What an application does when a setting has got another value.
class QVCORE_API qvSettingsListener {
public:
    virtual ~qvSettingsListener() = default;
    virtual void priorityChanged() {}
    virtual void materialDirChanged() {}
    virtual void logsChanged() {}
};

/// A setting.
struct qvSettingRow {
    using Field =
        std::variant<int qvSettingValues::*, bool qvSettingValues::*, QVString qvSettingValues::*>;
    using Effect = void (qvSettingsListener::*)();

    const char* group;  ///< inside the application's group; empty for that group itself
    const char* key;
    Field field;
    int low, high;        ///< of an integer, both included
    const char* atFirst;  ///< as text
    const char* help;
    Effect changed;  ///< null for one that nothing happens at once

    /// "an integer", "1 to 5", "0 or 1" or "text".
    QVCORE_API std::string type() const;
    /// False, with nothing changed, for a text that is no such value or out of range.
    QVCORE_API bool read(qvSettingValues& values, const std::string& text) const;
    QVCORE_API std::string write(const qvSettingValues& values) const;
    bool isFlag() const { return std::holds_alternative<bool qvSettingValues::*>(field); }
    bool isText() const { return std::holds_alternative<QVString qvSettingValues::*>(field); }
};

/// All settings; those of a group follow each other.
QVCORE_API std::span<const qvSettingRow> qvSettingRows();
/// Null when there is none of that key.
QVCORE_API const qvSettingRow* qvFindSetting(const std::string& key);
