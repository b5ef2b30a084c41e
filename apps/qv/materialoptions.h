#pragma once
#include <string>
#include <vector>

#include "apps/qv/numbertable.h"
#include "qvutils/common/materialobject/materialquantity.h"

/// What the arguments of `qv material` ask for.
struct MaterialOptions {
    enum class Action { query, list, check };

    std::string file;
    std::string name;
    Action action = Action::query;
    /// Numbers, formulas or LO:HI:STEP; empty when not given.
    std::string lambda;
    std::string mx;
    std::string my;
    std::string T;
    std::string N;
    /// Empty for the usual ones.
    std::vector<const qvMaterialQuantity*> show;
    bool hasFormat = false;
    TableFormat format = TableFormat::aligned;
    /// Where the chart goes; empty for none.
    std::string plot;
    bool help = false;
};

/// Reads the arguments after `material`. On wrong usage returns false and `error` says what is
/// wrong.
bool parseMaterialOptions(const std::vector<std::string>& arguments, MaterialOptions& options,
                          std::string& error);

/// The text of `qv material --help`.
std::string materialUsage();
