// The evaluation of expressions over arrays of values.
#include <functional>
#include <optional>
#include <vector>

#include "qvutils/common/formula/blockrun.h"
#include "qvutils/common/formula/qvfnparserComm.h"

namespace {

/// Results that lie where values come from would be overwritten before a failing block is looked
/// at once more.
template <class T>
bool overlap(std::span<const QVArraySource<T>> sources, std::span<T> results) {
    const std::less<const T*> before;
    const T* const begin = results.data();
    const T* const end = begin + results.size();
    for (const auto& source : sources) {
        const T* const values = source.values.data();
        if (before(values, end) && before(begin, values + source.values.size())) return true;
    }
    return false;
}

}  // namespace

template <class T>
bool QVExpression<T>::mayEvaluateArray(std::span<const QVArraySource<T>> sources, std::size_t rows,
                                       Error& error) const {
    if (!mayEvaluate(nullptr, error)) return false;
    for (const auto& source : sources) {
        if (!isScalar(source.parameter, error)) return false;
        if (source.values.size() != rows) {
            error.setf("there are %d values of \"%s\" for %d results\n",
                       static_cast<int>(source.values.size()),
                       parameters_[source.parameter].name.Chars(), static_cast<int>(rows));
            return false;
        }
    }
    return true;
}

template <class T>
bool QVExpression<T>::EvaluateArray(std::span<const QVArraySource<T>> sources, std::span<T> results,
                                    Error& error, std::size_t* failedRow) const {
    if (failedRow) *failedRow = 0;
    if (!mayEvaluateArray(sources, results.size(), error)) return false;

    QVRun<T> blocks(parameters_, scalars_, nullptr, names_, boundsCheck_, error, fault_);
    std::optional<QVBlockRunner<T>> runner;
    if (QVBlockRunner<T>::serves(*program_) && !overlap(sources, results)) {
        runner.emplace(*program_, blocks, sources);
    }
    std::optional<QVArguments<T>> arguments;
    std::vector<T*> targets;  // where the sources' values go among the arguments
    for (std::size_t first = 0; first < results.size(); first += QVBlockRunner<T>::most) {
        const std::size_t n = std::min<std::size_t>(results.size() - first, QVBlockRunner<T>::most);
        if (runner && runner->rows(first, static_cast<int>(n), results.data() + first)) continue;
        if (!arguments) {
            arguments = makeArguments();
            for (const auto& s : sources) targets.push_back(&arguments->value(s.parameter));
        }
        QVRun<T> rows(parameters_, scalars_, &*arguments, names_, boundsCheck_, error, fault_);
        for (std::size_t row = first; row < first + n; ++row) {
            for (std::size_t i = 0; i < sources.size(); ++i) *targets[i] = sources[i].values[row];
            results[row] = qvformula::execute<T>(*program_, rows);
            if (!rows.failed) continue;
            if (failedRow) *failedRow = row;
            return false;
        }
    }
    return true;
}

template bool QVExpression<double>::mayEvaluateArray(std::span<const QVArraySource<double>>,
                                                     std::size_t, Error&) const;
template bool QVExpression<double>::EvaluateArray(std::span<const QVArraySource<double>>,
                                                  std::span<double>, Error&, std::size_t*) const;
using qvformula::Complex;
template bool QVExpression<Complex>::mayEvaluateArray(std::span<const QVArraySource<Complex>>,
                                                      std::size_t, Error&) const;
template bool QVExpression<Complex>::EvaluateArray(std::span<const QVArraySource<Complex>>,
                                                   std::span<Complex>, Error&, std::size_t*) const;
