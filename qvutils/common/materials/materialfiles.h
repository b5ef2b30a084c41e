#pragma once
#include <string>
#include <vector>

#include "qvutils/common/platform/qvexport.h"

/// Where material files are looked for that are not found as named, in this order: materbaseDir,
/// the directory that the environment variable QV_MATERIAL_DIR names, the files that come with the
/// library, which lie in share/qvcore/materials beside the program or above it, and those that were
/// added.
QVCORE_API std::vector<std::string> qvMaterialDirectories();

/// For the material files of plug-ins. Not while another thread looks for files.
QVCORE_API void qvAddMaterialDirectory(const std::string& directory);
QVCORE_API void qvRemoveMaterialDirectory(const std::string& directory);

/// The path of a material file: `name` itself when there is such a file, or one of that name in
/// the directories given first or else in qvMaterialDirectories(). Empty when there is none.
QVCORE_API std::string qvFindMaterialFile(const std::string& name,
                                          const std::vector<std::string>& first = {});
