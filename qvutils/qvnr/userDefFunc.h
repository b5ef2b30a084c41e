#pragma once
#include <algorithm>
#include <memory>
#include <vector>

#include "qvutils/common/blocks/tblocksig.h"
#include "qvutils/common/platform/qvexport.h"
#include "qvutils/common/text/qvstring.h"

class CSpline;
class TextBlock;

/// A function y = f(x) that a user defines: a polynomial or a cubic spline through data, if wanted
/// refused outside an x range and clamped to a y range.
///
/// After any change of a field Prepare is called, then Value. A prepared function may be used by
/// several threads. Mistakes are posted to qverr().
class QVCORE_API UserDefFunction {
public:
    static const TBlockSig tbSig;
    static constexpr int maxCoefs = 10;
    /// What yMin = -noLimit and yMax = noLimit stand for.
    static constexpr double noLimit = 1e99;
    enum FunctionType { polynomial = 0, cubicSpline = 1 };

    UserDefFunction() { Init(); }
    UserDefFunction(const UserDefFunction&) = default;
    UserDefFunction& operator=(const UserDefFunction&) = default;
    virtual ~UserDefFunction() = default;

    /// The function 0 of type polynomial, without limits, data and name.
    virtual void Init();
    virtual bool Prepare();
    /// An x outside the limits is error 4101 and gives 0. Calling it unprepared is a code error.
    virtual double Value(double x) const;
    /// A block that is refused leaves the function as it was; one that is accepted is prepared.
    /// Limits in y that the block disables are forgotten.
    virtual bool ReadTB(TextBlock& block);
    /// Numbers are written with 7 digits.
    virtual void WriteTB(TextBlock& block) const;

    /// Type, limits with their switches, and coefficients or data.
    bool EqualsTo(const UserDefFunction& other) const;
    bool operator==(const UserDefFunction& other) const { return EqualsTo(other); }

    /// Data pairs count from 1 and are kept in the order of x; one with an x that is already there
    /// goes behind it. Returns the index of the new pair; 0 when a number is not finite.
    int AddData(double x, double y);
    bool DeleteData(int index);
    bool GetData(int index, double& x, double& y) const;
    int getDataSize() const { return static_cast<int>(std::min(xData.size(), yData.size())); }
    int getCoefCount() const { return std::clamp(degree + 1, 0, maxCoefs); }

    /// Multiplies the function by a factor: coefficients, y data and y limits.
    void Rescale(double factor);

    /// line: count c0 ... c(count-1) [ xMin xMax ]
    /// Defines a prepared polynomial; errors have the number 504.
    bool ReadDefLine(const char* line);
    /// The same line in full precision; empty, with an error, for a spline.
    QVString WriteDefLine() const;
    /// Replaces the data pairs by those of a text file with two numbers in each row.
    bool ReadData(const QVString& fileName);

    QVString name;
    /// What messages call x, and its unit.
    QVString xName;
    QVString xUnit;
    const char* label;
    int functionType;
    double xMin, xMax, yMin, yMax;
    bool xLimits, yLimits;
    /// The limits and a little more: the x range that Value accepts, but for rounding.
    double xLower, xUpper;
    double coefs[maxCoefs];
    int degree;
    std::vector<double> xData, yData;

private:
    class BlockReader;

    bool hasYRange() const { return !(yMin == -noLimit && yMax == noLimit); }

    bool prepared_;
    /// Shared by copies; nobody changes it.
    std::shared_ptr<const CSpline> spline_;
};
