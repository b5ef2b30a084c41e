#include "apps/qv/materialoptions.h"

#include <sstream>

#include "apps/qv/optionwords.h"
#include "qvutils/common/text/qvnearest.h"

namespace {

// An option that takes a number may be given once.
template <std::string MaterialOptions::*member>
bool readText(MaterialOptions& options, const std::string& text) {
    if (!(options.*member).empty() || text.empty()) return false;
    options.*member = text;
    return true;
}

template <MaterialOptions::Action action>
bool chooseAction(MaterialOptions& options, const std::string&) {
    if (options.action != MaterialOptions::Action::query && options.action != action) return false;
    options.action = action;
    return true;
}

bool readShow(MaterialOptions& options, const std::string& text) {
    std::istringstream names(text);
    std::string name;
    while (std::getline(names, name, ',')) {
        const qvMaterialQuantity* quantity = qvFindMaterialQuantity(name);
        if (!quantity) return false;
        options.show.push_back(quantity);
    }
    return !options.show.empty();
}

const OptionWord<MaterialOptions> words[] = {
    {"--list", "", "list the materials of the file: model, what mx and my are, range",
     chooseAction<MaterialOptions::Action::list>},
    {"--check", "", "tell everything that is wrong in the file",
     chooseAction<MaterialOptions::Action::check>},
    {"--lambda", "VALUES", "wavelength in um; the material's reference when left out",
     readText<&MaterialOptions::lambda>},
    {"--mx", "VALUES", "composition fraction, 0 when left out", readText<&MaterialOptions::mx>},
    {"--my", "VALUES", "the other fraction, 0 when left out", readText<&MaterialOptions::my>},
    {"--T", "VALUES", "temperature in K; the material's reference when left out",
     readText<&MaterialOptions::T>},
    {"--N", "VALUES", "carrier density in 1e18 cm^-3, for what depends on it",
     readText<&MaterialOptions::N>},
    {"--show", "NAME,NAME...", "what to show; n,k,alpha,ng when left out", readShow},
    {"--csv", "", "write comma-separated values",
     [](MaterialOptions& options, const std::string&) {
         return chooseFormat(options, TableFormat::csv);
     }},
    {"--json", "", "write JSON: an array of objects",
     [](MaterialOptions& options, const std::string&) {
         return chooseFormat(options, TableFormat::json);
     }},
    {"--plot", "FILE.svg", "draw curves; no table then, unless one is asked for",
     readText<&MaterialOptions::plot>},
    {"--help", "", "print this help",
     [](MaterialOptions& options, const std::string&) { return options.help = true; }},
};

// Says what was meant by a name after --show that is none.
void explainShow(const std::vector<std::string>& arguments, std::string& error) {
    for (std::size_t i = 0; i + 1 < arguments.size(); ++i) {
        if (arguments[i] != "--show") continue;
        std::istringstream names(arguments[i + 1]);
        std::string name;
        while (std::getline(names, name, ',')) {
            if (qvFindMaterialQuantity(name)) continue;
            error = "nothing to show is called \"" + name + "\"";
            QVNearestNames nearest(name);
            for (const qvMaterialQuantity& row : qvMaterialQuantities()) nearest.offer(row.name);
            if (!nearest.names().empty()) error += ", did you mean " + nearest.names()[0] + "?";
            return;
        }
    }
}

// Whether the options suit one another.
bool check(const MaterialOptions& options, const std::vector<std::string>& operands,
           std::string& error) {
    const bool isQuery = options.action == MaterialOptions::Action::query;
    if (operands.empty()) {
        error = "a material file is needed";
    } else if (isQuery && operands.size() == 1) {
        error = "the name of a material is needed, or --list or --check";
    } else if (operands.size() > (isQuery ? 2 : 1)) {
        error = "unknown argument " + operands.back();
    } else if (options.action == MaterialOptions::Action::check && options.hasFormat) {
        error = "--check has one format only";
    }
    return error.empty();
}

}  // namespace

bool parseMaterialOptions(const std::vector<std::string>& arguments, MaterialOptions& options,
                          std::string& error) {
    std::vector<std::string> operands;
    if (!readOptionWords(words, arguments, options, operands, error)) {
        if (!error.starts_with("unknown")) explainShow(arguments, error);
        return false;
    }
    if (options.help) return true;
    if (!check(options, operands, error)) return false;
    options.file = operands[0];
    if (operands.size() > 1) options.name = operands[1];
    return true;
}

std::string materialUsage() {
    std::string text =
        "usage: qv material FILE NAME [OPTION...]   what a material of a material file is like\n"
        "       qv material FILE --list | --check\n\n" +
        optionHelp(words) +
        "\nVALUES are a number, a formula, or LO:HI:STEP for one of them. What to show:\n";
    for (const qvMaterialQuantity& row : qvMaterialQuantities()) {
        if (row.tensor[0]) continue;
        std::string left = std::string("  ") + row.name;
        left.resize(12, ' ');
        text += left + row.help + "\n";
    }
    return text +
           "and the elements nxx nyy nzz, kxx..., alphaxx..., epsxx epsxy..., muxx muxy... of "
           "tensors.\n\n"
           "A file is looked for in the working directory, in that of the environment variable\n"
           "QV_MATERIAL_DIR, and among those that come with the program. For example:\n"
           "  qv material standard.mat --list\n"
           "  qv material standard.mat GaAs --lambda 1.3:1.6:0.01 --show n,ng\n"
           "  qv material standard.mat AlGaAs --lambda 1.55 --mx 0:0.4:0.02 --plot algaas.svg\n";
}
