#include <algorithm>
#include <cmath>
#include <numeric>

#include "qvutils/common/blocks/textblock.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/qvnr/func2d.h"
#include "qvutils/qvnr/functiontext.h"
#include "qvutils/qvnr/splinecore.h"

using qvfunctiontext::numberText;
using qvfunctiontext::WordReader;

namespace {

bool rises(const std::vector<double>& x) {
    for (std::size_t i = 0; i < x.size(); ++i) {
        if (!std::isfinite(x[i]) || (i > 0 && !(x[i] > x[i - 1]))) return false;
    }
    return true;
}

}  // namespace

const TBlockSig CSplineFunction2D::tbSig{"SPLINE2D", 1, 0};

void CSplineFunction2D::Init() {
    PolyOrSplineFunc2DBase::Init();
    type_ = polynomials;
}

void CSplineFunction2D::unalloc() {
    PolyOrSplineFunc2DBase::unalloc();
    x1Points_.clear();
    x2Points_.clear();
    splines_.clear();
}

bool CSplineFunction2D::setType(int type) {
    if (type != polynomials && type != grid) {
        qverr().setf("csplinefunc \"%s\": there is no type %d\n", name.Chars(), type);
        return false;
    }
    type_ = type;
    splines_.clear();
    return true;
}

bool CSplineFunction2D::checkCounts(int count1, int count2) const {
    if (count1 < (type_ == grid ? 2 : 1)) {
        qverr().setf("csplinefunc \"%s\": numCoef1 (%d) was silly\n", name.Chars(), count1);
    } else if (count1 > maxCount1()) {
        qverr().setf("csplinefunc \"%s\": too many x1 coefficients (max %d\n", name.Chars(),
                     maxCount1());
    } else if (count2 < 2 || count2 > CSpline::maxPoints) {
        qverr().setf("csplinefunc \"%s\": numCoef2 (%d) was silly\n", name.Chars(), count2);
    } else {
        return true;
    }
    return false;
}

bool CSplineFunction2D::alloc(int degree1, int degree2) {
    const int count1 = degree1 < 0 ? 0 : degree1 + 1;
    const int count2 = degree2 < 0 ? 0 : degree2 + 1;
    if (!checkCounts(count1, count2)) return false;
    unalloc();
    coefs_.alloc(0, degree1, 0, degree2);
    for (int i = 0; i < count1; ++i) {
        for (double& c : coefs_[i]) c = 0;
    }
    x2Points_.resize(static_cast<std::size_t>(count2));
    std::iota(x2Points_.begin(), x2Points_.end(), 0.);
    if (type_ == grid) {
        x1Points_.resize(static_cast<std::size_t>(count1));
        std::iota(x1Points_.begin(), x1Points_.end(), 0.);
    }
    return true;
}

bool CSplineFunction2D::Prepare() {
    std::vector<CSpline> splines;
    splines_.clear();
    if (!missing() && rises(x1Points_) && rises(x2Points_)) {
        if (!prepareSplines(splines)) return false;
        splines_ = std::move(splines);
        return true;
    }
    qverr().setf("csplinefunc \"%s\": x1 and x2 points must be there and rise\n", name.Chars());
    return false;
}

/// True when matrix and points do not fit each other.
bool CSplineFunction2D::missing() const {
    const std::size_t count1 = static_cast<std::size_t>(coefs_.get_dim1());
    return count1 == 0 || x2Points_.size() != static_cast<std::size_t>(coefs_.get_dim2()) ||
           x1Points_.size() != (type_ == grid ? count1 : 0);
}

/// On a grid a spline over x1 at any x2 has second derivatives that are splines over x2 of those at
/// the x2 points: both are linear in the values. So these are found once.
bool CSplineFunction2D::prepareSplines(std::vector<CSpline>& splines) const {
    const int count1 = coefs_.get_dim1();
    const int count2 = coefs_.get_dim2();
    Array2d<double> curvature(0, count1 - 1, 0, count2 - 1);
    std::vector<double> coupling(static_cast<std::size_t>(count1));
    for (int j = 0; j < count2 && type_ == grid; ++j) {
        qvspline::solve(
            count1, [this](int i) { return x1Points_[i]; },
            [this, j](int i) { return coefs_[i][j]; }, CSpline::noGradient, CSpline::noGradient,
            [&curvature, j](int i) -> double& { return curvature[i][j]; },
            [&coupling](int i) -> double& { return coupling[i]; });
    }
    std::vector<CSplineData> rows(x2Points_.size());
    splines.resize(static_cast<std::size_t>(count1));
    for (int i = 0; i < count1; ++i) {
        for (int j = 0; j < count2; ++j) {
            rows[j] = {x2Points_[j], coefs_[i][j], type_ == grid ? curvature[i][j] : 0};
        }
        if (!splines[i].Load(rows.data(), count2, name.Chars(), type_ == grid)) return false;
    }
    return true;
}

