#include "plugins/slabguide/slabmode.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <utility>

#include "plugins/slabguide/slabcomplex.h"
#include "plugins/slabguide/slablayer.h"
#include "plugins/slabguide/slabreal.h"

namespace slab {

namespace {

/// Gauss-Legendre on [-1, 1], 8 points (Abramowitz and Stegun, table 25.4).
constexpr struct {
    double x, weight;
} gauss[] = {{0.1834346424956498, 0.3626837833783620},
             {0.5255324099163290, 0.3137066458778873},
             {0.7966664774136267, 0.2223810344533745},
             {0.9602898564975363, 0.1012285362903763}};

/// (1 - exp(-2 a)) / (2 a)
double falloff(double a) {
    return a > 0 ? -std::expm1(-2 * a) / (2 * a) : 1;
}

/// The state at an interface with the logarithm of a factor taken out of it.
struct Scaled {
    State<Complex> state;
    double logarithm = 0;
};

/// From the substrate upwards: one at each interface.
std::vector<Scaled> shootUp(const Media<Complex>& media, const Complex& w) {
    std::vector<Scaled> at;
    Scaled now;
    now.state = State<Complex>::start(media.front(), decay(media.front().q2(w)));
    at.push_back(now);
    for (std::size_t i = 1; i + 1 < media.size(); ++i) {
        now.logarithm += now.state.cross(media[i], media[i].q2(w));
        at.push_back(now);
    }
    return at;
}

/// From the cover downwards, as states in upward direction.
std::vector<Scaled> shootDown(const Media<Complex>& media, const Complex& w) {
    Media<Complex> turned(media.rbegin(), media.rend());
    std::vector<Scaled> at = shootUp(turned, w);
    std::reverse(at.begin(), at.end());
    for (Scaled& one : at) one.state.phi = -one.state.phi;
    return at;
}

/// log of psi and phi together.
double size(const Scaled& one) {
    return one.logarithm + std::log(std::abs(one.state.psi) + std::abs(one.state.phi));
}

/// Where the product of two shots is largest: there a mode has its home. The homes of earlier modes
/// are left out, up to the next layer that hardly anything gets through.
std::size_t homeOf(const Media<Complex>& media, const Complex& w, const std::vector<Scaled>& up,
                   const std::vector<Scaled>& down, int rank) {
    constexpr double apart = 15;
    constexpr double never = -std::numeric_limits<double>::infinity();
    const auto isBarrier = [&](std::size_t layer) {
        return decay(media[layer].q2(w)).real() * media[layer].t > apart;
    };
    std::vector<double> product;
    for (std::size_t i = 0; i < up.size(); ++i) product.push_back(size(up[i]) + size(down[i]));
    std::size_t home = 0;
    for (;; --rank) {
        const auto best = std::max_element(product.begin(), product.end());
        if (*best == never) return home;
        home = static_cast<std::size_t>(best - product.begin());
        if (rank == 0) return home;
        std::size_t from = home, to = home;
        while (from > 0 && !isBarrier(from)) --from;
        while (to + 1 < product.size() && !isBarrier(to + 1)) ++to;
        std::fill(product.begin() + static_cast<long>(from),
                  product.begin() + static_cast<long>(to) + 1, never);
    }
}

}  // namespace

/// Both shots grow away from where they start, and are good as long as the mode does. Up to where
/// it has its home one holds, beyond it the other.
void Mode::shoot(const Media<Complex>& media, const Complex& w, int rank) {
    const std::vector<Scaled> up = shootUp(media, w), down = shootDown(media, w);
    const std::size_t match = homeOf(media, w, up, down, rank);
    const State<Complex>&a = up[match].state, &b = down[match].state;
    const bool byPsi = std::abs(a.psi) * std::abs(b.phi) >= std::abs(a.phi) * std::abs(b.psi);
    const Complex joint = byPsi ? a.psi / b.psi : a.phi / b.phi;
    const double top = size(up[match]);
    for (std::size_t i = 0; i < media.size(); ++i) {
        const Medium<Complex>& m = media[i];
        Section& s = sections_[i];
        s.p = m.p;
        s.q2 = m.q2(w);
        s.q = decay(s.q2);
        const auto stateAt = [&](std::size_t edge) {
            const bool below = edge <= match;
            const Scaled& one = below ? up[edge] : down[edge];
            const double factor =
                std::exp(below ? one.logarithm - top
                               : one.logarithm - down[match].logarithm + up[match].logarithm - top);
            State<Complex> state = one.state;
            state.psi *= below ? factor : factor * joint;
            state.phi *= below ? factor : factor * joint;
            return state;
        };
        const std::size_t lower = i > 0 ? i - 1 : 0, upper = std::min(i, up.size() - 1);
        s.psi = stateAt(lower).psi;
        s.phi = stateAt(lower).phi;
        s.next = stateAt(upper).psi;
        const bool isOuter = i == 0 || i + 1 == media.size();
        s.t = isOuter ? 0 : m.t;
        s.split();
    }
}

void Mode::Section::split() {
    if (t == 0) {
        falling = rising = psi;
        return;
    }
    exponential = std::abs(q) * t > 1;
    if (!exponential) return;
    const Complex across = std::exp(-q * t);
    if (q.real() * t > 1) {
        const Complex determinant = 1. - across * across;
        falling = (psi - across * next) / determinant;
        rising = (next - across * psi) / determinant;
    } else {
        falling = (psi - p * phi / q) / 2.;
        rising = (psi + p * phi / q) / (2. * across);
    }
}

Complex Mode::Section::at(double u) const {
    if (exponential) return falling * std::exp(-q * u) + rising * std::exp(-q * (t - u));
    const Transfer<Complex> f = transferOf(q2, u);
    return (f.C * psi + p * f.S * phi) * std::exp(f.growth);
}

Mode::Section::Integrals Mode::Section::integrals() const {
    if (t == 0) {
        const Complex square = psi * psi / (2. * q);
        return {square, q2 * square, std::norm(psi) / (2 * q.real())};
    }
    if (!exponential) return sampledIntegrals();
    const Complex across = std::exp(-q * t);
    const Complex own = (falling * falling + rising * rising) * (1. - across * across) / (2. * q);
    const Complex mixed = 2. * falling * rising * t * across;
    const double angle = q.imag() * t;
    const double beat = std::abs(angle) > 1e-4 ? std::sin(angle) / angle : 1 - angle * angle / 6;
    const double norm =
        (std::norm(falling) + std::norm(rising)) * falloff(q.real() * t) * t +
        2 * (falling * std::conj(rising)).real() * std::exp(-q.real() * t) * t * beat;
    return {own + mixed, q2 * (own - mixed), norm};
}

Mode::Section::Integrals Mode::Section::sampledIntegrals() const {
    Integrals sum{};
    for (const auto& node : gauss) {
        for (const double sign : {-1., 1.}) {
            const Transfer<Complex> f = transferOf(q2, t * (1 + sign * node.x) / 2);
            const double grown = std::exp(f.growth), weight = node.weight * t / 2;
            const Complex value = grown * (f.C * psi + p * f.S * phi);
            const Complex slope = grown * (q2 * f.S * psi + p * f.C * phi);
            sum.square += weight * value * value;
            sum.slopeSquare += weight * slope * slope;
            sum.norm += weight * std::norm(value);
        }
    }
    return sum;
}

void Mode::integrate(const Stack& stack, const Media<Complex>& media, const Complex& w) {
    const bool tm = stack.polarisation == Polarisation::TM;
    Complex above = 0, below = 0;
    double norm = 0, power = 0;
    for (std::size_t i = 0; i < sections_.size(); ++i) {
        const Section::Integrals of = sections_[i].integrals();
        const Layer& layer = stack.layers[i];
        norm += of.norm;
        if (tm) {
            above += 2. * of.square + layer.dispersion / (layer.eps * layer.eps) * w * of.square +
                     layer.dispersionAlong / (media[i].p * media[i].p) * of.slopeSquare;
            below += of.square / layer.eps;
            sections_[i].confinement = (neff_ / layer.eps).real() * of.norm;
        } else {
            above += (2. * layer.eps + layer.dispersion) * of.square;
            below += of.square;
            sections_[i].confinement = of.norm;
        }
        power += sections_[i].confinement;
    }
    // A mode goes where its power goes, which may be against its phase.
    if (power < 0) neff_ = -neff_;
    groupIndex_ = (above / (2. * neff_ * below)).real();
    const Complex start = sections_[0].psi;
    const Complex turn = std::abs(start) > 0 ? std::conj(start) / std::abs(start) : Complex(1);
    const Complex factor = turn * std::sqrt(k0_ / norm);
    for (Section& s : sections_) {
        s.confinement /= power;
        for (Complex* amplitude : {&s.psi, &s.phi, &s.next, &s.falling, &s.rising})
            *amplitude *= factor;
    }
}

Mode::Mode(const Stack& stack, const Complex& w, int rank)
    : neff_(std::sqrt(w)), k0_(stack.wavenumber()), sections_(stack.layers.size()) {
    const Media<Complex> media = mediaOf(stack);
    double x = 0;
    for (std::size_t i = 0; i < sections_.size(); ++i) {
        sections_[i].start = x;
        if (i > 0) x += stack.layers[i].thickness;
    }
    shoot(media, w, rank);
    integrate(stack, media, w);
    real_ = w.imag() == 0 && isLossless(media);
    constexpr double perCentimetre = 1e4;
    loss_ = 20 / std::numbers::ln10 * k0_ * perCentimetre * neff_.imag();
}

Complex Mode::field(double x) const {
    const Complex value = complexField(x);
    return real_ ? value.real() : value;
}

Complex Mode::complexField(double x) const {
    const Section& substrate = sections_.front();
    if (x < 0) return substrate.psi * std::exp(substrate.q * (k0_ * x));
    auto above = std::upper_bound(sections_.begin() + 1, sections_.end(), x,
                                  [](double at, const Section& s) { return at < s.start; });
    const Section& s = *std::prev(above == sections_.begin() + 1 ? above + 1 : above);
    const double u = k0_ * (x - s.start);
    return s.t == 0 ? s.psi * std::exp(-s.q * u) : s.at(std::min(u, s.t));
}

namespace {

std::vector<Complex> squaresOf(const Stack& stack, Effort& effort, std::string& error) {
    const Media<Complex> media = mediaOf(stack);
    if (!isLossless(media)) return complexModes(media, stack.polarisation, effort, error);
    const std::vector<double> modes = losslessModes(realPart(media), effort, error);
    return {modes.begin(), modes.end()};
}

}  // namespace

Solution solve(const Stack& stack, std::function<bool()> stop) {
    Solution solution;
    solution.error = stack.flaw();
    if (!solution.error.empty()) return solution;
    Effort effort(std::move(stop));
    const std::vector<Complex> squares = squaresOf(stack, effort, solution.error);
    if (squares.size() * stack.layers.size() > maxFields) {
        solution.error = "there are " + std::to_string(squares.size()) + " guided modes in " +
                         std::to_string(stack.layers.size()) + " layers, more than can be kept";
        return solution;
    }
    int rank = 0;
    for (std::size_t i = 0; i < squares.size() && !effort.isStopped(); ++i) {
        const Complex& w = squares[i];
        rank = i > 0 && std::abs(w - squares[i - 1]) < 1e-13 * std::abs(w) ? rank + 1 : 0;
        effort.spend(5 * stack.layers.size());
        solution.modes.emplace_back(stack, w, rank);
    }
    if (effort.isStopped()) return {{}, "", true};
    return solution;
}

}  // namespace slab
