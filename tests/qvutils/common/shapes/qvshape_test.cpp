#include "qvutils/common/shapes/qvshape.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <random>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/shapes/qvellipse.h"
#include "qvutils/common/shapes/qvpolygon.h"
#include "qvutils/common/shapes/qvrectangle.h"
#include "qvutils/common/shapes/qvregularpolygon.h"
#include "qvutils/common/shapes/qvshapecontainer.h"
#include "qvutils/common/variables/qvnamespace.h"
#include "tests/support/captured_output.h"

namespace {

using Point = PointT<double>;
using testing::HasSubstr;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

/// A namespace with w1 = 3, h = 1 and none = -1.
class Shapes : public testing::Test {
protected:
    Shapes() {
        w1->SetValue(3);
        space.Add("h")->SetValue(1);
        space.Add("none")->SetValue(-1);
    }
    ~Shapes() override { EXPECT_FALSE(qverr()) << qverr().chars_and_reset(); }

    std::unique_ptr<QVShape> read(const char* text) { return QVShape::ReadShape(&space, text); }
    static std::string message() { return qverr().chars_and_reset(); }

    qvNameSpace space;
    qvNamedVariable* w1 = space.Add("w1");
    CapturedOutput output;
};

constexpr const char* everyKind[] = {"RECTANGLE(w1, 2*h)", "ELLIPSE(w1, 2*h)",
                                     "ELLIPSE(w1, 2*h, 20)", "REGPOLY(5, 10*h, w1, 2)",
                                     "POLYGON(-w1, -h, w1, -h, 2, h, max(0, h), 2.5)"};

TEST_F(Shapes, text_forms_are_written_as_they_were_read) {
    for (const char* text : everyKind) {
        const auto shape = read(text);
        ASSERT_TRUE(shape) << text;
        EXPECT_EQ(shape->getDefString(), text);
        EXPECT_FALSE(shape->AreAllParametersValues());
        EXPECT_EQ(shape->GetNameSpace(), &space);
    }
    QVString written;
    QVShape::WriteShape(*read("  RECTANGLE( max(w1,2) ,\t2.50)  "), written);
    EXPECT_EQ(written, "RECTANGLE(max(w1,2), 2.5)");
    EXPECT_EQ(read("ELLIPSE(1, 2, 0)")->getDefString(), "ELLIPSE(1, 2)");
}

TEST_F(Shapes, a_text_that_is_no_shape_is_told_and_changes_nothing) {
    struct {
        const char* shape;
        const char* text;
        const char* told;
    } const rows[] = {
        {"RECTANGLE(1, h)", "2",
         "Invalid rectangle parameters: 2\n   required format: width, height\n"},
        {"RECTANGLE(1, h)", "2,", "Invalid rectangle parameters: 2,\n   required format"},
        {"RECTANGLE(1, h)", "2, 3, 4", "Invalid rectangle parameters: 2, 3, 4\n"},
        {"RECTANGLE(1, h)", "0, 3", "width must be a positive number"},
        {"RECTANGLE(1, h)", "2, -1e-3", "height must be a positive number"},
        {"RECTANGLE(1, h)", "2, 1e101", "height must not be beyond 1e100"},
        {"RECTANGLE(1, h)", "1e-300, 2", "width must not be below 1e-100"},
        {"RECTANGLE(1, h)", "2, (h", "height has brackets that do not match"},
        {"RECTANGLE(1, h)", "2, h)+(1", "height has brackets that do not match"},
        {"RECTANGLE(1, h)", "2, \"h\"", "height has a double quote"},
        {"RECTANGLE(1, h)", "2, h // high", "height has a comment"},
        {"RECTANGLE(1, h)", "2, h\n+1", "height has a control character"},
        {"ELLIPSE(1, h)", "", "Invalid ellipse parameters: \n   required format: width, height\n"},
        {"REGPOLY(3, 0, 1, 1)", "3, 0, 1",
         "Invalid regular polygon parameters: 3, 0, 1\n   required format: numvertices, angle, "
         "width, height\n"},
        {"REGPOLY(3, 0, 1, 1)", "2, 0, 1, 1", "numvertices must be from 3 to 1000000"},
        {"REGPOLY(3, 0, 1, 1)", "1e9, 0, 1, 1", "numvertices must be from 3 to 1000000"},
        {"POLYGON(0, 0, 1, 0, 0, h)", "0,0, 1,0",
         "Invalid polygon parameters: 0,0, 1,0\n   polygons must have at least three points\n"},
        {"POLYGON(0, 0, 1, 0, 0, h)", "0,0, 1,0, 1",
         "Invalid polygon parameters: 0,0, 1,0, 1\n   required format: point1x, point1y, point2x, "
         "point2y, ...\n"},
        {"POLYGON(0, 0, 1, 0, 0, h)", "0,0, ,0, 1,1", "required format: point1x"},
    };
    for (const auto& row : rows) {
        const auto shape = read(row.shape);
        EXPECT_FALSE(shape->ParseString(row.text)) << row.text;
        EXPECT_THAT(output.takeWarnings(), HasSubstr(row.told)) << row.text;
        EXPECT_EQ(shape->getDefString(), row.shape);
    }
    for (const char* text : {"", "RECTANGLE", "rectangle(1,2)", "RECTANGLE(1,2", "CIRCLE(1)"}) {
        EXPECT_FALSE(read(text));
        EXPECT_THAT(output.takeWarnings(), HasSubstr("RECTANGLE(width, height)")) << text;
    }
    EXPECT_FALSE(QVShape::ReadShape(nullptr, "RECTANGLE(w1, 2)"));
    EXPECT_THAT(output.takeWarnings(), HasSubstr("width is a formula, but there are no variables"));
}

TEST_F(Shapes, a_million_vertices_are_read_and_answer) {
    std::string text = "POLYGON(";
    constexpr int n = 1'000'000;
    for (int i = 0; i < n; ++i) {
        const double t = 2 * std::numbers::pi * i / n;
        text += std::to_string(2 * std::cos(t)) + "," + std::to_string(std::sin(t)) + ",";
    }
    text.back() = ')';
    const auto shape = read(text.c_str());
    ASSERT_TRUE(shape);
    EXPECT_NEAR(shape->getArea(), 2 * std::numbers::pi, 1e-5);
    EXPECT_NEAR(shape->getBoundingCircle().radius, 2, 1e-5);
    EXPECT_NEAR(shape->GetMinLinearDimension(), 2, 1e-5);
    EXPECT_TRUE(shape->Contains({1.99, 0}) && !shape->Contains({1.99, 0.5}));
}

TEST_F(Shapes, measures_follow_closed_forms) {
    const double pi = std::numbers::pi, root2 = std::sqrt(2.0), root3 = std::sqrt(3.0);
    struct {
        const char* text;
        double area, left, right, bottom, top, radius, thinnest;
    } const rows[] = {
        {"RECTANGLE(4, 3)", 12, -2, 2, -1.5, 1.5, 2.5, 3},
        {"ELLIPSE(4, 3)", 3 * pi, -2, 2, -1.5, 1.5, 2, 3},
        {"ELLIPSE(4, 3, 90)", 3 * pi, -1.5, 1.5, -2, 2, 2, 3},
        {"ELLIPSE(4, 2, 45)", 2 * pi, -std::sqrt(2.5), std::sqrt(2.5), -std::sqrt(2.5),
         std::sqrt(2.5), 2, 2},
        {"REGPOLY(4, 45, 4, 3)", 12, -2, 2, -1.5, 1.5, 2.5, 3},
        {"REGPOLY(4, -36e17, 2, 2)", 2, -1, 1, -1, 1, 1, root2},
        {"REGPOLY(3, 0, 3, 2)", 3, -1, 2, -1, 1, 5.0 / 3, 6 / std::sqrt(10.0)},
        {"REGPOLY(6, 0, 2, 1.7320508075688772)", 1.5 * root3, -1, 1, -root3 / 2, root3 / 2, 1,
         root3},
        {"POLYGON(0, 0, 4, 0, 0, 3)", 6, 0, 4, 0, 3, 2.5, 2.4},
        {"POLYGON(0, 0, 0, 3, 4, 0, 4, 0)", 6, 0, 4, 0, 3, 2.5, 2.4},
        {"POLYGON(0, 0, 1, 0, 5, 0, 2, 0)", 0, 0, 5, 0, 0, 2.5, 0},
    };
    for (const auto& row : rows) {
        const auto shape = read(row.text);
        const RectT<double> rect = shape->getBoundingRect();
        EXPECT_NEAR(shape->getArea(), row.area, 1e-14) << row.text;
        EXPECT_NEAR(rect.left, row.left, 1e-15) << row.text;
        EXPECT_NEAR(rect.right, row.right, 1e-15) << row.text;
        EXPECT_NEAR(rect.bottom, row.bottom, 1e-15) << row.text;
        EXPECT_NEAR(rect.top, row.top, 1e-15) << row.text;
        EXPECT_NEAR(shape->getBoundingCircle().radius, row.radius, 1e-14) << row.text;
        EXPECT_NEAR(shape->GetMinLinearDimension(), row.thinnest, 1e-14) << row.text;
    }
}

TEST_F(Shapes, edges_belong_to_shapes_and_have_a_width_when_asked_with_a_tolerance) {
    struct {
        const char* text;
        Point point;
        bool inside;
        double distance;
    } const rows[] = {
        {"RECTANGLE(4, 2)", {2, -1}, true, 0},
        {"RECTANGLE(4, 2)", {-2, 0.25}, true, 0},
        {"RECTANGLE(4, 2)", {2.0000000000000004, 0}, false, 4.4e-16},
        {"RECTANGLE(4, 2)", {5, 5}, false, 5},
        {"RECTANGLE(4, 2)", {0.5, 0.25}, true, 0.75},
        {"ELLIPSE(4, 2)", {2, 0}, true, 0},
        {"ELLIPSE(4, 2)", {0, -1}, true, 0},
        {"ELLIPSE(4, 2)", {0, 0}, true, 1},
        {"ELLIPSE(4, 2)", {0.75, 0}, true, std::sqrt(0.8125)},  // its foot is (1, sqrt(3) / 2)
        {"ELLIPSE(4, 2)", {1.9, 0}, true, 0.1},
        {"ELLIPSE(4, 2)", {0, 3}, false, 2},
        {"ELLIPSE(4, 2, 90)", {0, -3}, false, 1},
        {"ELLIPSE(2, 2)", {3, 4}, false, 4},
        {"POLYGON(0, 0, 2, 0, 2, 2, 0, 2)", {0, 1}, true, 0},
        {"POLYGON(0, 0, 2, 0, 2, 2, 0, 2)", {2, 1}, false, 0},
        {"POLYGON(0, 0, 2, 0, 2, 2, 0, 2)", {1, 2}, false, 0},
        {"POLYGON(0, 0, 2, 0, 2, 2, 0, 2)", {0, 0}, true, 0},
        {"POLYGON(0, 0, 2, 0, 2, 2, 0, 2)", {5, 6}, false, 5},
    };
    for (const auto& row : rows) {
        const auto shape = read(row.text);
        const std::string which = std::string(row.text) + " " + std::to_string(row.point.x);
        EXPECT_EQ(shape->Contains(row.point), row.inside) << which;
        EXPECT_NEAR(shape->getDistanceToEdge(row.point), row.distance, 1e-15) << which;
        for (double tolerance : {row.distance / 2 - 1e-12, row.distance + 1e-12}) {
            bool onEdge = false;
            const bool expected = row.inside || tolerance > row.distance;
            EXPECT_EQ(shape->Contains(row.point, tolerance, onEdge), expected) << which;
            EXPECT_EQ(onEdge, tolerance > row.distance) << which;
            EXPECT_EQ(shape->Contains(row.point, tolerance), expected) << which;
        }
        EXPECT_FALSE(shape->Contains({nan, 0}) || shape->Contains({0, nan}));
    }
}

TEST_F(Shapes, the_nearest_point_of_an_ellipse_is_where_the_normal_passes) {
    // Points are made by going along normals; they stay nearest up to the centre of curvature.
    for (double b : {0.001, 0.5, 1.0, 3.0, 500.0}) {
        QVEllipse ellipse;
        ellipse.setSize(2, 2 * b);
        for (double t = 0.05; t < 6.2; t += 0.3) {
            const double c = std::cos(t), s = std::sin(t);
            const double length = std::hypot(b * c, s);
            const double curvatureRadius = length * length * length / b;
            for (double distance : {-0.9 * curvatureRadius, 0.0, 1e-9, 0.3, 40.0}) {
                const double opposite = 2 * std::min(1.0, b);  // another side may be nearer
                if (-distance > opposite / 8) continue;
                const Point p{c + distance * b * c / length, b * s + distance * s / length};
                EXPECT_NEAR(ellipse.getDistanceToEdge(p), std::fabs(distance), 2e-13 * (b + 40))
                    << b << " " << t << " " << distance;
            }
        }
    }
}

TEST_F(Shapes, turned_shapes_contain_turned_points) {
    std::mt19937 generator(7);
    std::uniform_real_distribution<double> place(-3.5, 3.5);
    for (const char* text : everyKind) {
        const auto shape = read(text);
        for (double angle : {0.0, 30.0, 90.0, 180.0, 270.0, -400.0, 360.0}) {
            const auto turned = shape->CreateRotatedShape(angle);
            ASSERT_TRUE(turned);
            const QVPlacement placement{{0, 0}, angle};
            EXPECT_NEAR(turned->getArea(), shape->getArea(), 1e-13);
            for (int i = 0; i < 200; ++i) {
                const Point p{place(generator), place(generator)};
                EXPECT_EQ(turned->Contains(placement.toStructure(p)), shape->Contains(p)) << text;
            }
            const QVPlacement moved{{10, -20}, angle};
            const RectT<double> rect = turned->getBoundingRect();
            const RectT<double> placed = shape->getBoundingRectWithPlacement(moved);
            EXPECT_NEAR(placed.left, rect.left + 10, 1e-13) << text << angle;
            EXPECT_NEAR(placed.top, rect.top - 20, 1e-13) << text << angle;
            EXPECT_NEAR(moved.toObject(moved.toStructure({1, 2})).y, 2, 1e-14);
        }
        EXPECT_EQ(shape->CreateRotatedShape(360)->getDefString(), text);
        EXPECT_FALSE(shape->CreateRotatedShape(nan));
        EXPECT_THAT(message(), HasSubstr("the angle is not a finite number"));
    }
    EXPECT_EQ(read("RECTANGLE(w1, 2*h)")->CreateRotatedShape(-90)->getDefString(),
              "RECTANGLE(2*h, w1)");
    EXPECT_STREQ(read("RECTANGLE(1, 2)")->CreateRotatedShape(45)->getName(), "Polygon");
    EXPECT_EQ(read("ELLIPSE(w1, 1)")->CreateRotatedShape(200)->getDefString(),
              "ELLIPSE(w1, 1, 20)");
    EXPECT_STREQ(read("REGPOLY(4, 0, 2, 2)")->CreateRotatedShape(10)->getName(), "Regular Polygon");
    EXPECT_STREQ(read("REGPOLY(5, 0, 2, 1)")->CreateRotatedShape(10)->getName(), "Polygon");
}

TEST_F(Shapes, blends_reach_both_ends_and_take_each_weight_for_its_own_size) {
    const std::pair<const char*, const char*> rows[] = {
        {"RECTANGLE(w1, 0.1)", "RECTANGLE(0.7, h)"},
        {"ELLIPSE(w1, 0.1)", "ELLIPSE(0.7, h, 33)"},
        {"REGPOLY(5, 1, w1, 0.1)", "REGPOLY(5, 33, 0.7, h)"},
        {"POLYGON(0, 0, w1, 0, 0, 0.1)", "POLYGON(0.1, 0.2, 3, h, 1, 7)"}};
    for (const auto& [first, second] : rows) {
        const auto a = read(first), b = read(second), blend = a->getKind().create();
        EXPECT_TRUE(blend->SetToWeighted(*a, *b, {0, 0, 0}) && *blend == *a) << first;
        EXPECT_TRUE(blend->SetToWeighted(*a, *b, {1, 1, 1}) && *blend == *b) << first;
        EXPECT_TRUE(blend->AreAllParametersValues());
        if (a->getKind().keyword[0] != 'P') {
            EXPECT_FALSE(blend->SetToWeighted(*a, *b, {5, 1, 1}));
            EXPECT_THAT(message(), HasSubstr("it must be a positive number"));
        }
        EXPECT_TRUE(*blend == *b);
        EXPECT_FALSE(blend->SetToWeighted(*a, *b, {nan, 0, 0}));
        EXPECT_THAT(message(), HasSubstr("a weight is not a finite number"));
    }
    QVRegularPolygon blend;
    ASSERT_TRUE(blend.SetToWeighted(*read("REGPOLY(5, 0, 1, 2)"), *read("REGPOLY(5, 40, 2, 4)"),
                                    {0.25, 0.5, 0.75}));
    EXPECT_EQ(blend.getDefString(), "REGPOLY(5, 30, 1.25, 3)");
    const char* created = "Cannot created weighted shape  - incompatible geometry\n";
    const char* create = "Cannot create weighted shape  - incompatible geometry\n";
    for (const auto& [text, other, told] :
         {std::tuple("RECTANGLE(1, 2)", "ELLIPSE(1, 2)", created),
          std::tuple("ELLIPSE(1, 2)", "RECTANGLE(1, 2)", created),
          std::tuple("REGPOLY(3, 0, 1, 2)", "REGPOLY(4, 0, 1, 2)", create),
          std::tuple("POLYGON(0, 0, 1, 0, 0, 1)", "POLYGON(0, 0, 1, 0, 0, 1, 1, 1)", create)}) {
        const auto shape = read(text);
        EXPECT_FALSE(shape->SetToWeighted(*shape, *read(other), {}));
        EXPECT_EQ(message(), told);
        EXPECT_EQ(shape->getDefString(), text);
    }
}

TEST_F(Shapes, formulas_follow_the_variables_and_are_told_when_they_give_no_shape) {
    const auto shape = read("RECTANGLE(w1, 2*h)");
    const CheckSum before = shape->GetCheckSum();
    EXPECT_EQ(read("RECTANGLE(w1, 2*h)")->GetCheckSum(), before);
    EXPECT_NE(read("ELLIPSE(w1, 2*h)")->GetCheckSum(), before);
    w1->SetValue(5);
    space.Add("unset")->SetExpression("nothing");
    EXPECT_TRUE(shape->Contains({2.5, 0}) && shape->Check());
    EXPECT_NE(shape->GetCheckSum(), before);
    struct {
        const char* text;
        const char* told;
    } const rows[] = {
        {"RECTANGLE(w1, none)",
         "the height of RECTANGLE(w1, none) is -1\n   it must be a positive"},
        {"ELLIPSE(0*w1, 1)", "the width of ELLIPSE(0*w1, 1) is 0\n"},
        {"RECTANGLE(nothing, 1)",
         "the width of RECTANGLE(nothing, 1) has no value\nExpression \"nothing\" refers to"},
        {"POLYGON(0, 0, 1, 0, 1/(w1-5), 1)", "1, 0, 1/(w1-5), 1) has no value\nExpression"},
        {"ELLIPSE(1, 1, 1+unset)", "has no value\nVariable \"unset\" refers to undefined"},
        {"REGPOLY(w1-9, 0, 1, 1)", "the numvertices of REGPOLY(w1-9, 0, 1, 1) is -4\n"},
        {"POLYGON(0, 0, 1, 0, 1e308*w1*w1, 1)", "must be a finite number"}};
    for (const auto& row : rows) {
        const auto bad = read(row.text);
        EXPECT_FALSE(bad->Check());
        EXPECT_THAT(message(), HasSubstr(row.told));
        EXPECT_FALSE(bad->CreateExpandedShape(0.1) || bad->CreateRotatedShape(1));
        message();
        // Nothing is promised of the answers but that there are some.
        bad->Contains({0, 0});
        bad->getBoundingCircle();
        bad->GetMinLinearDimension();
        bad->getDistanceToEdge({0, 0});
        bad->getOutline(0.1);
    }
}

TEST_F(Shapes, copies_live_in_a_namespace_of_their_own) {
    for (const char* text : everyKind) {
        const auto shape = read(text);
        std::unique_ptr<QVShape> copy;
        {
            qvNameSpace other;
            other.Add("w1")->SetValue(7);
            other.Add("h")->SetValue(2);
            copy = shape->newCopy(&other);
            EXPECT_EQ(copy->getDefString(), text);
            EXPECT_FALSE(*copy == *shape) << text;
            const std::unique_ptr<QVObject> clone(copy->Clone());
            EXPECT_TRUE(clone->EqualsTo(*copy));
            QVShapeContainer container, moved;
            container.setShape(std::move(copy));
            moved.CopyFrom(&space, container);
            EXPECT_TRUE(*moved.getShape() == *shape);
            copy = container.getShape()->newCopy(&other);
        }
        EXPECT_EQ(copy->getDefString(), text);
        copy->ChangeNameSpace(&space);
        EXPECT_TRUE(*copy == *shape);
        EXPECT_TRUE(shape->newCopy(nullptr)->AreAllParametersValues());
    }
}

/// A value that an object publishes, set as a command does.
std::string set(QVObject& object, const char* name, const char* value) {
    QVCommandElt element = object.getPublishedElt(name);
    object.SetParam(element, value, name);
    return qverr().chars_and_reset();
}

std::string call(QVObject& object, const char* method, const char* arguments) {
    object.getPublishedElt(method).ExecuteFn(arguments);
    return qverr().chars_and_reset();
}

TEST_F(Shapes, commands_reach_the_dimensions_and_cannot_spoil_them) {
    QVShapeContainer holder;
    holder.SetNameSpace(&space);
    ASSERT_TRUE(holder.ReadShape("REGPOLY(5, 0, w1, 2)"));
    QVShape& regular = *holder.getShape();
    QVString text;
    EXPECT_TRUE(holder.getPublishedElt("type").getValueText(text));
    EXPECT_EQ(text, "Regular Polygon");
    EXPECT_STREQ(holder.getPublishedElt("width").getDescription(),
                 "width of regular polygon in um");
    EXPECT_EQ(set(regular, "width", "max(w1,4)"), "");
    EXPECT_EQ(call(holder, "setnumvertices", "6"), "");
    EXPECT_EQ(holder.getDefString(), "REGPOLY(6, 0, max(w1,4), 2)");
    for (const auto& [name, value] : {std::pair("width", "0"),
                                      {"width", ""},
                                      {"height", "1,2"},
                                      {"height", "w1-3"},
                                      {"height", "w1+nothing"},
                                      {"numvertices", "2"},
                                      {"height", "h//2"}}) {
        EXPECT_THAT(set(regular, name, value), HasSubstr("could not set")) << name << value;
    }
    EXPECT_THAT(call(holder, "setnumvertices", "2"), HasSubstr("from 3 to 1000000"));
    EXPECT_THAT(call(holder, "setSize", "1, -1"), HasSubstr("must be a positive number"));
    EXPECT_EQ(holder.getDefString(), "REGPOLY(6, 0, max(w1,4), 2)");
    EXPECT_EQ(call(holder, "setSize", "3, 1.5"), "");
    EXPECT_EQ(holder.getDefString(), "REGPOLY(6, 0, 3, 1.5)");
}

TEST_F(Shapes, commands_edit_the_vertices_of_a_polygon) {
    QVShapeContainer holder;
    holder.SetNameSpace(&space);
    ASSERT_TRUE(holder.ReadShape("POLYGON(0, 0, 2, 0, 0, 1)"));
    EXPECT_EQ(call(holder, "insertpoint", "3, \"min(w1,2)\", 1"), "");
    const auto vertex = [&](int i) -> QVObject& {
        return *holder.getPublishedElt("plist").entryElt(i, 0).getObject();
    };
    EXPECT_EQ(set(vertex(4), "y", "h"), "");
    EXPECT_EQ(holder.getDefString(), "POLYGON(0, 0, 2, 0, min(w1,2), 1, 0, h)");
    EXPECT_EQ(holder.getPublishedElt("plist").getRange(1).last, 4);
    QVString count;
    holder.getPublishedElt("npoints").getValueText(count);
    EXPECT_EQ(count, "4");
    EXPECT_EQ(call(holder, "setSize", "4, 2"), "");
    EXPECT_EQ(holder.getDefString(), "POLYGON(0, 0, 4, 0, 4, 2, 0, 2)");
    EXPECT_EQ(call(holder, "removepoint", "3"), "");
    EXPECT_THAT(call(holder, "removepoint", "1"), HasSubstr("at least three points"));
    EXPECT_THAT(call(holder, "removepoint", "4"), HasSubstr("there are 3 points"));
    for (const char* arguments :
         {"0, 1, 1", "5, 1, 1", "1, , 1", "1, \"a,b\", 1", "1, (, 1", "1, nothing, 1"})
        EXPECT_THAT(call(holder, "insertpoint", arguments), HasSubstr("cannot insert"))
            << arguments;
    EXPECT_THAT(set(vertex(1), "x", ""), HasSubstr("could not set"));
    EXPECT_EQ(holder.getDefString(), "POLYGON(0, 0, 4, 0, 0, 2)");
    auto& polygon = static_cast<QVPolygon&>(*holder.getShape());
    EXPECT_EXIT(polygon.plist[4], testing::ExitedWithCode(1), "");
}

}  // namespace
