#pragma once
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <vector>

#include "plugins/slabguide/slabdescription.h"
#include "plugins/slabguide/slabmode.h"

/// What a scan has found: the modes of a guide at each of several values of a variable.
class SlabScan {
public:
    static constexpr int maxPoints = 1000000;
    static constexpr std::size_t maxModes = 2000000;  ///< of all points together

    struct Mode {
        double re, im;  ///< of the effective index
        double loss, groupIndex;
    };

    bool empty() const { return values_.empty(); }
    int size() const { return static_cast<int>(values_.size()); }
    const QVString& variable() const { return variable_; }
    bool isMagnetic() const { return tm_; }
    /// Points and modes count from 0.
    double value(int point) const { return values_[static_cast<std::size_t>(point)]; }
    int modes(int point) const {
        const auto i = static_cast<std::size_t>(point);
        return static_cast<int>(first_[i + 1] - first_[i]);
    }
    const Mode& mode(int point, int i) const {
        return modes_[first_[static_cast<std::size_t>(point)] + static_cast<std::size_t>(i)];
    }
    int mostModes() const;

    /// A scan that is still to be made.
    static SlabScan over(const QVString& variable, double from, double to, int steps);

    /// The body of a side file, and back: false, with nothing changed, when it is damaged.
    bool write(FILE* file) const;
    bool read(FILE* file);

private:
    friend class SlabScanTask;

    QVString variable_;
    bool tm_ = false;
    std::vector<double> values_;
    std::vector<std::uint32_t> first_ = {0};  ///< mode of each point, and one past the last
    std::vector<Mode> modes_;
};

/// How far a scan has come; any thread may look.
struct SlabScanProgress {
    std::atomic<int> done = 0, total = 0;
};

/// Solves the guide at `steps` values of a variable from `from` to `to`, both included, on all
/// cores, each worker over a copy of the variables of its own. Points where the guide cannot be
/// solved have no modes, and one warning tells how many and why. False, with the error posted, when
/// none can, or when the running operation is stopped.
bool slabScan(const SlabDescription& description, const qvNameSpace& names,
              const QVString& variable, double from, double to, int steps,
              SlabScanProgress& progress, SlabScan& result);
