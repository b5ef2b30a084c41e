#include <cmath>
#include <functional>
#include <limits>
#include <numbers>
#include <random>

#include "plugins/slabguide/slabcomplex.h"
#include "plugins/slabguide/slabreal.h"
#include "tests/plugins/slabguide/slabs.h"

using slab::Complex;
using slab::Polarisation;
using slab::Stack;

namespace {

constexpr Polarisation both[] = {Polarisation::TE, Polarisation::TM};

/// w = N^2 of mode m of a three-layer guide from the phase that a ray picks up in one round:
///     kappa t - atan(c qs / kappa) - atan(c qc / kappa) = m pi,  c = ratio of permittivities for
///     TM
/// (A. W. Snyder and J. D. Love, Optical Waveguide Theory, ch. 12), by bisection in long double.
long double rayModel(Polarisation polarisation, double wavelength, double ns, double nf, double nc,
                     double thickness, int m) {
    using L = long double;
    const L k0t = 2 * std::numbers::pi_v<L> / wavelength * thickness;
    const L es = L(ns) * ns, ef = L(nf) * nf, ec = L(nc) * nc;
    const bool tm = polarisation == Polarisation::TM;
    const auto excess = [&](L w) {
        const L kappa = std::sqrt(ef - w);
        return kappa * k0t - std::atan((tm ? ef / es : 1) * std::sqrt(w - es) / kappa) -
               std::atan((tm ? ef / ec : 1) * std::sqrt(w - ec) / kappa) -
               m * std::numbers::pi_v<L>;
    };
    L low = std::max(es, ec), high = ef;
    if (excess(low) < 0) return 0;
    for (int i = 0; i < 120; ++i) {
        const L middle = (low + high) / 2;
        (excess(middle) > 0 ? low : high) = middle;
    }
    return low;
}

TEST(SlabSolver, three_layers_have_the_modes_of_the_ray_model) {
    const struct {
        double wavelength, ns, nf, nc, thickness;
    } guides[] = {{1.55, 1.444, 3.476, 1.444, 0.22},
                  {1.55, 1.444, 1.996, 1, 0.8},
                  {0.6328, 1.5, 1.51, 1.5, 40},
                  {1.55, 1.444, 1.4441, 1.444, 5},
                  {10.6, 1, 4, 2.4, 3},
                  {1.55, 3.17, 3.38, 1, 0.15}};
    for (const auto& g : guides) {
        for (const Polarisation polarisation : both) {
            const auto stack =
                stackOf(polarisation, g.wavelength, {{0, g.ns}, {g.thickness, g.nf}, {0, g.nc}});
            const slab::Solution solution = slab::solve(stack);
            for (int m = 0;; ++m) {
                const auto w =
                    rayModel(polarisation, g.wavelength, g.ns, g.nf, g.nc, g.thickness, m);
                const bool guided = m < static_cast<int>(solution.modes.size());
                ASSERT_EQ(guided, w > 0) << g.nf << " mode " << m;
                if (!guided) break;
                const slab::Mode& mode = solution.modes[static_cast<std::size_t>(m)];
                EXPECT_NEAR(mode.neff().real(), static_cast<double>(std::sqrt(w)), 4e-15 * g.nf);
                EXPECT_EQ(mode.loss(), 0);
            }
        }
    }
}

/// Random stacks: the modes that are counted by nodes are those that are counted by the argument,
/// and a reckoning of a third kind agrees.
TEST(SlabSolver, counting_by_nodes_and_by_argument_agree) {
    std::mt19937 engine(7);
    std::uniform_real_distribution<double> any(0, 1);
    int found = 0, untold = 0;
    for (int round = 0; round < 400; ++round) {
        Stack stack;
        stack.wavelength = 1.55;
        stack.polarisation = both[round % 2];
        for (int layers = 2 + static_cast<int>(6 * any(engine)); layers > 0; --layers) {
            const double n = 1 + 2.5 * any(engine);
            slab::Layer layer;
            layer.thickness = 0.05 + 1.5 * any(engine);
            layer.eps = layer.epsAlong = n * n;
            stack.layers.push_back(layer);
        }
        const auto media = slab::mediaOf(stack);
        std::string error;
        slab::Effort effort;
        const auto byNodes = slab::losslessModes(slab::realPart(media), effort, error);
        const auto byArgument = slab::complexModes(media, stack.polarisation, effort, error);
        ASSERT_EQ(error, "");
        ASSERT_EQ(byNodes.size(), byArgument.size()) << round;
        for (std::size_t i = 0; i < byNodes.size(); ++i) {
            EXPECT_LT(std::abs(byNodes[i] - byArgument[i]), 1e-13 * byNodes[i]) << round;
            const double distance = distanceFromMode(stack, std::sqrt(byNodes[i]));
            if (distance == unclear)
                ++untold;
            else
                EXPECT_LT(distance, 1e-13) << round;
        }
        found += static_cast<int>(byNodes.size());
    }
    EXPECT_GT(found, 400);
    EXPECT_LT(untold, found / 100);
}

TEST(SlabSolver, lossy_gainy_and_metallic_modes_solve_the_equation) {
    const Complex silver(0.056, 4.28);
    const Stack stacks[] = {
        stackOf(both[0], 1.55, {{0, 3.17}, {0.3, {3.4, -1e-3}}, {0, 3.17}}),
        stackOf(both[1], 1.55, {{0, 3.17}, {0.3, {3.4, -1e-3}}, {0.1, {3.3, 0.2}}, {0, 1}}),
        stackOf(both[0], 0.6328, {{0, {1.5, 1e-6}}, {2, {1.6, 1e-4}}, {0, {1, 0.}}}),
        stackOf(both[0], 0.6328, {{0, 1.5}, {0.5, 1.66}, {0.05, silver}, {0.3, 1.6}, {0, 1}}),
        stackOf(both[1], 0.6328, {{0, 1.5}, {0.5, 1.66}, {0.05, silver}, {0.3, 1.6}, {0, 1}}),
        stackOf(both[1], 0.6328, {{0, silver}, {0.02, 1.5}, {0, silver}}),
        stackOf(both[1], 0.6328, {{0, 1.5}, {0.03, silver}, {0.1, 1.8}, {0.03, silver}, {0, 1}})};
    for (const Stack& stack : stacks) {
        const slab::Solution solution = slab::solve(stack);
        ASSERT_EQ(solution.error, "");
        EXPECT_FALSE(solution.modes.empty());
        for (const slab::Mode& mode : solution.modes)
            EXPECT_LT(distanceFromMode(stack, mode.neff()), 2e-14 * std::abs(mode.neff()));
    }
    EXPECT_LT(slab::solve(stacks[0]).modes[0].loss(), -190);
}

/// A film of 2 nm between metals has surface waves with |w| of 60,000: the search that goes so far
/// must not step over those near the permittivities.
TEST(SlabSolver, strongly_bound_plasmons_do_not_hide_the_others) {
    const Complex eps[] = {{-2.14, 0.49},   {-0.615, 1.074}, {-19.95, 0.108},
                           {-3.075, 1.586}, {3.416, 0},      {-3.48, 0.2},
                           {1.959, 0},      {-6.2, 0.296},   {-23.4, 1.65}};
    const double thickness[] = {0, 0.1444, 0.02394, 0.08398, 0.001852, 0.1567, 0.3716, 0.122, 0};
    Stack stack;
    stack.wavelength = 1;
    stack.polarisation = Polarisation::TM;
    for (int i = 0; i < 9; ++i) stack.layers.push_back({thickness[i], eps[i], eps[i], 0, 0});
    const slab::Solution solution = slab::solve(stack);
    ASSERT_EQ(solution.modes.size(), 4u) << solution.error;
    EXPECT_GT(solution.modes[0].neff().real(), 200);
    EXPECT_LT(std::abs(solution.modes[2].neff() - Complex(2.117, 0.076)), 0.01);
    for (const slab::Mode& mode : solution.modes)
        EXPECT_LT(distanceFromMode(stack, mode.neff()), 1e-12 * std::abs(mode.neff()));
}

/// A mode that hardly loses power loses, by perturbation theory, what its layers take.
TEST(SlabSolver, small_losses_follow_from_the_field) {
    constexpr double k = 1e-9;
    const auto lossless = stackOf(both[0], 1.55, {{0, 1.444}, {0.4, 2.0}, {0.3, 1.8}, {0, 1}});
    const auto lossy = stackOf(both[0], 1.55, {{0, 1.444}, {0.4, {2.0, k}}, {0.3, 1.8}, {0, 1}});
    const slab::Mode clear = slab::solve(lossless).modes[0], dim = slab::solve(lossy).modes[0];
    EXPECT_NEAR(dim.neff().imag(), k * 2.0 / clear.neff().real() * clear.confinement(1), 1e-16);
    const double decibels =
        10 * std::log10(std::exp(1)) * 4 * std::numbers::pi * dim.neff().imag() / 1.55e-4;
    EXPECT_NEAR(dim.loss(), decibels, 1e-12);
}

TEST(SlabSolver, group_index_is_the_derivative_with_dispersion) {
    const Complex silver(0.056, 4.28);
    for (const Polarisation polarisation : both) {
        const auto at = [&](double wavelength) {
            auto stack =
                stackOf(polarisation, wavelength,
                        {{0, 1.444}, {0.5, {2.0, 0.01}}, {0.1, 1.7}, {0.04, silver}, {0, 1}});
            // eps = a + b / lambda^2 in every layer, so that k0 d(eps)/d(k0) is 2 b / lambda^2.
            for (slab::Layer& layer : stack.layers) {
                const double part = 0.05 / (wavelength * wavelength);
                layer.eps += part;
                layer.epsAlong += part;
                layer.dispersion = layer.dispersionAlong = 2 * part;
            }
            return slab::solve(stack);
        };
        constexpr double lambda = 1.2, h = 1e-4;
        const slab::Solution here = at(lambda), below = at(lambda - h), above = at(lambda + h);
        ASSERT_GT(here.modes.size(), 0u);
        for (std::size_t i = 0; i < here.modes.size(); ++i) {
            const double slope = (above.modes[i].neff() - below.modes[i].neff()).real() / (2 * h);
            EXPECT_NEAR(here.modes[i].groupIndex(), here.modes[i].neff().real() - lambda * slope,
                        1e-6);
        }
    }
}

TEST(SlabSolver, fields_are_normalised_continuous_and_confined_as_told) {
    const auto stack =
        stackOf(both[0], 1.55, {{0, 1.444}, {0.4, {2.0, 1e-3}}, {1, 1.6}, {0.3, 2}, {0, 1}});
    constexpr double from = -12, to = 12;
    constexpr int steps = 240000;
    for (const slab::Mode& mode : slab::solve(stack).modes) {
        double norm = 0, inFirst = 0;
        Complex before = mode.field(from);
        for (int i = 0; i < steps; ++i) {
            const double width = (to - from) / steps, x = from + width * (i + 0.5);
            const Complex field = mode.field(x);
            EXPECT_LT(std::abs(field - before), 2e-3);
            before = field;
            norm += std::norm(field) * width;
            if (x > 0 && x < 0.4) inFirst += std::norm(field) * width;
        }
        EXPECT_NEAR(norm, 1, 1e-6);
        EXPECT_NEAR(mode.confinement(1), inFirst, 1e-6);
        EXPECT_GT(mode.field(0).real(), 0);
        EXPECT_NEAR(mode.field(0).imag(), 0, 1e-15);
    }
}

/// 0 to 40 um of cladding between two guides: the splitting goes down to nothing, no mode is lost,
/// and beyond the reach of rounding each guide has a mode of its own.
TEST(SlabSolver, coupled_guides_keep_both_supermodes_at_any_distance) {
    for (const double loss : {0., 1e-4}) {
        for (const double gap : {0.1, 1., 5., 8., 20., 40.}) {
            const Complex core(2.0, loss);
            const auto stack = stackOf(
                both[0], 1.55, {{0, 1.444}, {0.4, core}, {gap, 1.444}, {0.4, core}, {0, 1.444}});
            const slab::Solution solution = slab::solve(stack);
            ASSERT_EQ(solution.modes.size(), 2u) << gap << solution.error;
            const slab::Mode &even = solution.modes[0], &odd = solution.modes[1];
            if (gap > 5) {
                EXPECT_LT(std::abs(even.neff() - odd.neff()), 1e-8);
            }
            if (gap < 4) {
                EXPECT_NEAR(even.confinement(1), even.confinement(3), 1e-6);
                EXPECT_LT(distanceFromMode(stack, even.neff()), 1e-12);
                EXPECT_LT(distanceFromMode(stack, odd.neff()), 1e-12);
            }
            for (const slab::Mode& mode : solution.modes) {
                EXPECT_NEAR(mode.confinement(1) + mode.confinement(3), 0.72, 0.15) << gap;
            }
        }
    }
}

TEST(SlabSolver, thick_layers_and_many_of_them_neither_overflow_nor_lose_modes) {
    const auto thick = stackOf(both[1], 0.5, {{0, 1.4}, {1e4, 1.45}, {0.2, 2}, {1e4, 1.3}, {0, 1}});
    EXPECT_NE(slab::solve(thick).error.find("more than the 1000"), std::string::npos);
    const auto deep = stackOf(both[1], 0.5, {{0, 1.4}, {1e6, 1.2}, {0.2, 2}, {1e6, 1.3}, {0, 1}});
    EXPECT_EQ(slab::solve(deep).modes.size(), 1u);
    const auto lossy = stackOf(
        both[1], 1.55, {{0, 1.444}, {1e9, {1.43, 1e-3}}, {0.5, 2}, {1e9, {1.4, 0.1}}, {0, 1}});
    EXPECT_EQ(slab::solve(lossy).modes.size(), 1u);
    slab::Stack many = stackOf(both[0], 1.55, {{0, 1.444}});
    for (int i = 0; i < 4000; ++i)
        many.layers.push_back({0.0005, i % 2 ? 4. : 9., i % 2 ? 4. : 9., 0, 0});
    many.layers.push_back(many.layers[0]);
    // So fine a stack is a layer with the mean permittivity.
    const auto mean = stackOf(both[0], 1.55, {{0, 1.444}, {2, std::sqrt(6.5)}, {0, 1.444}});
    const slab::Solution found = slab::solve(many), expected = slab::solve(mean);
    ASSERT_EQ(found.modes.size(), expected.modes.size());
    EXPECT_NEAR(found.modes[0].neff().real(), expected.modes[0].neff().real(), 1e-5);
}

/// A uniaxial film with its axis across the guide: for TM kappa^2 = along / across (across - w).
TEST(SlabSolver, tm_modes_meet_both_permittivities_of_a_uniaxial_film) {
    auto stack = stackOf(both[1], 1.55, {{0, 1.444}, {0.7, 2.2}, {0, 1.444}});
    const double across = 2.14 * 2.14, along = 2.21 * 2.21, clad = 1.444 * 1.444;
    stack.layers[1].eps = across;
    stack.layers[1].epsAlong = along;
    const slab::Solution solution = slab::solve(stack);
    ASSERT_FALSE(solution.modes.empty());
    for (std::size_t m = 0; m < solution.modes.size(); ++m) {
        const double w = std::norm(solution.modes[m].neff());
        const double kappa = std::sqrt(along / across * (across - w));
        const double phase = kappa * stack.wavenumber() * 0.7 -
                             2 * std::atan(along / clad * std::sqrt(w - clad) / kappa);
        EXPECT_NEAR(phase, static_cast<double>(m) * std::numbers::pi, 1e-12);
    }
}

TEST(SlabSolver, a_search_stops_when_it_is_told_to_and_gives_up_when_it_takes_too_long) {
    const auto metals = [](int pairs) {
        slab::Stack stack = stackOf(both[1], 1.55, {{0, 1.444}});
        for (int i = 0; i < pairs; ++i) {
            stack.layers.push_back({0.02, 4., 4., 0, 0});
            stack.layers.push_back({0.01, {-100, 5}, {-100, 5}, 0, 0});
        }
        stack.layers.push_back({0, 1., 1., 0, 0});
        return stack;
    };
    int looks = 0;
    const slab::Solution stopped = slab::solve(metals(400), [&] { return ++looks == 3; });
    EXPECT_TRUE(stopped.stopped);
    EXPECT_TRUE(stopped.modes.empty());
    EXPECT_EQ(looks, 3);
    slab::Effort effort;
    effort.spend(1'000'000'000);
    std::string error;
    slab::complexModes(slab::mediaOf(metals(4)), both[1], effort, error);
    EXPECT_EQ(error, "the search for the modes of 10 layers takes too long: given up with 0 found");
}

TEST(SlabSolver, what_cannot_be_solved_is_told_with_its_layer_and_value) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    const struct {
        Stack stack;
        const char* error;
    } cases[] = {
        {stackOf(both[0], 1.55, {}), "there are no layers"},
        {stackOf(both[0], 1.55, {{0, 1.5}}), "there is only one layer"},
        {stackOf(both[0], 0, {{0, 1.5}, {0, 1}}), "the wavelength 0 um is not positive"},
        {stackOf(both[0], 1.55, {{0, 1}, {0, 2}, {0, 1}}), "layer 2: the thickness 0 um"},
        {stackOf(both[0], 1.55, {{0, 1}, {-0.5, 2}, {0, 1}}), "layer 2: the thickness -0.5 um"},
        {stackOf(both[0], 1.55, {{0, 1}, {nan, 2}, {0, 1}}), "layer 2: the thickness nan um"},
        {stackOf(both[0], 1.55, {{0, 1}, {1, nan}, {0, 1}}), "layer 2: the permittivity"},
        {stackOf(both[0], 1.55, {{0, 1}, {1, 0}, {0, 1}}), "layer 2: the permittivity is 0"}};
    for (const auto& c : cases)
        EXPECT_NE(slab::solve(c.stack).error.find(c.error), std::string::npos)
            << slab::solve(c.stack).error;
    // A guide that guides nothing is no mistake.
    const slab::Solution dark = slab::solve(stackOf(both[0], 1.55, {{0, 1.5}, {1, 1.4}, {0, 1}}));
    EXPECT_TRUE(dark.modes.empty());
    EXPECT_EQ(dark.error, "");
}

}  // namespace
