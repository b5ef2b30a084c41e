// Published guides: the figures of docs/slabguide.md.
#include <cmath>
#include <fstream>
#include <numbers>

#include "tests/plugins/slabguide/slabs.h"

using slab::Complex;
using slab::Polarisation;
using Long = long double;
using LongComplex = std::complex<Long>;

namespace {

LongComplex decayOf(const LongComplex& q2) {
    const LongComplex q = std::sqrt(q2);
    return q.real() < 0 ? -q : q;
}

/// 1 + r for the wave that comes from the substrate with the wrong sign of its root: 0 at a mode.
LongComplex mismatch(const slab::Stack& stack, const LongComplex& n) {
    const bool tm = stack.polarisation == Polarisation::TM;
    const Long k0 = 2 * std::numbers::pi_v<Long> / stack.wavelength;
    const auto q = [&](std::size_t i) { return decayOf(n * n - LongComplex(stack.layers[i].eps)); };
    const auto admittance = [&](std::size_t i) {
        return tm ? q(i) / LongComplex(stack.layers[i].eps) : q(i);
    };
    // The reflection seen at the top of layer i, with growing and falling parts of the field.
    LongComplex r = 0;
    for (std::size_t i = stack.layers.size() - 1; i-- > 0;) {
        const LongComplex a = admittance(i), b = admittance(i + 1);
        const LongComplex step = (a - b) / (a + b);
        const bool top = i + 2 == stack.layers.size();
        const LongComplex above =
            top ? LongComplex(0)
                : r * std::exp(-2 * q(i + 1) * k0 * Long(stack.layers[i + 1].thickness));
        r = (step + above) / (LongComplex(1) + step * above);
    }
    return LongComplex(1) / r;
}

}  // namespace

double distanceFromMode(const slab::Stack& stack, Complex neff) {
    const LongComplex n(neff);
    const LongComplex step = n * Long(1e-9);
    const LongComplex here = mismatch(stack, n), there = mismatch(stack, n + step);
    return static_cast<double>(std::abs(here * step / (there - here)));
}

namespace {

struct Published {
    const char* what;
    slab::Stack stack;
    std::vector<Complex> neff;
    double digits;  ///< half a unit in the last digit that was printed
};

std::vector<Published> published() {
    const std::initializer_list<Sheet> four = {{0, 1.5},    {0.5, 1.66}, {0.5, 1.60},
                                               {0.5, 1.53}, {0.5, 1.66}, {0, 1.0}};
    return {{"four films, TE",
             stackOf(Polarisation::TE, 0.6328, four),
             {1.622729, 1.605276, 1.557136, 1.503587},
             1e-6},
            {"four films, TM",
             stackOf(Polarisation::TM, 0.6328, four),
             {1.620031, 1.594788, 1.554981, 1.501818},
             1e-6}};
}

TEST(SlabBenchmarks, published_guides_have_the_published_modes) {
    for (const Published& guide : published()) {
        const slab::Solution solution = slab::solve(guide.stack);
        ASSERT_EQ(solution.modes.size(), guide.neff.size()) << guide.what;
        for (std::size_t i = 0; i < guide.neff.size(); ++i) {
            const Complex neff = solution.modes[i].neff();
            EXPECT_NEAR(neff.real(), guide.neff[i].real(), guide.digits) << guide.what << i;
            EXPECT_NEAR(neff.imag(), guide.neff[i].imag(), guide.digits) << guide.what << i;
            EXPECT_LT(distanceFromMode(guide.stack, neff), 1e-14) << guide.what << i;
        }
    }
}

/// Closed form of a surface wave between a metal and a dielectric.
TEST(SlabBenchmarks, surface_plasmons_on_gold_and_silver_are_those_of_the_closed_form) {
    const Complex metals[] = {
        {0.18377, 3.4313}, {0.056206, 4.2776}, {0.55, 11.5}, {0.1445, 11.366}};
    const double wavelengths[] = {0.6328, 0.6328, 1.55, 1.55};
    for (int i = 0; i < 4; ++i) {
        for (const double dielectric : {1.0, 1.5}) {
            const auto stack =
                stackOf(Polarisation::TM, wavelengths[i], {{0, metals[i]}, {0, dielectric}});
            const Complex m = metals[i] * metals[i];
            const double d = dielectric * dielectric;
            const slab::Solution solution = slab::solve(stack);
            ASSERT_EQ(solution.modes.size(), 1u);
            EXPECT_LT(std::abs(solution.modes[0].neff() - std::sqrt(m * d / (m + d))), 1e-14);
            EXPECT_TRUE(slab::solve(stackOf(Polarisation::TE, wavelengths[i],
                                            {{0, metals[i]}, {0, dielectric}}))
                            .modes.empty());
        }
    }
}

/// The two plasmons of a metal film in a dielectric: tanh(q t / 2) = -(q_d eps_m / (q_m eps_d)) to
/// the power of 1 or -1 (J. J. Burke, G. I. Stegeman and T. Tamir, Phys. Rev. B 33, 5186 (1986)).
TEST(SlabBenchmarks, a_metal_film_has_a_long_range_and_a_short_range_plasmon) {
    const Complex metal(0.056206, 4.2776);
    for (const double thickness : {0.005, 0.02, 0.05, 0.1}) {
        const auto stack =
            stackOf(Polarisation::TM, 0.6328, {{0, 1.5}, {thickness, metal}, {0, 1.5}});
        const slab::Solution solution = slab::solve(stack);
        ASSERT_EQ(solution.modes.size(), 2u) << thickness;
        for (int i = 0; i < 2; ++i) {
            const Complex w = std::pow(solution.modes[static_cast<std::size_t>(i)].neff(), 2);
            const Complex qm = std::sqrt(w - metal * metal), qd = std::sqrt(w - 2.25);
            const Complex t = std::tanh(qm * stack.wavenumber() * thickness / 2.);
            const Complex ratio = -qd * metal * metal / (2.25 * qm);
            EXPECT_LT(std::abs(i == 0 ? t * ratio - 1. : t - ratio), 1e-9) << thickness;
        }
        EXPECT_GT(solution.modes[0].loss(), solution.modes[1].loss());
    }
}

}  // namespace
