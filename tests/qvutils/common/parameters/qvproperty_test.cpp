#include "qvutils/common/parameters/qvproperty.h"

#include <gtest/gtest.h>

#include <cstring>
#include <initializer_list>
#include <string>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/variables/qvnamespace.h"
#include "tests/support/comma_locale.h"

namespace {

using Complex = std::complex<double>;

class Properties : public ::testing::Test {
protected:
    ~Properties() override { EXPECT_FALSE(qverr()) << qverr().chars_and_reset(); }

    /// Sets each text in turn, which must then be shown.
    static void expectTaken(QVProperty& property, std::initializer_list<const char*> texts) {
        for (const char* text : texts) {
            EXPECT_TRUE(property.setText(text)) << text;
            EXPECT_EQ(property.getText(), text);
            const QVString edited = property.getEditText();
            EXPECT_TRUE(property.setText(edited)) << edited;
            EXPECT_EQ(property.getText(), text);
        }
    }
    /// Each text is refused and leaves the data alone.
    static void expectRefused(QVProperty& property, std::initializer_list<const char*> texts) {
        const QVString before = property.getEditText();
        for (const char* text : texts) {
            EXPECT_FALSE(property.setText(text)) << text;
            EXPECT_EQ(std::string(qverr().chars_and_reset()),
                      std::string("could not set \"item\" to \"") + text + "\"\n");
            EXPECT_EQ(property.getEditText(), before);
        }
    }
};

TEST_F(Properties, numbers_are_shown_short_and_edited_in_full) {
    const CommaLocale locale;
    int count = 0;
    float loss = 0;
    double width = 0;
    QVPropInt intProperty("item", "INTEGER", "how many", false, &count);
    QVPropFloat floatProperty("item", "FLOAT", "loss", "dB/cm", false, &loss);
    QVPropDouble doubleProperty("item", "FLOAT", "width", "um", false, &width);
    expectTaken(intProperty, {"-12", "2147483647"});
    expectRefused(intProperty, {"", "x", "2147483648", "1 2"});
    expectTaken(floatProperty, {"0.1", "inf", "-3.5"});
    expectTaken(doubleProperty, {"1e-20", "-inf", "nan"});
    expectRefused(doubleProperty, {"", "0,5", "2*3"});
    width = 1.0 / 3;
    EXPECT_EQ(doubleProperty.getText(), "0.33333333");
    EXPECT_EQ(doubleProperty.getEditText(), "0.3333333333333333");
    EXPECT_TRUE(doubleProperty.ShouldReformatForEdit());
    EXPECT_FALSE(intProperty.ShouldReformatForEdit());
    EXPECT_STREQ(doubleProperty.getUnit(), "um");
    EXPECT_STREQ(doubleProperty.getHelpString(), "width");
}

TEST_F(Properties, a_complex_number_is_shown_by_its_mode_and_read_in_every_form) {
    Complex z(0, 2);
    QVPropComplex parts("item", "COMPLEX", "", "", false, &z, QVPropComplex::parts);
    QVPropComplex modulus("item", "COMPLEX", "", "", false, &z, QVPropComplex::modulus);
    QVPropComplex power("item", "COMPLEX", "", "", false, &z, QVPropComplex::power);
    EXPECT_EQ(parts.getText(), "(0,2)");
    EXPECT_EQ(modulus.getText(), "(2 abs,90 deg)");
    EXPECT_EQ(power.getText(), "(4 norm,90 deg)");
    expectTaken(parts, {"(1,-2)", "(0.25,0)"});
    expectTaken(modulus, {"(2 abs,45 deg)", "(1 abs,-180 deg)"});
    EXPECT_TRUE(parts.setText("(9 norm, 0 deg)"));
    EXPECT_EQ(z, Complex(3));
    expectRefused(power,
                  {"", "(1,2", "(-1 abs,0 deg)", "(1 abs,0)", "2 abs deg", "(1 abs,2 deg) x"});
    z = Complex(1.0 / 3, 1);
    EXPECT_EQ(parts.getText(), "(0.333,1)");
    EXPECT_EQ(parts.getEditText(), "(0.3333333333333333,1)");
    EXPECT_STREQ(parts.getCellType(), "qvComplex");
}

TEST_F(Properties, texts_flags_and_characters_keep_to_their_bounds) {
    bool lossy = true;
    char axis = 'x', label[5] = "";
    QVString note, file;
    QVPropBool boolProperty("item", "FLAG", false, &lossy);
    QVPropChar charProperty("item", "CHARACTER", false, &axis);
    QVPropCharArray arrayProperty("item", "STRING", false, label, sizeof label);
    QVPropString stringProperty("item", "STRING", "a note", false, &note);
    QVPropFile fileProperty("item", "STRING", false, &file, "Load", "*.txt", QVPropFile::toOpen);
    expectTaken(boolProperty, {"false", "true"});
    expectRefused(boolProperty, {"", "2", "True"});
    expectTaken(charProperty, {"y", " "});
    expectRefused(charProperty, {"", "xy"});
    expectTaken(arrayProperty, {"", "four", "a"});
    expectRefused(arrayProperty, {"fiver", "much longer than that"});
    std::memset(label, 'z', sizeof label);
    EXPECT_EQ(arrayProperty.getText(), "zzzzz");
    expectTaken(stringProperty, {"", "any \"text\"\n"});
    expectTaken(fileProperty, {"/data/index.txt"});
    EXPECT_STREQ(fileProperty.getCellType(), "qvFile");
}

TEST_F(Properties, a_choice_is_one_of_its_texts) {
    int index = 7;
    QVString text;
    QVPropChoice both("item", "STRING", &text, "TE|TM|both modes", &index, false);
    QVPropChoice indexAlone("item", "STRING", nullptr, "TE|TM||", &index, false);
    EXPECT_EQ(both.getText(), "");
    expectTaken(both, {"TM", "both modes", "TE"});
    EXPECT_EQ(index, 0);
    EXPECT_EQ(text, "TE");
    expectRefused(both, {"", "T", "TE|TM", "te"});
    expectTaken(indexAlone, {"TM", ""});
    EXPECT_EQ(text, "TE");
    index = -1;
    EXPECT_EQ(both.getText(), "");

    QVShading shading = QVShading::none;
    QVPropShading shadingProperty("item", "", false, &shading);
    expectTaken(shadingProperty, {"smooth", "none", "flat"});
    EXPECT_EQ(shading, QVShading::flat);
    expectRefused(shadingProperty, {"glossy", ""});
}

TEST_F(Properties, colours_are_hexadecimal_or_named) {
    QVColour colour;
    int toolkitData = 0;
    QVPropColour plain("item", "", false, &colour, &toolkitData);
    EXPECT_EQ(plain.getColourData(), &toolkitData);
    expectTaken(plain, {"#000000", "#0180ff"});
    EXPECT_EQ(colour.blue, 255);
    expectRefused(plain, {"", "#0180f", "#0180ffa", "0180ff0", "#01-0ff", "core"});
    const QVCustomColours::Entry entries[] = {{"core", {200, 0, 0}}, {"cladding", {0, 0, 200}}};
    const QVCustomColours colours{entries, 2};
    QVPropCustomColour custom("item", "", false, &colour, &colours);
    expectTaken(custom, {"cladding", "core", "#0180ff"});
    EXPECT_TRUE(custom.setText("#c80000"));
    EXPECT_EQ(custom.getText(), "core");
    expectRefused(custom, {"Core", "air"});
}

TEST_F(Properties, parameters_show_their_value_and_edit_their_definition) {
    qvNameSpace space;
    space.Add("gap")->SetValue(0.75);
    qvParameter<double> width;
    qvParameter<int> count;
    qvParameter<float> loss;
    qvParameter<Complex> index;
    QVPropParamDouble property("item", "FLOAT", "width", false, &width, &space);
    EXPECT_EQ(property.getEditText(), "");
    EXPECT_TRUE(property.setText("gap/9"));
    EXPECT_EQ(property.getText(), "0.083333333");
    EXPECT_EQ(property.getEditText(), "gap/9");
    EXPECT_TRUE(property.ShouldReformatForEdit());
    EXPECT_FALSE(property.setText("\"gap\""));
    EXPECT_TRUE(std::strstr(qverr().chars_and_reset(), "double quote"));
    EXPECT_EQ(property.getEditText(), "gap/9");

    QVPropParamInt countProperty("item", "", "", false, &count, &space);
    QVPropParamFloat lossProperty("item", "", "", false, &loss, &space);
    QVPropParamComplex indexProperty("item", "", "", false, &index, &space);
    EXPECT_TRUE(countProperty.setText("4*gap") && lossProperty.setText("gap") &&
                indexProperty.setText("(3.45,0.5)"));
    EXPECT_EQ(countProperty.getText(), "3");
    EXPECT_EQ(lossProperty.getText(), "0.75");
    EXPECT_EQ(indexProperty.getText(), "(3.45, 0.5)");

    // Without a namespace a formula would be lost.
    QVPropParamDouble numberAlone("item", "", "", false, &width, nullptr);
    expectRefused(numberAlone, {"2*gap"});
    EXPECT_TRUE(numberAlone.setText("2"));
    EXPECT_TRUE(numberAlone.setText(""));
    EXPECT_TRUE(width.IsUndefined());
}

TEST_F(Properties, read_only_ones_cannot_be_set) {
    struct Counter : QVPopUpEditor {
        void Edit(void* data) override { ++*static_cast<int*>(data); }
    } editor;
    int runs = 0;
    QVPropInt number("runs", "INTEGER", "", true, &runs);
    QVPropVoid locked("runs", "", "count", true, &runs, &editor);
    QVPropVoid open("item", "", "count", false, &runs, &editor);
    EXPECT_TRUE(open.Run());
    EXPECT_EQ(runs, 1);
    expectRefused(open, {"text"});
    EXPECT_FALSE(number.setText("7"));
    EXPECT_STREQ(qverr().chars_and_reset(), "\"runs\" is read only!\n");
    EXPECT_FALSE(locked.Run());
    EXPECT_STREQ(qverr().chars_and_reset(), "\"runs\" is read only!\n");
    EXPECT_EQ(runs, 1);
}

}  // namespace
