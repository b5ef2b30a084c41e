#include "plugins/slabguide/slabstack.h"

#include <charconv>
#include <cmath>
#include <numbers>

namespace slab {

namespace {

std::string text(double value) {
    char digits[32];
    return {digits, std::to_chars(digits, digits + sizeof digits, value).ptr};
}

std::string text(const Complex& value) {
    return value.imag() == 0 ? text(value.real())
                             : "(" + text(value.real()) + "," + text(value.imag()) + ")";
}

bool isFinite(const Complex& value) {
    constexpr double largest = 1e6;
    return std::isfinite(value.real()) && std::isfinite(value.imag()) && std::abs(value) <= largest;
}

/// The units of thickness and wavelength leave room for any optics.
constexpr double shortest = 1e-9;
constexpr double longest = 1e9;

std::string flawOf(const Layer& layer, bool isOuter) {
    if (!isOuter && !(layer.thickness > 0))
        return "the thickness " + text(layer.thickness) + " um is not positive";
    if (!isOuter && !(layer.thickness >= shortest && layer.thickness <= longest))
        return "the thickness " + text(layer.thickness) + " um is out of range";
    for (const Complex& eps : {layer.eps, layer.epsAlong}) {
        if (!isFinite(eps)) return "the permittivity " + text(eps) + " is no usable number";
        if (std::abs(eps) < 1e-9) return "the permittivity is 0";
    }
    return "";
}

}  // namespace

double Stack::wavenumber() const {
    return 2 * std::numbers::pi / wavelength;
}

std::string Stack::flaw() const {
    if (!(wavelength > 0)) return "the wavelength " + text(wavelength) + " um is not positive";
    if (!(wavelength >= shortest && wavelength <= longest))
        return "the wavelength " + text(wavelength) + " um is out of range";
    const std::size_t count = layers.size();
    if (count == 0) return "there are no layers";
    if (count == 1) return "there is only one layer: a substrate and a cover are needed";
    if (count > maxLayers) return "there are more than " + std::to_string(maxLayers) + " layers";
    for (std::size_t i = 0; i < count; ++i) {
        const std::string why = flawOf(layers[i], i == 0 || i + 1 == count);
        if (!why.empty()) return "layer " + std::to_string(i + 1) + ": " + why;
    }
    return "";
}

Media<Complex> mediaOf(const Stack& stack) {
    Media<Complex> media;
    const bool tm = stack.polarisation == Polarisation::TM;
    for (const Layer& layer : stack.layers) {
        const Complex p = tm ? layer.epsAlong : Complex(1);
        const bool same = !tm || layer.epsAlong == layer.eps;
        const Complex s = same ? Complex(1) : layer.epsAlong / layer.eps;
        media.push_back({layer.eps, p, s, stack.wavenumber() * layer.thickness});
    }
    return media;
}

}  // namespace slab
