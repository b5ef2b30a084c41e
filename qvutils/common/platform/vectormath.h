#pragma once
#include "qvutils/common/platform/qvexport.h"

/// Mathematical functions of many numbers at once, by the vector instructions of the processor
/// where the system has them, else one after the other. The results are within 4 units in the last
/// place of the true ones, and a number's result does not depend on its place among the others.
namespace qvplatform {

enum class VectorFunction { sin, cos, tan, sinh, cosh, tanh, exp, log, log10, asin, acos, atan };

/// out[i] = function(in[i]) for n numbers; `out` may be `in`.
QVCORE_API void vectorMath(VectorFunction function, const double* in, double* out, int n);
/// out[i] = base[i] to the power exponent[i]; `out` may be one of the two.
QVCORE_API void vectorPow(const double* base, const double* exponent, double* out, int n);

/// How wide the vector instructions are that code may use on this processor and system: 2, 4 or 8
/// doubles.
QVCORE_API int vectorWidth();
/// Makes do with narrower ones than the processor has, from 2 on: results of vectorMath may differ
/// between widths in the last place.
QVCORE_API void limitVectorWidth(int most);

}  // namespace qvplatform
