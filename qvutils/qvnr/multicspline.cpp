#include "qvutils/common/error/qverror.h"
#include "qvutils/qvnr/Splinfit.h"

void MultiCSpline::clear() {
    wanted_ = 0;
    segments_.clear();
    bounds_.clear();
    ready_ = false;
}

bool MultiCSpline::Initialise(int segments, const char* name, bool twoColumns) {
    clear();
    name_ = name ? name : "";
    twoColumns_ = twoColumns;
    if (segments < 1 || segments >= CSpline::maxPoints) {
        qverr().setf("spline %s cannot have %d segments", name_.c_str(), segments);
        return false;
    }
    wanted_ = segments;
    return true;
}

bool MultiCSpline::LoadSegment(const CSplineData* data, int n, double dy1Start, double dy1End,
                               double dy2Start, double dy2End) {
    const int number = static_cast<int>(segments_.size()) + 1;
    CSpline segment;
    segment.SetGradients(dy1Start, dy1End, dy2Start, dy2End);
    bool sound = false;
    if (number > wanted_) {
        qverr().setf("spline %s has no segment %d", name_.c_str(), number);
    } else if (!segment.Load(data, n, name_.c_str(), twoColumns_)) {
        // The message says why.
    } else if (segment.getEnd() == segment.getStart()) {
        qverr().setf("segment %d of spline %s has no width", number, name_.c_str());
    } else if (number > 1 && segment.getStart() < segments_.back().getEnd()) {
        qverr().setf("segment %d of spline %s begins before the end of the last one", number,
                     name_.c_str());
    } else {
        sound = true;
    }
    if (!sound) {
        clear();
        return false;
    }
    bounds_.push_back(segment.getStart());
    segments_.push_back(std::move(segment));
    if (number == wanted_) {
        bounds_.push_back(segments_.back().getEnd());
        index_.build(bounds_.data(), number + 1, 2 * number);
        ready_ = true;
    }
    return true;
}

/// Moves x into the range when it is just outside; null when nothing is loaded.
const CSpline* MultiCSpline::locate(double& x) const {
    if (!ready_) {
        if (!qverr()) qverr().setf("out of data range calculating spline %s", name_.c_str());
        return nullptr;
    }
    const double start = bounds_.front();
    const double end = bounds_.back();
    const double nudge = (end - start) * 1e-7;
    if (x < start) x += nudge;
    if (x > end) x -= nudge;
    if (x > start && x < end) return &segments_[index_.find(bounds_.data(), x) - 1];
    return x >= end ? &segments_.back() : &segments_.front();
}

double MultiCSpline::CalcY1(double x) const {
    const CSpline* segment = locate(x);
    return segment ? segment->CalcY1(x) : 0;
}

double MultiCSpline::CalcY2(double x) const {
    const CSpline* segment = locate(x);
    return segment ? segment->CalcY2(x) : 0;
}

double MultiCSpline::CalcdY1dx(double x) const {
    const CSpline* segment = locate(x);
    return segment ? segment->CalcdY1dx(x) : 0;
}

double MultiCSpline::CalcdY2dx(double x) const {
    const CSpline* segment = locate(x);
    return segment ? segment->CalcdY2dx(x) : 0;
}
