#include "qvutils/qvnr/func2d.h"

#include "qvutils/common/blocks/textblock.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/qvnr/functiontext.h"

using qvfunctiontext::numberText;
using qvfunctiontext::WordReader;

void PolyOrSplineFunc2DBase::Init() {
    name = x1Name = x1Unit = x2Name = x2Unit = "";
    unalloc();
}

void PolyOrSplineFunc2DBase::unalloc() {
    coefs_.unalloc();
}

void PolyOrSplineFunc2DBase::Rescale(double factor) {
    for (int i = 0; i < coefs_.get_dim1(); ++i) {
        for (double& c : coefs_[i]) c *= factor;
    }
}

void PolyOrSplineFunc2DBase::getDegree(int& degree1, int& degree2) const {
    degree1 = coefs_.get_dim1() - 1;
    degree2 = coefs_.get_dim2() - 1;
}

bool PolyOrSplineFunc2DBase::takeBlock(TextBlock& block, const TBlockSig& sig, QVText& body) {
    block.StartRead(sig, true);
    if (qverr()) return false;
    name = block.getName() ? block.getName() : "";
    body = block.body();
    return true;
}

void PolyOrSplineFunc2DBase::takeNames(const PolyOrSplineFunc2DBase& other) {
    name = other.name;
    x1Name = other.x1Name;
    x1Unit = other.x1Unit;
    x2Name = other.x2Name;
    x2Unit = other.x2Unit;
}

bool PolyOrSplineFunc2DBase::outOfRange(const char* what, const char* variable,
                                        const QVString& xName, const QVString& unit, double x,
                                        double from, double to) const {
    const double tolerance = (to - from) / 1e14;
    if (x >= from - tolerance && x <= to + tolerance) return false;
    qverr().setf(4101, "%s \"%s\": %s:%s was %.3g %s - out of range\n", what, name.Chars(),
                 variable, xName.Chars(), x, unit.Chars());
    return true;
}

const TBlockSig PolyFunction2D::tbSig{"POLY2D", 1, 0};

void PolyFunction2D::Init() {
    PolyOrSplineFunc2DBase::Init();
    x1Min = x2Min = -noLimit;
    x1Max = x2Max = noLimit;
}

bool PolyFunction2D::alloc(int degree1, int degree2) {
    if (degree1 < 0) {
        qverr().setf("polynomial \"%s\": numCoef1 (%d) was silly\n", name.Chars(), degree1 + 1);
    } else if (degree1 >= maxCoefs) {
        qverr().setf("polynomial \"%s\": too many x1 coefficients (max %d\n", name.Chars(),
                     maxCoefs);
    } else if (degree2 < 0 || degree2 >= maxCoefs) {
        qverr().setf("polynomial \"%s\": numCoef2 (%d) was silly\n", name.Chars(), degree2 + 1);
    } else {
        coefs_.alloc(0, degree1, 0, degree2);
        for (int i = 0; i <= degree1; ++i) {
            for (double& c : coefs_[i]) c = 0;
        }
        return true;
    }
    return false;
}

bool PolyFunction2D::Prepare() {
    return checkLimits();
}

bool PolyFunction2D::checkLimits() const {
    if (x1Min < x1Max && x2Min < x2Max) return true;
    qverr().setf("polynomial \"%s\": param limits were silly\n", name.Chars());
    return false;
}

double PolyFunction2D::Value(double x1, double x2) const {
    if (outOfRange("polynomial", "x1", x1Name, x1Unit, x1, x1Min, x1Max) ||
        outOfRange("polynomial", "x2", x2Name, x2Unit, x2, x2Min, x2Max)) {
        return 0;
    }
    double y = 0;
    for (int i = coefs_.get_dim1() - 1; i >= 0; --i) {
        const Array1d<double>& row = coefs_[i];
        double c = 0;
        for (int j = row.get_ubd(); j >= 0; --j) c = c * x2 + row[j];
        y = y * x1 + c;
    }
    return y;
}

bool PolyFunction2D::readBody(WordReader& words) {
    int count1 = 0, count2 = 0;
    if (!words.readInt(count1) || !words.readInt(count2)) {
        qverr().setf("polynomial \"%s\": missing numbers of coefficients\n", name.Chars());
        return false;
    }
    // The counts are judged before anything depends on them.
    if (!alloc(count1 < 1 ? -1 : count1 - 1, count2 < 1 ? -1 : count2 - 1)) return false;
    if (!words.readNumber(x1Min) || !words.readNumber(x1Max) || !words.readNumber(x2Min) ||
        !words.readNumber(x2Max)) {
        qverr().setf("polynomial \"%s\": missing limits\n", name.Chars());
        return false;
    }
    if (!checkLimits()) return false;
    for (int i = 0; i < count1; ++i) {
        for (double& c : coefs_[i]) {
            if (words.readNumber(c)) continue;
            qverr().setf("polynomial \"%s\": missing coefficients\n", name.Chars());
            return false;
        }
    }
    if (words.atEnd()) return true;
    qverr().setf("polynomial \"%s\": more numbers than its counts say\n", name.Chars());
    return false;
}

bool PolyFunction2D::ReadBody(QVText text) {
    PolyFunction2D read;
    read.takeNames(*this);
    WordReader words(text.view());
    if (!read.readBody(words)) return false;
    *this = read;
    return true;
}

bool PolyFunction2D::ReadTB(TextBlock& block) {
    PolyFunction2D read;
    read.takeNames(*this);
    QVText body("");
    if (!read.takeBlock(block, tbSig, body) || !read.ReadBody(body)) return false;
    *this = read;
    return true;
}

void PolyFunction2D::WriteTB(TextBlock& block) const {
    block.StartWrite(tbSig, name.Chars(), nullptr);
    block.writeline("%d %d", coefs_.get_dim1(), coefs_.get_dim2());
    block.WriteLine((numberText(x1Min) + " " + numberText(x1Max) + " " + numberText(x2Min) + " " +
                     numberText(x2Max))
                        .view());
    for (int i = 0; i < coefs_.get_dim1(); ++i) {
        QVString line;
        for (const double c : coefs_[i]) line += (line.Empty() ? "" : " ") + numberText(c);
        block.WriteLine(line.view());
    }
    block.EndWrite();
}
