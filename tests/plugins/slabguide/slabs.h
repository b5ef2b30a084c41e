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

/// How far a mode is from one, told by a way that shares nothing with the solver: Airy's recursion
/// of reflection coefficients from the cover down, in extended precision, and from there the
/// distance in N to the next zero by a secant. The recursion holds where tails decay.
double distanceFromMode(const slab::Stack& stack, slab::Complex neff);
