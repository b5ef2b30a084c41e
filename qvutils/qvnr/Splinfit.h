#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "qvutils/common/platform/qvexport.h"

/// One row of a table.
struct CSplineData {
    double x = 0;
    double y1 = 0;
    double y2 = 0;
};

/// Where values lie in a rising table: the range is cut into cells of equal width, and each cell
/// knows the first point that is not below it. A cell with many points is cut into smaller ones
/// over just these points. So only a few points are looked at, however many there are and however
/// unevenly they lie.
class QVCORE_API CSplineIndex {
public:
    /// Of n points x, at least two, at most 65535; the range x[n-1] - x[0] is positive.
    void build(const double* x, int n, int cells);
    /// The first point that is not below the value: x[k-1] < value <= x[k]. It is asked for values
    /// with x[0] < value < x[n-1]. `x` is the table that the index was built of.
    std::size_t find(const double* x, double value) const { return findAt(x, value, place(value)); }
    /// Where a value lies, in cells from x[0]. It does not fall when the value rises.
    double place(double value) const { return (value - root_.first) * root_.density; }
    /// The same as find, for a value whose place is known.
    std::size_t findAt(const double* x, double value, double place) const {
        const Cell* cell = cells_.data() + static_cast<std::int64_t>(place);
        if (cell->crowd) [[unlikely]]
            return findInCrowd(cell, x, value);
        const std::size_t k = cell->point;
        return k + (value > x[k]);
    }

private:
    struct Cell {
        std::uint16_t point;  ///< the first that is not below the cell
        /// 0 when at most one point lies in the cell, the number (from 1) of the part that divides
        /// it, or `undivided`.
        std::uint16_t crowd;
    };
    static constexpr std::uint16_t undivided = 0xffff;
    /// A range in cells of equal width.
    struct Part {
        double first;
        double density;  ///< cells per unit of x
        double last;     ///< the number of the last cell
        int offset;      ///< of its first cell
        int depth;
    };

    std::size_t findInCrowd(const Cell* cell, const double* x, double value) const;
    void fill(const double* x, const Part& part, int low, int high);
    void markCrowds(const double* x, const Part& part);
    bool divide(const double* x, int depth, int low, int high);

    Part root_{};
    std::vector<Cell> cells_;
    std::vector<Part> parts_;
};

/// A cubic spline through one or two columns of y values over one column of x values.
///
/// Inside a segment of width h = x[k+1] - x[k], with B = (x - x[k]) / h and A = 1 - B:
///     y = A y[k] + B y[k+1] + ((A^3 - A) y"[k] + (B^3 - B) y"[k+1]) h^2 / 6
/// where the second derivatives y" make slope and curvature continuous. The end segments' cubics go
/// on outside the table.
///
/// Where two neighbouring points have the same x the curve is broken: the points before and after
/// are two splines with natural ends there, and asking at that x is an error.
///
/// Mistakes are posted to qverr() and give 0:
///     "out of data range calculating spline %s"   nothing was loaded, x is not a number, or is so
///                                                  far outside that the result would overflow
///     "Bad data calculating spline%s"             two points have this x
///     "spline %s has no second column"
/// A loaded spline may be used by several threads.
class QVCORE_API CSpline {
public:
    static constexpr int maxPoints = 65535;
    /// The gradient of an end that is natural.
    static constexpr double noGradient = 1e100;

    CSpline() = default;
    CSpline(const CSplineData* data, int n, const char* name, bool twoColumns) {
        Load(data, n, name, twoColumns);
    }

    /// The slopes at the first and the last point, for the loads that follow; above 9.99e99 the end
    /// is natural (no curvature).
    void SetGradients(double dy1Start, double dy1End, double dy2Start, double dy2End);
    /// Copies the rows; 2 to 65535 with x values that do not fall. A refused table posts an error
    /// and leaves the spline without data.
    bool Load(const CSplineData* data, int n, const char* name, bool twoColumns);

