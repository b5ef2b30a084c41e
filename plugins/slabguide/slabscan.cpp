#include "plugins/slabguide/slabscan.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/clock.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/tasks/qvtask.h"
#include "qvutils/common/tasks/runsignal.h"
#include "qvutils/common/text/qvnearest.h"

/// Works on the points; each part of the loop borrows a model.
class SlabScanTask : public qvTask {
public:
    SlabScanTask(SlabScan& scan, SlabScanProgress& progress, const SlabDescription& description,
                 const qvNameSpace& names)
        : qvTask("scan"),
          scan_(scan),
          progress_(progress),
          description_(description),
          names_(names),
          points_(scan.values_.size()) {}

    void Run(int first, int last, int step) override {
        std::unique_ptr<SlabModel> model = borrow();
        for (int i = first; i <= last && !CancelRequested() && !full_; i += step) {
            solveAt(*model, static_cast<std::size_t>(i));
            tell(++progress_.done);
        }
        const std::lock_guard lock(mutex_);
        models_.push_back(std::move(model));
    }

    /// Lays the points out one after the other; posts when there is nothing to lay out.
    bool finish();

private:
    std::unique_ptr<SlabModel> borrow() {
        const std::lock_guard lock(mutex_);
        if (models_.empty()) return SlabModel::withCopy(description_, names_);
        std::unique_ptr<SlabModel> model = std::move(models_.back());
        models_.pop_back();
        return model;
    }
    void solveAt(SlabModel& model, std::size_t point);
    void fail(std::size_t point, const std::string& why);
    void tell(int done);

    SlabScan& scan_;
    SlabScanProgress& progress_;
    const SlabDescription& description_;
    const qvNameSpace& names_;
    std::mutex mutex_;
    std::vector<std::unique_ptr<SlabModel>> models_;
    std::vector<std::vector<SlabScan::Mode>> points_;
    std::atomic<std::size_t> modes_ = 0;
    std::atomic<bool> full_ = false;
    std::atomic<bool> tm_ = false;
    int failures_ = 0;
    std::size_t firstFailure_ = 0;
    std::string reason_;
    static constexpr std::int64_t betweenTellings = 2'000'000'000;  // nanoseconds
    std::int64_t nextTelling_ = qvplatform::monotonicNanoseconds() + betweenTellings;
};

void SlabScanTask::solveAt(SlabModel& model, std::size_t point) {
    model.set(scan_.variable_, scan_.values_[point]);
    const slab::Stack stack = model.stack();
    if (qverr()) return fail(point, qverr().chars_and_reset());
    const slab::Solution solution =
        slab::solve(stack, [this] { return CancelRequested() || full_; });
    if (solution.stopped) return;
    if (!solution.error.empty()) return fail(point, solution.error + "\n");
    if (stack.polarisation == slab::Polarisation::TM) tm_ = true;
    std::vector<SlabScan::Mode>& found = points_[point];
    for (const slab::Mode& mode : solution.modes) {
        found.push_back({mode.neff().real(), mode.neff().imag(), mode.loss(), mode.groupIndex()});
    }
    if ((modes_ += found.size()) > SlabScan::maxModes) full_ = true;
}

void SlabScanTask::fail(std::size_t point, const std::string& why) {
    const std::lock_guard lock(mutex_);
    if (failures_++ == 0 || point < firstFailure_) {
        firstFailure_ = point;
        reason_ = why;
    }
}

/// A scan that takes its time says every now and then how far it is.
void SlabScanTask::tell(int done) {
    if (done % 16 != 0) return;
    const std::int64_t now = qvplatform::monotonicNanoseconds();
    const std::lock_guard lock(mutex_);
    if (now < nextTelling_) return;
    nextTelling_ = now + betweenTellings;
    lprintf("scan of %s: %d of %d points\n", scan_.variable_.Chars(), done,
            static_cast<int>(points_.size()));
}

bool SlabScanTask::finish() {
    if (full_) {
        qverr().setf("the scan gives more than %zu modes: fewer points, please\n",
                     SlabScan::maxModes);
        return false;
    }
    const QVString place = scan_.variable_ + " = " +
                           (points_.empty() ? "" : qvShortestText(scan_.values_[firstFailure_]));
    if (failures_ > 0 && failures_ == static_cast<int>(points_.size())) {
        qverr().setf("the scan found nothing; at %s: %s", place.Chars(), reason_.c_str());
        return false;
    }
    if (failures_ > 0) {
        wlprintf("scan: %d of %d points could not be solved, the first at %s: %s", failures_,
                 static_cast<int>(points_.size()), place.Chars(), reason_.c_str());
    }
    scan_.tm_ = tm_;
    for (const auto& point : points_) {
        scan_.modes_.insert(scan_.modes_.end(), point.begin(), point.end());
        scan_.first_.push_back(static_cast<std::uint32_t>(scan_.modes_.size()));
    }
    return true;
}

namespace {

/// Worker threads for the length of a scan, unless the application has its own.
class Workers {
public:
    Workers() : own_(qvTask::getNumWorkerThreads() == 0 && qvTask::StartWorkerThreads()) {}
    ~Workers() {
        if (own_) qvTask::StopWorkerThreads();
    }
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;

private:
    bool own_;
};

bool mayScan(const qvNameSpace& names, const QVString& variable, double from, double to,
             int steps) {
    qvNameSpace copy(names);
    if (!copy.Find(variable, false)) {
        qverr().setf("there is no variable \"%s\" in the project\n", variable.Chars());
        std::vector<QVString> known;
        copy.listNames(known);
        QVNearestNames nearest(variable.view());
        for (const QVString& name : known) nearest.offer(name.view());
        if (!nearest.names().empty())
            qverr().append(("did you mean " + nearest.names().front() + "?\n").c_str());
    } else if (!std::isfinite(from) || !std::isfinite(to)) {
        qverr().setf("the range of a scan, %g to %g, must be finite\n", from, to);
    } else if (steps < 1 || steps > SlabScan::maxPoints) {
        qverr().setf("a scan has 1 to %d points, not %d\n", SlabScan::maxPoints, steps);
    }
    return !qverr();
}

}  // namespace

