#pragma once
#include <string>

#include "qvutils/common/containers/list.h"
#include "qvutils/common/platform/qvexport.h"
#include "qvutils/common/text/qvstring.h"

class qvScriptServer;

/// Runs scripts, and returns when they have ended. Each posts an error and returns false when the
/// script could not be run, was stopped (a kill request) or has failed.

/// Executes a text of commands. `name` is for messages. Arguments are taken by value where the
/// script may destroy what they come from.
QVCORE_API bool qvRunCommandScript(QVString name, QVString text);
/// Runs a Python program in a process of its own and executes the commands that it sends to the
/// script server, whose port it finds in the environment variable QV_SCRIPT_PORT. What it prints
/// appears as normal output while it runs. The text lies in a file private to the user meanwhile.
QVCORE_API bool qvRunPythonText(QVString text, List<QVString> parameters);
QVCORE_API bool qvRunPythonFile(const std::string& path, const List<QVString>& parameters);

/// Whether the script server may be used for something else: true unless a program is connected
/// that the user wants to keep.
QVCORE_API bool qvMayDisconnect(qvScriptServer& server);
