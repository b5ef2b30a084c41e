#pragma once
#include "qvutils/common/shapes/planegeometry.h"

/// Whether no two edges of a polygon meet but neighbours at their vertex; exact, and n log n steps
/// whatever the polygon (M. I. Shamos and D. Hoey, Geometric Intersection Problems, 1976). A vertex
/// that is repeated, in a row too, makes it false, and so does a coordinate that is not finite.
bool qvIsSimplePolygon(const QVPoints& vertices);
