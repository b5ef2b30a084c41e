#include "plugins/slabguide/slabreal.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>

#include "plugins/slabguide/slablayer.h"

namespace slab {

namespace {

/// Where a zero of psi counts as crossed already, so that none at an interface counts twice.
bool isPositive(double psi, double slope) {
    return psi != 0 ? psi > 0 : slope > 0;
}

/// Zeros of psi in the layer that leads from one state to the other.
std::int64_t zerosInside(const Medium<double>& m, double q2, const State<double>& in,
                         const State<double>& out) {
    const bool odd = isPositive(in.psi, in.phi * m.p) != isPositive(out.psi, out.phi * m.p);
    if (q2 >= 0) return odd;
    const double kappa = std::sqrt(-q2);
    double angle = std::atan2(in.psi * kappa, in.phi * m.p);
    if (angle < 0) angle += std::numbers::pi;
    if (angle >= std::numbers::pi) angle = 0;
    // The phase tells how many; at an interface, where it is only as good as rounding, the signs
    // decide between two neighbours.
    const double turns = (kappa * m.t + angle) / std::numbers::pi;
    const double whole = std::floor(turns);
    const auto count = static_cast<std::int64_t>(std::min(whole, 1e12));
    if ((count % 2 != 0) == odd) return count;
    return turns - whole > 0.5 || count == 0 ? count + 1 : count - 1;
}

struct Trial {
    double value;  ///< 0 at a mode
    double slope;  ///< its derivative, on the same scale
    std::int64_t modesAbove;
};

Trial tryAt(const Media<double>& media, double w) {
    const Medium<double>& substrate = media.front();
    const Medium<double>& cover = media.back();
    const double tiny = std::numeric_limits<double>::min();
    const double qs = std::sqrt(std::max(substrate.q2(w), tiny));
    const double qc = std::sqrt(std::max(cover.q2(w), tiny));
    State<double> state = State<double>::start(substrate, qs);
    std::int64_t zeros = 0;
    for (std::size_t i = 1; i + 1 < media.size(); ++i) {
        const Medium<double>& m = media[i];
        const double q2 = m.q2(w);
        const State<double> in = state;
        state.cross(m, q2);
        zeros += zerosInside(m, q2, in, state);
    }
    const double load = qc / cover.p;
    const double value = state.phi + load * state.psi;
    const double slope = state.dphi + load * state.dpsi + cover.s / (2 * qc * cover.p) * state.psi;
    if (isPositive(value, slope) != isPositive(state.psi, state.phi * cover.p)) ++zeros;
    return {value, slope, zeros};
}

/// Encloses the modes, which count from 0 downwards in w.
class Enclosures {
public:
    Enclosures(const Media<double>& media, double below, double above, std::int64_t count,
               Effort& effort)
        : media_(media),
          effort_(effort),
          bounds_(static_cast<std::size_t>(count), Interval{below, above, count, 0}) {}

    double find(std::size_t mode) {
        const Interval& b = bounds_[mode];
        const auto number = static_cast<std::int64_t>(mode);
        while (!effort_.isStopped() && !isClosed(b) &&
               (b.modesAboveLow != number + 1 || b.modesAboveHigh != number))
            look(middle(b));
        return isClosed(b) ? middle(b) : polish(b);
    }

private:
    struct Interval {
        double low, high;
        std::int64_t modesAboveLow, modesAboveHigh;
    };

    static double middle(const Interval& b) { return b.low + (b.high - b.low) / 2; }
    static bool isClosed(const Interval& b) {
        return b.high - b.low <= 2 * std::numeric_limits<double>::epsilon() * std::abs(b.high);
    }

    Trial look(double w) {
        effort_.spend(media_.size());
        const Trial trial = tryAt(media_, w);
        const auto split = static_cast<std::size_t>(
            std::min(trial.modesAbove, static_cast<std::int64_t>(bounds_.size())));
        for (std::size_t i = split; i-- > 0 && bounds_[i].low < w;) {
            bounds_[i].low = w;
            bounds_[i].modesAboveLow = trial.modesAbove;
        }
        for (std::size_t i = split; i < bounds_.size() && bounds_[i].high > w; ++i) {
            bounds_[i].high = w;
            bounds_[i].modesAboveHigh = trial.modesAbove;
        }
        return trial;
    }

    /// Newton's method; a step that leaves the interval, and every fourth, halves it instead.
    double polish(const Interval& b) {
        constexpr int most = 200;
        double w = middle(b);
        for (int i = 1; i <= most && !isClosed(b) && !effort_.isStopped(); ++i) {
            const Trial trial = look(w);
            const double step = trial.value / trial.slope;
            const double next = w - step;
            if (std::abs(step) <= std::numeric_limits<double>::epsilon() * w) return next;
            const bool inside = next > b.low && next < b.high;
            w = inside && i % 4 != 0 ? next : middle(b);
        }
        return isClosed(b) ? middle(b) : w;
    }

    const Media<double>& media_;
    Effort& effort_;
    std::vector<Interval> bounds_;
};

}  // namespace

bool isLossless(const Media<Complex>& media) {
    return std::all_of(media.begin(), media.end(), [](const Medium<Complex>& m) {
        return m.eps.imag() == 0 && m.p.imag() == 0 && m.s.imag() == 0 && m.p.real() > 0 &&
               m.s.real() > 0;
    });
}

Media<double> realPart(const Media<Complex>& media) {
    Media<double> real;
    for (const Medium<Complex>& m : media)
        real.push_back({m.eps.real(), m.p.real(), m.s.real(), m.t});
    return real;
}

double guidedAbove(const Media<double>& media) {
    return std::max({media.front().eps, media.back().eps, 0.});
}

std::vector<double> losslessModes(const Media<double>& media, Effort& effort, std::string& error) {
    const double below = guidedAbove(media);
    double above = below;
    for (const Medium<double>& m : media) above = std::max(above, m.eps);
    if (!(above > below)) return {};
    const std::int64_t count = tryAt(media, below).modesAbove;
    if (count > maxModes) {
        error = "there are " + std::to_string(count) + " guided modes, more than the " +
                std::to_string(maxModes) + " that can be solved for";
        return {};
    }
    Enclosures enclosures(media, below, above, count, effort);
    std::vector<double> modes;
    for (std::size_t i = 0; i < static_cast<std::size_t>(count) && !effort.isStopped(); ++i)
        modes.push_back(enclosures.find(i));
    return modes;
}

}  // namespace slab
