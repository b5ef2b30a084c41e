#pragma once
#include "qvutils/common/formula/dual.h"
#include "qvutils/common/formula/formulamath.h"

/// The operators of formulas on the values the interpreter works with: double, complex<double> and
/// the dual numbers of both. T is the type of a program's constants. Functions that are not inlined
/// take values, not references: a reference would force the accumulator into memory.
namespace qvformula {

template <class T>
QVDual<T> divide(const QVDual<T>& a, const QVDual<T>& b) {
    if (b.value == T(0)) [[unlikely]]
        refuseDivision();
    return a / b;
}
template <class T>
QVDual<T> negate(const QVDual<T>& a) {
    return {negate(a.value), -a.slope};
}

inline const double& plain(const double& x) {
    return x;
}
inline const Complex& plain(const Complex& z) {
    return z;
}
template <class T>
const T& plain(const QVDual<T>& a) {
    return a.value;
}

struct Add {
    template <class V>
    static V of(const V& a, const V& b) {
        return a + b;
    }
    template <class V, class T>
    static V withConstant(const V& a, const T& k) {
        return a + V(k);
    }
    template <class V, class T>
    static V ofConstant(const T& k, const V& a) {
        return V(k) + a;
    }
};

struct Sub {
    template <class V>
    static V of(const V& a, const V& b) {
        return a - b;
    }
    template <class V, class T>
    static V withConstant(const V& a, const T& k) {
        return a - V(k);
    }
    template <class V, class T>
    static V ofConstant(const T& k, const V& a) {
        return V(k) - a;
    }
};

/// A constant without imaginary part scales a complex number: two operations instead of six.
struct Mul {
    template <class V>
    static V of(const V& a, const V& b) {
        return a * b;
    }
    template <class V, class T>
    static V withConstant(const V& a, const T& k) {
        return a * V(k);
    }
    static Complex withConstant(const Complex& a, const Complex& k) {
        if (!isReal(k)) return a * k;
        return {a.real() * k.real(), a.imag() * k.real() + 0.0};
    }
    template <class V, class T>
    static V ofConstant(const T& k, const V& a) {
        return withConstant(a, k);
    }
};

struct Div {
    template <class V>
    static V of(const V& a, const V& b) {
        return divide(a, b);
    }
    template <class V, class T>
    static V withConstant(const V& a, const T& k) {
        return divide(a, V(k));
    }
    static Complex withConstant(const Complex& a, const Complex& k) {
        if (!isReal(k) || k.real() == 0) return divide(a, k);
        return {a.real() / k.real(), a.imag() / k.real() + 0.0};
    }
    template <class V, class T>
    static V ofConstant(const T& k, const V& a) {
        return divide(V(k), a);
    }
};

template <class T>
QVDual<T> pow(QVDual<T> base, QVDual<T> exponent);
extern template QVDual<double> pow(QVDual<double>, QVDual<double>);
extern template QVDual<Complex> pow(QVDual<Complex>, QVDual<Complex>);

struct Pow {
    template <class V>
    static V of(const V& a, const V& b) {
        return pow(a, b);
    }
    template <class V, class T>
    static V withConstant(const V& a, const T& k) {
        return pow(a, V(k));
    }
    template <class V, class T>
    static V ofConstant(const T& k, const V& a) {
        return pow(V(k), a);
    }
};

struct Eq {
    template <class T>
    static bool of(const T& a, const T& b, bool) {
        return a == b;
    }
};
struct Ne {
    template <class T>
    static bool of(const T& a, const T& b, bool) {
        return a != b;
    }
};
/// Order comparisons; `turned` tells that the operands were written the other way round.
struct Lt {
    template <class T>
    static bool of(const T& a, const T& b, bool turned) {
        return realOnly(a, turned ? ">" : "<") < realOnly(b, turned ? ">" : "<");
    }
};
struct Le {
    template <class T>
    static bool of(const T& a, const T& b, bool turned) {
        return realOnly(a, turned ? ">=" : "<=") <= realOnly(b, turned ? ">=" : "<=");
    }
};
struct Gt {
    template <class T>
    static bool of(const T& a, const T& b, bool turned) {
        return realOnly(a, turned ? "<" : ">") > realOnly(b, turned ? "<" : ">");
    }
};
struct Ge {
    template <class T>
    static bool of(const T& a, const T& b, bool turned) {
        return realOnly(a, turned ? "<=" : ">=") >= realOnly(b, turned ? "<=" : ">=");
    }
};

}  // namespace qvformula
