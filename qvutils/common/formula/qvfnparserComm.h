#pragma once
#include <algorithm>
#include <complex>
#include <memory>
#include <span>
#include <vector>

#include "qvutils/common/containers/array1d.h"
#include "qvutils/common/containers/list.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/formula/formulanames.h"
#include "qvutils/common/formula/funcparser.h"
#include "qvutils/common/platform/qvexport.h"
#include "qvutils/common/text/qvstring.h"

/// Formulas: compiled once, evaluated often, in real (T = double) or complex arithmetic.
template <class T>
class QVProgram;
template <class T>
struct QVRun;

/// A declared parameter: a scalar when hi < lo, else a vector with the indices lo to hi. The caller
/// writes its value, or values, into `value` between evaluations; a scalar is value[lo].
template <class T>
struct QVParameterOf {
    QVParameterOf() : QVParameterOf("", "", 0, -1) {}
    QVParameterOf(QVText name, QVText description, int lo, int hi)
        : name(name.view()),
          description(description.view()),
          lo(lo),
          hi(hi),
          value(lo, std::max(lo, hi)) {
        for (T& v : value) v = T();
    }

    bool isVector() const { return hi >= lo; }

    QVString name;
    QVString description;
    int lo;
    int hi;
    Array1d<T> value;
    int lo2 = 0;  // unused bounds of a second index
    int hi2 = -1;
};
using QVParameterR = QVParameterOf<double>;
using QVParameterC = QVParameterOf<std::complex<double>>;

template <class T>
class QVExpression;

/// One set of parameter values for the expression that made it, so that several threads can
/// evaluate one expression, each with its own set. Parameters count from 1 in the order declared.
template <class T>
class QVArguments {
public:
    int count() const { return static_cast<int>(shapes_.size()); }
    /// The value of a scalar, or of a vector's element at `index`. Ends the program for a parameter
    /// or an index that does not exist.
    T& value(int parameter) { return values_[place(parameter, nullptr)]; }
    T& value(int parameter, int index) { return values_[place(parameter, &index)]; }
    /// Where the last evaluation with this set failed; without near names.
    const QVFormulaFault& getFault() const { return fault_; }

private:
    friend class QVExpression<T>;
    friend struct QVRun<T>;
    struct Shape {
        int lo;
        int hi;
        int offset;  // of the first value in values_
    };
    int place(int parameter, const int* index) const;
    /// The value of a scalar, the first one of a vector, for a parameter counted from 0.
    const T& first(int parameter) const {
        return values_[static_cast<std::size_t>(shapes_[static_cast<std::size_t>(parameter)].offset)];
    }

    std::vector<Shape> shapes_;
    std::vector<T> values_;
    mutable QVFormulaFault fault_;
};

/// The values that one scalar parameter takes in an evaluation over arrays.
template <class T>
struct QVArraySource {
    int parameter = 0;
    std::span<const T> values;
};

/// A formula. setExpression, the parameters or the namespace, then Compile, then Evaluate as often
/// as wished. Copies share the compiled form, which never changes.
///
/// Messages of Compile: "parse error\n", "missing bracket\n", "missing square bracket\n", "too many
/// arguments to if function\n", "expression too complicated\n", "undefined function \"%s\"\n",
/// "wrong number of arguments in function \"%s\"\n", "undefined variable \"%s\"\n", "variable
/// \"%s\" is not a vector\n", "variable \"%s\" is a vector and needs an index\n", "sums and
/// products are nested too deeply\n".
template <class T>
class QVExpression {
public:
    QVExpression();
    QVExpression(const QVExpression& other);
    QVExpression& operator=(const QVExpression& other);
    ~QVExpression();

    /// These make it necessary to compile again.
    void setExpression(QVText text);
    void setFuncParser(const QVFuncParser<T>& registry);
    /// Copies the parameters at positions `first` to `last` of the list; all from `first` on when
    /// `last` is before it.
    void setNameSpace(const List<QVParameterOf<T>>& parameters, int first, int last);
    /// Takes names from a namespace, which is referred to; null for none. Names declared as
    /// parameters go first.
    void setNameSpace(QVNameSource* names);
    /// Appends a parameter; a scalar unless hi >= lo.
    void DeclareParam(QVText name, QVText description, int lo = 0, int hi = -1);

