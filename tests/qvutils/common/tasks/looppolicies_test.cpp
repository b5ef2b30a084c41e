// The policies' rules, one row per case.
#include <gtest/gtest.h>

#include "qvutils/common/tasks/qvtask.h"

namespace {

constexpr std::int64_t noLimit = std::int64_t{1} << 40;

TEST(LoopPolicies, division_makes_parts_of_whole_granules) {
    const struct {
        std::int64_t n;
        int granularity, parts, stride;
    } rows[] = {{100, 1, 4, 25}, {103, 1, 4, 25}, {100, 10, 4, 20}, {95, 10, 2, 40},
                {3, 1, 4, 1},    {3, 10, 4, 1},   {100, 0, 4, 25},  {100, 1, 0, 100}};
    for (const auto& row : rows) {
        EXPECT_EQ(qvTask::LoopDiv(row.parts).Stride(row.n, row.granularity, 2, noLimit), row.stride)
            << row.n << " by " << row.parts;
    }
}

TEST(LoopPolicies, even_stride_follows_the_share) {
    qvTask::EvenStride even;
    const int small[] = {1, 1, 1, 1, 2, 1, 2, 1, 2, 3, 2, 1, 3, 2, 2, 3, 4, 2, 3};
    for (int share = 0; share < 19; ++share) {
        EXPECT_EQ(even.Stride(share, 1, 1, noLimit), small[share]) << share;
        EXPECT_EQ(even.Stride(3 * share + 2, 1, 3, noLimit), small[share]) << share;
    }
    EXPECT_EQ(even.Stride(100, 1, 1, noLimit), 4);
    EXPECT_EQ(even.Stride(99, 1, 1, noLimit), 3);
}

TEST(LoopPolicies, adaptive_stride_looks_at_the_time_of_forty_loops) {
    const struct {
        std::int64_t n;
        int granularity, workers;
        std::int64_t limit;
        double microseconds;  // of all parts of forty loops
        std::int64_t stride;
    } rows[] = {
        {999, 1, 2, noLimit, 999 * 40.0, 5},     // 200 / 40; a share of 499 may have odd parts
        {1000, 1, 2, noLimit, 1000 * 40.0, 6},   // a share of 500 may not
        {999, 1, 2, noLimit, 999 * 1e3, 1},      // no part shorter than an index
        {1000, 10, 2, noLimit, 1000 * 40.0, 2},  // 400 for a granule: 1, made even
        {1000, 1, 2, noLimit, 1, 1000},          // no part longer than the loop
        {999, 1, 2, 100, 999 * 1e3, 10},         // not more parts than the limit
        {1000, 1, 2, 300, 1000 * 1e3, 4},
    };
    for (const auto& row : rows) {
        qvTask::AdaptiveStride adaptive;
        EXPECT_TRUE(adaptive.EnableRunTimes());
        const auto next = [&] {
            return adaptive.Stride(row.n, row.granularity, row.workers, row.limit);
        };
        const std::int64_t before = next();
        for (int call = 2; call < 40; ++call) {
            adaptive.AddRunTime(0);
            ASSERT_EQ(next(), before);
        }
        adaptive.AddRunTime(
            static_cast<long>(row.microseconds * qvTask::LoopManager::ticksPerSecond * 1e-6));
        EXPECT_EQ(next(), row.stride) << row.n << " indices in " << row.microseconds;
        for (int call = 0; call < 45; ++call) EXPECT_EQ(next(), row.stride) << "no time to look at";
    }
}

}  // namespace
