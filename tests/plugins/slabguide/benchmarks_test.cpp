// Published guides: the figures of docs/slabguide.md.
#include <algorithm>
#include <cmath>
#include <numbers>

#include "tests/plugins/slabguide/slabs.h"

using slab::Complex;
using slab::Polarisation;
using Long = long double;
using LongComplex = std::complex<Long>;

namespace {

/// The reflections that layer `home` sees at its edges, each an Airy sum over what lies beyond:
///     r = (a - b) / (a + b) for q or q / eps on both sides of an interface,
///     r = (r + R f) / (1 + r R f), f = exp(-2 q k0 t) of the layer beyond with its reflection R
/// and 1 - R R' f, which is 0 at a mode.
class Reflections {
public:
    Reflections(const slab::Stack& stack, const LongComplex& n) : stack_(stack), n_(n) {}

    LongComplex mismatch(std::size_t home) const {
        const std::size_t last = stack_.layers.size() - 1;
        if (home == 0) return LongComplex(1) / beyond(0, last);
        return LongComplex(1) - beyond(home, last) * beyond(home, 0) * round(home);
    }

private:
    LongComplex q(std::size_t i) const {
        const LongComplex root = std::sqrt(n_ * n_ - LongComplex(stack_.layers[i].eps));
        return root.real() < 0 ? -root : root;
    }
    LongComplex round(std::size_t i) const {
        const Long k0 = 2 * std::numbers::pi_v<Long> / stack_.wavelength;
        return std::exp(Long(-2) * q(i) * k0 * Long(stack_.layers[i].thickness));
    }
    LongComplex at(std::size_t from, std::size_t to) const {
        const bool tm = stack_.polarisation == Polarisation::TM;
        const auto load = [&](std::size_t i) {
            return tm ? q(i) / LongComplex(stack_.layers[i].eps) : q(i);
        };
        return (load(from) - load(to)) / (load(from) + load(to));
    }
    LongComplex beyond(std::size_t home, std::size_t end) const {
        const bool up = end > home;
        const auto next = [up](std::size_t i) { return up ? i + 1 : i - 1; };
        LongComplex r = 0;
        for (std::size_t i = end; i != home;) {
            const std::size_t from = up ? i - 1 : i + 1;
            const LongComplex step = at(from, i);
            const LongComplex further = next(from) == end ? LongComplex(0) : r * round(i);
            r = (step + further) / (LongComplex(1) + step * further);
            i = from;
        }
        return r;
    }

    const slab::Stack& stack_;
    const LongComplex n_;
};

}  // namespace

/// The best layer counts: in layers that a mode hardly enters the mismatch tells nothing. A step
/// towards a zero, unlike one away from a pole, leaves hardly any mismatch.
double distanceFromMode(const slab::Stack& stack, Complex neff) {
    const LongComplex n(neff);
    const LongComplex step = n * Long(1e-12);
    Long best = unclear;
    for (std::size_t i = 0; i + 1 < stack.layers.size(); ++i) {
        const auto mismatch = [&](const LongComplex& trial) {
            return Reflections(stack, trial).mismatch(i);
        };
        const LongComplex here = mismatch(n);
        const LongComplex way = here * step / (mismatch(n + step) - here);
        if (std::abs(mismatch(n - way)) < std::abs(here) / 10) best = std::min(best, std::abs(way));
    }
    return static_cast<double>(best);
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
