#pragma once
#include <array>
#include <complex>

/// Tensors of optical materials, in the axes x, y, z of the waveguide.

/// A real diagonal tensor.
struct DStensor {
    double xx = 0;
    double yy = 0;
    double zz = 0;
};

/// A complex diagonal tensor.
struct CStensor {
    std::complex<double> xx;
    std::complex<double> yy;
    std::complex<double> zz;
};

/// A complex full tensor: element [row][column].
struct CFtensor {
    std::array<std::array<std::complex<double>, 3>, 3> m{};
};
