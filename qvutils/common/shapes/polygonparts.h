#pragma once
#include "qvutils/common/shapes/planegeometry.h"

/// The same as qvOffsetPolygon, for where a polygon that runs counter-clockwise falls apart or
/// closes around a hole on the way; to about 1e-7 of its size. With more than 1000 vertices it is
/// refused whatever it becomes.
const char* qvOffsetInParts(QVPoints& vertices, double distance);
