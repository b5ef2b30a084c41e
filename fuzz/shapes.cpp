// The text form of shapes: what is read must be written so that it reads back as the same, and what
// is refused must leave the shape as it was. Whatever is read can be asked and moved.
#include <cmath>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "fuzz/check.h"
#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/formula/limits.h"
#include "qvutils/common/shapes/qvshape.h"
#include "qvutils/common/variables/qvnamespace.h"

namespace {

qvNameSpace& space() {
    static qvNameSpace* const made = [] {
        setOutputHook([](int, const char*) {});
        qvSetMostLoopRounds(1e4);
        auto* all = new qvNameSpace;
        all->Add("w")->SetValue(2);
        all->Add("h")->SetExpression("w/4");
        return all;
    }();
    return *made;
}

/// One point and many points get the same answers, and all that is inside is in the bounding box of
/// a shape that is one.
void checkContainment(const QVShape& shape) {
    const bool isShape = shape.Check();
    const RectT<double> rect = shape.getBoundingRect();
    const double margin = 1e-9 * (1 + std::fabs(rect.right) + std::fabs(rect.top) +
                                  std::fabs(rect.left) + std::fabs(rect.bottom));
    std::vector<PointT<double>> points;
    for (const PointT<double>& p : shape.getOutline(0.1)) {
        if (points.size() < 100) points.push_back(p);
    }
    for (int i = -1; i < 9; ++i) {
        for (int j = -1; j < 9; ++j) {
            points.push_back({rect.left + (rect.right - rect.left) * i / 8,
                              rect.bottom + (rect.top - rect.bottom) * j / 8});
        }
    }
    const std::unique_ptr<bool[]> inside(new bool[points.size()]);
    shape.ContainsAll(points, {inside.get(), points.size()});
    for (std::size_t i = 0; i < points.size(); ++i) {
        const PointT<double>& p = points[i];
        const bool contained = shape.Contains(p);
        check(contained == inside[i]);
        check(!contained || !isShape ||
              (p.x >= rect.left - margin && p.x <= rect.right + margin &&
               p.y >= rect.bottom - margin && p.y <= rect.top + margin));
        bool onEdge = false;
        check(shape.Contains(p, 0.1, onEdge) == (contained || onEdge));
    }
}

void tryAll(const QVShape& shape) {
    shape.getBoundingCircle();
    shape.GetMinLinearDimension();
    checkContainment(shape);
    const QVString definition = shape.getDefString();
    if (const auto turned = shape.CreateRotatedShape(360))
        check(turned->getDefString() == definition);
    shape.CreateRotatedShape(30);
    for (double distance : {-0.5, -0.01, 0.01, 3.0}) shape.CreateExpandedShape(distance);
    check(shape.getDefString() == definition);
    qverr().reset();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QVString text(reinterpret_cast<const char*>(data), static_cast<int>(size));
    const auto kept = QVShape::ReadShape(&space(), "REGPOLY(5, w, h, 1)");
    if (!kept->ParseString(text.Chars())) check(kept->getDefString() == "REGPOLY(5, w, h, 1)");
    const auto shape = QVShape::ReadShape(&space(), text);
    if (!shape) return 0;
    const QVString written = shape->getDefString();
    const auto again = QVShape::ReadShape(&space(), written);
    check(again && again->getDefString() == written && *again == *shape);
    // What a vertex count asks for may be too much to try over and over.
    if (!written.Contains("REGPOLY") || shape->getOutline(0).size() < 1000) tryAll(*shape);
    qverr().reset();
    return 0;
}
