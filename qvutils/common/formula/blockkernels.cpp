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

using Arguments = BlockArguments;

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
struct FusedVectorVector {
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
struct FusedVectorNumber {
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

template <BlockOp first, BlockOp second>
struct FusedNumberVector {
    [[gnu::always_inline]] static bool loop(const Arguments& p) {
        const double k = p.k;
        std::int64_t faults = 0;
        QV_INDEPENDENT
        for (int i = 0; i < p.n; ++i) {
            const double inner = apply<second>(k, p.x[i]);
            faults |= isFault<second>(p.x[i]) | isFault<first>(inner);
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

/// A kernel compiled for one width of vectors.
template <class Kernel, int width>
struct Compiled {
    static bool run(const Arguments& p) { return Kernel::loop(p); }
};
#ifdef __x86_64__
template <class Kernel>
struct Compiled<Kernel, 8> {
    [[gnu::target(QV_WIDEST)]] static bool run(const Arguments& p) { return Kernel::loop(p); }
};
template <class Kernel>
struct Compiled<Kernel, 4> {
    [[gnu::target("avx2")]] static bool run(const Arguments& p) { return Kernel::loop(p); }
};
#endif

template <BlockOp op, int width>
constexpr BinaryKernels binaryKernels = {Compiled<VectorVector<op>, width>::run,
                                         Compiled<VectorNumber<op>, width>::run,
                                         Compiled<NumberVector<op>, width>::run};

template <BlockOp first, BlockOp second, int width>
constexpr FusedKernels fusedKernels = {Compiled<FusedVectorVector<first, second>, width>::run,
                                       Compiled<FusedVectorNumber<first, second>, width>::run,
                                       Compiled<FusedNumberVector<first, second>, width>::run};

template <int width>
constexpr BlockKernels kernelsOfWidth = {
    {binaryKernels<BlockOp::add, width>, binaryKernels<BlockOp::sub, width>,
     binaryKernels<BlockOp::mul, width>, binaryKernels<BlockOp::div, width>},
#define QV_FUSED_ROW(first)                                    \
    {                                                          \
        fusedKernels<BlockOp::first, BlockOp::add, width>,     \
            fusedKernels<BlockOp::first, BlockOp::sub, width>, \
            fusedKernels<BlockOp::first, BlockOp::mul, width>, \
            fusedKernels<BlockOp::first, BlockOp::div, width>  \
    }
    {QV_FUSED_ROW(add), QV_FUSED_ROW(sub), QV_FUSED_ROW(mul), QV_FUSED_ROW(div)},
#undef QV_FUSED_ROW
    Compiled<Horner, width>::run,
    Compiled<SquareRoot, width>::run,
    Compiled<AllAbove, width>::run,
    Compiled<AllWithinOne, width>::run,
    Compiled<CutBelow, width>::run};

}  // namespace

const BlockKernels& blockKernels() {
    switch (qvplatform::vectorWidth()) {
        case 8:
            return kernelsOfWidth<8>;
        case 4:
            return kernelsOfWidth<4>;
        default:
            return kernelsOfWidth<2>;
    }
}

bool blockExp(const double* in, double* out, int n) {
    if (!blockKernels().allAbove({in, nullptr, nullptr, -100, nullptr, n})) {
        blockKernels().cutBelow({in, nullptr, nullptr, -100, out, n});
        in = out;
    }
    vectorMath(VectorFunction::exp, in, out, n);
    return true;
}

bool blockLn(const double* in, double* out, int n) {
    if (!blockKernels().allAbove({in, nullptr, nullptr, 0, nullptr, n})) return false;
    vectorMath(VectorFunction::log, in, out, n);
    return true;
}

bool blockLog10(const double* in, double* out, int n) {
    if (!blockKernels().allAbove({in, nullptr, nullptr, 0, nullptr, n})) return false;
    vectorMath(VectorFunction::log10, in, out, n);
    return true;
}

bool blockAsin(const double* in, double* out, int n) {
    if (!blockKernels().allWithinOne({in, nullptr, nullptr, 0, nullptr, n})) return false;
    vectorMath(VectorFunction::asin, in, out, n);
    return true;
}

bool blockAcos(const double* in, double* out, int n) {
    if (!blockKernels().allWithinOne({in, nullptr, nullptr, 0, nullptr, n})) return false;
    vectorMath(VectorFunction::acos, in, out, n);
    return true;
}

void blockPow(BlockOperand base, BlockOperand exponent, double* out, int n) {
    const double onlyBase = *base.values, onlyExponent = *exponent.values;
    base.values = base.uniform ? &onlyBase : base.values;  // they may lie where the results go
    exponent.values = exponent.uniform ? &onlyExponent : exponent.values;
    const auto at = [](BlockOperand o, int i) { return o.values[o.uniform ? 0 : i]; };
    const int bases = base.uniform ? 1 : n;
    if (!blockKernels().allAbove({base.values, nullptr, nullptr, 0, nullptr, bases})) {
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

}  // namespace qvformula
