#pragma once
#include <span>
#include <string_view>

#include "qvutils/common/platform/qvexport.h"

namespace qvmaterial {

class Definition;

/// Keywords that define the same thing, of which not all may be given together.
enum class Family {
    none,
    index,
    groupIndex,
    loss,
    permittivity,
    permeability,
    diffusion,
    orientation,
    gain,
    gainTe,
    gainTm,
    gainL,
    gainLTe,
    gainLTm
};

/// What a keyword of a family is: one of the three polynomials, which add up, or another model.
enum Part : unsigned { noPart = 0, polyX = 1, polyL = 2, polyT = 4, otherModel = 8 };

/// A parameter keyword of a material's definition: everything about it.
struct KeywordRow {
    const char* keyword;
    const char* group;
    Family family;
    unsigned part;
    /// For a model: the polynomials that may be given beside it and add to it.
    unsigned beside;
    /// Reads the values; false with an error posted when they are wrong.
    bool (*read)(Definition&);
    const char* usage;  ///< keyword and values
    const char* help;
    const char* example;
};

/// All but the built-in models (ANAL_..., see analytic.h), group by group.
QVCORE_API std::span<const KeywordRow> keywordRows();
/// Stands for all keywords of built-in models.
const KeywordRow& analyticKeyword();
/// Null when there is none; letter case does not matter.
const KeywordRow* findKeyword(std::string_view keyword);

}  // namespace qvmaterial
