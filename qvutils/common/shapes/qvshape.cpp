#include "qvutils/common/shapes/qvshape.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/shapes/qvellipse.h"
#include "qvutils/common/shapes/qvpolygon.h"
#include "qvutils/common/shapes/qvrectangle.h"
#include "qvutils/common/shapes/qvregularpolygon.h"
#include "qvutils/common/shapes/shapetext.h"

const qvClassInfo QVShape::cinfo_QVShape("QVShape", QVObject::getStaticClassInfo());

namespace {

constexpr const QVShapeKind* kinds[] = {&QVRectangle::kind, &QVEllipse::kind, &QVPolygon::kind,
                                        &QVRegularPolygon::kind};

}  // namespace

QVRotation::QVRotation(double degrees) {
    // The turn is taken apart into right angles and a rest of at most half of one.
    int quarters = 0;
    const double rest = std::remquo(degrees, 90.0, &quarters) * std::numbers::pi / 180;
    const double c = std::cos(rest);
    const double s = std::sin(rest);
    const bool swapped = quarters & 1;
    cos_ = swapped ? -s : c;
    sin_ = swapped ? c : s;
    if (quarters & 2) {
        cos_ = -cos_;
        sin_ = -sin_;
    }
}

const char* QVDimension::flawOf(double value) const {
    if (!std::isfinite(value))
        return need == positive ? "must be a positive number" : "must be a finite number";
    if (std::fabs(value) > most) return "must not be beyond 1e100";
    if (need == finite) return nullptr;
    if (need == positive) {
        if (!(value > 0)) return "must be a positive number";
        return value < 1 / most ? "must not be below 1e-100" : nullptr;
    }
    const bool possible =
        value >= QVRegularPolygon::minVertices && value <= QVRegularPolygon::maxVertices;
    return possible ? nullptr : "must be from 3 to 1000000";
}

std::string QVDimension::flawNow() const {
    return with([&](const auto* p) -> std::string {
        const auto value = p->GetValue();
        if (const QVString cause = p->GetFlaw(); !cause.Empty())
            return std::string("has no value\n") + cause.Chars();
        const char* flaw = flawOf(value);
        if (!flaw) return {};
        return std::string("is ") + qvShortestText(value).Chars() + "\n   it " + flaw + "\n";
    });
}

bool QVDimension::isLeftOut() const {
    return optional && with([](const auto* p) { return p->IsValue() && p->GetValue() == 0; });
}

std::vector<QVDimension> QVShape::dimensions() const {
    std::vector<QVDimension> all;
    forEachDimension([&](const QVDimension& dimension) { all.push_back(dimension); });
    return all;
}

bool QVShape::Contains(const PointT<double>& point, double tolerance) const {
    return Contains(point) || getDistanceToEdge(point) <= tolerance;
}

bool QVShape::Contains(const PointT<double>& point, double tolerance, bool& onEdge) const {
    onEdge = getDistanceToEdge(point) <= tolerance;
    return onEdge || Contains(point);
}

RectT<double> QVShape::getBoundingRectWithPlacement(const QVPlacement& placement) const {
    RectT<double> rect = getTurnedBoundingRect(QVRotation(placement.rotation));
    rect.left += placement.position.x;
    rect.right += placement.position.x;
    rect.top += placement.position.y;
    rect.bottom += placement.position.y;
    return rect;
}

bool QVShape::Expand(double distance) {
    const std::unique_ptr<QVShape> expanded = CreateExpandedShape(distance);
    if (!expanded) return false;
    if (&expanded->getKind() == &getKind()) {
        takeDimensions(*expanded);
        return true;
    }
    refuseToExpand(distance,
                   (std::string("the result is a ") + expanded->getKind().lowerName).c_str());
    return false;
}

void QVShape::takeDimensions(const QVShape& other) {
    makeRoomFor(other);
    const std::vector<QVDimension> mine = dimensions();
    const std::vector<QVDimension> theirs = other.dimensions();
    for (std::size_t i = 0; i < mine.size() && i < theirs.size(); ++i) {
        mine[i].with([&]<class T>(qvParameter<T>* parameter) {
            const auto* source = std::get<qvParameter<T>*>(theirs[i].parameter);
            if (nameSpace() || source->IsValue())
                parameter->CopyFrom(nameSpace(), *source);
            else
                parameter->SetValue(source->GetValue());
        });
    }
}

