#pragma once
#include <complex>
#include <span>
#include <string_view>

#include "qvutils/common/platform/qvexport.h"

class MaterB;

/// Where a material is asked: fractions of an alloy, wavelength in micrometres, temperature in
/// kelvin, carrier density in 1e18 cm^-3.
struct qvMaterialPoint {
    double mx = 0;
    double my = 0;
    double lambda = 0;
    double T = 300;
    double N = 0;
};

/// A number that a material has at a point.
struct qvMaterialQuantity {
    const char* name;
    const char* unit;  ///< empty for a plain number
    const char* help;
    /// What this is an element of ("n" for nxx); empty for what is none.
    const char* tensor;
    int row;  ///< of the tensor, from 0
    int column;
    bool isComplex;
    bool needsDensity;
    /// Posts an error and gives a neutral value when the material cannot answer.
    std::complex<double> (*value)(const MaterB& material, const qvMaterialPoint& point);
};

/// All of them; the elements of a tensor follow the quantity that they belong to.
QVCORE_API std::span<const qvMaterialQuantity> qvMaterialQuantities();
/// Null when there is none of that name.
QVCORE_API const qvMaterialQuantity* qvFindMaterialQuantity(std::string_view name);
