#include "qvutils/common/materials/materkeywords.h"

#include <cstring>
#include <sstream>

#include "qvutils/common/materials/analytic.h"
#include "tests/qvutils/common/materials/material_files.h"

using namespace qvmaterial;

namespace {

const char* const exampleBlock =
    "BEGIN_DATABLOCK <POLY2D> example\n2 2 0 1 0 1 3.2 -0.4 0.3 0\nEND_DATABLOCK\n";

class MaterKeywordsTest : public MaterialFiles {
protected:
    /// What a definition says; materials before it are there to start from.
    MaterialData read(const std::string& body, const std::string& before = "",
                      const std::string& base = "") {
        Materbase* file = load(exampleBlock + before + material("m" + base, body));
        EXPECT_NE(file, nullptr) << body << "\n" << qverr().chars();
        qverr().reset();
        if (!file) return {};
        const Reading reading;
        MaterialData data = file->MaterHandle("m", true)->data();
        file->UnRef();
        return data;
    }
    std::string fault(const std::string& body) {
        return messageOf(exampleBlock + material("m", body));
    }
};

/// The third column of a row of the document: each line of the example in backticks.
std::string inBackticks(const std::string& example) {
    std::istringstream lines(example);
    std::string all;
    for (std::string line; std::getline(lines, line);) {
        line.erase(0, line.find_first_not_of(' '));
        all += (all.empty() ? "`" : " `") + line + "`";
    }
    return all;
}

}  // namespace

TEST_F(MaterKeywordsTest, every_keyword_has_an_example_that_loads_and_stands_in_the_document) {
    const std::string document = contentOf(QV_DOCS "/material-files.md");
    for (const KeywordRow& row : keywordRows()) {
        read(row.example);
        EXPECT_EQ(findKeyword(row.keyword), &row);
        const std::string line = std::string("| `") + row.usage + "` | " + row.help + " | " +
                                 inBackticks(row.example) + " |\n";
        EXPECT_NE(document.find(line), std::string::npos) << line;
    }
    for (const qvAnalyticMaterial* model : qvAnalyticMaterials()) {
        EXPECT_EQ(std::get<AnalyticModel>(read(model->keyword).index.model).row, model);
        EXPECT_NE(document.find(std::string("| `") + model->keyword + "` |"), std::string::npos);
    }
}

TEST_F(MaterKeywordsTest, the_files_of_the_document_load) {
    const std::string document = contentOf(QV_DOCS "/material-files.md");
    int n = 0;
    const std::string fence = "```mat\n";
    for (auto at = document.find(fence); at != std::string::npos; at = document.find(fence, at)) {
        at += fence.size();
        const std::string path =
            directory_.write("doc.mat", document.substr(at, document.find("```", at) - at));
        Materbase* base = LoadMaterbase(path.c_str());
        ASSERT_NE(base, nullptr) << qverr().chars();
        base->UnRef();
        ++n;
    }
    EXPECT_GE(n, 2);
}

