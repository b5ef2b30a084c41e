#pragma once
#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "qvutils/common/formula/qvfnparserComm.h"
#include "qvutils/common/parameters/qvparameter.h"
#include "qvutils/common/shapes/weighttable.h"

struct WeightKind;

/// From where to where t runs.
struct WeightRange {
    double start = 0;
    double end = 1;
    bool given = false;

    /// Whether it can be used: two numbers, the second greater than the first.
    static bool isUsable(double start, double end);
    /// t, or the nearer end when it lies outside.
    double clamped(double t) const;
    /// How far t is on its way: 0 at the start, 1 at the end, never outside.
    double progress(double t) const;
};

/// A parameter of formulas.
struct WeightParam {
    QVString name;
    qvParameter<double> value;
    int component = 0;  ///< behind whose formula it was written
};

/// A formula's set of values, lent to one evaluation at a time, so that a new one is needed only
/// while several threads evaluate at once. A copy begins without one.
class WeightArguments {
public:
    WeightArguments() = default;
    WeightArguments(const WeightArguments&) {}
    WeightArguments& operator=(const WeightArguments&) {
        put(nullptr);
        return *this;
    }
    ~WeightArguments() { put(nullptr); }

    std::unique_ptr<QVArguments<double>> take(const QVExpressionR& formula) const {
        std::unique_ptr<QVArguments<double>> set(kept_.exchange(nullptr));
        return set ? std::move(set)
                   : std::make_unique<QVArguments<double>>(formula.makeArguments());
    }
    /// Takes a set back in place of the one kept.
    void put(std::unique_ptr<QVArguments<double>> set) const {
        delete kept_.exchange(set.release());
    }

private:
    mutable std::atomic<QVArguments<double>*> kept_ = nullptr;
};

/// One of the three functions that make up a weighting function. What its definition says is kept
/// apart from what was made of it, so that a definition that cannot be used is kept as well.
struct WeightComponent {
    const WeightKind* kind = nullptr;  ///< null when it is not defined
    qvParameter<double> number;        ///< for kinds that take one
    QVString text;                     ///< for kinds that take one: the formula, the file's name

    /// Makes what follows from the definition and from the values of now.
    void prepare(const std::vector<WeightParam>& params);
    /// A value that could not be evaluated is a flaw, about which there has been a warning.
    void refuse(const char* what, const qvParameter<double>& value);
    /// The function at t, once prepared; posts an error and gives 0 where it has no value. Any
    /// number of threads may ask.
    double value(double t, const WeightRange& range) const;

    double current = 0;  ///< the number
    QVExpressionR formula;
    WeightArguments arguments;  ///< of the formula
    std::shared_ptr<const WeightTable> table;
    std::int64_t tableTime = 0;  ///< when the file of the table was written, and its length
    std::int64_t tableSize = 0;
    std::string flaw;     ///< why there is no value anywhere; empty when there may be
    bool isTold = false;  ///< a warning has told of the flaw
};

/// A kind of function: a row of the table, and all that is known of it.
struct WeightKind {
    enum Argument { number, numberOrNone, word, formula };

    const char* keyword;
    Argument argument;
    double usual;        ///< the number when it is left out
    const char* format;  ///< how it is written
    const char* help;    ///< what the number or the text means
    void (*prepare)(WeightComponent& component, const std::vector<WeightParam>& params);
    /// May post an error, or give what is not a number.
    double (*value)(const WeightComponent& component, double t, const WeightRange& range);

    bool takesNumber() const { return argument == number || argument == numberOrNone; }
    /// Null when there is none of that keyword.
    static const WeightKind* find(std::string_view keyword);
};
