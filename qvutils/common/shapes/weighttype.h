#pragma once

/// How far a blend has gone from the first shape (0) to the second (1), for the sizes along x and
/// y and for the angle apart.
struct WeightType {
    double x = 1;
    double y = 1;
    double angle = 1;
    bool operator==(const WeightType&) const = default;
};