TEST_F(MaterKeywordsTest, values_go_where_they_belong) {
    MaterialData m = read(
        "RIX_SELLMEIER xx 1 1.2 0.01  zz 2 1.1 0.02 0.3 100\nTEMP_REF 293.15\n"
        "RIX_POLYT 2 0 1e-5\nMXPARM \"mole %\" scale 0.01 range 0 20");
    const PerAxis<SellmeierTerms>& terms = std::get<SellmeierModel>(m.index.model).terms;
    EXPECT_FALSE(terms.isotropic);
    EXPECT_EQ(terms[1].strength[0], 1.2);
    EXPECT_EQ(terms[2].count, 2);
    EXPECT_EQ(terms[2].pole[1], 100);
    EXPECT_EQ(m.tempRef, 293.15);
    EXPECT_EQ(m.index.poly.t[0].value(10.0), 1e-4);
    EXPECT_STREQ(m.mx.label, "mole %");
    EXPECT_EQ(m.mx.scale, 0.01);
    EXPECT_EQ((*m.mx.range)[1], 20);

    m = read("PERMITTIVITY_POLYX 2 (2.1,0.5) ( 0.25 , -1 )\nPERMEABILITY_DRUDELORENTZ 1 2 3 4 5");
    EXPECT_EQ(m.permittivity.poly.x[0].c[1], std::complex<double>(0.25, -1));
    EXPECT_TRUE(m.permittivityFirst);
    EXPECT_EQ(std::get<DrudeLorentzModel>(m.permeability.model).terms[0].damping, 5);

    m = read("PERMITT_ANI_TENSOR epsxx=2 epsxy=(0,0.1) expyx=(0,-0.1) expyz=0.2\nRIX_DC 5");
    EXPECT_EQ(*m.permittivity.tensor[1][0], std::complex<double>(0, -0.1));
    EXPECT_EQ(*m.permittivity.tensor[2][1], 0.2);
    EXPECT_FALSE(m.permittivity.tensor[2][2]);
    EXPECT_EQ(m.index.dc->n, 5);

    m = read(
        "RIX_POLYX 1 2\nPERMITT_IMAG_OFFDIAG expImzx = 0.3\nRIX_EOCOEF r13 = 8.6 r61=-3.4\n"
        "RIX_ANIROTATION phix = 12 PHIZ = use_my");
    EXPECT_EQ(m.permittivity.imagOffDiagonal[0][2], -0.3);
    EXPECT_FALSE(m.permittivityFirst);
    EXPECT_EQ((*m.electroOptic)[0][2], 8.6);
    EXPECT_EQ((*m.electroOptic)[5][0], -3.4);
    EXPECT_EQ(m.rotation[0].degrees, 12);
    EXPECT_EQ(m.rotation[2].source, Angle::useMy);

    m = read("GAIN_LOGN_TM 2 100 1.5\nGAINL_POLYN 1 7\nRIX_FUNCXY poly2d example\nRIX_POLYL 1 0.5");
    EXPECT_EQ(m.gainPerTime.of[Gain::tm].c, (std::vector<double>{100, 1.5, 0}));
    EXPECT_EQ(m.gainPerLength.of[Gain::any].kind, GainModel::polynomial);
    EXPECT_NEAR(std::get<FuncXYModel>(m.index.model).function->Value(0.5, 0.25), 3.25, 1e-12);
    EXPECT_TRUE(m.index.poly.l[0].defined());

    // Typed with few digits, an orientation is made an exact rotation.
    m = read("<orientation> (0.7071 0.7071 0) (-0.7071 0.7071 0)\n(0 0 1)");
    EXPECT_NEAR(m.orientation[0][0] * m.orientation[0][0] * 2, 1, 1e-15);
}

TEST_F(MaterKeywordsTest, a_material_replaces_what_it_has_from_its_base) {
    const std::string before = material("base",
                                        "RIX_SELLMEIER 1 1.2 0.01\nRIX_POLYT 2 0 1e-5\n"
                                        "EGAP 3\nMATLOSS_POLYX 1 4");
    MaterialData m = read("EGAP 2", before, " << base");
    EXPECT_EQ(std::get<double>(m.egap->value), 2);
    EXPECT_TRUE(std::holds_alternative<SellmeierModel>(m.index.model));
    m = read("RIX_A1L 1 2.25", before, "<<base(0.5)");
    EXPECT_TRUE(std::holds_alternative<OnePoleModel>(m.index.model));
    EXPECT_TRUE(m.index.poly.t[0].defined());
    m = read("RIX_POLYX 1 2", before, " << base");
    EXPECT_EQ(m.index.model.index(), 0U);
    EXPECT_TRUE(m.index.poly.t[0].defined());
    m = read("ANAL_GOLD", before, " << base");
    EXPECT_FALSE(m.index.poly.defined());
    m = read("PERMITTIVITY_DEBYE 1 2 3 4", before, " << base");
    EXPECT_FALSE(m.index.defined());
    EXPECT_TRUE(m.permittivityFirst);
    EXPECT_TRUE(m.loss.defined());
    // Defined again, a material starts anew, or from itself.
    m = read("EGAP 1", material("m", "RIX_POLYX 1 2"));
    EXPECT_FALSE(m.index.defined());
    m = read("EGAP 1", material("m", "RIX_POLYX 1 2"), " << m");
    EXPECT_TRUE(m.index.defined());
}

