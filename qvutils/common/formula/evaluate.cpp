// The evaluation of expressions for one set of values.
#include <algorithm>

#include "qvutils/common/formula/interpreter.h"
#include "qvutils/common/formula/qvfnparserComm.h"

namespace {

/// Runs a program. The frame lies on the machine's stack: an evaluation takes no memory elsewhere.
/// scalar(i) and vector(i) are the current values of parameter i, counted from 0.
template <class V, class T, class Scalar, class Vector>
V runProgram(const QVProgram<T>& program, QVRun<T>& run, const Scalar& scalar,
             const Vector& vector) {
    const auto frameSize = static_cast<std::size_t>(program.frameSize);
    V* const frame = static_cast<V*>(__builtin_alloca(frameSize * sizeof(V)));
    V* slot = frame;
    for (const int parameter : program.scalars) *++slot = scalar(parameter);
    if (!program.vectors.empty()) {
        using View = QVVectorView<T>;
        View* const views =
            static_cast<View*>(__builtin_alloca(program.vectors.size() * sizeof(View)));
        run.vectors = views;
        View* view = views;
        for (const int parameter : program.vectors) *view++ = vector(parameter);
    }
    return qvformula::execute(program, frame, run);
}

/// The value and its derivative with respect to parameter `variable`.
template <class T, class Scalar, class Vector>
T runWithDerivative(const QVProgram<T>& program, QVRun<T>& run, const Scalar& scalar,
                    const Vector& vector, int variable, T& derivative) {
    const auto dual = [&](int parameter) {
        return QVDual<T>(scalar(parameter), T(parameter == variable ? 1 : 0));
    };
    const auto result = runProgram<QVDual<T>>(program, run, dual, vector);
    derivative = result.slope;
    return result.value;
}

template <class T>
QVRun<T> newRun(QVNameSource* names, bool boundsCheck) {
    QVRun<T> run;
    run.names = names;
    run.boundsCheck = boundsCheck;
    return run;
}

/// Hands what evaluate(run) throws on to `error`, together with the place.
template <class T, class Evaluate>
T guarded(QVRun<T> run, const QVProgram<T>* program, QVFormulaFault& fault, Error& error,
          const Evaluate& evaluate) {
    try {
        if (!program) qvThrowError("expression is not compiled\n");
        return evaluate(run);
    } catch (const Error& failure) {
        error = failure;
        fault = {};
        if (run.failedAt >= 0) {
            const QVSpot& spot = program->spots[static_cast<std::size_t>(run.failedAt)];
            fault.column = spot.position;
            fault.length = spot.length;
        }
        return T();
    }
}

template <class T>
T currentScalar(const List<QVParameterOf<T>>& parameters, int number) {
    return *parameters[number + 1].value.begin();
}

template <class T>
QVVectorView<T> currentVector(const List<QVParameterOf<T>>& parameters, int number) {
    const QVParameterOf<T>& p = parameters[number + 1];
    const int last = p.lo + p.value.get_dim() - 1;
    return {p.value.begin(), p.lo, std::min(p.hi, last), &p.name};
}

/// The variable of a derivative has to be a scalar parameter.
template <class T>
void checkVariable(const List<QVParameterOf<T>>& parameters, int parameter) {
    if (parameter < 1 || parameter > parameters.size()) {
        qvThrowError("there is no parameter number %d\n", parameter);
    }
    if (parameters[parameter].isVector()) {
        qvThrowError("variable \"%s\" is a vector and needs an index\n",
                     parameters[parameter].name.Chars());
    }
}

}  // namespace

template <class T>
T QVExpression<T>::EvaluateB(QVRun<T>& run) const {
    return runProgram<T>(
        *program_, run, [&](int i) { return currentScalar(parameters_, i); },
        [&](int i) { return currentVector(parameters_, i); });
}

template <class T>
T QVExpression<T>::Evaluate(Error& error) const {
    return guarded(newRun<T>(names_, boundsCheck_), program_.get(), fault_, error,
                   [&](QVRun<T>& run) { return EvaluateB(run); });
}

template <class T>
T QVExpression<T>::EvaluateDerivative(int parameter, T& derivative, Error& error) const {
    derivative = T();
    const auto evaluate = [&](QVRun<T>& run) {
        checkVariable(parameters_, parameter);
        return runWithDerivative(
            *program_, run, [&](int i) { return currentScalar(parameters_, i); },
            [&](int i) { return currentVector(parameters_, i); }, parameter - 1, derivative);
    };
    return guarded(newRun<T>(names_, boundsCheck_), program_.get(), fault_, error, evaluate);
}

template <class T>
T QVExpression<T>::Evaluate(const QVArguments<T>& arguments, Error& error) const {
    return EvaluateWith(arguments, 0, nullptr, error);
}

template <class T>
T QVExpression<T>::EvaluateDerivative(const QVArguments<T>& arguments, int parameter,
                                      T& derivative, Error& error) const {
    derivative = T();
    return EvaluateWith(arguments, parameter, &derivative, error);
}

template <class T>
T QVExpression<T>::EvaluateWith(const QVArguments<T>& arguments, int parameter, T* derivative,
                                Error& error) const {
    const auto scalar = [&](int i) {
        return arguments.values_[static_cast<std::size_t>(arguments.shapes_[i].offset)];
    };
    const auto vector = [&](int i) {
        const auto& shape = arguments.shapes_[static_cast<std::size_t>(i)];
        return QVVectorView<T>{arguments.values_.data() + shape.offset, shape.lo, shape.hi,
                               &parameters_[i + 1].name};
    };
    const auto evaluate = [&](QVRun<T>& run) {
        if (arguments.count() != parameters_.size()) {
            qvThrowError("the arguments are those of another expression\n");
        }
        if (!derivative) return runProgram<T>(*program_, run, scalar, vector);
        checkVariable(parameters_, parameter);
        return runWithDerivative(*program_, run, scalar, vector, parameter - 1, *derivative);
    };
    return guarded(newRun<T>(names_, boundsCheck_), program_.get(), arguments.fault_, error,
                   evaluate);
}

using qvformula::Complex;
template double QVExpression<double>::EvaluateB(QVRun<double>&) const;
template double QVExpression<double>::EvaluateWith(const QVArguments<double>&, int, double*,
                                                   Error&) const;
template double QVExpression<double>::Evaluate(Error&) const;
template double QVExpression<double>::EvaluateDerivative(int, double&, Error&) const;
template double QVExpression<double>::Evaluate(const QVArguments<double>&, Error&) const;
template double QVExpression<double>::EvaluateDerivative(const QVArguments<double>&, int, double&,
                                                         Error&) const;
template Complex QVExpression<Complex>::EvaluateB(QVRun<Complex>&) const;
template Complex QVExpression<Complex>::EvaluateWith(const QVArguments<Complex>&, int, Complex*,
                                                     Error&) const;
template Complex QVExpression<Complex>::Evaluate(Error&) const;
template Complex QVExpression<Complex>::EvaluateDerivative(int, Complex&, Error&) const;
template Complex QVExpression<Complex>::Evaluate(const QVArguments<Complex>&, Error&) const;
template Complex QVExpression<Complex>::EvaluateDerivative(const QVArguments<Complex>&, int,
                                                           Complex&, Error&) const;
