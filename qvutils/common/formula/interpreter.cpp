#include "qvutils/common/formula/interpreter.h"

#include <atomic>
#include <cmath>
#include <vector>

#include "qvutils/common/formula/functioncall.h"
#include "qvutils/common/formula/limits.h"
#include "qvutils/common/tasks/runsignal.h"
#include "qvutils/common/text/qvnumber.h"

namespace {

std::atomic<double> mostRounds = 1e9;
/// The integers that a double holds without gaps.
constexpr double largestBound = 9007199254740992.0;

}  // namespace

void qvSetMostLoopRounds(double rounds) {
    mostRounds = rounds;
}
double qvMostLoopRounds() {
    return mostRounds;
}

void QVLoopBudget::take(double rounds) {
    taken_ += rounds;
    const double most = mostRounds;
    if (taken_ > most) {
        qvThrowError("too many rounds in sums and products: more than %.0f\n", most);
    }
}

void QVLoopBudget::poll() {
    untilPoll_ = 4096;
    if (qvRunSignal::killRequested()) qvThrowError("evaluation stopped\n");
}

template <class T>
QVVectorView<T> QVRun<T>::vector(int number) const {
    const QVParameterOf<T>& p = parameters[number + 1];
    if (arguments) {
        const auto& shape = arguments->shapes_[static_cast<std::size_t>(number)];
        return {&arguments->first(number), shape.lo, shape.hi, &p.name};
    }
    const int last = p.lo + p.value.get_dim() - 1;
    return {p.value.begin(), p.lo, std::min(p.hi, last), &p.name};
}

template <class T>
void QVRun<T>::report(const Error& failure, const QVProgram<T>& program,
                      std::ptrdiff_t instruction) {
    const QVSpot& spot = program.spots[static_cast<std::size_t>(instruction)];
    failed = true;
    error = failure;
    fault = {spot.position, spot.length, {}};
}

template struct QVRun<double>;
template struct QVRun<std::complex<double>>;

namespace qvformula {

template <class T>
T element(const QVRun<T>& run, int parameter, T index) {
    const QVVectorView<T> vector = run.vector(parameter);
    const bool boundsCheck = run.boundsCheck || vector.hi < vector.lo;
    const double i = std::trunc(realOnly(index, "[]"));
    if (!(i >= vector.lo && i <= vector.hi)) {
        if (boundsCheck && std::fabs(i) <= 2147483647) {
            qvThrowError("index %d out of range (%d %d) in variable \"%s\"\n", static_cast<int>(i),
                         vector.lo, vector.hi, vector.name->Chars());
        }
        if (boundsCheck) {
            qvThrowError("index %g out of range (%d %d) in variable \"%s\"\n", i, vector.lo,
                         vector.hi, vector.name->Chars());
        }
        return vector.values[i > vector.hi ? vector.hi - vector.lo : 0];
    }
    return vector.values[static_cast<int>(i) - vector.lo];
}

template <class T>
T readName(QVNameSource* source, const QVNameHandle& handle) {
    Complex value;
    if (!source->readName(handle, value)) {
        qvThrowError("a variable of the formula is gone\n");
    }
    T result{};
    qvComplexToNumber(value, result);
    return result;
}

template <class T>
double loopBound(T bound, QVLoopKind kind) {
    const char* name = kind == QVLoopKind::sum ? "sum" : "prod";
    const double value = std::trunc(realOnly(bound, name));
    if (!(std::fabs(value) <= largestBound)) {
        qvThrowError("bound %g is out of range in function \"%s\"\n", value, name);
    }
    return value;
}

template <class T>
QVDual<T> call(const FuncDataElt<T>& f, const QVDual<T>* arguments, int count) {
    if (!f.facts || !f.facts->slope) {
        qvThrowError("function \"%s\" has no derivative\n", f.name.Chars());
    }
    T few[16];
    std::vector<T> many;
    T* values = few;
    if (count > 16) {
        many.resize(static_cast<std::size_t>(count));
        values = many.data();
    }
    for (int i = 0; i < count; ++i) values[i] = arguments[i].value;
    const T value = qvCallFunction(f, {count, values});
    return {value, f.facts->slope(arguments, count, value)};
}

template double element(const QVRun<double>&, int, double);
template Complex element(const QVRun<Complex>&, int, Complex);
template double readName(QVNameSource*, const QVNameHandle&);
template Complex readName(QVNameSource*, const QVNameHandle&);
template double loopBound(double, QVLoopKind);
template double loopBound(Complex, QVLoopKind);
template QVDual<double> call(const FuncDataElt<double>&, const QVDual<double>*, int);
template QVDual<Complex> call(const FuncDataElt<Complex>&, const QVDual<Complex>*, int);

}  // namespace qvformula