std::unique_ptr<QVShape> QVShape::newCopy(qvNameSpace* space) const {
    std::unique_ptr<QVShape> copy = getKind().create();
    copy->SetNameSpace(space);
    copy->takeDimensions(*this);
    return copy;
}

void QVShape::ChangeNameSpace(qvNameSpace* space) {
    SetNameSpace(space);
    if (!space) return;
    forEachDimension([&](const QVDimension& dimension) {
        dimension.with([&](auto* parameter) { parameter->CopyFrom(space, *parameter); });
    });
}

CheckSum QVShape::GetCheckSum() const {
    CheckSum sum;
    sum.Append(QVText(getKind().keyword));
    forEachDimension([&](const QVDimension& dimension) {
        dimension.with([&](auto* parameter) { parameter->AppendCheckSum(sum, true); });
    });
    return sum;
}

bool QVShape::ParseString(const char* text) {
    if (!text) text = "";
    const QVShapeKind& kind = getKind();
    const std::vector<std::string_view> pieces = qvSplitShapeParameters(text);
    const std::vector<QVDimension> all = dimensions();
    const std::size_t least = all.size() - (all.back().optional ? 1 : 0);
    const bool missing = pieces.size() < least || pieces.size() > all.size() ||
                         std::any_of(pieces.begin(), pieces.end(),
                                     [](std::string_view piece) { return piece.empty(); });
    if (missing) {
        SyntaxErr("Invalid %s parameters: %s\n   required format: %s\n", kind.lowerName, text,
                  getDefStringComment());
        return false;
    }
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        const std::string flaw = qvFlawOfDimension(all[i], pieces[i], nameSpace());
        if (flaw.empty()) continue;
        SyntaxErr("Invalid %s parameters: %s\n   %s\n", kind.lowerName, text, flaw.c_str());
        return false;
    }
    for (std::size_t i = 0; i < all.size(); ++i) {
        const QVString piece(i < pieces.size() ? pieces[i] : "0");
        all[i].with([&](auto* p) { p->SetValueOrExpression(nameSpace(), piece); });
    }
    return true;
}

QVString QVShape::getDefString() const {
    QVString text = getKind().keyword;
    const char* separator = "";
    forEachDimension([&](const QVDimension& dimension) {
        if (dimension.isLeftOut()) return;
        text += separator;
        text += qvTextOfDimension(dimension);
        separator = ", ";
    });
    return text + ")";
}

QVString QVShape::shortDefinition() const {
    constexpr int most = 60;
    const QVString text = getDefString();
    return text.Length() > most ? text.SubString(0, most) + "..." : text;
}

void QVShape::refuse(const char* verb, const char* reason) const {
    qverr().setf("cannot %s %s: %s\n", verb, shortDefinition().Chars(), reason);
}

void QVShape::refuseToExpand(double distance, const char* reason) const {
    refuse(distance < 0 ? "contract" : "expand", reason);
}

std::unique_ptr<QVShape> QVShape::ReadShape(qvNameSpace* space, const QVString& text) {
    std::string_view form = qvTrimmedShapeText(text.view());
    for (const QVShapeKind* kind : kinds) {
        const std::string_view keyword = kind->keyword;
        if (!form.starts_with(keyword)) continue;
        form.remove_prefix(keyword.size());
        if (!form.ends_with(')') || form.find('\0') != form.npos) {
            SyntaxErr("Missing closing bracket: %s\n   required format: %s%s)\n", text.Chars(),
                      kind->keyword, kind->parameters);
            return nullptr;
        }
        form.remove_suffix(1);
        std::unique_ptr<QVShape> shape = kind->create();
        shape->SetNameSpace(space);
        if (!shape->ParseString(std::string(form).c_str())) return nullptr;
        return shape;
    }
    std::string forms;
    for (const QVShapeKind* kind : kinds)
        forms += std::string("   ") + kind->keyword + kind->parameters + ")\n";
    SyntaxErr("Unknown shape: %s\n   one of these is required:\n%s", text.Chars(), forms.c_str());
    return nullptr;
}

