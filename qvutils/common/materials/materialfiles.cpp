#include "qvutils/common/materials/materialfiles.h"

#include "qvutils/common/materials/materbase.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"

namespace {

// Without the last name and the separators before it; empty at the top.
std::string directoryAbove(std::string path) {
    while (!path.empty() && !qvplatform::isPathSeparator(path.back())) path.pop_back();
    while (!path.empty() && qvplatform::isPathSeparator(path.back())) path.pop_back();
    return path;
}

bool isFile(const std::string& path) {
    return qvplatform::fileSystem().status(path).isFile();
}

// The nearest share/qvcore/materials going up from the program: an installed program has it beside
// its own directory, one that was just built somewhere above. Otherwise where it was to be
// installed.
std::string shippedDirectory() {
    for (std::string above = directoryAbove(qvplatform::executablePath()); !above.empty();
         above = directoryAbove(above)) {
        std::string path = above;
        for (const char* name : {"share", "qvcore", "materials"})
            path = qvplatform::joinPath(path, name);
        if (qvplatform::fileSystem().status(path).isDirectory()) return path;
    }
    return QV_INSTALLED_MATERIALS;
}

}  // namespace

std::vector<std::string> qvMaterialDirectories() {
    static const std::string shipped = shippedDirectory();
    std::vector<std::string> directories;
    if (materbaseDir && *materbaseDir) directories.emplace_back(materbaseDir);
    std::string chosen;
    if (qvplatform::environmentVariable("QV_MATERIAL_DIR", chosen) && !chosen.empty())
        directories.push_back(chosen);
    directories.push_back(shipped);
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
