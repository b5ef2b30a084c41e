#include "tests/plugins/slabguide/slabnode_fixture.h"

namespace {

TEST_F(SlabNodeTest, a_scan_of_an_unknown_variable_is_refused) {
    EXPECT_NE(run("scan", "x, 0, 1, 3"), "");
}

}  // namespace
