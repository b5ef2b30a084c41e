#pragma once
#include <vector>

#include "qvutils/ui/project/qvprojnode.h"

/// A node that holds a script: commands of the application, or a Python program that commands the
/// application from a process of its own. In its block:
///
///     1 //script language
///     PARAMETER = first parameter
///     >each line of the text after a ">"
class QVCORE_API qvScriptNode : public qvProjectNode {
public:
    QV_CLASS_INFO(qvScriptNode)

    static constexpr int commands = 0;
    static constexpr int python = 1;

    void OnPublish() override;
    void SetParam(QVCommandElt& element, const char* value, const char* name) override;
    bool PreloadVariables(TextBlock&) override { return true; }
    /// Blank lines are not kept; comment lines are, but belong to no text.
    bool ReadTB(TextBlock& block) override;
    bool WriteTB(TextBlock& block) const override;

    const QVString& getText() const { return text_; }
    void setText(const QVString& text);
    void AppendText(const QVString& text);
    void ClearText();
    int getLanguage() const { return language_; }
    void setLanguage(int language);
    const List<QVString>& getParameters() const { return parameters_; }
    /// A parameter with a line break is refused with an error.
    void AppendParameter(const QVString& parameter);
    void ClearParameters();

    /// Runs the text and returns when it has ended. Posts an error when it cannot be run, was
    /// stopped or has failed, "unknown language type\n" for any other language. The script may do
    /// anything with the tree, also destroy this node.
    void RunScript();
    bool IsRunning() const { return running_; }

private:
    /// A comment line inside the block, and the number of lines before it that are none.
    struct Comment {
        int line;
        QVString text;
    };

    bool readLine(std::string_view content, bool& languageRead);
    std::vector<std::string> lines() const;

    QVString text_;
    int language_ = commands;
    List<QVString> parameters_;
    std::vector<Comment> comments_;
    bool running_ = false;
};

/// Registers the block type "scriptTB" (1.0), displayed as "Script", allowed in projects.
QVCORE_API void registerScriptNode();
