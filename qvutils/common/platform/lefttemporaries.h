#pragma once
#include <string>

namespace qvplatform {

/// Removes the temporary files that saves into this directory have left behind when they were
/// killed: those to which nothing has been written for a day. A directory is not looked through
/// twice in a row. For the sources of this room only.
void removeLeftTemporaries(const std::string& directory);

}  // namespace qvplatform
