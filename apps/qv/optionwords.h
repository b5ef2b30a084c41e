#pragma once
#include <algorithm>
#include <charconv>
#include <cstddef>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

#include "apps/qv/numbertable.h"

/// One option of a subcommand: a row of its table.
template <class Options>
struct OptionWord {
    const char* name;
    /// What follows the name; empty for a word that stands alone.
    const char* argument;
    const char* help;
    /// Returns false when the argument does not suit.
    bool (*apply)(Options&, const std::string& argument);
};

/// Reads a number within limits; all of the text has to belong to it.
template <class T>
bool readNumber(const std::string& text, T least, T most, T& value) {
    T number{};
    const char* const end = text.data() + text.size();
    const auto [rest, failure] = std::from_chars(text.data(), end, number);
    if (failure != std::errc() || rest != end || !(number >= least && number <= most)) return false;
    value = number;
    return true;
}

/// The format of a table may be chosen once.
template <class Options>
bool chooseFormat(Options& options, TableFormat format) {
    if (options.hasFormat && options.format != format) return false;
    options.format = format;
    return options.hasFormat = true;
}

/// Reads the arguments of a subcommand. What is no option goes to `operands`, also when it begins
/// with one minus sign, and all that follows "--". On wrong usage returns false and `error` says
/// what is wrong.
template <class Options, std::size_t size>
bool readOptionWords(const OptionWord<Options> (&words)[size],
                     const std::vector<std::string>& arguments, Options& options,
                     std::vector<std::string>& operands, std::string& error) {
    bool onlyOperands = false;
    for (std::size_t next = 0; next < arguments.size();) {
        const std::string& argument = arguments[next++];
        const auto word =
            std::find_if(std::begin(words), std::end(words),
                         [&](const OptionWord<Options>& w) { return argument == w.name; });
        if (onlyOperands || (word == std::end(words) && argument.compare(0, 2, "--") != 0)) {
            operands.push_back(argument);
        } else if (argument == "--") {
            onlyOperands = true;
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
    return true;
}

/// One line for each option, with its help.
template <class Options, std::size_t size>
std::string optionHelp(const OptionWord<Options> (&words)[size]) {
    constexpr std::size_t helpColumn = 26;
    std::string text;
    for (const OptionWord<Options>& word : words) {
        std::string left = std::string("  ") + word.name + " " + word.argument;
        left.resize(std::max(helpColumn, left.size() + 1), ' ');
        text += left + word.help + "\n";
    }
    return text;
}
