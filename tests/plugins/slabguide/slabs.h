#pragma once
#include <gtest/gtest.h>

#include <initializer_list>

#include "plugins/slabguide/slabmode.h"

/// Thickness and refractive index of a layer.
struct Sheet {
    double thickness;
    slab::Complex index;
};

inline slab::Stack stackOf(slab::Polarisation polarisation, double wavelength,
                           std::initializer_list<Sheet> sheets) {
    slab::Stack stack;
    stack.wavelength = wavelength;
    stack.polarisation = polarisation;
    for (const Sheet& sheet : sheets) {
        slab::Layer layer;
        layer.thickness = sheet.thickness;
        layer.eps = layer.epsAlong = sheet.index * sheet.index;
        stack.layers.push_back(layer);
    }
    return stack;
}

/// How far an effective index is from that of a mode, told by a way that shares nothing with the
/// solver: sums of reflections in extended precision, and a secant. `unclear` when modes of
/// two guides in the stack are so close that the secant cannot tell.
inline constexpr double unclear = 1;
double distanceFromMode(const slab::Stack& stack, slab::Complex neff);
