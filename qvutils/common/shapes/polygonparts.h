#pragma once
#include "qvutils/common/shapes/planegeometry.h"

/// The edge of what a closed line winds around counter-clockwise, whatever crosses in the line; on
/// it stay the vertices that are on the edge, and edges meet where they cross. Null when that is a
/// single outline, which the line then becomes; else it stays, and the result says whether that is
/// nothing, several parts, or has a hole. Parts and holes below 1e-9 of the area of `size` x `size`
/// do not count. The steps are up to the square of the number of vertices; more than
/// `mostLineVertices` are refused.
const char* qvOutlineOf(QVPoints& line, double size);

constexpr std::size_t mostLineVertices = 3000;