TEST_F(MaterKeywordsTest, messages_say_what_is_wrong) {
    const std::pair<const char*, const char*> wrong[] = {
        {"PERMITTIVITY_POLYX 2 1", "syntax error in permittivity polyx in material m\n"},
        {"PERMITTIVITY_POLYL 0", "syntax error in permittivity polyl in material m\n"},
        {"PERMITTIVITY_POLYT x", "syntax error in permittivity polyt in material m\n"},
        {"PERMEABILITY_POLYX 1 (1", "syntax error in permeability polyx in material m\n"},
        {"PERMEABILITY_POLYL 2.5 1", "syntax error in permeability polyl in material m\n"},
        {"PERMEABILITY_POLYT -1", "syntax error in permeability polyt in material m\n"},
        {"RIX_POLYX 1 nan", "syntax error in RIX_POLYX in material m\n"},
        {"RIX_POLYL 2 1 inf", "expected as many numbers as the count says"},
        {"RIX_POLYT 1 1e999", "syntax error in RIX_POLYT in material m\n"},
        {"MATLOSS_POLYX 999999999999 1", "expected a count from 1 to 100"},
        {"RIX_POLYX xx 1 2 yy 1 2", "xx and zz have to be given"},
        {"RIX_POLYX xx 1 2 xx 1 2", "this component is given twice"},
        {"RIX_SELLMEIER 11 1 2", "expected a count from 1 to 10"},
        {"RIX_SELLMEIER 1 2", "expected a strength and a pole for each term"},
        {"RIX_A1L 5 1 2 3 4 5", "expected a count from 1 to 4"},
        {"RIX_EXPRESSION 1.4", "expected quotes in RIX_EXPRESSION\n"},
        {"MATLOSS_EXPRESSION 1.4", "expected quotes in MATLOSS_EXPRESSION\n"},
        {"NGROUP_EXPRESSION lambda", "expected quotes in NGROUP_EXPRESSION\n"},
        {"PERMITTIVITY_EXPRESSION 2", "expected quotes in PERMITTIVITY_EXPRESSION\n"},
        {"PERMEABILITY_EXPRESSION 2", "expected quotes in PERMEABILITY_EXPRESSION\n"},
        {"RIX_EXPRESSION \"1.4", "a quote is missing"},
        {"RIX_EXPRESSION \"1.4+lamda\"", "undefined variable \"lamda\"\n1.4+lamda\n    ^~~~~\n"},
        {"RIX_FUNCXY example", "Expected POLY2D or SPLINE2D\n"},
        {"RIX_FUNCXY SPLINE2D example", "Data block \"<SPLINE2D> example\" not found"},
        {"RIX_ANISOTROPIC 1", "expected dnxx etc in RIX_ANISOTROPIC\n"},
        {"RIX_ANISOTROPIC dnxx = 1 dnxy = 2", "expected dnxx etc in RIX_ANISOTROPIC\n"},
        {"RIX_ANISOTROPIC dnxx = 1 zz = 2", "expected dnxx etc in RIX_ANISOTROPIC\n"},
        {"RIX_ANISOPOLYX dnxx 1 2", "expected dn_xx etc\n"},
        {"MATLOSS_ANISOTROPIC dnxx = 1", "expected daxx etc\n"},
        {"RIX_DC dnxx = 1", "missing isotropic dc in RIX_DC\n"},
        {"RIX_DC 2 dn = 1", "expected \"dnij\" in RIX_DC\n"},
        {"RIX_EOCOEF r13 8.6", "expected r11 etc in RIX_EOCOEF\n"},
        {"RIX_EOCOEF r13 = 8.6 r74 = 1", "expected r11 etc in RIX_EOCOEF\n"},
        {"RIX_PHOTOELCOEF q11 = 1", "expected r11 etc in RIX_PHOTOELCOEF\n"},
        {"PERMITT_ANI_TENSOR xx = 1", "expected exp** in MP_PERMITT_ANI_TENSOR\n"},
        {"PERMITT_IMAG_OFFDIAG expxy = 1", "expected expIm** in PERMITT_IMAG_OFFDIAG\n"},
        {"PERMITT_IMAG_OFFDIAG expImxx = 1",
         "expected off-diagonal elements in MP_PERMITT_IMAG_OFFDIAG. Set diagonal elements using "
         "MP_PERMITT_ANI_TENSOR\n"},
        {"PERMITT_IMAG_OFFDIAG expImxy = 1 expImyx = 1", "an element is minus its mirror"},
        {"PERMEAB_ANI_TENSOR muxw = 1", "expected mu** in PERMEAB_ANI_TENSOR\n"},
        {"RIX_ANIROTATION x = 1", "expected phiX, phiY or phiZ in MP_RIX_ANIROTATION\n"},
        {"RIX_ANIROTATION phiX = mx",
         "expected a number or flags USE_MX or USE_MY in MP_RIX_ANIROTATION m\n"},
        {"MXPARM \"\"", "syntax error in MXPARM in material m\n"},
        {"MYPARM my scale 0", "syntax error in MYPARM in material m\n"},
        {"MXPARM mx range 1 0", "syntax error in MXPARM in material m\n"},
        {"NRADRECOMB 1 2", "must define RADRECOMB before NRADRECOMB in m"},
        {"MATLOSS_EYFRAC 1.5", "MATLOSS_EYFRAC value was silly\n"},
        {"MATLOSS_EYFRAC -0.1", "MATLOSS_EYFRAC value was silly\n"},
        {"<cut> (1 0 0)", "Expected <orientation>\n"},
        {"<orientation> (1 0 0) (0 1 0) (0 0 x)", "Expected 9 params in orientation matrix\n"},
        {"<orientation> (1 0 0) (0 1 0) (0 0 -1)", "orientation matrix is not a rotation"},
        {"LAMBDA_REF -1.55", "expected a number above 0"},
        {"LAMBDA_RANGE 2 1", "has to begin with its lower end"},
        {"EGAP x", "expected a number, or a formula in quotes"},
        {"GAIN_LOGN 2 100 0", "carrier density of transparency has to be above 0"},
        {"PERMITTIVITY_DEBYE 1 2 3 -4", "a relaxation time cannot be negative"},
        {"PERMITTIVITY_DRUDELORENTZ 1 1 2 3 -4", "a damping cannot be negative"},
        {"RIX_ANISOTROPIC dnxx = 1", "no refractive index for RIX_ANISOTROPIC"},
    };
    for (const auto& [body, message] : wrong) {
        const std::string found = fault(body);
        EXPECT_NE(found.find(message), std::string::npos) << body << "\n" << found;
        const bool atEnd = std::strstr(message, "no refractive index") != nullptr;
        const std::string place =
            std::string("line ") + (atEnd ? "5" : "6") + " of " + directory_.file("wrong.mat");
        const bool laterLine = found.find(": \"END\"") != std::string::npos;
        EXPECT_TRUE(laterLine || found.find(place) != std::string::npos) << body << "\n" << found;
    }
    EXPECT_NE(fault("RIX_POLYX 2 1 1.x5 // last").find(": \"1.x5\"\n"), std::string::npos);
    const std::string longWord = fault("RIX_POLYX " + std::string(1000000, '9'));
    EXPECT_LT(longWord.size(), 1000U);
}

