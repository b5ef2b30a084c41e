// Functions that users define: a text is refused with one message, or makes a function that gives
// numbers and is written as text that reads back as the same. The text is tried as a block, as the
// inside of a block, as a definition line and as a data file.
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz/check.h"
#include "qvutils/common/blocks/qvutils.h"
#include "qvutils/qvnr/func2d.h"
#include "qvutils/qvnr/functiontext.h"
#include "qvutils/qvnr/userDefFunc.h"

namespace {

template <class F>
std::string written(const F& f) {
    TextBlock block;
    f.WriteTB(block);
    return std::string(block.text());
}

template <class F>
void checkRewriting(const F& f) {
    const std::string once = written(f);
    TextBlock block;
    check(block.LoadBlock(once.c_str()));
    F again;
    check(again.ReadTB(block) && !qverr());
    check(written(again) == once);
}

/// A spline gives a finite number, or 0 and a message.
template <class F>
void checkValues(const F& f, const std::vector<double>& places) {
    for (const double x : places) {
        check(std::isfinite(f(x)));
        qverr().reset();
    }
}

void checkUserDef(UserDefFunction f) {
    if (f.functionType != UserDefFunction::cubicSpline) return;
    f.Prepare();
    qverr().reset();
    std::vector<double> places = f.xData;
    for (const double x : f.xData) places.insert(places.end(), {std::nextafter(x, 1e9), -x, x * 2});
    checkValues([&f](double x) { return f.Value(x); }, places);
}

void tryBlock(const std::string& text) {
    TextBlock block;
    if (!block.LoadBlock(text.c_str())) return;
    qverr().reset();
    UserDefFunction f;
    if (f.ReadTB(block)) {
        checkUserDef(f);
        checkRewriting(f);
    } else {
        check(qverr());
    }
}

template <class F>
void tryBody(const std::string& text) {
    qverr().reset();
    F f;
    const bool sound = f.ReadBody(text.c_str());
    check(sound == !qverr());
    if (!sound) return;
    checkRewriting(f);
    if constexpr (std::is_same_v<F, CSplineFunction2D>) {
        if (f.getType() != CSplineFunction2D::grid) return;
        for (const double x2 : f.getX2Points()) {
            checkValues([&](double x1) { return f.Value(x1, x2); }, f.getX1Points());
        }
    }
}

void tryLine(const std::string& text) {
    qverr().reset();
    UserDefFunction f;
    if (!f.ReadDefLine(text.c_str())) {
        check(qverr() == 504);
        return;
    }
    UserDefFunction again;
    check(again.ReadDefLine(f.WriteDefLine()) && again == f);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    if (text.find('\0') != text.npos) return 0;
    qverr().reset();
    tryBlock(text);
    tryBlock("begin <UserDefFunc(1.0)>\n" + text + "\nend\n");
    tryBody<PolyFunction2D>(text);
    tryBody<CSplineFunction2D>(text);
    tryLine(text);
    qverr().reset();
    UserDefFunction f;
    std::vector<qvfunctiontext::Pair> pairs;
    if (qvfunctiontext::readPairs(text, pairs) == qvfunctiontext::DataText::read) {
        qvfunctiontext::sortPairs(pairs, f.xData, f.yData);
        f.functionType = UserDefFunction::cubicSpline;
        checkUserDef(f);
    }
    qverr().reset();
    return 0;
}
