#pragma once
#include <complex>

#include "qvutils/common/platform/qvexport.h"

/// "{%12.5g %12.5g}", or in polar form modulus and degrees as "P{%12.5g %6.1f}". The text is one of
/// 16 that each thread uses in rotation.
QVCORE_API const char* Str(std::complex<double> z, bool polar = false);
