#pragma once
#include <string>
#include <vector>

/// What the arguments of `qv eval` ask for.
struct EvalOptions {
    enum class Format { table, csv, json };

    struct Named {
        std::string name;
        std::string formula;
    };
    struct Sweep {
        std::string name;
        std::string lo;
        std::string hi;
        std::string step;
    };

    std::vector<std::string> formulas;
    std::vector<Named> definitions;
    bool complex = false;
    bool help = false;
    bool hasSweep = false;
    Sweep sweep;
    bool hasFormat = false;
    Format format = Format::table;
    /// Where the chart goes; empty for none.
    std::string plot;
    /// Formulas are read from standard input.
    bool fromInput = false;
};

/// Reads the arguments after `eval`. On wrong usage returns false and `error` says what is wrong.
bool parseEvalOptions(const std::vector<std::string>& arguments, EvalOptions& options,
                      std::string& error);

/// The text of `qv eval --help`.
std::string evalUsage();

/// Takes "name = formula" apart; false for any other text.
bool splitDefinition(const std::string& text, EvalOptions::Named& definition);
