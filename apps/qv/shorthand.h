#pragma once
#include <string>

/// What a person may type at the prompt for short: "why NAME" and "uses NAME" ask the node that has
/// the variable or parameter NAME, whichever open project it is in. Gives the command that says so
/// in full; any other line comes back as it is. When no node has the name, or several have, the
/// result is false and `error` tells what to write instead.
bool expandShorthand(const std::string& line, std::string& command, std::string& error);