double CSplineFunction2D::Value(double x1, double x2) const {
    if (splines_.empty()) {
        CodeError("CSplineFunction2D::Value before Prepare", "func2d", __LINE__);
        return 0;
    }
    if (outOfRange("CSplineFunction2D", "x2", x2Name, x2Unit, x2, splines_[0].getStart(),
                   splines_[0].getEnd())) {
        return 0;
    }
    if (type_ == grid) return valueOnGrid(x1, x2);
    double y = 0;
    for (std::size_t i = splines_.size(); i-- > 0;) y = y * x1 + splines_[i].CalcY1(x2);
    return y;
}

double CSplineFunction2D::valueOnGrid(double x1, double x2) const {
    const auto inner = x1Points_.begin() + 1;
    const auto next = std::lower_bound(inner, x1Points_.end() - 1, x1);
    const std::size_t k = static_cast<std::size_t>(next - inner);
    const CSpline& left = splines_[k];
    const CSpline& right = splines_[k + 1];
    const qvspline::Segment segment{x1Points_[k],     x1Points_[k + 1], left.CalcY1(x2),
                                    right.CalcY1(x2), left.CalcY2(x2),  right.CalcY2(x2)};
    const double y = segment.value(x1);
    if (std::isfinite(y)) return y;
    qverr().setf("out of data range calculating spline %s", name.Chars());
    return 0;
}

bool CSplineFunction2D::readBody(WordReader& words) {
    int type = 0, count1 = 0, count2 = 0;
    if (!words.readInt(type) || !words.readInt(count1) || !words.readInt(count2)) {
        qverr().setf("csplinefunc \"%s\": missing type and numbers of points\n", name.Chars());
        return false;
    }
    if (!setType(type) || !checkCounts(count1, count2)) return false;
    // No memory is taken for numbers that the text cannot have.
    bool complete =
        static_cast<std::size_t>(count1) * static_cast<std::size_t>(count2) <= words.mostWords();
    if (complete) alloc(count1 - 1, count2 - 1);
    if (complete) {
        for (double& x : x1Points_) complete &= words.readNumber(x);
        for (int j = 0; j < count2 && complete; ++j) {
            complete = words.readNumber(x2Points_[j]);
            for (int i = 0; i < count1 && complete; ++i) complete = words.readNumber(coefs_[i][j]);
        }
    }
    if (complete && words.atEnd()) return Prepare();
    qverr().setf(complete ? "csplinefunc \"%s\": more numbers than its counts say\n"
                          : "csplinefunc \"%s\": missing coefficients\n",
                 name.Chars());
    return false;
}

bool CSplineFunction2D::ReadBody(QVText text) {
    CSplineFunction2D read;
    read.takeNames(*this);
    WordReader words(text.view());
    if (!read.readBody(words)) return false;
    *this = read;
    return true;
}

bool CSplineFunction2D::ReadTB(TextBlock& block) {
    CSplineFunction2D read;
    read.takeNames(*this);
    QVText body("");
    if (!read.takeBlock(block, tbSig, body) || !read.ReadBody(body)) return false;
    *this = read;
    return true;
}

void CSplineFunction2D::WriteTB(TextBlock& block) const {
    block.StartWrite(tbSig, name.Chars(), nullptr);
    block.writeline("%d %d %d", type_, coefs_.get_dim1(), coefs_.get_dim2());
    const auto writeRow = [&block](QVString line) { block.WriteLine(line.view()); };
    if (type_ == grid) {
        QVString line;
        for (const double x : x1Points_) line += (line.Empty() ? "" : " ") + numberText(x);
        writeRow(line);
    }
    for (int j = 0; j < coefs_.get_dim2(); ++j) {
        QVString line = numberText(x2Points_[j]);
        for (int i = 0; i < coefs_.get_dim1(); ++i) line += " " + numberText(coefs_[i][j]);
        writeRow(line);
    }
    block.EndWrite();
}
