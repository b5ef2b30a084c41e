#include <cmath>

#include "tests/plugins/slabguide/slabnode_fixture.h"

namespace {

TEST_F(SlabNodeTest, layers_take_numbers_and_formulas_and_the_modes_follow_them) {
    define("w", "0.22");
    EXPECT_EQ(run("addlayer", "0, 1.444"), "");
    EXPECT_EQ(run("addlayer", "2*w, 3.476"), "");
    EXPECT_EQ(run("addlayer", "0, 1"), "");
    EXPECT_EQ(run("solve"), "2");
    const double before = node->Neff(1).real();
    run("setvariable", "w, 0.3", vars);
    EXPECT_GT(node->Neff(1).real(), before);
    EXPECT_EQ(run("nummodes"), "3");
    EXPECT_EQ(set("polarisation", "1"), "");
    EXPECT_LT(node->Neff(1).real(), 3.3);
    EXPECT_EQ(run("insertlayer", "3, 0.1, \"(1.6,1e-4)\""), "");
    EXPECT_GT(node->Loss(1), 0);
    double power = 0;
    for (int i = 1; i <= 4; ++i) power += node->Confinement(1, i);
    EXPECT_NEAR(power, 1, 1e-12);
    EXPECT_EQ(run("removelayer", "3"), "");
    EXPECT_EQ(node->Loss(1), 0);
    EXPECT_EQ(set("thickness", "w", layer(2)), "");
    EXPECT_EQ(run("uses", "w", vars), "guide.layers[2].thickness = w\n");
    EXPECT_TRUE(project->IsDirty());
}

TEST_F(SlabNodeTest, layers_of_materials_follow_wavelength_and_temperature) {
    project->setFilename((std::string(QV_MATERIALS) + "/x.prj").c_str());
    run("addmateriallayer", "0, standard.mat, SiO2");
    run("addmateriallayer", "0.8, standard.mat, SiON, 0.2");
    run("addlayer", "0, 1");
    EXPECT_EQ(run("solve"), "1");
    EXPECT_NEAR(node->LayerIndex(1).real(), 1.444, 5e-4);
    // By the difference of the modes themselves.
    const double here = node->Neff(1).real(), group = node->GroupIndex(1);
    set("wavelength", "1.551");
    const double above = node->Neff(1).real();
    set("wavelength", "1.549");
    EXPECT_NEAR(group, here - 1.55 * (above - node->Neff(1).real()) / 0.002, 1e-6);
    set("wavelength", "1.55");
    set("mx", "0.5", layer(2));
    EXPECT_LT(node->Neff(1).real(), here);
    // An index takes the place of the material.
    EXPECT_EQ(set("index", "1.9", layer(2)), "");
    EXPECT_EQ(node->LayerIndex(2).real(), 1.9);
    EXPECT_EQ(set("material", "Si3N4", layer(2)), "");
    EXPECT_NEAR(node->LayerIndex(2).real(), 1.996, 1e-3);
}

/// However the wavelength gets into formulas of indices, and beside a material, the group index is
/// n - lambda dn/dlambda: here by differences of the effective index extrapolated to no step
/// (Richardson), for a guide that keeps its size.
TEST_F(SlabNodeTest, group_index_is_exact_with_formulas_and_materials) {
    project->setFilename((std::string(QV_MATERIALS) + "/x.prj").c_str());
    define("nm", "1500");
    define("lambda", "nm/1000");
    define("pole", "lambda**2/(lambda**2 - 0.02)");
    define("n", "sqrt(1 + 3*pole) + 1e-3*sqrt(-1)*lambda");
    define("a", "1");
    run("addmateriallayer", "0, standard.mat, SiO2");
    run("addlayer", "0.4, \"n + abs(n)/100\"");
    run("addlayer", "0.1, \"1.5 + 0.01*pole/lambda\"");
    run("addmateriallayer", "0.2, standard.mat, Si3N4");
    run("addlayer", "0, a");
    for (const char* wavelength : {"lambda", "nm/1000", "lambda*1"}) {
        ASSERT_EQ(set("wavelength", wavelength), "");
        for (const char* polarisation : {"0", "1"}) {
            set("polarisation", polarisation);
            const auto neffAt = [&](double nm) {
                run("setvariable", ("nm, " + std::to_string(nm)).c_str(), vars);
                return node->Neff(1).real();
            };
            const auto slope = [&](double h) {
                return (neffAt(1500 + h) - neffAt(1500 - h)) / (2 * h);
            };
            const double coarse = slope(16), middle = slope(8), fine = slope(4);
            const double better = (4 * middle - coarse) / 3, best = (4 * fine - middle) / 3;
            const double expected = neffAt(1500) - 1500 * ((16 * best - better) / 15);
            EXPECT_NEAR(node->GroupIndex(1), expected, 2e-10) << wavelength;
        }
    }
    // A size that is a formula stays as it is while light of another colour passes.
    set("thickness", "0.4*lambda/1.5", layer(2));
    const double group = node->GroupIndex(1);
    set("thickness", "0.4", layer(2));
    EXPECT_NEAR(node->GroupIndex(1), group, 1e-14);
    EXPECT_EQ(run("getvariable", "nm", vars), "1500");
}

TEST_F(SlabNodeTest, the_block_keeps_formulas_comments_and_what_it_cannot_read) {
    define("w", "0.5");
    const std::string lines =
        "  // telecom\n"
        "  wavelength = \"1.5+0.05\" // um\n"
        "  temperature = 295\n"
        "  polarisation = 1\n"
        "  layer = 0 1.444\n"
        "  // the core\n"
        "  materiallayer = \"w*(\" \"my lab.mat\" \"SiN x\" 0 \"w/2\" // 300 nm\n"
        "  layer = \"\" (1.5,0.001)\n";
    ASSERT_TRUE(read(lines)) << error();
    EXPECT_EQ(body(), lines);
    // Text that is none of these is told and stays.
    ASSERT_TRUE(read(lines + "  layer = 1\n  colour = 3\n  gibberish\n"));
    EXPECT_NE(error(), "");
    EXPECT_EQ(body(), lines + "  layer = 1\n  colour = 3\n  gibberish\n");
    EXPECT_NE(output.takeWarnings().find("guide: cannot read the line: colour = 3"),
              std::string::npos);
    // A copy has the same block.
    ASSERT_TRUE(read(lines));
    ASSERT_TRUE(node->Copy());
    ASSERT_TRUE(project->Paste("copy")) << error();
    TextBlock block;
    ASSERT_TRUE(block.LoadBlock(textOf(*project->FindChild("copy")).c_str()));
    EXPECT_EQ(block.body(), lines);
}

TEST_F(SlabNodeTest, what_is_wrong_names_the_node_the_layer_and_the_value) {
    define("w", "0.5");
    const struct {
        const char *thickness, *index, *wavelength, *polarisation, *message;
    } cases[] = {
        {"w-0.5", "2", "1.55", "0", "guide: layer 2: the thickness 0 um is not positive\n"},
        {"w-1", "2", "1.55", "0", "guide: layer 2: the thickness -0.5 um is not positive\n"},
        {"w+", "2", "1.55", "0",
         "guide: layer 2: thickness = \"w+\" could not be evaluated: parse error\n"},
        {"w", "2*q", "1.55", "0",
         "guide: layer 2: index = \"2*q\" could not be evaluated: undefined variable \"q\"\n"},
        {"w", "0", "1.55", "0", "guide: layer 2: the index (0,0) is no usable number\n"},
        {"w", "2", "-w", "0", "guide: the wavelength -0.5 um is not positive\n"},
        {"w", "2", "1.55", "2", "guide: the polarisation 2 is neither 0 (TE) nor 1 (TM)\n"}};
    EXPECT_EQ(run("solve"), "guide: there are no layers\n");
    run("addlayer", "0, 1.444");
    run("addlayer", "1, 2");
    run("addlayer", "0, 1");
    for (const auto& c : cases) {
        set("thickness", c.thickness, layer(2));
        set("index", c.index, layer(2));
        set("wavelength", c.wavelength);
        set("polarisation", c.polarisation);
        output.takeWarnings();
        EXPECT_EQ(run("solve"), c.message);
    }
    set("polarisation", "0");
    set("material", "Unobtainium", layer(2));
    EXPECT_NE(run("neff", "1").find("guide: layer 2: "), std::string::npos);
    set("index", "1.4", layer(2));
    set("wavelength", "1.55");
    set("thickness", "1", layer(2));
    EXPECT_EQ(run("solve"), "0");
    EXPECT_EQ(run("neff", "1"), "guide: there is no guided mode\n");
    set("index", "2", layer(2));
    EXPECT_EQ(run("neff", "9"), "guide: there is no mode 9: there are 2 guided modes\n");
    EXPECT_NE(run("confinement", "1, 4"), "0");
    EXPECT_NE(run("insertlayer", "9, 1, 1"), "");
    EXPECT_NE(run("addlayer", "1, \"2 // two\""), "");
    EXPECT_EQ(node->getPublishedElt("layers").getRange(1).last, 3);
}

}  // namespace
