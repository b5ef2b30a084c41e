#include "qvutils/qvnr/userDefFunc.h"

#include <algorithm>
#include <cmath>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/qvnr/Splinfit.h"
#include "qvutils/qvnr/functiontext.h"

using qvfunctiontext::DataText;
using qvfunctiontext::numberText;
using qvfunctiontext::WordReader;

void UserDefFunction::Init() {
    name = xName = xUnit = "";
    label = "functionValue";
    functionType = polynomial;
    xMin = xMax = 0;
    yMin = -noLimit;
    yMax = noLimit;
    xLimits = yLimits = false;
    xLower = xUpper = 0;
    std::fill(std::begin(coefs), std::end(coefs), 0.);
    degree = 0;
    xData.clear();
    yData.clear();
    prepared_ = false;
    spline_.reset();
}

bool UserDefFunction::Prepare() {
    const double tolerance = (xMax - xMin) / 1e14;
    xLower = xMin - tolerance;
    xUpper = xMax + tolerance;
    spline_.reset();
    bool sound = true;
    if (functionType == cubicSpline) {
        std::vector<CSplineData> rows(static_cast<std::size_t>(getDataSize()));
        for (std::size_t i = 0; i < rows.size(); ++i) rows[i] = {xData[i], yData[i], 0};
        const auto spline = std::make_shared<CSpline>();
        sound = spline->Load(rows.data(), static_cast<int>(rows.size()), name.Chars(), false);
        spline_ = spline;
    }
    yLimits = hasYRange();
    prepared_ = true;
    return sound;
}

double UserDefFunction::Value(double x) const {
    if (!prepared_) {
        CodeError("UserDefFunction::Value before Prepare", "userDefFunc", __LINE__);
        return 0;
    }
    // An x at a limit that was written with 13 digits and read again is still inside.
    const double rounding = (xMax - xMin) * 2e-13;
    if (xLimits && !(x >= xLower - rounding && x <= xUpper + rounding)) {
        qverr().setf(4101, "polynomial \"%s\": x:%s was %.3g %s - out of range\n", name.Chars(),
                     xName.Chars(), x, xUnit.Chars());
        return 0;
    }
    double y = 0;
    if (spline_) {
        y = spline_->CalcY1(x);
    } else {
        for (int i = getCoefCount() - 1; i >= 0; --i) y = y * x + coefs[i];
    }
    if (yLimits) y = std::max(std::min(y, yMax), yMin);
    return y;
}

bool UserDefFunction::EqualsTo(const UserDefFunction& other) const {
    if (functionType != other.functionType || xLimits != other.xLimits || xMin != other.xMin ||
        xMax != other.xMax || yLimits != other.yLimits || yMin != other.yMin ||
        yMax != other.yMax) {
        return false;
    }
    if (functionType == cubicSpline) return xData == other.xData && yData == other.yData;
    return degree == other.degree && std::equal(coefs, coefs + getCoefCount(), other.coefs);
}

int UserDefFunction::AddData(double x, double y) {
    if (!std::isfinite(x) || !std::isfinite(y)) {
        qverr().setf("UserDefFunc: a data pair (%g, %g) is not possible\n", x, y);
        return 0;
    }
    const auto place = std::upper_bound(xData.begin(), xData.end(), x) - xData.begin();
    xData.insert(xData.begin() + place, x);
    yData.insert(yData.begin() + place, y);
    prepared_ = false;
    return static_cast<int>(place) + 1;
}

bool UserDefFunction::DeleteData(int index) {
    double x = 0, y = 0;
    if (!GetData(index, x, y)) return false;
    xData.erase(xData.begin() + index - 1);
    yData.erase(yData.begin() + index - 1);
    prepared_ = false;
    return true;
}

bool UserDefFunction::GetData(int index, double& x, double& y) const {
    if (index < 1 || index > getDataSize()) {
        qverr().setf("UserDefFunc: there is no data pair %d\n", index);
        return false;
    }
    x = xData[static_cast<std::size_t>(index) - 1];
    y = yData[static_cast<std::size_t>(index) - 1];
    return true;
}

void UserDefFunction::Rescale(double factor) {
    for (double& c : coefs) c *= factor;
    for (double& y : yData) y *= factor;
    for (double* limit : {&yMin, &yMax}) {
        const bool none = std::abs(*limit) >= noLimit;
        *limit *= none ? std::copysign(1., factor) : factor;
    }
    if (factor < 0) std::swap(yMin, yMax);
    prepared_ = false;
}

bool UserDefFunction::ReadDefLine(const char* line) {
    WordReader words(line ? line : "");
    int count = 0;
    double read[maxCoefs] = {};
    bool sound = words.readInt(count);
    if (sound && (count < 1 || count > maxCoefs)) {
        qverr().setf(504, "polynomial \"%s\" - too big\n", name.Chars());
        return false;
    }
    for (int i = 0; i < count && sound; ++i) sound = words.readNumber(read[i]);
    if (!sound) {
        qverr().setf(504, "polynomial \"%s\" syntax error\n", name.Chars());
        return false;
    }
    double low = 0, high = 0;
    xLimits = words.readNumber(low) && words.readNumber(high);
    xMin = xLimits ? low : 0;
    xMax = xLimits ? high : 0;
    functionType = polynomial;
    degree = count - 1;
    std::copy(read, read + maxCoefs, coefs);
    yMin = -noLimit;
    yMax = noLimit;
    return Prepare();
}

QVString UserDefFunction::WriteDefLine() const {
    QVString line;
    if (functionType != polynomial) {
        qverr().setf(504, "spline \"%s\" cannot be written as a line\n", name.Chars());
        return line;
    }
    line.sprintf("%d", getCoefCount());
    for (int i = 0; i < getCoefCount(); ++i) line += " " + numberText(coefs[i]);
    if (xLimits) line += " " + numberText(xMin) + " " + numberText(xMax);
    return line;
}

bool UserDefFunction::ReadData(const QVString& fileName) {
    if (fileName.Empty()) {
        qverr().set("UserDefFunc error::data file not provided!");
        return false;
    }
    std::string text;
    if (!qvplatform::readWholeFile(fileName.Chars(), text)) {
        qverr().setf("UserDefFunc error::Can't open file %s", fileName.Chars());
        return false;
    }
    std::vector<qvfunctiontext::Pair> pairs;
    switch (qvfunctiontext::readPairs(text, pairs)) {
        case DataText::rowTooLong:
            qverr().set("The row of the file is too large!");
            return false;
        case DataText::unrecognised:
            qverr().setf("UserDefFunc error::Unrecognised file format while reading file: %s",
                         fileName.Chars());
            return false;
        case DataText::read:
            break;
    }
    qvfunctiontext::sortPairs(pairs, xData, yData);
    prepared_ = false;
    return true;
}
