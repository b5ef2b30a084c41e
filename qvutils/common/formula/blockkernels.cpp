#include "qvutils/common/formula/blockkernels.h"

#include <cstdint>

#include "qvutils/common/formula/formulamath.h"
#include "qvutils/common/platform/vectormath.h"

using qvplatform::VectorFunction;
using qvplatform::vectorMath;

namespace qvformula {

namespace {

// `out` may be one of the operands: each number is read before its place is written.
#ifdef __clang__
#define QV_INDEPENDENT _Pragma("clang loop vectorize(assume_safety)")
#define QV_WIDEST "avx512f,avx512dq,avx512vl"
#else
#define QV_INDEPENDENT _Pragma("GCC ivdep")
#define QV_WIDEST "avx512f,avx512dq,avx512vl,prefer-vector-width=512"
#endif

// The loops are written for one number and left to the compiler to turn into vector instructions; a
// zero divisor is looked for on the way, without a branch.

template <BlockOp op>
[[gnu::always_inline]] inline double apply(double a, double b) {
    if constexpr (op == BlockOp::add) return a + b;
    if constexpr (op == BlockOp::sub) return a - b;
    if constexpr (op == BlockOp::mul) return a * b;
    if constexpr (op == BlockOp::div) return a / b;
}

template <BlockOp op>
[[gnu::always_inline]] inline std::int64_t isFault(double divisor) {
    return op == BlockOp::div && divisor == 0;
}

struct Arguments {
    const double* a;
    const double* x;
    const double* y;
    double k;
    double* out;
    int n;
};

template <BlockOp op>
struct VectorVector {
    [[gnu::always_inline]] static bool loop(const Arguments& p) {
        std::int64_t faults = 0;
        QV_INDEPENDENT
        for (int i = 0; i < p.n; ++i) {
            faults |= isFault<op>(p.x[i]);
            p.out[i] = apply<op>(p.a[i], p.x[i]);
        }
        return !faults;
    }
};

template <BlockOp op>
struct VectorNumber {
    [[gnu::always_inline]] static bool loop(const Arguments& p) {
        const double k = p.k;
        QV_INDEPENDENT
        for (int i = 0; i < p.n; ++i) p.out[i] = apply<op>(p.a[i], k);
        return !isFault<op>(k);
    }
};

template <BlockOp op>
struct NumberVector {
    [[gnu::always_inline]] static bool loop(const Arguments& p) {
        const double k = p.k;
        std::int64_t faults = 0;
        QV_INDEPENDENT
        for (int i = 0; i < p.n; ++i) {
            faults |= isFault<op>(p.a[i]);
            p.out[i] = apply<op>(k, p.a[i]);
        }
        return !faults;
    }
};

template <BlockOp first, BlockOp second>
struct FusedVector {
    [[gnu::always_inline]] static bool loop(const Arguments& p) {
        std::int64_t faults = 0;
        QV_INDEPENDENT
        for (int i = 0; i < p.n; ++i) {
            const double inner = apply<second>(p.x[i], p.y[i]);
            faults |= isFault<second>(p.y[i]) | isFault<first>(inner);
            p.out[i] = apply<first>(p.a[i], inner);
        }
        return !faults;
    }
};

template <BlockOp first, BlockOp second>
struct FusedNumber {
    [[gnu::always_inline]] static bool loop(const Arguments& p) {
        const double k = p.k;
        std::int64_t faults = isFault<second>(k);
        QV_INDEPENDENT
        for (int i = 0; i < p.n; ++i) {
            const double inner = apply<second>(p.x[i], k);
            faults |= isFault<first>(inner);
            p.out[i] = apply<first>(p.a[i], inner);
        }
        return !faults;
    }
};

struct Horner {
    [[gnu::always_inline]] static bool loop(const Arguments& p) {
        const double k = p.k;
        QV_INDEPENDENT
        for (int i = 0; i < p.n; ++i) p.out[i] = p.a[i] * p.x[i] + k;
        return true;
    }
};

struct SquareRoot {
    [[gnu::always_inline]] static bool loop(const Arguments& p) {
        std::int64_t faults = 0;
        QV_INDEPENDENT
        for (int i = 0; i < p.n; ++i) {
            faults |= p.a[i] < 0;
            p.out[i] = __builtin_sqrt(p.a[i]);
        }
        return !faults;
    }
};

struct AllAbove {
    [[gnu::always_inline]] static bool loop(const Arguments& p) {
        std::int64_t faults = 0;
        for (int i = 0; i < p.n; ++i) faults |= p.a[i] <= p.k;
        return !faults;
    }
};

struct AllWithinOne {
    [[gnu::always_inline]] static bool loop(const Arguments& p) {
        std::int64_t faults = 0;
        for (int i = 0; i < p.n; ++i) faults |= __builtin_fabs(p.a[i]) > 1;
        return !faults;
    }
};

/// Numbers below k become -inf.
struct CutBelow {
    [[gnu::always_inline]] static bool loop(const Arguments& p) {
        QV_INDEPENDENT
        for (int i = 0; i < p.n; ++i) p.out[i] = p.a[i] < p.k ? -__builtin_inf() : p.a[i];
        return true;
    }
};

#ifdef __x86_64__
template <class Kernel>
[[gnu::target(QV_WIDEST)]] bool runWidest(const Arguments& p) {
    return Kernel::loop(p);
}
template <class Kernel>
[[gnu::target("avx2")]] bool runWide(const Arguments& p) {
    return Kernel::loop(p);
}
#endif

template <class Kernel>
bool run(const Arguments& p) {
#ifdef __x86_64__
    switch (qvplatform::vectorWidth()) {
        case 8: return runWidest<Kernel>(p);
        case 4: return runWide<Kernel>(p);
        default: break;
    }
#endif
    return Kernel::loop(p);
}

template <BlockOp op>
bool binary(BlockOperand a, BlockOperand b, double* out, int n) {
    if (b.uniform) return run<VectorNumber<op>>({a.values, nullptr, nullptr, *b.values, out, n});
    if (a.uniform) return run<NumberVector<op>>({b.values, nullptr, nullptr, *a.values, out, n});
    return run<VectorVector<op>>({a.values, b.values, nullptr, 0, out, n});
}

template <BlockOp first, BlockOp second>
bool fused(const double* a, const double* x, BlockOperand y, double* out, int n) {
    if (y.uniform) return run<FusedNumber<first, second>>({a, x, nullptr, *y.values, out, n});
    return run<FusedVector<first, second>>({a, x, y.values, 0, out, n});
}

template <BlockOp first>
bool fusedWith(BlockOp second, const double* a, const double* x, BlockOperand y, double* out,
               int n) {
    switch (second) {
        case BlockOp::add: return fused<first, BlockOp::add>(a, x, y, out, n);
        case BlockOp::sub: return fused<first, BlockOp::sub>(a, x, y, out, n);
        case BlockOp::mul: return fused<first, BlockOp::mul>(a, x, y, out, n);
        default: return fused<first, BlockOp::div>(a, x, y, out, n);
    }
}

}  // namespace

bool blockBinary(BlockOp op, BlockOperand a, BlockOperand b, double* out, int n) {
    switch (op) {
        case BlockOp::add: return binary<BlockOp::add>(a, b, out, n);
        case BlockOp::sub: return binary<BlockOp::sub>(a, b, out, n);
        case BlockOp::mul: return binary<BlockOp::mul>(a, b, out, n);
        default: return binary<BlockOp::div>(a, b, out, n);
    }
}

bool blockFused(BlockOp first, BlockOp second, const double* a, const double* x, BlockOperand y,
                double* out, int n) {
    switch (first) {
        case BlockOp::add: return fusedWith<BlockOp::add>(second, a, x, y, out, n);
        case BlockOp::sub: return fusedWith<BlockOp::sub>(second, a, x, y, out, n);
        case BlockOp::mul: return fusedWith<BlockOp::mul>(second, a, x, y, out, n);
        default: return fusedWith<BlockOp::div>(second, a, x, y, out, n);
    }
}

bool blockSqrt(const double* in, double* out, int n) {
    return run<SquareRoot>({in, nullptr, nullptr, 0, out, n});
}

bool blockExp(const double* in, double* out, int n) {
    run<CutBelow>({in, nullptr, nullptr, -100, out, n});
    vectorMath(VectorFunction::exp, out, out, n);
    return true;
}

bool blockLn(const double* in, double* out, int n) {
    if (!run<AllAbove>({in, nullptr, nullptr, 0, nullptr, n})) return false;
    vectorMath(VectorFunction::log, in, out, n);
    return true;
}

bool blockLog10(const double* in, double* out, int n) {
    if (!run<AllAbove>({in, nullptr, nullptr, 0, nullptr, n})) return false;
    vectorMath(VectorFunction::log10, in, out, n);
    return true;
}

bool blockAsin(const double* in, double* out, int n) {
    if (!run<AllWithinOne>({in, nullptr, nullptr, 0, nullptr, n})) return false;
    vectorMath(VectorFunction::asin, in, out, n);
    return true;
}

bool blockAcos(const double* in, double* out, int n) {
    if (!run<AllWithinOne>({in, nullptr, nullptr, 0, nullptr, n})) return false;
    vectorMath(VectorFunction::acos, in, out, n);
    return true;
}

void blockPow(BlockOperand base, BlockOperand exponent, double* out, int n) {
    const double onlyBase = *base.values, onlyExponent = *exponent.values;
    base.values = base.uniform ? &onlyBase : base.values;  // they may lie where the results go
    exponent.values = exponent.uniform ? &onlyExponent : exponent.values;
    const auto at = [](BlockOperand o, int i) { return o.values[o.uniform ? 0 : i]; };
    if (!run<AllAbove>({base.values, nullptr, nullptr, 0, nullptr, base.uniform ? 1 : n})) {
        for (int i = 0; i < n; ++i) out[i] = pow(at(base, i), at(exponent, i));
        return;
    }
    constexpr int atOnce = 64;
    double left[atOnce], right[atOnce];
    for (int first = 0; first < n; first += atOnce) {
        const int count = n - first < atOnce ? n - first : atOnce;
        for (int i = 0; i < count; ++i) {
            left[i] = at(base, first + i);
            right[i] = at(exponent, first + i);
        }
        qvplatform::vectorPow(left, right, out + first, count);
    }
}

void blockHorner(const double* a, const double* x, double k, double* out, int n) {
    run<Horner>({a, x, nullptr, k, out, n});
}

}  // namespace qvformula
