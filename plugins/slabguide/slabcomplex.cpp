#include "plugins/slabguide/slabcomplex.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <numbers>
#include <optional>

#include "plugins/slabguide/slablayer.h"
#include "plugins/slabguide/slabreal.h"
#include "plugins/slabguide/slabregion.h"

namespace slab {

namespace {

constexpr double epsilon = std::numeric_limits<double>::epsilon();

/// The dispersion function at a trial w.
struct Trial {
    Complex w;
    Complex value;  ///< but for a positive factor
    Complex ratio;  ///< logarithmic derivative
};

/// The layers that a trial may divide exp(q t) out of; all of them or, when empty, none.
using Calmed = std::vector<bool>;

/// What is divided out leaves the zeros as they are, and the function nearly constant where it
/// would turn with every wavelength of a thick layer.
Trial tryAt(const Media<Complex>& media, const Complex& w, const Calmed& calmed) {
    const Complex qs = decay(media.front().q2(w));
    const Complex qc = decay(media.back().q2(w));
    auto state = State<Complex>::start(media.front(), qs);
    double angle = 0;
    Complex growth = 0;
    for (std::size_t i = 1; i + 1 < media.size(); ++i) {
        const Medium<Complex>& m = media[i];
        const Complex q2 = m.q2(w);
        state.cross(m, q2);
        if (calmed.empty() || !calmed[i]) continue;
        const Complex q = decay(q2);
        angle += q.imag() * m.t;
        growth += m.s * m.t / (2. * q);
    }
    const Medium<Complex>& cover = media.back();
    const Complex load = qc / cover.p;
    const Complex value = state.phi + load * state.psi;
    const Complex slope =
        state.dphi + load * state.dpsi + cover.s / (2. * qc * cover.p) * state.psi;
    return {w, value * Complex(std::cos(angle), -std::sin(angle)), slope / value - growth};
}

/// Finds the zeros in boxes. `care` is 1, or smaller for smaller steps along their edges.
class Search {
public:
    Search(const Media<Complex>& media, Effort& effort, double care)
        : media_(media), effort_(effort), care_(care) {
        for (const Medium<Complex>& m : media) largest_ = std::max(largest_, std::abs(m.eps));
    }

    std::vector<Complex>& zeros() { return zeros_; }
    const std::string& error() const { return error_; }
    /// The counts contradict each other: smaller steps may help.
    bool isInDoubt() const { return inDoubt_; }

    /// A zero near the guess, when there is one in the region that was not found before.
    void tryFrom(const Complex& guess, const std::vector<Box>& region) {
        const auto zero = newton(guess);
        if (zero && isNew(*zero) && isIn(region, *zero)) zeros_.push_back(*zero);
    }

    /// Finds all zeros in the box.
    void cover(const Box& box, const std::vector<Box>& region) {
        const std::optional<long> count = zerosIn(box);
        if (!count || *count < 0) return doubt("the search for modes failed near", box);
        if (*count > maxModes) {
            error_ = "there are " + std::to_string(*count) + " guided modes, more than the " +
                     std::to_string(maxModes) + " that can be solved for";
            return;
        }
        divide(box, *count, region, 0);
    }

private:
    static bool isIn(const std::vector<Box>& region, const Complex& w) {
        return std::any_of(region.begin(), region.end(),
                           [&](const Box& box) { return box.contains(w); });
    }
    bool isNew(const Complex& w) const {
        return std::none_of(zeros_.begin(), zeros_.end(), [&](const Complex& z) {
            return std::abs(w - z) <= 1e-9 * std::abs(w);
        });
    }
    long known(const Box& box) const {
        return std::count_if(zeros_.begin(), zeros_.end(),
                             [&](const Complex& z) { return box.contains(z); });
    }
    void doubt(const char* what, const Box& box) {
        if (!error_.empty() || effort_.isOver()) return;
        inDoubt_ = true;
        char digits[32];
        const double n = std::sqrt(box.centre()).real();
        char* end = std::to_chars(digits, digits + sizeof digits, n).ptr;
        error_ = std::string(what) + " an effective index of " + std::string(digits, end);
    }

    /// The layers whose roots have no cut in the box.
    Calmed calmIn(const Box& box) const {
        Calmed calmed;
        for (const Medium<Complex>& m : media_) {
            const bool crossed = box.low.real() <= m.eps.real() && box.low.imag() <= m.eps.imag() &&
                                 box.high.imag() >= m.eps.imag();
            calmed.push_back(m.s == Complex(1) && !crossed);
        }
        return calmed;
    }

    Trial trial(const Complex& w, const Calmed& calmed) const {
        effort_.spend(media_.size());
        return tryAt(media_, w, calmed);
    }
    /// Zeros and cuts crowd around the permittivities; far from there the function changes with
    /// the distance.
    double longestStep(const Complex& w) const { return care_ / 2 * (std::abs(w) + largest_); }

