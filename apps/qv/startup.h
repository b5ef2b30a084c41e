#pragma once
#include "apps/qv/options.h"
#include "qvutils/ui/app/qvapp.h"
#include "qvutils/ui/plugins/qvplugins.h"

/// The last of what qv does before it turns to its work: it asks the licence whether it may run and
/// loads the plug-ins. False when it may not; the reason has been printed. That a plug-in cannot be
/// loaded is printed too, and nothing more.
bool startUp(const Options& options, qvApp& application);
/// The same for a subcommand without an application.
bool startUp(const Options& options, qvPlugins& plugins);
