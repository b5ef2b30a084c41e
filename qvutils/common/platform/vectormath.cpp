#include "qvutils/common/platform/vectormath_plain.h"

#include <cmath>

namespace qvplatform {

namespace {

template <double (*Function)(double)>
void each(const double* in, double* out, int n) {
    for (int i = 0; i < n; ++i) out[i] = Function(in[i]);
}

}  // namespace

void plainVectorMath(VectorFunction function, const double* in, double* out, int n) {
    switch (function) {
        case VectorFunction::sin:
            return each<std::sin>(in, out, n);
        case VectorFunction::cos:
            return each<std::cos>(in, out, n);
        case VectorFunction::tan:
            return each<std::tan>(in, out, n);
        case VectorFunction::sinh:
            return each<std::sinh>(in, out, n);
        case VectorFunction::cosh:
            return each<std::cosh>(in, out, n);
        case VectorFunction::tanh:
            return each<std::tanh>(in, out, n);
        case VectorFunction::exp:
            return each<std::exp>(in, out, n);
        case VectorFunction::log:
            return each<std::log>(in, out, n);
        case VectorFunction::log10:
            return each<std::log10>(in, out, n);
        case VectorFunction::asin:
            return each<std::asin>(in, out, n);
        case VectorFunction::acos:
            return each<std::acos>(in, out, n);
        case VectorFunction::atan:
            return each<std::atan>(in, out, n);
    }
}

void plainVectorPow(const double* base, const double* exponent, double* out, int n) {
    for (int i = 0; i < n; ++i) out[i] = std::pow(base[i], exponent[i]);
}

}  // namespace qvplatform
