// What the command language sees of a shape node.

#include <algorithm>
#include <initializer_list>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/text/qvnumber.h"
#include "qvutils/ui/nodes/qvshapenode.h"

namespace {

QVString textOf(std::initializer_list<double> numbers) {
    QVString text;
    for (double number : numbers) {
        if (!text.Empty()) text += ' ';
        text += qvShortestText(number);
    }
    return text;
}

QVString textOf(const RectT<double>& box) {
    return textOf({box.left, box.bottom, box.right, box.top});
}

/// The arguments as the text that they were before they were split.
QVString joined(const QVCommandArgList& args) {
    QVString text;
    for (int i = 0; i < args.nargs(); ++i) {
        if (i > 0) text += ", ";
        text += args[i].getText();
    }
    return text;
}

QVString definition(qvShapeNode& node) {
    return node.getShape() ? node.getShape()->getDefString() : QVString();
}

double area(qvShapeNode& node) {
    const QVShape* const shape = node.checkedShape();
    return shape ? shape->getArea() : 0;
}

double minDimension(qvShapeNode& node) {
    const QVShape* const shape = node.checkedShape();
    return shape ? shape->GetMinLinearDimension() : 0;
}

bool contains(qvShapeNode& node, double x, double y, double tolerance) {
    const QVShape* const shape = node.checkedShape();
    if (!shape) return false;
    if (tolerance < 0) {
        qverr().setf("the tolerance is %s: it must not be negative\n",
                     qvShortestText(tolerance).Chars());
        return false;
    }
    return tolerance > 0 ? shape->Contains({x, y}, tolerance) : shape->Contains({x, y});
}

double distance(qvShapeNode& node, double x, double y) {
    const QVShape* const shape = node.checkedShape();
    return shape ? shape->getDistanceToEdge({x, y}) : 0;
}

QVString boundingBox(qvShapeNode& node, double x, double y, double rotation) {
    const QVShape* const shape = node.checkedShape();
    if (!shape) return {};
    return textOf(shape->getBoundingRectWithPlacement({{x, y}, rotation}));
}

QVString boundingCircle(qvShapeNode& node) {
    const QVShape* const shape = node.checkedShape();
    if (!shape) return {};
    const QVCircle circle = shape->getBoundingCircle();
    return textOf({circle.centre.x, circle.centre.y, circle.radius});
}

void saveSvg(qvShapeNode& node, const QVCommandArgList& args) {
    if (!args.checkCount(1, std::max(1, args.nargs()))) return;
    std::vector<QVString> others;
    for (int i = 1; i < args.nargs(); ++i) others.push_back(args[i].getText());
    node.SaveSvg(args[0].getText(), others);
}

}  // namespace

void qvShapeNode::OnPublish() {
    PublishFn(
        "setshape",
        [](qvShapeNode& node, const QVCommandArgList& args) { node.SetShape(joined(args)); },
        "( text ): set the shape, as in RECTANGLE(w1, 2*h)");
    PublishFn("definition", definition, "(): the shape as text");
    PublishFn("area", area, "(): area in um^2");
    PublishFn(
        "boundingbox", boundingBox,
        "( [x, y, rotation] ): left, bottom, right and top of the shape, where it stands when "
        "turned by rotation degrees and then moved to (x,y)",
        qvRequiredArgs(0));
    PublishFn("boundingcircle", boundingCircle,
              "(): centre x, y and radius of the smallest circle around the shape");
    PublishFn("mindimension", minDimension,
              "(): smallest distance in um between two parallel lines with the shape between them");
    PublishFn("contains", contains,
              "( x, y[, tolerance] ): is the point inside, or within the tolerance of the edge?",
              qvRequiredArgs(2));
    PublishFn("distance", distance, "( x, y ): distance in um of the point from the edge");
    PublishFn("expand", &qvShapeNode::Expand, "( d ): move the edge outwards by d um");
    PublishFn(
        "contract", [](qvShapeNode& node, double d) { node.Expand(-d); },
        "( d ): move the edge inwards by d um");
    PublishFn("rotate", &qvShapeNode::Rotate,
              "( angle ): turn the shape about its origin, in degrees counter-clockwise");
    PublishFn(
        "blend", &qvShapeNode::Blend,
        "( first, second, t[, weighting] ): make this the blend of the shapes of two nodes at "
        "t of a weighting function, or of this node's",
        qvRequiredArgs(3));
    PublishFn(
        "blendby",
        [](qvShapeNode& node, const QVCommandArgList& args) {
            if (!args.checkCount(3, 5)) return;
            const double x = args[2];
            WeightType weights{x, x, x};
            if (args.nargs() > 3) weights.y = weights.angle = args[3];
            if (args.nargs() > 4) weights.angle = args[4];
            node.BlendBy(args[0].getText(), args[1].getText(), weights);
        },
        "( first, second, x[, y, angle] ): make this the blend of the shapes of two nodes by "
        "weights from 0 to 1 of x size, y size and angle");
    PublishFn("savesvg", saveSvg,
              "( filename[, others ...] ): save a picture of the shape, and of the shapes of other "
              "nodes, as SVG");
    PublishVar("weighting", weighting_, "weighting function by which blends are made");
    PublishAll(shape_);
    qvProjectNode::OnPublish();
}
