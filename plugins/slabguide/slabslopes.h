#pragma once
#include <map>
#include <vector>

#include "plugins/slabguide/slabstack.h"
#include "qvutils/common/formula/qvfnparserComm.h"
#include "qvutils/common/variables/qvnamespace.h"

/// Total derivatives of formulas with respect to a variable, through all variables whose formulas
/// lie in between. Exact to rounding, but for functions without a derivative: these count with a
/// difference of fourth order, good to 11 digits where they are smooth.
///
/// Good until a variable gets another formula; values may change.
class SlabSlopes {
public:
    /// `independent` counts as a plain value, whatever it is.
    SlabSlopes(qvNameSpace& names, qvNamedVariable& independent);

    /// The variable that a formula hangs on: where it has just one name, and that variable's
    /// formula too, down to the last. Null when it has several, or none.
    static qvNamedVariable* rootOf(const QVString& formula, qvNameSpace& names);

    /// Adds a formula over `names`; returns its number.
    std::size_t add(const QVString& formula);
    /// Works all derivatives out for the present values of the variables. What is wrong is posted
    /// to qverr().
    void update();
    slab::Complex operator[](std::size_t formula) const { return parts_[formula].slope; }

private:
    /// A formula, of a variable or added; or the independent variable.
    struct Part {
        qvNamedVariable* variable = nullptr;
        QVExpressionC expression;
        std::vector<std::size_t> uses;  ///< the parts that its parameters stand for
        slab::Complex value, slope;
    };
    /// A variable that is looked into.
    struct Open {
        qvNamedVariable* variable;
        std::vector<qvNamedVariable*> uses;
        std::size_t next = 0;
    };

    static std::vector<qvNamedVariable*> usedBy(const QVString& formula, qvNameSpace& names);
    void look(qvNamedVariable* variable);
    std::size_t enter(qvNamedVariable* variable, const QVString& formula, qvNameSpace& names);
    void derive(Part& part);
    slab::Complex difference(Part& part, const std::vector<slab::Complex>& slopes, Error& error);

    static constexpr std::size_t constant = static_cast<std::size_t>(-1);

    qvNameSpace& names_;
    std::vector<Part> parts_;  ///< each after those that it uses
    /// The part of each variable that was looked into; `constant` when it does not depend on the
    /// independent one.
    std::map<const qvNamedVariable*, std::size_t> known_;
};
