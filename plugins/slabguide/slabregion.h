#pragma once
#include <vector>

#include "plugins/slabguide/slabstack.h"

namespace slab {

/// A rectangle of the plane of w.
struct Box {
    Complex low, high;

    double width() const { return high.real() - low.real(); }
    double height() const { return high.imag() - low.imag(); }
    Complex centre() const { return low + (high - low) / 2.; }
    bool contains(const Complex& w) const {
        return w.real() >= low.real() && w.real() <= high.real() && w.imag() >= low.imag() &&
               w.imag() <= high.imag();
    }
};

/// Rectangles that share no more than edges and hold the zeros of all guided modes; none when there
/// can be no guided mode.
std::vector<Box> searchRegion(const Media<Complex>& media, Polarisation polarisation);

}  // namespace slab
