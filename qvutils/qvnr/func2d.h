#pragma once
#include <vector>

#include "qvutils/common/blocks/tblocksig.h"
#include "qvutils/common/containers/array2d.h"
#include "qvutils/common/platform/qvexport.h"
#include "qvutils/common/text/qvstring.h"
#include "qvutils/qvnr/Splinfit.h"

class TextBlock;

namespace qvfunctiontext {
class WordReader;
}

/// A function of two variables, made of a matrix of numbers: element (i, j) belongs to x1 by i and
/// to x2 by j, both counted from 0.
///
/// After any change Prepare is called, then Value. A prepared function may be used by several
/// threads. Mistakes are posted to qverr(); an argument out of range is error 4101 and gives 0.
class QVCORE_API PolyOrSplineFunc2DBase {
public:
    virtual ~PolyOrSplineFunc2DBase() = default;

    /// Makes the matrix, all 0, for the degrees in x1 and x2; false for degrees out of range.
    virtual bool alloc(int degree1, int degree2) = 0;
    virtual void unalloc();
    /// Multiplies the function by a factor.
    virtual void Rescale(double factor);

    virtual void Init();
    virtual bool Prepare() = 0;
    virtual double Value(double x1, double x2) const = 0;
    /// A block that is refused leaves the function as it was; one that is accepted is prepared.
    virtual bool ReadTB(TextBlock& block) = 0;
    virtual void WriteTB(TextBlock& block) const = 0;
    /// The same for the text inside a block, in which line ends do not count.
    virtual bool ReadBody(QVText text) = 0;

    Array2d<double>& getCoefs() { return coefs_; }
    const Array2d<double>& getCoefs() const { return coefs_; }
    /// -1 for a function without coefficients.
    void getDegree(int& degree1, int& degree2) const;

    QVString name;
    /// What messages call the variables, and their units.
    QVString x1Name, x1Unit;
    QVString x2Name, x2Unit;

protected:
    PolyOrSplineFunc2DBase() = default;
    PolyOrSplineFunc2DBase(const PolyOrSplineFunc2DBase&) = default;
    PolyOrSplineFunc2DBase& operator=(const PolyOrSplineFunc2DBase&) = default;

    /// The text of a block of this type, whose name becomes the function's; false when it is none.
    bool takeBlock(TextBlock& block, const TBlockSig& sig, QVText& body);
    /// Keeps name and words of messages.
    void takeNames(const PolyOrSplineFunc2DBase& other);
    /// Posts "... - out of range" when x is outside.
    bool outOfRange(const char* what, const char* variable, const QVString& xName,
                    const QVString& unit, double x, double from, double to) const;

    Array2d<double> coefs_;
};

/// The polynomial sum of c(i,j) x1^i x2^j, inside limits.
///
/// body: count1 count2 x1Min x1Max x2Min x2Max c(0,0) c(0,1) ... c(1,0) ...
class QVCORE_API PolyFunction2D : public PolyOrSplineFunc2DBase {
public:
    static const TBlockSig tbSig;
    static constexpr int maxCoefs = 10;
    /// What limits of -noLimit and noLimit stand for.
    static constexpr double noLimit = 1e99;

    PolyFunction2D() = default;

    bool alloc(int degree1, int degree2) override;
    void Init() override;
    bool Prepare() override;
    double Value(double x1, double x2) const override;
    bool ReadTB(TextBlock& block) override;
    void WriteTB(TextBlock& block) const override;
    bool ReadBody(QVText text) override;

    double x1Min = -noLimit, x1Max = noLimit;
    double x2Min = -noLimit, x2Max = noLimit;

private:
    bool readBody(qvfunctiontext::WordReader& words);
    bool checkLimits() const;
};

/// Splines over x2. In column j of the matrix stands what the function is at the j-th x2 point:
/// - type polynomials: the coefficients of a polynomial in x1, each of which is a natural spline
///   over x2
/// - type grid: the values at the x1 points; the function is a natural spline over x1 as well
/// x2 has to lie between the first and the last point. Outside of the x1 points the end segments'
/// cubics go on.
///
/// body: type count1 count2 [ x1(0) x1(1) ... ] { x2(j) c(0,j) c(1,j) ... }
/// where x1 points are there for type grid only.
class QVCORE_API CSplineFunction2D : public PolyOrSplineFunc2DBase {
public:
    static const TBlockSig tbSig;
    static constexpr int maxCoefs = 10;
    static constexpr int maxPoints1 = 1000;
    enum Type { polynomials = 0, grid = 1 };

    CSplineFunction2D() = default;

    /// Points are 0, 1, 2, ... until they are set.
    bool alloc(int degree1, int degree2) override;
    void unalloc() override;
    void Init() override;
    bool Prepare() override;
    double Value(double x1, double x2) const override;
    bool ReadTB(TextBlock& block) override;
    void WriteTB(TextBlock& block) const override;
    bool ReadBody(QVText text) override;

    int getType() const { return type_; }
    /// False, with an error, for a type that does not exist. To be set before alloc.
    bool setType(int type);
    std::vector<double>& getX1Points() { return x1Points_; }
    std::vector<double>& getX2Points() { return x2Points_; }

private:
    int maxCount1() const { return type_ == grid ? maxPoints1 : maxCoefs; }
    bool checkCounts(int count1, int count2) const;
    bool readBody(qvfunctiontext::WordReader& words);
    bool prepareSplines(std::vector<CSpline>& splines) const;
    bool missing() const;
    double valueOnGrid(double x1, double x2) const;

    int type_ = polynomials;
    std::vector<double> x1Points_;
    std::vector<double> x2Points_;
    /// One over x2 for each row of the matrix. On a grid the second column is the second
    /// derivative with respect to x1.
    std::vector<CSpline> splines_;
};
