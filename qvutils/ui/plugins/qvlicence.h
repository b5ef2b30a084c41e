#pragma once
#include <string>

#include "qvutils/common/platform/qvexport.h"

/// The licence screen of an application: it is asked whether the program may run, and about each
/// plug-in before it is loaded. This base allows everything and has no number; an application
/// installs its own.
class QVCORE_API qvLicence {
public:
    virtual ~qvLicence();

    /// The number of the installed licence, a word that is written into project files; "0" for
    /// none.
    virtual std::string number() const;
    /// False with a reason that is shown to the user.
    virtual bool allowsInstallation(std::string& reason) const;
    /// The same for a plug-in by the name of its file, without the directory.
    virtual bool allowsPlugin(const std::string& file, std::string& reason) const;
};