    std::optional<long> zerosIn(const Box& box);
    std::optional<double> turn(const Trial& a, const Trial& b, const Calmed& calmed, int depth);
    std::optional<Complex> newton(Complex w) const;
    Complex polished(Complex w) const;
    bool isZero(const Complex& w) const;
    void divide(const Box& box, long count, const std::vector<Box>& region, int depth);
    bool settle(const Box& box, long count, const std::vector<Box>& region);

    const Media<Complex>& media_;
    std::vector<Complex> zeros_;
    std::string error_;
    bool inDoubt_ = false;
    Effort& effort_;
    const double care_;
    double largest_ = 0;  ///< of the permittivities
};

/// By how much the argument changes from a to b: steps are small enough when the change agrees with
/// what the derivatives at both ends foretell, and these with each other. A zero or a cut that
/// passes by closer than half a step bends them apart.
std::optional<double> Search::turn(const Trial& a, const Trial& b, const Calmed& calmed,
                                   int depth) {
    constexpr int deepest = 60;
    const double largestTurn = 1.2 * care_, largestError = 0.6 * care_, largestBend = care_;
    const Complex way = b.w - a.w, w = a.w + way / 2.;
    const double change = std::arg(b.value * std::conj(a.value));
    if (std::abs(change) < largestTurn && std::abs(way) < longestStep(w) &&
        std::abs((a.ratio * way).imag() - change) < largestError &&
        std::abs((b.ratio * way).imag() - change) < largestError &&
        std::abs((b.ratio - a.ratio) * way) < largestBend) {
        return change;
    }
    if (depth == deepest || w == a.w || w == b.w || effort_.isOver()) return {};
    const Trial between = trial(w, calmed);
    const auto first = turn(a, between, calmed, depth + 1);
    if (!first) return {};
    const auto second = turn(between, b, calmed, depth + 1);
    if (!second) return {};
    return *first + *second;
}

/// Nothing when a zero lies on the edge.
std::optional<long> Search::zerosIn(const Box& box) {
    const Calmed calmed = calmIn(box);
    const Complex corners[] = {
        box.low, {box.high.real(), box.low.imag()}, box.high, {box.low.real(), box.high.imag()}};
    constexpr int pieces = 4;
    double total = 0;
    const Trial first = trial(corners[0], calmed);
    Trial last = first;
    for (int edge = 0; edge < 4; ++edge) {
        const Complex from = corners[edge], to = corners[(edge + 1) % 4];
        for (int i = 1; i <= pieces; ++i) {
            const bool closes = edge == 3 && i == pieces;
            const Trial next =
                closes ? first : trial(from + (to - from) * (double(i) / pieces), calmed);
            const auto change = turn(last, next, calmed, 0);
            if (!change) return {};
            total += *change;
            last = next;
        }
    }
    const double turns = total / (2 * std::numbers::pi);
    if (std::abs(turns - std::round(turns)) > 0.1) return {};
    return std::lround(turns);
}

/// With the zeros that are known divided out: H. Peters and J. H. Wilkinson, SIAM Rev. 13 (1971).
std::optional<Complex> Search::newton(Complex w) const {
    constexpr int most = 40;
    const double cutOff = std::max({media_.front().eps.real(), media_.back().eps.real(), 0.});
    for (int i = 0; i < most && !effort_.isOver(); ++i) {
        const Trial here = trial(w, {});
        if (here.value == Complex(0)) return w;
        Complex ratio = here.ratio;
        for (const Complex& z : zeros_) ratio -= 1. / (w - z);
        const Complex step = 1. / ratio;
        if (!std::isfinite(step.real()) || !std::isfinite(step.imag())) return {};
        w -= step;
        if (!(w.real() > cutOff)) return {};
        if (std::abs(step) <= 1e-12 * std::abs(w)) return polished(w);
    }
    return {};
}

Complex Search::polished(Complex w) const {
    const Complex start = w;
    for (int i = 0; i < 4; ++i) {
        const Complex step = 1. / trial(w, {}).ratio;
        if (!(std::abs(step) <= 1e-9 * std::abs(w))) break;
        w -= step;
        if (std::abs(step) <= 2 * epsilon * std::abs(w)) break;
    }
    // Two zeros that lie next to each other must not become one.
    return isNew(w) ? w : start;
}

/// As good a zero as several that lie together can be told.
bool Search::isZero(const Complex& w) const {
    return !(std::abs(1. / trial(w, {}).ratio) > 1e-7 * std::abs(w));
}

/// Finds the zeros that the box lacks from a few places inside; true when it lacks none then.
bool Search::settle(const Box& box, long count, const std::vector<Box>& region) {
    constexpr double places[][2] = {{0.5, 0.5}, {0.21, 0.43}, {0.77, 0.61}};
    constexpr long few = 3;
    if (count - known(box) > few) return false;
    for (const auto& place : places) {
        if (known(box) >= count || effort_.isOver()) break;
        tryFrom(box.low + Complex(place[0] * box.width(), place[1] * box.height()), region);
    }
    return known(box) >= count;
}

/// Where to cut: not quite in the middle, or, of a stretch that goes far beyond the permittivities,
/// where its parts differ most in size.
double cutOf(double from, double to, double fraction, double largest) {
    if (to - from < 16 * largest) return from + fraction * (to - from);
    const double beyond = 2 * largest * fraction;
    if (from < -beyond && to > beyond) return beyond;
    const bool isAbove = from + to > 0;
    const double near = std::max(isAbove ? from : -to, beyond), far = isAbove ? to : -from;
    const double cut = near * std::pow(far / near, fraction);
    return isAbove ? cut : -cut;
}

void Search::divide(const Box& box, long count, const std::vector<Box>& region, int depth) {
    constexpr int deepest = 200;
    if (!error_.empty() || effort_.isOver() || count <= known(box) || settle(box, count, region))
        return;
    const double size = std::max(box.width(), box.height());
    if (size < 1e-10 * std::abs(box.centre()) || depth == deepest) {
        for (long lacking = count - known(box); lacking > 0; --lacking) {
            const Complex found = newton(box.centre()).value_or(box.centre());
            const Complex zero = box.contains(found) ? found : box.centre();
            if (!isZero(zero)) return doubt("the search for modes failed near", box);
            zeros_.push_back(zero);
        }
        return;
    }
    for (const double fraction : {0.4871, 0.5323, 0.4417, 0.5779}) {
        Box first = box, second = box;
        if (box.width() > box.height()) {
            const double cut = cutOf(box.low.real(), box.high.real(), fraction, largest_);
            first.high.real(cut);
            second.low.real(cut);
        } else {
            const double cut = cutOf(box.low.imag(), box.high.imag(), fraction, largest_);
            first.high.imag(cut);
            second.low.imag(cut);
        }
        const auto there = zerosIn(first);
        if (!there || *there < 0 || *there > count) continue;
        divide(first, *there, region, depth + 1);
        divide(second, count - *there, region, depth + 1);
        return;
    }
    doubt("the modes could not be told apart near", box);
}

/// The guide without its losses tells where to look first.
void addLossless(const Media<Complex>& media, Effort& effort, std::vector<Complex>& guesses) {
    const Media<double> real = realPart(media);
    for (const Medium<double>& m : real) {
        if (!(m.p > 0) || !(m.s > 0)) return;
    }
    std::string unused;
    for (const double w : losslessModes(real, effort, unused)) guesses.emplace_back(w);
}

/// Surface waves of each interface on its own, and of each layer thin against them: see
/// plasmonLimit.
void addPlasmons(const Media<Complex>& media, std::vector<Complex>& guesses) {
    Complex before = 0;
    for (std::size_t i = 0; i + 1 < media.size(); ++i) {
        const Complex &a = media[i].eps, &b = media[i + 1].eps;
        const Complex reflection = (b - a) / (b + a);
        if (a.real() * b.real() < 0) guesses.push_back(a * b / (a + b));
        const Complex q = std::log(-before * reflection) / (2 * media[i].t);
        if (i > 0 && q.real() > 0) guesses.push_back(q * q);
        before = -reflection;
    }
}

}  // namespace

std::vector<Complex> complexModes(const Media<Complex>& media, Polarisation polarisation,
                                  Effort& effort, std::string& error) {
    const std::vector<Box> region = searchRegion(media, polarisation);
    if (region.empty()) return {};
    std::vector<Complex> guesses;
    addLossless(media, effort, guesses);
    if (polarisation == Polarisation::TM) addPlasmons(media, guesses);
    for (const double care : {1., 0.3, 0.1}) {
        Search search(media, effort, care);
        for (const Complex& guess : guesses) search.tryFrom(guess, region);
        for (const Box& box : region) search.cover(box, region);
        std::vector<Complex>& modes = search.zeros();
        error = search.error();
        if (effort.isTooMuch()) {
            error = "the search for the modes of " + std::to_string(media.size()) +
                    " layers takes too long: given up with " + std::to_string(modes.size()) +
                    " found";
        }
        if (search.isInDoubt() && !effort.isOver()) continue;
        if (!error.empty()) return {};
        std::sort(modes.begin(), modes.end(), [](const Complex& a, const Complex& b) {
            return std::sqrt(a).real() > std::sqrt(b).real();
        });
        return std::move(modes);
    }
    return {};
}

}  // namespace slab
