#pragma once
#include <string>
#include <vector>

#include "apps/qv/numbertable.h"
#include "apps/qv/sweepvalues.h"

/// What the arguments of `qv eval` ask for.
struct EvalOptions {
    struct Named {
        std::string name;
        std::string formula;
    };

    std::vector<std::string> formulas;
    std::vector<Named> definitions;
    bool complex = false;
    bool help = false;
    bool hasSweep = false;
    int sweeps = 0;
    std::string sweepName;
    SweepText sweep;
    bool hasFormat = false;
    TableFormat format = TableFormat::aligned;
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
