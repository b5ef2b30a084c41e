// The saved form of parameters: what is written must read back as the same, and reading anything
// else must leave the parameter as it was.
#include <cmath>
#include <complex>
#include <cstdint>

#include "fuzz/check.h"
#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/parameters/qvparameter.h"
#include "qvutils/common/variables/qvnamespace.h"

namespace {

qvNameSpace& space() {
    static qvNameSpace* const made = [] {
        setOutputHook([](int, const char*) {});
        auto* all = new qvNameSpace;
        all->Add("gap")->SetValue(0.75);
        all->Add("width")->SetExpression("2*gap+1");
        return all;
    }();
    return *made;
}

template <class T>
bool same(const T& a, const T& b) {
    if constexpr (std::is_same_v<T, std::complex<double>>)
        return same(a.real(), b.real()) && same(a.imag(), b.imag());
    else
        return a == b || (a != a && b != b);
}

template <class T>
void checkRoundTrip(const qvParameter<T>& parameter) {
    QVString saved = parameter.Write();
    const QVString before = saved;
    qvParameter<T> back(T(1));
    check(back.Read(&space(), saved) && saved.Empty());
    check(back.IsUndefined() == parameter.IsUndefined());
    // A number that was given as an expression is a number from then on.
    const bool sameKind = back.IsValue() == parameter.IsValue();
    check(sameKind ? back.Write() == before : back.IsValue());
    // Sums, which have a colon, may take long.
    if (sameKind && !before.Contains(':')) check(same(back.GetValue(), parameter.GetValue()));
}

template <class T>
void tryAs(const QVString& text) {
    qvParameter<T> parameter(T(7));
    QVString rest = text;
    if (parameter.Read(&space(), rest)) {
        check(rest.Length() < text.Length());
        checkRoundTrip(parameter);
    } else {
        check(parameter.IsValue() && parameter == 7);
    }
    if (parameter.SetExpression(&space(), text)) checkRoundTrip(parameter);
    if (parameter.SetValueOrExpression(&space(), text)) checkRoundTrip(parameter);
    qverr().reset();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QVString text(reinterpret_cast<const char*>(data), static_cast<int>(size));
    tryAs<int>(text);
    tryAs<float>(text);
    tryAs<double>(text);
    tryAs<std::complex<double>>(text);
    return 0;
}
