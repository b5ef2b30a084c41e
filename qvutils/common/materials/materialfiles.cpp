#include "qvutils/common/materials/materialfiles.h"

#include <algorithm>

#include "qvutils/common/materials/materbase.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"
#include "qvutils/common/platform/programfiles.h"

namespace {

bool isFile(const std::string& path) {
    return qvplatform::fileSystem().status(path).isFile();
}

std::string shippedDirectory() {
    const std::string directory = qvplatform::programDirectory("materials");
    return directory.empty() ? QV_INSTALLED_MATERIALS : directory;
}

std::vector<std::string>& addedDirectories() {
    static std::vector<std::string> directories;
    return directories;
}

}  // namespace

void qvAddMaterialDirectory(const std::string& directory) {
    addedDirectories().push_back(directory);
}

void qvRemoveMaterialDirectory(const std::string& directory) {
    auto& added = addedDirectories();
    const auto found = std::find(added.begin(), added.end(), directory);
    if (found != added.end()) added.erase(found);
}

std::vector<std::string> qvMaterialDirectories() {
    static const std::string shipped = shippedDirectory();
    std::vector<std::string> directories;
    if (materbaseDir && *materbaseDir) directories.emplace_back(materbaseDir);
    std::string chosen;
    if (qvplatform::environmentVariable("QV_MATERIAL_DIR", chosen) && !chosen.empty())
        directories.push_back(chosen);
    directories.push_back(shipped);
    directories.insert(directories.end(), addedDirectories().begin(), addedDirectories().end());
    return directories;
}

std::string qvFindMaterialFile(const std::string& name, const std::vector<std::string>& first) {
    if (name.empty() || isFile(name)) return name;
    for (const auto& directories : {first, qvMaterialDirectories()}) {
        for (const std::string& directory : directories) {
            const std::string path = qvplatform::joinPath(directory, name);
            if (isFile(path)) return path;
        }
    }
    return "";
}