    double CalcY1(double x) const {
        const double place = index_.place(x);
        if (isEasy(place)) [[likely]]
            return easyValue(column1_, x, place);
        return carefulValue(column1_, x);
    }
    double CalcY2(double x) const {
        const double place = index_.place(x);
        if (isEasy(place) && twoColumns_) [[likely]]
            return easyValue(column2_, x, place);
        return carefulValue(column2_, x);
    }
    double CalcdY1dx(double x) const;
    double CalcdY2dx(double x) const;
    double Calcd2Y1dx2(double x) const;
    double Calcd2Y2dx2(double x) const;
    /// The values at n places, the same as one by one.
    void CalcY1(const double* x, double* y, int n) const;
    void CalcY2(const double* x, double* y, int n) const;

    bool IsReady() const { return ready_; }
    bool HasSecondColumn() const { return twoColumns_; }
    int getPoints() const { return static_cast<int>(x_.size()); }
    /// The x range; 0 without data.
    double getStart() const { return x_.empty() ? 0 : x_.front(); }
    double getEnd() const { return x_.empty() ? 0 : x_.back(); }
    const char* getName() const { return name_.c_str(); }

private:
    /// A point with the cubic of the segment that ends there: y + c1 e + c2 e^2 + c3 e^3, where e
    /// is what x lies beyond the point. The first point has no cubic, but its c2 as well is half of
    /// the second derivative there.
    struct Knot {
        double y;
        double c1;
        double c2;
        double c3;
    };
    using Column = std::vector<Knot>;
    struct Gradients {
        double start = noGradient;
        double end = noGradient;
    };
    struct Value;
    struct Slope;
    struct Curvature;

    bool checkRows(const CSplineData* data, int n) const;
    bool fillColumn(Column& column, const CSplineData* data, double CSplineData::*y,
                    const Gradients& gradients) const;
    bool makeCubics(Column& column, const CSplineData* data, double CSplineData::*y) const;
    void clear();
    int segmentOf(double x) const;
    bool isEasy(double place) const { return place > 0 && place < easyPlaces_; }
    double easyValue(const Column& column, double x, double place) const {
        const std::size_t k = index_.findAt(x_.data(), x, place);
        const Knot& knot = column[k];
        const double e = x - x_[k];
        return knot.y + e * (knot.c1 + e * (knot.c2 + e * knot.c3));
    }
    double carefulValue(const Column& column, double x) const;
    template <class Kind>
    double calc(const Column& column, double x) const;

    std::vector<double> x_;
    Column column1_;
    Column column2_;
    Gradients gradients1_;
    Gradients gradients2_;
    CSplineIndex index_;
    /// Below this place in the index a value can be calculated without further checks; 0 when
    /// nothing is loaded or two points have the same x.
    double easyPlaces_ = 0;
    bool twoColumns_ = false;
    bool ready_ = false;
    std::string name_;
};

/// Several splines over x ranges that follow each other. A value up to a ten-millionth of the range
/// outside counts as inside; further outside the end segments' cubics go on.
class QVCORE_API MultiCSpline {
public:
    /// Forgets what was loaded. Each segment is then loaded in the order of x.
    bool Initialise(int segments, const char* name, bool twoColumns);
    /// The rows of the next segment and its end gradients (see CSpline::SetGradients). It begins
    /// where the one before ends; when it begins later, the one before goes on up to there. After
    /// a failed segment the spline has no data until it is initialised again.
    bool LoadSegment(const CSplineData* data, int n, double dy1Start, double dy1End,
                     double dy2Start, double dy2End);

    double CalcY1(double x) const;
    double CalcY2(double x) const;
    double CalcdY1dx(double x) const;
    double CalcdY2dx(double x) const;

    bool IsReady() const { return ready_; }

private:
    void clear();
    const CSpline* locate(double& x) const;

    int wanted_ = 0;
    std::vector<CSpline> segments_;
    std::vector<double> bounds_;  ///< where each segment begins, and the end
    CSplineIndex index_;
    std::string name_;
    bool twoColumns_ = false;
    bool ready_ = false;
};

/// The natural cubic spline through n points, given as x1, y1, x2, y2, ..., and its slope at x.
/// False when there are fewer than two points or their x values do not rise; nothing is posted.
/// Takes no memory for up to 64 points.
QVCORE_API bool qvNaturalSplineValue(int n, const double* xy, double x, double& y, double& dydx);
