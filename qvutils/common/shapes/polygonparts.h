#pragma once
#include "qvutils/common/shapes/planegeometry.h"

/// Whether no two edges of a polygon meet but neighbours at their vertex; n log n steps for all but
/// contrived polygons.
bool qvIsSimplePolygon(const QVPoints& vertices);

/// The same as qvOffsetPolygon, for where a polygon that runs counter-clockwise falls apart or
/// closes around a hole on the way; to about 1e-7 of its size. With more than 3000 vertices it is
/// refused whatever it becomes.
const char* qvOffsetInParts(QVPoints& vertices, double distance);
