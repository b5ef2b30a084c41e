#pragma once
#include <cstdint>
#include <span>

#include "qvutils/common/formula/dual.h"
#include "qvutils/common/formula/funcparser.h"

/// Functions that the evaluator has instructions of their own for.
enum class QVDirect : std::uint8_t { none, sqrt, abs, power };

/// What the evaluator knows of a function besides its value. A registered function without a row
/// can be evaluated, but not differentiated, and is taken to be impure.
template <class T>
struct QVFunctionFacts {
    const char* help = "";
    /// The function of one argument, without an argument list. May throw an Error.
    T (*unary)(T) = nullptr;
    /// The slope of the result when the arguments have the given values and slopes; `value` is the
    /// result. Null when there is no derivative.
    T (*slope)(const QVDual<T>* arguments, int count, const T& value) = nullptr;
    /// The function of n values at once; `out` may be `in`. False when a value is outside the
    /// domain; the results are then undefined. May be null.
    bool (*array)(const T* in, T* out, int n) = nullptr;
    QVDirect direct = QVDirect::none;
    /// Equal arguments give equal results, so a call on constants may be worked out beforehand.
    bool pure = true;
};

/// A row of the table of built-in functions.
template <class T>
struct QVBuiltin {
    const char* name;
    int arity;              ///< -1: any number, the function checks it
    const char* arguments;  ///< as shown to the user: "(x)"
    QVFormulaFunction<T> function;
    QVFunctionFacts<T> facts;
};

/// The built-in functions in the order of their registration; T is double or complex<double>. The
/// table needs no initialisation at run time.
template <class T>
std::span<const QVBuiltin<T>> qvBuiltins();
template <>
QVCORE_API std::span<const QVBuiltin<double>> qvBuiltins<double>();
template <>
QVCORE_API std::span<const QVBuiltin<std::complex<double>>> qvBuiltins<std::complex<double>>();