bool QVShape::checkSize(double w, double h) const {
    const QVDimension size{};
    const char* flaw = size.flawOf(w);
    if (!flaw) flaw = size.flawOf(h);
    if (!flaw) return true;
    qverr().setf("cannot set the size to %s x %s: it %s\n", qvShortestText(w).Chars(),
                 qvShortestText(h).Chars(), flaw);
    return false;
}

bool QVShape::checkAngle(double angle) const {
    if (std::isfinite(angle)) return true;
    refuse("rotate", "the angle is not a finite number");
    return false;
}

bool QVShape::checkExpanded(double distance, double w, double h) const {
    const QVDimension size{};
    if (!std::isfinite(distance))
        refuseToExpand(distance, "the distance is not a finite number");
    else if (std::max({std::fabs(distance), w, h}) > QVDimension::most)
        refuseToExpand(distance, "it would be too large");
    else if (size.flawOf(w) || size.flawOf(h))
        refuseToExpand(distance, "nothing would be left");
    else
        return true;
    return false;
}

bool QVShape::SetToWeighted(const QVShape& a, const QVShape& b, const WeightType& weight) {
    const auto refuse = [](const char* message) {
        qverr().set(message);
        return false;
    };
    if (&a.getKind() != &getKind() || &b.getKind() != &getKind())
        return refuse(getKind().cannotBlend);
    if (!std::isfinite(weight.x) || !std::isfinite(weight.y) || !std::isfinite(weight.angle))
        return refuse("Cannot create weighted shape: a weight is not a finite number\n");
    if (!a.Check() || !b.Check()) return false;
    const std::unique_ptr<QVShape> blend = a.newCopy(nullptr);
    const std::vector<QVDimension> first = blend->dimensions();
    const std::vector<QVDimension> second = b.dimensions();
    if (first.size() != second.size()) return refuse(getKind().cannotBlend);
    for (std::size_t i = 0; i < first.size(); ++i) {
        const auto value = [](const auto* parameter) -> double { return parameter->GetValue(); };
        const double from = first[i].with(value), to = second[i].with(value);
        if (double WeightType::*part = first[i].weight)
            first[i].with([&](auto* p) { p->SetValue(std::lerp(from, to, weight.*part)); });
        else if (from != to)
            return refuse(getKind().cannotBlend);
    }
    if (!blend->Check()) return false;
    takeDimensions(*blend);
    return true;
}

bool QVShape::AreAllParametersValues() const {
    bool all = true;
    forEachDimension([&](const QVDimension& dimension) {
        all = all && dimension.with([](const auto* parameter) { return parameter->IsValue(); });
    });
    return all;
}

bool QVShape::operator==(const QVShape& other) const {
    if (this == &other) return true;
    if (&getKind() != &other.getKind()) return false;
    const std::vector<QVDimension> mine = dimensions();
    const std::vector<QVDimension> theirs = other.dimensions();
    return std::equal(mine.begin(), mine.end(), theirs.begin(), theirs.end(),
                      [](const QVDimension& a, const QVDimension& b) {
                          return a.with([&]<class T>(const qvParameter<T>* parameter) {
                              return *parameter == *std::get<qvParameter<T>*>(b.parameter);
                          });
                      });
}

bool QVShape::EqualsTo(const QVObject& other) const {
    const auto* shape = dynamic_cast<const QVShape*>(&other);
    return shape && *this == *shape;
}

bool QVShape::Check() const {
    bool good = true;
    forEachDimension([&](const QVDimension& dimension) {
        if (!good) return;
        const std::string flaw = dimension.flawNow();
        good = flaw.empty();
        if (good) return;
        qverr().setf("the %s of %s %s", dimension.name, shortDefinition().Chars(), flaw.c_str());
    });
    return good;
}
