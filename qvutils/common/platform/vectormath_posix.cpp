// The C library of GNU has vector forms of its functions for x86-64, under the names of the vector
// function ABI: _ZGV, the instruction set (b: SSE, d: AVX2, e: AVX-512), N, the number of lanes,
// a v per argument, _ and the name.
#include "qvutils/common/platform/vectormath_plain.h"

#include <features.h>

#if defined(__x86_64__) && defined(__GLIBC__)
#if __GLIBC_PREREQ(2, 35)
#define QV_VECTOR_LIBRARY
#endif
#endif

#ifdef QV_VECTOR_LIBRARY
#include <immintrin.h>

#include <algorithm>
#include <atomic>
#include <cstring>

// clang-format off
#define QV_FUNCTIONS(X) \
    X(sin) X(cos) X(tan) X(sinh) X(cosh) X(tanh) X(exp) X(log) X(log10) X(asin) X(acos) X(atan)
// clang-format on

extern "C" {
#define QV_DECLARE(name)                                              \
    __m128d _ZGVbN2v_##name(__m128d);                                 \
    __attribute__((target("avx2"))) __m256d _ZGVdN4v_##name(__m256d); \
    __attribute__((target("avx512f"))) __m512d _ZGVeN8v_##name(__m512d);
QV_FUNCTIONS(QV_DECLARE)
#undef QV_DECLARE
__m128d _ZGVbN2vv_pow(__m128d, __m128d);
__attribute__((target("avx2"))) __m256d _ZGVdN4vv_pow(__m256d, __m256d);
__attribute__((target("avx512f"))) __m512d _ZGVeN8vv_pow(__m512d, __m512d);
}

namespace qvplatform {

namespace {

// For each instruction set a function that applies one of the library's functions to n numbers. The
// last ones, too few for a vector, are filled up with their last number.
#define QV_APPLY(suffix, isa, Vector, width, load, store)                                          \
    template <Vector (*function)(Vector)>                                                          \
    __attribute__((target(isa), noinline)) void rest##suffix(const double* in, double* out,        \
                                                             int n) {                              \
        double filled[width];                                                                      \
        for (int k = 0; k < width; ++k) filled[k] = in[k < n ? k : n - 1];                         \
        store(filled, function(load(filled)));                                                     \
        std::memcpy(out, filled, static_cast<std::size_t>(n) * sizeof(double));                    \
    }                                                                                              \
    template <Vector (*function)(Vector)>                                                          \
    __attribute__((target(isa))) void apply##suffix(const double* in, double* out, int n) {        \
        const int rest = n % width;                                                                \
        for (int i = 0; i < n - rest; i += width) store(out + i, function(load(in + i)));          \
        if (rest) rest##suffix<function>(in + n - rest, out + n - rest, rest);                     \
    }                                                                                              \
    __attribute__((target(isa))) void power##suffix(const double* a, const double* b, double* out, \
                                                    int n, Vector function(Vector, Vector)) {      \
        int i = 0;                                                                                 \
        for (; i + width <= n; i += width) store(out + i, function(load(a + i), load(b + i)));     \
        if (i == n) return;                                                                        \
        double left[width], right[width];                                                          \
        for (int k = 0; k < width; ++k) {                                                          \
            left[k] = a[i + k < n ? i + k : n - 1];                                                \
            right[k] = b[i + k < n ? i + k : n - 1];                                               \
        }                                                                                          \
        store(left, function(load(left), load(right)));                                            \
        std::memcpy(out + i, left, static_cast<std::size_t>(n - i) * sizeof(double));              \
    }
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wignored-attributes"
QV_APPLY(Sse, "sse2", __m128d, 2, _mm_loadu_pd, _mm_storeu_pd)
QV_APPLY(Avx2, "avx2", __m256d, 4, _mm256_loadu_pd, _mm256_storeu_pd)
QV_APPLY(Avx512, "avx512f", __m512d, 8, _mm512_loadu_pd, _mm512_storeu_pd)
#undef QV_APPLY

using Apply = void (*)(const double* in, double* out, int n);
struct Row {
    Apply sse, avx2, avx512;
};
/// In the order of VectorFunction.
constexpr Row functions[] = {
#define QV_ROW(name) \
    {applySse<_ZGVbN2v_##name>, applyAvx2<_ZGVdN4v_##name>, applyAvx512<_ZGVeN8v_##name>},
    QV_FUNCTIONS(QV_ROW)
#undef QV_ROW
};
#pragma GCC diagnostic pop

}  // namespace

void vectorMath(VectorFunction function, const double* in, double* out, int n) {
    const Row& row = functions[static_cast<int>(function)];
    switch (vectorWidth()) {
        case 8:
            return row.avx512(in, out, n);
        case 4:
            return row.avx2(in, out, n);
        default:
            return row.sse(in, out, n);
    }
}

void vectorPow(const double* base, const double* exponent, double* out, int n) {
    switch (vectorWidth()) {
        case 8:
            return powerAvx512(base, exponent, out, n, _ZGVeN8vv_pow);
        case 4:
            return powerAvx2(base, exponent, out, n, _ZGVdN4vv_pow);
        default:
            return powerSse(base, exponent, out, n, _ZGVbN2vv_pow);
    }
}

namespace {

int widthHere() {
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq")) return 8;
    return __builtin_cpu_supports("avx2") ? 4 : 2;
}

std::atomic<int> widthInUse = 0;  // 0: not looked up yet

}  // namespace

int vectorWidth() {
    if (widthInUse == 0) widthInUse = widthHere();
    return widthInUse;
}

void limitVectorWidth(int most) {
    widthInUse = std::min(most >= 8 ? 8 : most >= 4 ? 4 : 2, widthHere());
}

}  // namespace qvplatform

#else

namespace qvplatform {

void vectorMath(VectorFunction function, const double* in, double* out, int n) {
    plainVectorMath(function, in, out, n);
}

void vectorPow(const double* base, const double* exponent, double* out, int n) {
    plainVectorPow(base, exponent, out, n);
}

int vectorWidth() {
    return 2;
}

void limitVectorWidth(int) {}

}  // namespace qvplatform

#endif
