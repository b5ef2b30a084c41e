#include "tests/plugins/slabguide/slabnode_fixture.h"

namespace {

TEST_F(SlabNodeTest, layers_take_numbers_and_formulas_and_the_modes_follow_them) {
    define("w", "0.22");
    EXPECT_EQ(run("addlayer", "0, 1.444"), "");
    EXPECT_EQ(run("addlayer", "2*w, 3.476"), "");
    EXPECT_EQ(run("addlayer", "0, 1"), "");
    EXPECT_EQ(run("insertlayer", "3, 0.1, \"(1.6,1e-4)\""), "");
    EXPECT_EQ(run("removelayer", "3"), "");
    EXPECT_EQ(run("solve"), "3");
}

}  // namespace
