#pragma once
#include "qvutils/common/platform/vectormath.h"

/// The functions one number after the other, for systems without a vector library.
namespace qvplatform {

void plainVectorMath(VectorFunction function, const double* in, double* out, int n);
void plainVectorPow(const double* base, const double* exponent, double* out, int n);

}  // namespace qvplatform
