#pragma once
#include "qvutils/common/command/command_line.h"
#include "qvutils/common/platform/qvexport.h"

/// The command language of an application: every path begins at the one root object, "app", or at
/// a global variable. Results and errors go to the output hook (lprintf, wlprintf); a program that
/// shows them otherwise overrides OnParseCommand.
class QVCORE_API qvCommandObject : public QVCommandBase {
public:
    static constexpr const char* rootName = "app";

    /// The object called "app", not owned; null until the application sets it.
    void setRoot(QVObject* root) { root_ = root; }

    QVObject* FindInApp(const char* name) override;
    bool IsKeyword(const char* name) override;
    bool OnParseCommand(const char* command, const char* result, int flags) override;
    void OnListRoots(std::vector<std::string>& names) override;

private:
    QVObject* root_ = nullptr;
};
