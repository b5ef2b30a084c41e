// The evaluation of expressions for one set of values.
#include <algorithm>

#include "qvutils/common/formula/interpreter.h"
#include "qvutils/common/formula/qvfnparserComm.h"

template <class T>
bool QVExpression<T>::mayEvaluate(const QVArguments<T>* arguments, Error& error) const {
    if (!program_) {
        error.set("expression is not compiled\n");
    } else if (arguments && arguments->count() != parameters_.size()) {
        error.set("the arguments are those of another expression\n");
    } else {
        return true;
    }
    return false;
}

template <class T>
bool QVExpression<T>::isScalar(int parameter, Error& error) const {
    if (parameter < 1 || parameter > parameters_.size()) {
        error.setf("there is no parameter number %d\n", parameter);
    } else if (parameters_[parameter].isVector()) {
        error.setf("variable \"%s\" is a vector and needs an index\n",
                   parameters_[parameter].name.Chars());
    } else {
        return true;
    }
    return false;
}

template <class T>
T QVExpression<T>::deriveWith(QVRun<T>& run, int parameter, T& derivative) const {
    derivative = T();
    if (!mayEvaluate(run.arguments, run.error) || !isScalar(parameter, run.error)) return T();
    const auto& used = program_->scalars;
    const auto place = std::find(used.begin(), used.end(), parameter - 1);
    if (place != used.end()) run.variable = static_cast<int>(place - used.begin());
    const auto result = qvformula::execute<QVDual<T>>(*program_, run);
    derivative = result.slope;
    return result.value;
}

template <class T>
T QVExpression<T>::Evaluate(Error& error) const {
    if (!program_ && !mayEvaluate(nullptr, error)) return T();
    QVRun<T> run(parameters_, scalars_, nullptr, names_, boundsCheck_, error, fault_);
    return qvformula::execute<T>(*program_, run);
}

template <class T>
T QVExpression<T>::EvaluateDerivative(int parameter, T& derivative, Error& error) const {
    QVRun<T> run(parameters_, scalars_, nullptr, names_, boundsCheck_, error, fault_);
    return deriveWith(run, parameter, derivative);
}

template <class T>
T QVExpression<T>::EvaluateAlong(std::span<const T> slopes, T& derivative, Error& error) const {
    derivative = T();
    if (!mayEvaluate(nullptr, error)) return T();
    if (slopes.size() != static_cast<std::size_t>(parameters_.size())) {
        error.setf("there are %d parameters and %zu slopes\n", parameters_.size(), slopes.size());
        return T();
    }
    QVRun<T> run(parameters_, scalars_, nullptr, names_, boundsCheck_, error, fault_);
    run.slopes = slopes;
    const auto result = qvformula::execute<QVDual<T>>(*program_, run);
    derivative = result.slope;
    return result.value;
}

template <class T>
T QVExpression<T>::Evaluate(const QVArguments<T>& arguments, Error& error) const {
    if (!mayEvaluate(&arguments, error)) return T();
    QVRun<T> run(parameters_, scalars_, &arguments, names_, boundsCheck_, error, arguments.fault_);
    return qvformula::execute<T>(*program_, run);
}

template <class T>
T QVExpression<T>::EvaluateDerivative(const QVArguments<T>& arguments, int parameter, T& derivative,
                                      Error& error) const {
    QVRun<T> run(parameters_, scalars_, &arguments, names_, boundsCheck_, error, arguments.fault_);
    return deriveWith(run, parameter, derivative);
}

using qvformula::Complex;
template bool QVExpression<double>::mayEvaluate(const QVArguments<double>*, Error&) const;
template bool QVExpression<double>::isScalar(int, Error&) const;
template double QVExpression<double>::deriveWith(QVRun<double>&, int, double&) const;
template double QVExpression<double>::Evaluate(Error&) const;
template double QVExpression<double>::EvaluateDerivative(int, double&, Error&) const;
template double QVExpression<double>::EvaluateAlong(std::span<const double>, double&,
                                                    Error&) const;
template double QVExpression<double>::Evaluate(const QVArguments<double>&, Error&) const;
template double QVExpression<double>::EvaluateDerivative(const QVArguments<double>&, int, double&,
                                                         Error&) const;
template bool QVExpression<Complex>::mayEvaluate(const QVArguments<Complex>*, Error&) const;
template bool QVExpression<Complex>::isScalar(int, Error&) const;
template Complex QVExpression<Complex>::deriveWith(QVRun<Complex>&, int, Complex&) const;
template Complex QVExpression<Complex>::Evaluate(Error&) const;
template Complex QVExpression<Complex>::EvaluateDerivative(int, Complex&, Error&) const;
template Complex QVExpression<Complex>::EvaluateAlong(std::span<const Complex>, Complex&,
                                                      Error&) const;
template Complex QVExpression<Complex>::Evaluate(const QVArguments<Complex>&, Error&) const;
template Complex QVExpression<Complex>::EvaluateDerivative(const QVArguments<Complex>&, int,
                                                           Complex&, Error&) const;
