#include <atomic>
#include <cmath>
#include <thread>
#include <vector>

#include "qvutils/common/tasks/qvtask.h"
#include "tests/qvutils/common/materials/material_files.h"
#include "tests/support/captured_output.h"

using Complex = std::complex<double>;

namespace {

class MaterialArrays : public MaterialFiles {
protected:
    ~MaterialArrays() override {
        if (base_) base_->UnRef();
    }
    MaterB& make(const std::string& body) {
        if (base_) base_->UnRef();
        base_ = load(material("m", body));
        if (!base_) throw std::runtime_error(body + qverr().chars());
        return *base_->MaterHandle("m", true);
    }

    static std::vector<double> wavelengths(std::size_t count) {
        std::vector<double> lambda(count);
        for (std::size_t i = 0; i < count; ++i)
            lambda[i] = 0.9 + 0.5 * static_cast<double>(i) / static_cast<double>(count);
        return lambda;
    }

    /// All array queries give what single ones give.
    static void expectAsSingle(const MaterB& m, const std::vector<double>& lambda,
                               std::size_t step) {
        std::vector<double> n(lambda.size()), ng(n), alpha(n);
        std::vector<Complex> eps(lambda.size());
        EXPECT_TRUE(m.nr(0.2, 0.1, lambda, 310, n));
        EXPECT_TRUE(m.ng(0.2, 0.1, lambda, 310, ng));
        EXPECT_TRUE(m.alpha(0.2, 0.1, lambda, 310, alpha));
        EXPECT_TRUE(m.eps(0.2, 0.1, lambda, 310, eps));
        for (std::size_t i = 0; i < lambda.size(); i += step) {
            const double single = m.nr(0.2, 0.1, lambda[i], 310);
            ASSERT_NEAR(n[i], single, 4e-15 * single);
            ASSERT_NEAR(ng[i], m.ng(0.2, 0.1, lambda[i], 310), 1e-14 * std::abs(ng[i]));
            ASSERT_EQ(alpha[i], m.alpha(0.2, 0.1, lambda[i], 310));
            ASSERT_EQ(eps[i], m.eps(0.2, 0.1, lambda[i], 310).xx);
        }
        EXPECT_STREQ(qverr().chars(), "");
    }

    Materbase* base_ = nullptr;
};

}  // namespace

TEST_F(MaterialArrays, AgreeWithSingleQueries) {
    std::string longSellmeier = "RIX_SELLMEIER 10", longPolynomial = "RIX_POLYL 12";
    for (int k = 0; k < 10; ++k) longSellmeier += " 0.1 0.0" + std::to_string(k + 1);
    for (int k = 0; k < 12; ++k) longPolynomial += " 0.1";
    const std::vector<double> lambda = wavelengths(5000);
    for (const std::string& body : std::initializer_list<std::string>{
             "RIX_POLYX 2 2 0.1\nRIX_POLYL 3 0 0.1 0.2\nRIX_POLYT 2 0 1e-4\nLAMBDA_REF 1.1",
             "RIX_SELLMEIER 3 0.7 0.005 0.4 0.013 0.9 97\nRIX_ANISOTROPIC dnxx = 0.1",
             "RIX_A1L 4 2.7405 0.0184 0.0179 0.0155\nRIX_POLYT 2 0 1e-4\nMATLOSS_POLYL 2 1 2",
             "RIX_A2L 5 1.3 1.07 0.01 1.1 100", longSellmeier, longPolynomial,
             "RIX_EXPRESSION \"1.5 + 0.1*lambda + mxFrac + 1e-4*T\"\nNG_POLYL 2 1 1", "ANAL_GOLD",
             "PERMITTIVITY_POLYL 2 (2, 0.1) 0.3\nNGROUP_EXPRESSION \"1.5 + 0.1*lambda\"",
             "ANAL_LINBO3\nXCUT\nMATLOSS_POLYX 1 2"})
        expectAsSingle(make(body), lambda, 7);
}

TEST_F(MaterialArrays, WorkersShareLongArrays) {
    qvTask::StartWorkerThreads(2);
    const std::vector<double> lambda = wavelengths(100001);
    expectAsSingle(make("RIX_SELLMEIER 2 0.7 0.005 0.9 97\nMATLOSS_POLYX 1 2"), lambda, 501);
    expectAsSingle(make("RIX_EXPRESSION \"sqrt(2 + 0.1/lambda)\""), lambda, 501);
    qvTask::StopWorkerThreads();
}

TEST_F(MaterialArrays, FailuresAreThoseOfTheFirstValue) {
    MaterB& m = make("RIX_SELLMEIER 1 1 1");
    double n[4];
    const double lambda[] = {2, 0.9, -1, 3};
    EXPECT_FALSE(m.nr(0, 0, lambda, 300, n));
    EXPECT_NE(std::string(qverr().chars_and_reset()).find("0.9 um"), std::string::npos);
    EXPECT_DOUBLE_EQ(n[0], std::sqrt(1 + 4.0 / 3));
    EXPECT_EQ(n[1], 1);
    EXPECT_EQ(n[2], 1);
    EXPECT_DOUBLE_EQ(n[3], std::sqrt(1 + 9.0 / 8));
    // What was pending stays, and is no failure of this query.
    qverr().set("before");
    const double good[] = {2, 3};
    EXPECT_TRUE(m.nr(0, 0, good, 300, std::span<double>(n, 2)));
    EXPECT_STREQ(qverr().chars_and_reset(), "before");
    EXPECT_FALSE(m.nr(0, 0, good, 300, std::span<double>(n, 3)));
    EXPECT_NE(std::string(qverr().chars_and_reset()).find("as many places"), std::string::npos);
    EXPECT_TRUE(m.nr(0, 0, std::span<const double>(), 300, std::span<double>()));
    const double none[] = {1, NAN};
    Complex eps[2];
    EXPECT_FALSE(make("PERMITTIVITY_POLYX 1 2").eps(0, 0, none, 300, eps));
    EXPECT_EQ(eps[0], Complex(2));
    EXPECT_EQ(eps[1], Complex(1));
}

TEST_F(MaterialArrays, QueriesRunOnSeveralThreadsWhileTheFileIsLoadedAgain) {
    CapturedOutput quiet;
    const auto body = [](int n) {
        return "RIX_EXPRESSION \"" + std::to_string(n) + " + lambda\"\nMATLOSS_POLYX 1 " +
               std::to_string(n) + "\nLAMBDA_RANGE 0.1 0.2";
    };
    MaterB& m = make(body(1));
    std::atomic<bool> stop = false;
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 3; ++t)
        threads.emplace_back([&] {
            while (!stop) {
                const double n = m.nr(0, 0, 0.15, 300) - 0.15;
                const double alpha = m.alpha(0, 0, 0.15, 300);
                if (std::abs(n - std::round(n)) > 1e-12 || n < 0.9 || alpha < 0.9 || qverr())
                    ++wrong;
            }
        });
    for (int i = 2; i < 30; ++i) {
        MaterB other;
        Materbase* base = load(material("m", body(i)), "other.mat");
        ASSERT_NE(base, nullptr);
        m.Copy(*base->MaterHandle("m", true));
        base->UnRef();
    }
    stop = true;
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_DOUBLE_EQ(m.nr(0, 0, 0.15, 300), 29.15);
}
