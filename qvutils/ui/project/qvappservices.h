#pragma once
#include <string>

#include "qvutils/common/platform/qvexport.h"

class QVCommandBase;
class qvProjectNode;
class qvScriptServer;

/// What the project tree asks of the application around it. The application installs its own on
/// the project manager; this base is the answer of a program without a window or a user.
class QVCORE_API qvAppServices {
public:
    virtual ~qvAppServices();

    /// Written into the header of project files.
    virtual std::string applicationName() const;
    /// Version, a blank, and the number of the installed licence (0: none installed).
    virtual std::string versionAndLicence() const;

    /// Runs texts of the command language; null when there is none.
    virtual QVCommandBase* commandObject();
    /// Takes the commands of scripts that run beside the application; null when there is none.
    virtual qvScriptServer* scriptServer();

    /// A question with the answers "continue" and "cancel". False is "cancel", which is also the
    /// answer where there is nobody to ask.
    virtual bool askUser(const std::string& question);
    /// A question answered by a text; `answer` holds the proposed one. False when the user cancels
    /// (no error), or with an error posted where there is nobody to ask.
    virtual bool askText(const std::string& title, const std::string& question,
                         std::string& answer);

    /// Shows the node's window, made when it has none and `create` is set. Posts an error and
    /// returns false where windows cannot be shown.
    virtual bool openView(qvProjectNode& node, bool create);

    /// A project was opened from this file or saved to it.
    virtual void projectFileUsed(const std::string& path);

    /// A long operation begins (true) or ends (false): the busy cursor. Calls nest.
    virtual void setBusy(bool busy);
};
