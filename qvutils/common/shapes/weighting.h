#pragma once
#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "qvutils/common/shapes/weightcomponent.h"

/// What a weighting function consists of.
struct qvWeighting {
    /// In the order of their names; the others follow the last one.
    std::array<WeightComponent, 3> functions;
    std::vector<WeightParam> params;
    WeightRange range;

    static constexpr std::array<const char*, 3> names{"X", "Y", "ANGLE"};

    /// Reads a definition (see WeightFunc) into an empty one; false after a SyntaxErr.
    bool read(std::string_view text, qvNameSpace* space);
    QVString write() const;
    /// Works out what depends on variables and files.
    void prepare();
    /// The same definition, with its formulas in `space`.
    void enter(qvNameSpace* space);
    /// Once prepared, why the first function without a value has none; empty when there is none.
    std::string flaw() const;
    /// The number of a function, or the parameter, at an address; null when it is none of these.
    qvParameter<double>* findValue(const void* address);
};
