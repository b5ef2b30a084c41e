#pragma once
#include <string>
#include <string_view>
#include <vector>

#include "qvutils/common/platform/qvexport.h"

/// Picks the known names that a mistyped one may have meant: those that few edits turn into it,
/// case ignored.
class QVCORE_API QVNearestNames {
public:
    explicit QVNearestNames(std::string_view name) : name_(name) {}

    /// Considers a known name. Of equally near ones the one offered first goes first.
    void offer(std::string_view candidate);
    /// At most three, the nearest first.
    std::vector<std::string> names() const;

private:
    struct Near {
        std::size_t distance;
        std::string name;
    };
    std::string name_;
    std::vector<Near> near_;
};
