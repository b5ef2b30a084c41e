#pragma once
#include "qvutils/common/svg/svgchart.h"

class qvShapeNode;

/// A picture of shapes: their outlines over a pair of axes, with the same scale along both.
class ShapePicture {
public:
    explicit ShapePicture(const QVString& title);

    /// Adds the shape of a node; false, with an error posted, when it has none that can be drawn.
    bool add(const qvShapeNode& node);
    /// Replaces the file whole or leaves it as it was; false with an error posted.
    bool save(const QVString& path) const { return chart_.save(path); }

private:
    qvSvgChart chart_;
};
