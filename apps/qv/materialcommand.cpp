#include "apps/qv/materialcommand.h"

#include <cstdio>

#include "apps/qv/formulasheet.h"
#include "apps/qv/materiallist.h"
#include "apps/qv/materialoptions.h"
#include "apps/qv/materialsheet.h"
#include "apps/qv/numberchart.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/materialobject/materialref.h"
#include "qvutils/common/materials/materialfiles.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"

namespace {

constexpr int wrongUsage = 2;

bool tellPending() {
    std::string text = qverr().chars_and_reset();
    text.erase(0, text.find_first_not_of(" \r\n"));
    while (!text.empty() && text.back() == ' ') text.pop_back();
    tellError(text);
    return false;
}

bool writeResults(const MaterialSheet& sheet, const MaterialOptions& options) {
    bool well = true;
    if (!options.plot.empty()) well = drawColumns(options.plot, sheet.curves(), sheet.rows());
    if (options.hasFormat && options.format == TableFormat::json) {
        writeJsonObjects(sheet.columns(), sheet.rows());
    } else if (options.hasFormat || options.plot.empty()) {
        writeTable(options.format, sheet.columns(), sheet.rows());
    }
    return well;
}

bool query(Materbase& base, const MaterialOptions& options) {
    const MaterB* material = qvFindMaterial(base, options.name);
    if (!material) return tellPending();
    MaterialSheet sheet(*material, options);
    if (!sheet.readPoints()) return false;
    if (!options.plot.empty() && sheet.rows() == 1) {
        tellError("--plot needs what runs through values, such as --lambda 1.3:1.6:0.01");
        return false;
    }
    const bool well = sheet.evaluate();
    if (sheet.empty()) return false;
    return writeResults(sheet, options) && well;
}

// A path below the working directory is shown as one relative to it.
std::string shownPath(const std::string& path) {
    const std::string directory = qvplatform::joinPath(qvplatform::currentDirectory(), "");
    return path.starts_with(directory) ? path.substr(directory.size()) : path;
}

// One line for each mistake, for editors to jump to.
bool checkFile(const MaterialOptions& options) {
    const std::string path = qvFindMaterialFile(options.file);
    if (path.empty()) {
        tellError("Could not find material file " + options.file);
        return false;
    }
    const std::vector<qvMaterialMistake> mistakes = qvCheckMaterialFile(path.c_str());
    for (const qvMaterialMistake& mistake : mistakes) {
        std::string line = shownPath(mistake.file) + ":" + std::to_string(mistake.line) + ": ";
        for (char c : mistake.message) {
            const bool isBlank = static_cast<unsigned char>(c) <= ' ';
            if (!isBlank || line.back() != ' ') line += isBlank ? ' ' : c;
        }
        while (line.back() == ' ') line.pop_back();
        std::printf("%s\n", line.c_str());
    }
    if (mistakes.empty()) std::printf("%s: no mistakes\n", shownPath(path).c_str());
    return mistakes.empty();
}

bool run(const MaterialOptions& options) {
    if (options.action == MaterialOptions::Action::check) return checkFile(options);
    const qvMaterbaseRef base = qvOpenMaterials(options.file);
    if (!base) return tellPending();
    if (options.action == MaterialOptions::Action::query) return query(*base, options);
    listMaterials(*base, options.format);
    return true;
}

}  // namespace

int runMaterial(const std::vector<std::string>& arguments) {
    MaterialOptions options;
    std::string error;
    if (!parseMaterialOptions(arguments, options, error)) {
        std::fprintf(stderr, "qv material: %s\n\n%s", error.c_str(), materialUsage().c_str());
        return wrongUsage;
    }
    if (options.help) {
        std::fputs(materialUsage().c_str(), stdout);
        return 0;
    }
    return run(options) ? 0 : 1;
}
