#include "apps/qv/evaloptions.h"

#include <algorithm>
#include <cctype>

#include "apps/qv/optionwords.h"

namespace {

std::string trimmed(const std::string& text) {
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos) return "";
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

bool isName(const std::string& text) {
    const auto isPart = [](char c) {
        return c == '_' || std::isalnum(static_cast<unsigned char>(c)) != 0;
    };
    return !text.empty() && !std::isdigit(static_cast<unsigned char>(text[0])) &&
           std::all_of(text.begin(), text.end(), isPart);
}

bool readDefinition(EvalOptions& options, const std::string& text) {
    EvalOptions::Named definition;
    if (!splitDefinition(text, definition)) return false;
    options.definitions.push_back(definition);
    return true;
}

bool readSweep(EvalOptions& options, const std::string& text) {
    EvalOptions::Named named;
    if (!splitDefinition(text, named)) return false;
    ++options.sweeps;
    options.sweepName = named.name;
    return options.hasSweep = splitSweep(named.formula, options.sweep);
}

const OptionWord<EvalOptions> words[] = {
    {"--set", "NAME=FORMULA", "a name for the formulas to use; may use others, in any order",
     readDefinition},
    {"--complex", "", "complex arithmetic",
     [](EvalOptions& options, const std::string&) { return options.complex = true; }},
    {"--sweep", "NAME=LO:HI:STEP", "evaluate for each value from LO to HI, both included",
     readSweep},
    {"--csv", "", "write comma-separated values",
     [](EvalOptions& options, const std::string&) {
         return chooseFormat(options, TableFormat::csv);
     }},
    {"--json", "", "write JSON",
     [](EvalOptions& options, const std::string&) {
         return chooseFormat(options, TableFormat::json);
     }},
    {"--plot", "FILE.svg", "draw the sweep; no table then, unless one is asked for",
     [](EvalOptions& options, const std::string& argument) {
         options.plot = argument;
         return !argument.empty();
     }},
    {"--help", "", "print this help",
     [](EvalOptions& options, const std::string&) { return options.help = true; }},
};

// Whether the options suit one another.
bool check(EvalOptions& options, std::string& error) {
    const auto& formulas = options.formulas;
    const bool dash = std::find(formulas.begin(), formulas.end(), "-") != formulas.end();
    options.fromInput = formulas.empty() || dash;
    if (dash && formulas.size() > 1) {
        error = "\"-\" stands alone, without other formulas";
    } else if (options.fromInput && (options.hasSweep || options.hasFormat)) {
        error = "a sweep or a format needs a formula among the arguments";
    } else if (!options.plot.empty() && !options.hasSweep) {
        error = "--plot needs --sweep";
    } else if (options.sweeps > 1) {
        error = "there can be one --sweep only";
    }
    return error.empty();
}

}  // namespace

bool splitDefinition(const std::string& text, EvalOptions::Named& definition) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || text.compare(equals, 2, "==") == 0) return false;
    definition.name = trimmed(text.substr(0, equals));
    definition.formula = trimmed(text.substr(equals + 1));
    return isName(definition.name);
}

bool parseEvalOptions(const std::vector<std::string>& arguments, EvalOptions& options,
                      std::string& error) {
    if (!readOptionWords(words, arguments, options, options.formulas, error))
        return false;
    return options.help || check(options, error);
}

std::string evalUsage() {
    const std::string text =
        "usage: qv eval [OPTION...] FORMULA...   print the value of each formula\n"
        "       qv eval [OPTION...] [-]          evaluate the lines of standard input;\n"
        "                                        \"name = formula\" defines a name\n\n";
    return text + optionHelp(words) +
           "\nThe limits and the step of a sweep may be formulas. Complex values take two "
           "columns.\n"
           "For example:\n"
           "  qv eval 'sqrt(a**2+b**2)' --set a=3 --set b=a+1\n"
           "  qv eval 'sin(x)' 'cos(x)' --sweep 'x=0:2*_PI:_PI/50' --plot waves.svg\n";
}
