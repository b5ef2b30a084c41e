#include "qvutils/common/materialobject/materialquantity.h"

#include <algorithm>
#include <numbers>

#include "qvutils/common/materials/materb.h"

namespace {

using Complex = std::complex<double>;
using Point = qvMaterialPoint;
using Diagonal = double DStensor::*;

constexpr Diagonal diagonal[] = {&DStensor::xx, &DStensor::yy, &DStensor::zz};
constexpr std::complex<double> CStensor::*complexDiagonal[] = {&CStensor::xx, &CStensor::yy,
                                                               &CStensor::zz};

template <double (MaterB::*query)(double, double, double, double) const>
Complex scalar(const MaterB& material, const Point& p) {
    return (material.*query)(p.mx, p.my, p.lambda, p.T);
}

template <DStensor (MaterB::*query)(double, double, double, double) const, int axis>
Complex element(const MaterB& material, const Point& p) {
    return (material.*query)(p.mx, p.my, p.lambda, p.T).*diagonal[axis];
}

template <CStensor (MaterB::*query)(double, double, double, double) const>
Complex firstElement(const MaterB& material, const Point& p) {
    return (material.*query)(p.mx, p.my, p.lambda, p.T).*complexDiagonal[0];
}

template <CFtensor (MaterB::*query)(double, double, double, double) const, int row, int column>
Complex element(const MaterB& material, const Point& p) {
    return (material.*query)(p.mx, p.my, p.lambda, p.T).m[row][column];
}

// alpha = 4 pi k / lambda, with lambda in centimetres.
template <Complex (*loss)(const MaterB&, const Point&)>
Complex extinction(const MaterB& material, const Point& p) {
    constexpr double centimetres = 1e-4;
    return loss(material, p) * (p.lambda * centimetres / (4 * std::numbers::pi));
}

template <double (MaterB::*query)(double, double, double, double, double, int, double) const,
          int polarisation>
Complex gain(const MaterB& material, const Point& p) {
    return (material.*query)(p.mx, p.my, p.lambda, p.T, p.N, polarisation, 0);
}

template <double (MaterB::*query)(double, double, double, double, double) const>
Complex atDensity(const MaterB& material, const Point& p) {
    return (material.*query)(p.mx, p.my, p.lambda, p.T, p.N);
}

// The rows of the table.
using Value = Complex (*)(const MaterB&, const Point&);

constexpr qvMaterialQuantity plain(const char* name, const char* unit, const char* help,
                                   Value value) {
    return {name, unit, help, "", 0, 0, false, false, value};
}

constexpr qvMaterialQuantity complexOne(const char* name, const char* help, Value value) {
    return {name, "", help, "", 0, 0, true, false, value};
}

constexpr qvMaterialQuantity ofDensity(const char* name, const char* unit, const char* help,
                                       Value value) {
    return {name, unit, help, "", 0, 0, false, true, value};
}

constexpr qvMaterialQuantity axis(const char* name, const char* unit, const char* tensor, int i,
                                  Value value) {
    return {name, unit, "element of the tensor", tensor, i, i, false, false, value};
}

template <CFtensor (MaterB::*query)(double, double, double, double) const, int i, int j>
constexpr qvMaterialQuantity full(const char* name, const char* tensor) {
    return {name, "", "element of the tensor", tensor, i, j, true, false, element<query, i, j>};
}

constexpr auto index = &MaterB::nrani;
constexpr auto loss = &MaterB::alphaani;
constexpr auto eps = &MaterB::aniEpsRot;
constexpr auto mu = &MaterB::getAniMuFull;

constexpr qvMaterialQuantity table[] = {
    plain("nr", "", "refractive index, of a tensor that along x", scalar<&MaterB::nr>),
    plain("n", "", "refractive index, of a tensor that along x", scalar<&MaterB::nr>),
    axis("nxx", "", "n", 0, element<index, 0>),
    axis("nyy", "", "n", 1, element<index, 1>),
    axis("nzz", "", "n", 2, element<index, 2>),
    plain("k", "", "extinction coefficient, alpha lambda / (4 pi)",
          extinction<scalar<&MaterB::alpha>>),
    axis("kxx", "", "k", 0, extinction<element<loss, 0>>),
    axis("kyy", "", "k", 1, extinction<element<loss, 1>>),
    axis("kzz", "", "k", 2, extinction<element<loss, 2>>),
    plain("alpha", "1/cm", "loss of power in 1/cm", scalar<&MaterB::alpha>),
    axis("alphaxx", "1/cm", "alpha", 0, element<loss, 0>),
    axis("alphayy", "1/cm", "alpha", 1, element<loss, 1>),
    axis("alphazz", "1/cm", "alpha", 2, element<loss, 2>),
    plain("ng", "", "group index", scalar<&MaterB::ng>),

    complexOne("eps", "relative permittivity, of a tensor its xx", firstElement<&MaterB::eps>),
    full<eps, 0, 0>("epsxx", "eps"),
    full<eps, 0, 1>("epsxy", "eps"),
    full<eps, 0, 2>("epsxz", "eps"),
    full<eps, 1, 0>("epsyx", "eps"),
    full<eps, 1, 1>("epsyy", "eps"),
    full<eps, 1, 2>("epsyz", "eps"),
    full<eps, 2, 0>("epszx", "eps"),
    full<eps, 2, 1>("epszy", "eps"),
    full<eps, 2, 2>("epszz", "eps"),
    complexOne("mu", "relative permeability, of a tensor its xx", firstElement<&MaterB::mu>),
    full<mu, 0, 0>("muxx", "mu"),
    full<mu, 0, 1>("muxy", "mu"),
    full<mu, 0, 2>("muxz", "mu"),
    full<mu, 1, 0>("muyx", "mu"),
    full<mu, 1, 1>("muyy", "mu"),
    full<mu, 1, 2>("muyz", "mu"),
    full<mu, 2, 0>("muzx", "mu"),
    full<mu, 2, 1>("muzy", "mu"),
    full<mu, 2, 2>("muzz", "mu"),

    plain("Eg", "eV", "band gap in eV", scalar<&MaterB::Eg>),
    plain("Chi2", "pm/V", "second-order susceptibility in pm/V", scalar<&MaterB::Chi2>),
    plain("Chi3", "m^2/V^2", "third-order susceptibility in m^2/V^2", scalar<&MaterB::Chi3>),
    ofDensity("Gainz", "1/cm", "gain per length in 1/cm", gain<&MaterB::Gainz, 0>),
    ofDensity("GainzTE", "1/cm", "the same for TE polarisation", gain<&MaterB::Gainz, 1>),
    ofDensity("GainzTM", "1/cm", "the same for TM polarisation", gain<&MaterB::Gainz, 2>),
    ofDensity("Gaint", "1/ns", "gain per time in 1/ns", gain<&MaterB::Gaint, 0>),
    ofDensity("GaintTE", "1/ns", "the same for TE polarisation", gain<&MaterB::Gaint, 1>),
    ofDensity("GaintTM", "1/ns", "the same for TM polarisation", gain<&MaterB::Gaint, 2>),
    ofDensity("Rts", "1e18/(cm^3 ns)", "recombination in 1e18/(cm^3 ns)", atDensity<&MaterB::Rts>),
    ofDensity("Rtsr", "1e18/(cm^3 ns)", "radiative recombination in 1e18/(cm^3 ns)",
              atDensity<&MaterB::Rtsr>),
    ofDensity("Ddif", "cm^2/s", "diffusion constant in cm^2/s", atDensity<&MaterB::Ddif>),

    plain("ThExp", "1/K", "thermal expansion in 1/K", scalar<&MaterB::ThExp>),
    plain("ThCon", "W/(m K)", "thermal conductivity in W/(m K)", scalar<&MaterB::ThCon>),
    plain("PR", "", "Poisson's ratio", scalar<&MaterB::PR>),
    plain("YM", "GPa", "Young's modulus in GPa", scalar<&MaterB::YM>),
};

}  // namespace

std::span<const qvMaterialQuantity> qvMaterialQuantities() {
    return table;
}

const qvMaterialQuantity* qvFindMaterialQuantity(std::string_view name) {
    const auto found =
        std::find_if(std::begin(table), std::end(table),
                     [&](const qvMaterialQuantity& row) { return name == row.name; });
    return found == std::end(table) ? nullptr : found;
}