TEST_F(MaterKeywordsTest, what_cannot_stand_together_is_refused) {
    const std::string tensor = "PERMITT_ANI_TENSOR expxx = 2";
    const std::tuple<std::string, std::string, std::string> wrong[] = {
        {"PERMITTIVITY_POLYX 1 2", "PERMITTIVITY_DEBYE 1 2 3 4",
         "PERMITTIVITY_DEBYE being used while another permittivity flag has already been used in "
         "material m\n"},
        {"PERMITTIVITY_DEBYE 1 2 3 4", "PERMITTIVITY_DEBYE 1 2 3 4",
         "PERMITTIVITY_DEBYE being used while another permittivity flag"},
        {"PERMITTIVITY_DEBYE 1 2 3 4", "PERMITTIVITY_DRUDELORENTZ 1 2 3 4 5",
         "PERMITTIVITY_DRUDELORENTZ being used while another permittivity flag"},
        {"PERMITTIVITY_DEBYE 1 2 3 4", "PERMITTIVITY_EXPRESSION \"2\"",
         "PERMITTIVITY_EXPRESSION being used while another permittivity flag"},
        {"PERMEABILITY_POLYX 1 2", "PERMEABILITY_DRUDELORENTZ 1 2 3 4 5",
         "PERMEABILITY_DRUDELORENTZ being used while another permeability flag has already been "
         "used in material m\n"},
        {"PERMEABILITY_POLYX 1 2", "PERMEABILITY_EXPRESSION \"1\"",
         "PERMEABILITY_EXPRESSION being used while another permeability flag"},
        {"RIX_POLYX 1 2", "RIX_SELLMEIER 1 2 3", "another refractive index flag"},
        {"ANAL_GOLD", "anal_silver", "ANAL_SILVER being used while another refractive index flag"},
        {"MATLOSS_EXPRESSION \"1\"", "MATLOSS_POLYX 1 2", "another loss flag"},
        {"GAIN_POLYN_TE 1 2", "GAIN_LOGN_TE 2 1 2", "another gain flag"},
        {"XCUT", "ZCUT", "another orientation flag"},
        {"RIX_POLYX 1 2", "RIX_POLYX 1 2", "RIX_POLYX is given twice in material m\n"},
        {"EGAP 1", "egap 2", "EGAP is given twice in material m\n"},
        {"RIX_POLYX 1 2", "PERMITTIVITY_POLYX 1 2", "refractive index has already been defined"},
        {"PERMITTIVITY_POLYX 1 2", "RIX_POLYX 1 2", "the permittivity has already been defined"},
        {tensor, "RIX_ANISOTROPIC dnxx = 1",
         "Conflict between PERMITT_ANI_TENSOR and MP_RIX_ANISOTROPIC\n"},
        {"MATLOSS_ANISOTROPIC daxx = 1", tensor,
         "Conflict between PERMITT_ANI_TENSOR and MP_MATLOSS_ANISOTROPIC\n"},
        {tensor, "RIX_ANISOPOLYX dn_xx 1 2",
         "Conflict between PERMITT_ANI_TENSOR and MP_RIXANISOPOLYX\n"},
        {tensor, "RIX_ANIROTATION phiX = 1",
         "Conflict between PERMITT_ANI_TENSOR and MP_RIX_ANIROTATION\n"},
        {"PERMITT_IMAG_OFFDIAG expImxy = 1", tensor,
         "Conflict between PERMITT_ANI_TENSOR and MP_PERMITT_IMAG_OFFDIAG\n"},
        {"RIX_A1L xx 1 2 zz 1 3", tensor,
         "conflict between PERMITT_ANI_TENSOR and other anisotropic paramters\n"},
        {tensor, "MATLOSS_EYFRAC 0.5",
         "conflict between PERMITT_ANI_TENSOR and other anisotropic paramters\n"},
    };
    for (const auto& [first, second, message] : wrong) {
        const std::string found = fault(first + "\n" + second);
        EXPECT_NE(found.find(message), std::string::npos) << first << "\n" << second << found;
        EXPECT_NE(found.find("line 7 of "), std::string::npos) << found;
    }
}

TEST_F(MaterKeywordsTest, a_material_can_be_turned_by_text) {
    MaterB m("m");
    EXPECT_TRUE(m.setOrientation(" ycut "));
    EXPECT_TRUE(m.isOptic_Rotat());
    EXPECT_TRUE(m.setOrientation("<orientation> (0 1 0) (0 0 1) (1 0 0)"));
    {
        const Reading reading;
        EXPECT_EQ(m.data().orientation[2][0], 1);
    }
    EXPECT_FALSE(m.setOrientation("WCUT"));
    EXPECT_STREQ(qverr().chars_and_reset(), "unexpected string \"WCUT\"\n");
    EXPECT_FALSE(m.setOrientation("<up>"));
    EXPECT_STREQ(qverr().chars_and_reset(), "Expected <orientation>\n");
    EXPECT_FALSE(m.setOrientation("<orientation> (0 1 0) (0 0 1) (1 0)"));
    EXPECT_STREQ(qverr().chars_and_reset(), "Expected 9 params in orientation matrix\n");
    m.Init();
    EXPECT_FALSE(m.isOptic_Rotat());
}
