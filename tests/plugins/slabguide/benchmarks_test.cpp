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

struct Guide {
    const char* what;
    slab::Stack stack;
    std::vector<Complex> neff;
};

/// To 16 digits by the zeros of the determinant of all boundary conditions, found with 40 digits
/// (a program of its own). Of the four films Chilwell and Hodgkinson, J. Opt. Soc. Am. A 1, 742
/// (1984), printed 7, which agree.
std::vector<Guide> guides() {
    const Complex silver(0.056, 4.28);
    const std::initializer_list<Sheet> four = {{0, 1.5},    {0.5, 1.66}, {0.5, 1.60},
                                               {0.5, 1.53}, {0.5, 1.66}, {0, 1.0}};
    const std::initializer_list<Sheet> lossy = {
        {0, 1.5}, {0.5, {1.66, 1e-3}}, {0.5, {1.60, 2e-3}}, {0.5, 1.53}, {0.5, 1.66}, {0, 1.0}};
    const std::initializer_list<Sheet> metal = {
        {0, 1.5}, {0.5, 1.66}, {0.05, silver}, {0.3, 1.6}, {0, 1.0}};
    return {{"four films, TE",
             stackOf(Polarisation::TE, 0.6328, four),
             {1.6227286823244431, 1.6052756980945455, 1.5571361522941210, 1.5035871120227222}},
            {"four films, TM",
             stackOf(Polarisation::TM, 0.6328, four),
             {1.6200313184729594, 1.5947884782729308, 1.5549806896129817, 1.5018178049383525}},
            {"six layers with loss, TE",
             stackOf(Polarisation::TE, 0.6328, lossy),
             {{1.6227267623871078, 1.1609087198754136e-3},
              {1.6052756193880193, 5.7407754482106803e-6},
              {1.5571335033905029, 1.4338294304819121e-3},
              {1.5035776028789591, 5.1896733136431376e-4}}},
            {"six layers with loss, TM",
             stackOf(Polarisation::TM, 0.6328, lossy),
             {{1.6200293265744801, 1.1851586799164328e-3},
              {1.5947881734154100, 1.1973234109995440e-5},
              {1.5549786633389888, 1.3638218619902460e-3},
              {1.5018036490882980, 4.4906029213151796e-4}}},
            {"silver film between guides, TE",
             stackOf(Polarisation::TE, 0.6328, metal),
             {{1.5928430145326065, 5.3563741683364129e-5}}},
            {"silver film between guides, TM",
             stackOf(Polarisation::TM, 0.6328, metal),
             {{1.8376111851312841, 7.2647844154883068e-3},
              {1.6994341866561622, 2.3989272175553903e-3},
              {1.5484351660559474, 3.6271698937223593e-4}}}};
}

TEST(SlabBenchmarks, reference_guides_have_their_modes_to_14_digits) {
    for (const Guide& guide : guides()) {
        const slab::Solution solution = slab::solve(guide.stack);
        ASSERT_EQ(solution.modes.size(), guide.neff.size()) << guide.what;
        for (std::size_t i = 0; i < guide.neff.size(); ++i) {
            const Complex neff = solution.modes[i].neff();
            EXPECT_LT(std::abs(neff - guide.neff[i]), 1e-14) << guide.what << i;
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