    /// The parameters, for the caller to write their values. Names and bounds stay as declared, and
    /// the list keeps its elements while the expression is compiled.
    List<QVParameterOf<T>>& getNameSpace() { return parameters_; }
    const List<QVParameterOf<T>>& getNameSpace() const { return parameters_; }
    /// The position of a parameter, 0 when there is none of that name.
    int findParam(QVText name) const;
    qvNameSpace* getVariableNameSpace() const { return names_ ? names_->asNameSpace() : nullptr; }
    QVNameSource* getNameSource() const { return names_; }
    const QVFuncParser<T>& getFuncParser() const { return *registry_; }
    const QVString& getExpression() const { return text_; }

    /// Checking the index of vectors, on at first, is a matter of evaluation: compiling again is
    /// not needed. Unchecked, an index out of range reads the nearest element.
    void EnableBoundsCheck(bool on) { boundsCheck_ = on; }
    bool isBoundsCheckEnabled() const { return boundsCheck_; }

    /// False, with a message in `error`, when the formula is wrong.
    bool Compile(Error& error);
    /// Drops the compiled form.
    void Reset();
    bool IsOk() const { return program_ != nullptr; }
    /// Where the last Compile or Evaluate failed. Near names are looked up here, when asked for.
    const QVFormulaFault& getFault();

    /// The value for the current values of the parameters; 0 with a message in `error` when it
    /// failed. `error` is left alone when all went well.
    T Evaluate(Error& error) const;
    /// The same with the derivative with respect to a scalar parameter, exact to rounding: that of
    /// the piece the value lies in where a formula has pieces (at a joint abs and sign have slope 0,
    /// lininterp that of the piece to the right), infinite or not a number where there is none, as
    /// for sqrt at 0. abs, real, imag and arg of a complex value have no complex derivative: theirs
    /// is the one for real changes of the parameter. A failure: "function \"%s\" has no
    /// derivative\n", of a registered function without one.
    T EvaluateDerivative(int parameter, T& derivative, Error& error) const;
    /// The same along a direction: all scalar parameters change at once, each as fast as its slope
    /// tells, of which there is one for each parameter (those of vectors are not used).
    T EvaluateAlong(std::span<const T> slopes, T& derivative, Error& error) const;

    /// For several threads at once: a set of the current values to begin with, and evaluations that
    /// only read the expression.
    QVArguments<T> makeArguments() const;
    T Evaluate(const QVArguments<T>& arguments, Error& error) const;
    T EvaluateDerivative(const QVArguments<T>& arguments, int parameter, T& derivative,
                         Error& error) const;

    /// The formula for each row of values; every source has as many values as there are results.
    /// Parameters without a source keep their current value. Operators, sqrt, abs, powers of 2, 3
    /// and 4 and complex formulas give bit for bit what Evaluate gives; other powers and the
    /// functions of one argument are within 4 units in the last place of the true value, each.
    /// On failure the message is that of the first row that fails, `failedRow` (when given) its
    /// number from 0, and the results of the rows before it are valid. Formulas with if, sum, prod
    /// or registered functions are worked out row by row.
    bool EvaluateArray(std::span<const QVArraySource<T>> sources, std::span<T> results,
                       Error& error, std::size_t* failedRow = nullptr) const;

private:
    void CompileB();
    void bindScalars();
    bool mayEvaluate(const QVArguments<T>* arguments, Error& error) const;
    bool isScalar(int parameter, Error& error) const;
    bool mayEvaluateArray(std::span<const QVArraySource<T>> sources, std::size_t rows,
                          Error& error) const;
    T deriveWith(QVRun<T>& run, int parameter, T& derivative) const;

    QVString text_;
    const QVFuncParser<T>* registry_;
    List<QVParameterOf<T>> parameters_;
    QVNameSource* names_ = nullptr;
    bool boundsCheck_ = true;
    std::shared_ptr<const QVProgram<T>> program_;
    std::vector<const QVParameterOf<T>*> scalars_;  // those in the program's slots
    mutable QVFormulaFault fault_;
    // The name that was not found, until near names were looked up.
    QVString unknown_;
    bool unknownIsFunction_ = false;
};
using QVExpressionR = QVExpression<double>;
using QVExpressionC = QVExpression<std::complex<double>>;

extern template class QVCORE_API QVArguments<double>;
extern template class QVCORE_API QVArguments<std::complex<double>>;
extern template class QVCORE_API QVExpression<double>;
extern template class QVCORE_API QVExpression<std::complex<double>>;
