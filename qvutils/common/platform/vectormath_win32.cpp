#include "qvutils/common/platform/vectormath_plain.h"

namespace qvplatform {

void vectorMath(VectorFunction function, const double* in, double* out, int n) {
    plainVectorMath(function, in, out, n);
}

void vectorPow(const double* base, const double* exponent, double* out, int n) {
    plainVectorPow(base, exponent, out, n);
}

/// GCC for Windows does not align the stack for wider vectors than these.
int vectorWidth() {
    return 2;
}

void limitVectorWidth(int) {}

}  // namespace qvplatform
