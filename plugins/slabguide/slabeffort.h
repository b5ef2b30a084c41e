#pragma once
#include <cstddef>
#include <functional>
#include <utility>

namespace slab {

/// What a search for modes has cost so far, in layers gone through, and whether it is to end.
class Effort {
public:
    Effort() = default;
    /// `stop` is asked every now and then, within milliseconds, whether to give up.
    explicit Effort(std::function<bool()> stop) : stop_(std::move(stop)) {}

    void spend(std::size_t layers) {
        spent_ += layers;
        if (spent_ < nextLook_) return;
        nextLook_ = spent_ + betweenLooks;
        stopped_ = stopped_ || (stop_ && stop_());
    }
    bool isStopped() const { return stopped_; }
    /// More than anybody would wait for.
    bool isTooMuch() const { return spent_ > most; }
    bool isOver() const { return isStopped() || isTooMuch(); }

private:
    static constexpr std::size_t betweenLooks = 10'000;
    static constexpr std::size_t most = 100'000'000;

    std::function<bool()> stop_;
    std::size_t spent_ = 0, nextLook_ = 0;
    bool stopped_ = false;
};

}  // namespace slab
