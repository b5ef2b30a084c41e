#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "qvutils/common/variables/qvnamespace.h"
#include "tests/support/captured_output.h"

namespace {

TEST(NameSpaceThreads, readers_never_see_torn_or_mixed_values) {
    qvNameSpace parent, space(&parent);
    qvNamedVariable* x = parent.Add("x");
    qvNamedVariable* pair = space.Add("pair");
    qvNamedVariable* same = space.Add("same");
    pair->SetExpression("x + 2*x");
    same->SetExpression("real(pair) - 3*real(x) + (imag(pair) - 3*imag(x))");
    CapturedOutput output;
    std::atomic<bool> done = false;
    std::atomic<long> wrong = 0, readings = 0;
    const auto read = [&] {
        qvNamedVariable parameter(&space, qvNamedVariable::temporary, -1);
        parameter.SetExpression("pair/3");
        for (; !done; ++readings) {
            for (int i = 0; i < 30; ++i) {
                const std::complex<double> value = (i % 3   ? x
                                                    : i % 2 ? pair
                                                            : &parameter)
                                                       ->GetValue();
                if (value.real() != value.imag()) ++wrong;
            }
            if (same->GetValue() != 0.0) ++wrong;
            if (same->GetName().Empty() || pair->GetExpression().Empty()) ++wrong;
        }
    };
    std::thread one(read), other(read);
    for (int i = 1; i <= 3000 || readings < 50000; ++i) {
        x->SetValue({3.0 * i, 3.0 * i});
        if (i % 10 == 0) pair->SetExpression(i % 20 ? "x*3" : "x + 2*x");
        if (i % 100 == 0) same->SetName(i % 200 ? "zero" : "same");
        if (i % 100 == 50) space.Remove(space.Add("x1"));
    }
    done = true;
    one.join();
    other.join();
    EXPECT_EQ(wrong, 0);
}

}  // namespace
