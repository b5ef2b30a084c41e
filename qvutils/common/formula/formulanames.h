#pragma once
#include <complex>
#include <cstdint>
#include <functional>
#include <vector>

#include "qvutils/common/platform/qvexport.h"
#include "qvutils/common/text/qvstring.h"

class qvNameSpace;

/// What a look-up at compile time found; only the source that made it understands it.
struct QVNameHandle {
    const void* object = nullptr;
    std::uint64_t key = 0;
};

/// Where an expression finds names that are neither numbers, constants nor its own parameters: a
/// namespace of variables implements it.
class QVCORE_API QVNameSource {
public:
    virtual ~QVNameSource();

    /// Looks a name up while a formula is compiled.
    virtual bool findName(QVText name, QVNameHandle& handle) = 0;
    /// The current value of what was found, while a formula is evaluated; false when it is gone.
    virtual bool readName(const QVNameHandle& handle, std::complex<double>& value) = 0;
    /// Adds the known names: for the suggestions made when a name is not known.
    virtual void listNames(std::vector<QVString>& names) = 0;
    /// The namespace, when the source is one.
    virtual qvNameSpace* asNameSpace() { return nullptr; }
};

/// Tells the names that a formula refers to, in the order of the text. A name is whatever the
/// language reads as one: not a number (nor the e5 of 1e5), not a function's name before its
/// bracket, not the loop variable of a sum inside that sum's body. Constants are told too. The name
/// comes without blanks; position and length are those of the text as typed, blanks inside
/// included. A formula with a mistake in its form tells the names that can be made out.
QVCORE_API void qvForEachName(
    QVText formula, const std::function<void(QVText name, int position, int length)>& callback);

/// The formula with the name `from` replaced by `to` wherever the formula refers to it, the rest
/// untouched; `count` is how often. The variable of a sum that would capture the new name is
/// renamed as well: `b` for `a` in "sum(b=1:3,a*b)" gives "sum(b_=1:3,b*b_)".
QVCORE_API QVString qvRenameInFormula(QVText formula, QVText from, QVText to, int& count);

/// Where a formula failed: `column` counts from 0 in the text as typed, blanks included; -1 when
/// the place is not known. `nearest` are known names that resemble an unknown one, best first.
struct QVFormulaFault {
    int column = -1;
    int length = 0;
    std::vector<QVString> nearest;
};

/// The place of a fault as lines of text: the formula, or the part around the fault when it is
/// long; a line of ^~~~ under the offending text; and "did you mean width, wide?" when there are
/// near names. Each line ends with a newline. Empty when the place is not known.
QVCORE_API QVString qvShowFault(QVText formula, const QVFormulaFault& fault);
