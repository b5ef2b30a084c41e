#include "apps/qv/evaloptions.h"

#include <algorithm>
#include <cctype>

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

// Splits at the colons that stand in no brackets.
std::vector<std::string> splitAtColons(const std::string& text) {
    std::vector<std::string> parts(1);
    int depth = 0;
    for (char c : text) {
        if (c == '(' || c == '[') ++depth;
        if (c == ')' || c == ']') --depth;
        if (c == ':' && depth == 0) {
            parts.emplace_back();
        } else {
            parts.back() += c;
        }
    }
    return parts;
}

bool readDefinition(EvalOptions& options, const std::string& text) {
    EvalOptions::Named definition;
    if (!splitDefinition(text, definition)) return false;
    options.definitions.push_back(definition);
    return true;
}

bool readSweep(EvalOptions& options, const std::string& text) {
    EvalOptions::Named named;
    if (options.hasSweep || !splitDefinition(text, named)) return false;
    const std::vector<std::string> parts = splitAtColons(named.formula);
    if (parts.size() != 3) return false;
    options.sweep = {named.name, parts[0], parts[1], parts[2]};
    return options.hasSweep = true;
}

bool chooseFormat(EvalOptions& options, EvalOptions::Format format) {
    if (options.hasFormat && options.format != format) return false;
    options.format = format;
    return options.hasFormat = true;
}

struct Word {
    const char* name;
    /// What follows the name; empty for a word that stands alone.
    const char* argument;
    const char* help;
    /// Returns false when the argument does not suit.
    bool (*apply)(EvalOptions&, const std::string& argument);
};

const Word words[] = {
    {"--set", "NAME=FORMULA", "a name for the formulas to use; may use others, in any order",
     readDefinition},
    {"--complex", "", "complex arithmetic",
     [](EvalOptions& options, const std::string&) { return options.complex = true; }},
    {"--sweep", "NAME=LO:HI:STEP", "evaluate for each value from LO to HI, both included",
     readSweep},
    {"--csv", "", "write comma-separated values",
     [](EvalOptions& options, const std::string&) {
         return chooseFormat(options, EvalOptions::Format::csv);
     }},
    {"--json", "", "write JSON",
     [](EvalOptions& options, const std::string&) {
         return chooseFormat(options, EvalOptions::Format::json);
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
    bool onlyFormulas = false;
    for (std::size_t next = 0; next < arguments.size();) {
        const std::string& argument = arguments[next++];
        const auto word = std::find_if(std::begin(words), std::end(words),
                                       [&](const Word& w) { return argument == w.name; });
        // A formula may begin with one minus sign.
        if (onlyFormulas || (word == std::end(words) && argument.compare(0, 2, "--") != 0)) {
            options.formulas.push_back(argument);
        } else if (argument == "--") {
            onlyFormulas = true;
        } else if (word == std::end(words)) {
            error = "unknown argument " + argument;
            return false;
        } else {
            const bool takesArgument = word->argument[0] != '\0';
            if (takesArgument && next == arguments.size()) {
                error = argument + " needs " + word->argument;
                return false;
            }
            const std::string value = takesArgument ? arguments[next++] : "";
            if (!word->apply(options, value)) {
                error = "wrong use of " + argument;
                if (takesArgument) error += ": \"" + value + "\" is not " + word->argument;
                return false;
            }
        }
    }
    return options.help || check(options, error);
}

std::string evalUsage() {
    std::string text =
        "usage: qv eval [OPTION...] FORMULA...   print the value of each formula\n"
        "       qv eval [OPTION...] [-]          evaluate the lines of standard input;\n"
        "                                        \"name = formula\" defines a name\n\n";
    for (const Word& word : words) {
        std::string left = std::string("  ") + word.name + " " + word.argument;
        left.resize(26, ' ');
        text += left + word.help + "\n";
    }
    return text +
           "\nThe limits and the step of a sweep may be formulas. Complex values take two "
           "columns.\n"
           "For example:\n"
           "  qv eval 'sqrt(a**2+b**2)' --set a=3 --set b=a+1\n"
           "  qv eval 'sin(x)' 'cos(x)' --sweep 'x=0:2*_PI:_PI/50' --plot waves.svg\n";
}
