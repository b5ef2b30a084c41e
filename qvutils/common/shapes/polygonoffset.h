#pragma once
#include "qvutils/common/shapes/planegeometry.h"

/// Moves the edges of a polygon outwards by a distance, or inwards by a negative one, neighbours
/// meeting where they cross. The vertices keep their order, and as long as no edge vanishes their
/// number; the coordinates are as exact as doubles are. n log n steps.
///
/// Null when done. Else the vertices stay, and the result says why: the edges cross or touch each
/// other, or what would be left is nothing, several parts, or has a hole; or a sharp tip inside a
/// bay would run through the edges opposite.
const char* qvOffsetPolygon(QVPoints& vertices, double distance);