bool slabScan(const SlabDescription& description, const qvNameSpace& names,
              const QVString& variable, double from, double to, int steps,
              SlabScanProgress& progress, SlabScan& result) {
    if (!mayScan(names, variable, from, to, steps)) return false;
    // A broken formula is told here, once.
    const auto model = SlabModel::withCopy(description, names);
    if (qverr()) return false;
    SlabScan scan = SlabScan::over(variable, from, to, steps);
    const qvRunSignal running;
    const Workers workers;
    progress.done = 0;
    progress.total = steps;
    SlabScanTask task(scan, progress, description, names);
    constexpr int parts = 64;
    qvTask::LoopDiv division(parts);
    const bool well = qvTask::SpawnLoopSync(&task, 0, steps - 1, 1, qverr(), &division);
    progress.total = 0;
    if (qvRunSignal::killRequested() && !qverr()) qverr().set("scan was cancelled\n");
    if (!well || qverr() || !task.finish()) return false;
    result = std::move(scan);
    return true;
}

int SlabScan::mostModes() const {
    int most = 0;
    for (int i = 0; i < size(); ++i) most = std::max(most, modes(i));
    return most;
}

SlabScan SlabScan::over(const QVString& variable, double from, double to, int steps) {
    SlabScan scan;
    scan.variable_ = variable;
    for (int i = 0; i < steps; ++i) {
        // Both ends exactly, and round numbers in between where there are any.
        const double last = std::max(steps - 1, 1);
        scan.values_.push_back((from * (last - i) + to * i) / last);
    }
    return scan;
}

// The side file, all numbers little-endian:
//
//   polarisation       32-bit integer, 0 TE, 1 TM
//   length, name       of the variable
//   points, modes      two 32-bit integers
//   for each point     its value, the number of its modes as 32-bit integer
//   for each mode      real and imaginary part of the index, loss, group index
namespace {

class Bytes {
public:
    explicit Bytes(FILE* file) : file_(file), files_(qvplatform::fileSystem()) {}

    void put(std::uint64_t bits, std::size_t size) {
        for (std::size_t i = 0; i < size; ++i) buffer_ += static_cast<char>(bits >> (8 * i));
        if (buffer_.size() > 60000) flush();
    }
    void put(double value) { put(std::bit_cast<std::uint64_t>(value), 8); }
    void putInt(std::size_t value) { put(value, 4); }
    void putText(std::string_view text) { buffer_ += text; }
    bool flush() {
        well_ = well_ && files_.write(file_, buffer_.data(), buffer_.size());
        buffer_.clear();
        return well_;
    }

    std::uint64_t get(std::size_t size) {
        unsigned char bytes[8] = {};
        well_ = well_ && files_.read(file_, bytes, size) == size;
        std::uint64_t bits = 0;
        for (std::size_t i = 0; i < size; ++i) bits |= std::uint64_t(bytes[i]) << (8 * i);
        return well_ ? bits : 0;
    }
    double getNumber() { return std::bit_cast<double>(get(8)); }
    std::size_t getInt() { return static_cast<std::size_t>(get(4)); }
    std::string getText(std::size_t length) {
        std::string text(length, '\0');
        well_ = well_ && files_.read(file_, text.data(), length) == length;
        return text;
    }
    bool well() const { return well_; }

private:
    FILE* file_;
    qvplatform::FileSystem& files_;
    std::string buffer_;
    bool well_ = true;
};

constexpr std::size_t longestName = 10000;

}  // namespace

bool SlabScan::write(FILE* file) const {
    Bytes out(file);
    out.putInt(tm_);
    out.putInt(variable_.view().size());
    out.putText(variable_.view());
    out.putInt(values_.size());
    out.putInt(modes_.size());
    for (int i = 0; i < size(); ++i) {
        out.put(value(i));
        out.putInt(static_cast<std::size_t>(modes(i)));
    }
    for (const Mode& mode : modes_) {
        for (const double number : {mode.re, mode.im, mode.loss, mode.groupIndex}) out.put(number);
    }
    return out.flush();
}

bool SlabScan::read(FILE* file) {
    Bytes in(file);
    SlabScan scan;
    scan.tm_ = in.getInt() == 1;
    const std::size_t length = in.getInt();
    if (length > longestName) return false;
    scan.variable_ = QVString(in.getText(length));
    const std::size_t points = in.getInt(), modes = in.getInt();
    if (points > maxPoints || modes > maxModes) return false;
    for (std::size_t i = 0; i < points && in.well(); ++i) {
        scan.values_.push_back(in.getNumber());
        const std::size_t end = scan.first_.back() + in.getInt();
        if (end > modes) return false;
        scan.first_.push_back(static_cast<std::uint32_t>(end));
    }
    for (std::size_t i = 0; i < modes && in.well(); ++i) {
        Mode mode{};
        for (double* number : {&mode.re, &mode.im, &mode.loss, &mode.groupIndex})
            *number = in.getNumber();
        scan.modes_.push_back(mode);
    }
    if (!in.well() || scan.first_.back() != modes) return false;
    *this = std::move(scan);
    return true;
}
