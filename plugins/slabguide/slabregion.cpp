#include "plugins/slabguide/slabregion.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace slab {

namespace {

/// What decides about the region.
struct Extent {
    double cutOff = 0;      ///< guided modes have a larger Re w
    double highest = 0;     ///< the largest real part of a permittivity
    double lowestLoss = 0;  ///< limits of the imaginary parts
    double highestLoss = 0;
    double largestSquare = 0;  ///< max |eps|^2 / Re eps
    double tangent = 0;        ///< max |Im eps| / Re eps
    double largest = 0;        ///< max |eps|
    bool metallic = false;     ///< Re eps is not positive somewhere

    explicit Extent(const Media<Complex>& media);

private:
    void add(const Complex& eps);
};

Extent::Extent(const Media<Complex>& media)
    : cutOff(std::max({media.front().eps.real(), media.back().eps.real(), 0.})) {
    highest = cutOff;
    for (const Medium<Complex>& m : media) {
        highest = std::max(highest, m.eps.real());
        add(m.eps);
        if (m.p != Complex(1)) add(m.p);
    }
}

void Extent::add(const Complex& eps) {
    lowestLoss = std::min(lowestLoss, eps.imag());
    highestLoss = std::max(highestLoss, eps.imag());
    largest = std::max(largest, std::abs(eps));
    if (eps.real() > 0) {
        largestSquare = std::max(largestSquare, std::norm(eps) / eps.real());
        tangent = std::max(tangent, std::abs(eps.imag()) / eps.real());
    } else {
        metallic = true;
    }
}

/// Nothing but the search is the wider for it: there are no zeros outside, and the search slows
/// down when an edge of it passes close by one. The factors keep edges off round numbers.
void widen(Box& box) {
    const double margin = 0.05 * box.width() + 0.02 * box.height();
    box.low -= Complex(0, 1.0371 * margin);
    box.high += Complex(0.1173 * margin, 1.1093 * margin);
}

/// TE: multiplying psi'' = (w - eps) psi by the conjugate of psi and integrating shows that
/// Im w is a mean of Im eps, and that Re w is below a mean of Re eps.
std::vector<Box> electricRegion(const Extent& e) {
    if (!(e.highest > e.cutOff)) return {};
    Box box{{e.cutOff, e.lowestLoss}, {e.highest, e.highestLoss}};
    widen(box);
    return {box};
}

/// TM without metals: the same with psi / eps, where T is the largest loss tangent (below 1) and E
/// the largest |eps|^2 / Re eps, gives |Im w| <= T E / (1 - T^2) and Re w <= E + T |Im w|.
std::vector<Box> magneticRegion(const Extent& e) {
    const double loss = e.tangent * e.largestSquare / (1 - e.tangent * e.tangent);
    Box box{{e.cutOff, e.lowestLoss < 0 ? -loss : 0},
            {e.largestSquare + e.tangent * loss, e.highestLoss > 0 ? loss : 0}};
    if (!(box.width() > 0)) return {};
    widen(box);
    return {box};
}

/// |w| beyond which TM modes of metals do not go. When w is large against all permittivities, q is
/// close to sqrt(w) everywhere, interfaces reflect by r = (eps2 - eps1) / (eps2 + eps1), and a
/// resonance needs |r1 r2| exp(-2 Re q t) = 1 in a layer. A surface wave of one interface has
/// w = eps1 eps2 / (eps1 + eps2).
double plasmonLimit(const Media<Complex>& media, const Extent& e) {
    constexpr double most = 1e8;
    double reflection = 0, limit = 4 * e.largest, thinnest = 0;
    for (std::size_t i = 0; i + 1 < media.size(); ++i) {
        const Complex& a = media[i].eps;
        const Complex& b = media[i + 1].eps;
        reflection = std::max(reflection, std::abs((b - a) / (b + a)));
        limit = std::max(limit, 2 * std::abs(a * b / (a + b)));
        if (i > 0) thinnest = thinnest > 0 ? std::min(thinnest, media[i].t) : media[i].t;
    }
    if (thinnest > 0) {
        const double q = 2 * (std::log1p(reflection) + 1) / thinnest;
        limit += q * q;
    }
    return limit < most ? limit : most;
}

/// The strip beside the cuts of the roots of the inner layers, and the wide rest in which the
/// dispersion function without its exponential growth is analytic too.
std::vector<Box> plasmonRegion(const Media<Complex>& media, const Extent& e) {
    double low = 0, high = 0;
    for (const Medium<Complex>& m : media) {
        if (m.eps.real() <= e.cutOff) continue;
        low = std::min(low, m.eps.imag());
        high = std::max(high, m.eps.imag());
    }
    const double limit = 1.0173 * plasmonLimit(media, e);
    const double right = e.cutOff + 1.0213 * (e.highest - e.cutOff) + 1e-3 * (1 + e.cutOff);
    const double margin = 0.05 * (right - e.cutOff) + 0.02 * (high - low);
    low -= 1.0371 * margin;
    high += 1.1093 * margin;
    std::vector<Box> boxes{{{e.cutOff, low}, {right, high}}};
    if (limit > high) boxes.push_back({{e.cutOff, high}, {right, limit}});
    if (-limit < low) boxes.push_back({{e.cutOff, -limit}, {right, low}});
    if (limit > right) boxes.push_back({{right, -limit}, {limit, 1.0071 * limit}});
    return boxes;
}

}  // namespace

std::vector<Box> searchRegion(const Media<Complex>& media, Polarisation polarisation) {
    const Extent e(media);
    if (polarisation == Polarisation::TE) return electricRegion(e);
    return e.metallic || e.tangent > 0.5 ? plasmonRegion(media, e) : magneticRegion(e);
}

}  // namespace slab
