#include <cmath>
#include <complex>
#include <numbers>
#include <random>

#include "qvutils/common/platform/format.h"
#include "tests/qvutils/common/materials/material_files.h"
#include "tests/support/captured_output.h"

using Complex = std::complex<double>;
using qvplatform::formatText;

namespace {

constexpr double pi = std::numbers::pi;

class MaterialQueries : public MaterialFiles {
protected:
    /// A material that needs no file any more.
    MaterB& make(const std::string& body, const std::string& before = "") {
        made_.push_back(std::make_unique<MaterB>(formatText("m%d", int(made_.size())).c_str()));
        MaterB& own = *made_.back();
        Materbase* base = load(before + material(own.getName(), body));
        if (base) {
            own.Copy(*base->MaterHandle(own.getName(), true));
            base->UnRef();
        } else {
            ADD_FAILURE() << body << "\n" << message();
        }
        return own;
    }
    static std::string message() { return qverr().chars_and_reset(); }
    static ::testing::AssertionResult posted(const char* part) {
        const std::string text = message();
        if (text.find(part) != text.npos) return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure() << "posted: \"" << text << "\"";
    }

    std::vector<std::unique_ptr<MaterB>> made_;
};

double alphaOf(Complex n, double lambda) {
    return 4 * pi * n.imag() / (lambda * 1e-4);
}

void expectNear(Complex a, Complex b, double tolerance = 1e-13) {
    EXPECT_NEAR(a.real(), b.real(), tolerance * std::abs(b));
    EXPECT_NEAR(a.imag(), b.imag(), tolerance * std::abs(b));
}

Complex trace(const CFtensor& t) {
    return t.m[0][0] + t.m[1][1] + t.m[2][2];
}
Complex determinant(const CFtensor& t) {
    const auto& m = t.m;
    return m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) -
           m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
           m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
}
/// Index, loss and permittivity say the same, as do the tensors.
void expectConsistent(const MaterB& m, double mx, double my, double lambda, double T) {
    const DStensor n = m.nrani(mx, my, lambda, T);
    const DStensor a = m.alphaani(mx, my, lambda, T);
    const CStensor e = m.eps(mx, my, lambda, T);
    const CStensor u = m.mu(mx, my, lambda, T);
    const CFtensor full = m.getAniEpsFull(mx, my, lambda, T);
    const DStensor nFull = m.getNrFromFullTensor(mx, my, lambda, T);
    const DStensor aFull = m.getAlphaFromFullTensor(mx, my, lambda, T);
    const auto one = [&](double ni, double ai, Complex ei, Complex ui, Complex fullElement,
                         double nf, double af) {
        const Complex index(ni, ai * lambda * 1e-4 / (4 * pi));
        expectNear(index * index, ei * ui);
        EXPECT_EQ(fullElement, ei);
        EXPECT_NEAR(nf, ni, 1e-13 * std::abs(index));
        EXPECT_NEAR(af, ai, 1e-12 * alphaOf(Complex(0, std::abs(index)), lambda));
    };
    one(n.xx, a.xx, e.xx, u.xx, full.m[0][0], nFull.xx, aFull.xx);
    one(n.yy, a.yy, e.yy, u.yy, full.m[1][1], nFull.yy, aFull.yy);
    one(n.zz, a.zz, e.zz, u.zz, full.m[2][2], nFull.zz, aFull.zz);
    EXPECT_NEAR(m.nr(mx, my, lambda, T), n.xx, 1e-14 * std::abs(n.xx));
    EXPECT_EQ(m.alpha(mx, my, lambda, T), a.xx);
    EXPECT_STREQ(qverr().chars(), "");
}

}  // namespace

TEST_F(MaterialQueries, IndexModelsGiveTheirFormulas) {
    const double l = 1.3, s = l * l, dT = 10, x = 0.3;
    EXPECT_DOUBLE_EQ(make("RIX_POLYX 3 3 -0.5 0.25\nRIX_POLYL 2 0.1 0.2\nLAMBDA_REF 1.55\n"
                          "RIX_POLYT 2 0 1e-4\nTEMP_REF 290").nr(x, 0, l, 290 + dT),
                     3 - 0.5 * x + 0.25 * x * x + 0.1 + 0.2 * (l - 1.55) + 1e-4 * dT);
    EXPECT_DOUBLE_EQ(make("RIX_SELLMEIER 2 0.7 0.005 0.9 97\nRIX_POLYT 2 0 1e-5")
                         .nr(0, 0, l, 300 + dT),
                     std::sqrt(1 + 0.7 * s / (s - 0.005) + 0.9 * s / (s - 97)) + 1e-5 * dT);
    EXPECT_DOUBLE_EQ(make("RIX_A1L 4 2.7405 0.0184 0.0179 0.0155").nr(0, 0, l, 300),
                     std::sqrt(2.7405 + 0.0184 / (s - 0.0179) - 0.0155 * s));
    EXPECT_DOUBLE_EQ(make("RIX_A2L 6 1.3 1.07 0.01 1.1 100 0.001").nr(0, 0, l, 300),
                     std::sqrt(1.3 + 1.07 * s / (s - 0.01) + 1.1 * s / (s - 100) - 0.001 * s));
    EXPECT_DOUBLE_EQ(
        make("RIX_EXPRESSION \"sqrt(2.1 + 0.01/lambda**2) + mxFrac*myFrac + 1e-5*(T - 300)\"")
            .nr(x, 0.5, l, 300 + dT),
        std::sqrt(2.1 + 0.01 / s) + x * 0.5 + 1e-4);
    MaterB& block = make("RIX_FUNCXY POLY2D f\nRIX_POLYL 2 0 0.1",
                         "BEGIN_DATABLOCK <POLY2D> f\n2 2 0 1 0 1  1.5 0.2 0.3 0.4\n"
                         "END_DATABLOCK\n");
    EXPECT_DOUBLE_EQ(block.nr(x, 0.5, l, 300), 1.5 + 0.2 * 0.5 + 0.3 * x + 0.4 * x * 0.5 + 0.13);
    EXPECT_EQ(block.nr(1.5, 0.5, l, 300), 1);
    EXPECT_TRUE(posted("out of range"));
    EXPECT_DOUBLE_EQ(make("RIX_POLYX 2 1 1\nMXPARM percent scale 0.01 offset 0.5").nr(20, 0, l, 300),
                     1.7);
}

TEST_F(MaterialQueries, TensorsAgreeWhateverDefinesThem) {
    std::mt19937 random(7);
    const auto between = [&](double a, double b) {
        return std::uniform_real_distribution<double>(a, b)(random);
    };
    const auto number = [&](double a, double b) { return formatText("%.17g ", between(a, b)); };
    const auto complex = [&](double a, double b, double c, double d) {
        return formatText("(%.17g, %.17g) ", between(a, b), between(c, d));
    };
    for (int i = 0; i < 8; ++i) {
        const std::string index = "RIX_POLYX 1 " + number(1, 4) + "\nRIX_ANISOTROPIC dnxx = " +
                                  number(-0.2, 0.2) + "dnzz = " + number(-0.2, 0.2) + "\n";
        const std::string loss = "MATLOSS_POLYX 1 " + number(0, 5e4) + "\nMATLOSS_ANISOTROPIC dayy " +
                                 number(0, 100) + "\nMATLOSS_EYFRAC " + number(0, 1) + "\n";
        const std::string eps = "PERMITTIVITY_POLYX xx 1 " + complex(-9, 9, 0, 5) + "yy 1 " +
                                complex(-9, 9, 0, 5) + "zz 1 " + complex(-9, 9, 0, 5) + "\n";
        const std::string mu = "PERMEABILITY_POLYX 1 " + complex(0.5, 3, 0, 0.5) + "\n";
        const std::string turn =
            "RIX_ANIROTATION phiX = " + number(-180, 180) + "phiY = USE_MX phiZ = USE_MY\n";
        const std::string tensor = "PERMITT_ANI_TENSOR expxx = " + complex(1, 9, 0, 1) +
                                   "expyy = " + complex(1, 9, 0, 1) + "expxy = " + number(-0.4, 0.4) +
                                   "expyz = " + number(-0.4, 0.4) + "\n";
        for (const std::string& body :
             {index, index + loss, index + mu + loss, eps, eps + loss + mu, index + loss + turn,
              eps + mu + turn, eps + "XCUT\n", tensor, tensor + mu + "MATLOSS_POLYX 1 20\n",
              index + "PERMITT_IMAG_OFFDIAG expImxz = 0.1\n", std::string("ANAL_LINBO3\nYCUT\n"),
              std::string("ANAL_GOLD\n") + loss})
            expectConsistent(make(body), between(-90, 90), between(-90, 90), between(0.5, 1.5), 300);
    }
}

TEST_F(MaterialQueries, LossIsFourPiKOverLambda) {
    const double l = 1.55;
    MaterB& m = make("PERMITTIVITY_POLYX 1 (2.25, 0.003)\nMATLOSS_POLYX 1 7");
    const Complex n = std::sqrt(Complex(2.25, 0.003));
    EXPECT_NEAR(m.alpha(0, 0, l, 300), alphaOf(n, l) + 7, 1e-11 * alphaOf(n, l));
    // A lossless medium has exactly no loss, and a gain medium has a negative one.
    EXPECT_EQ(make("RIX_POLYX 1 1.5").alpha(0, 0, l, 300), 0);
    EXPECT_LT(make("PERMITTIVITY_POLYX 1 (2.25, -0.003)").alpha(0, 0, l, 300), 0);
    // A metal without loss, and a medium of negative permittivity and permeability.
    EXPECT_EQ(make("PERMITTIVITY_POLYX 1 -16").eps(0, 0, l, 300).xx, Complex(-16));
    EXPECT_DOUBLE_EQ(make("PERMITTIVITY_POLYX 1 -16").alpha(0, 0, l, 300), alphaOf({0, 4}, l));
    MaterB& negative = make("PERMITTIVITY_POLYX 1 (-4, 0.01)\nPERMEABILITY_POLYX 1 (-1, 0.01)");
    EXPECT_LT(negative.nr(0, 0, l, 300), -1.99);
    EXPECT_GT(negative.alpha(0, 0, l, 300), 0);
}

TEST_F(MaterialQueries, DispersiveModels) {
    const double l = 0.6, E = 1.239841984332003 / l;
    expectNear(make("PERMITTIVITY_DRUDELORENTZ 2  1.5  7.87 0 0.053  1.4 0.415 0.241")
                   .eps(0, 0, l, 300).xx,
               1.5 + 7.87 * 7.87 / (-E * E - Complex(0, E * 0.053)) +
                   1.4 * 1.4 / (0.415 * 0.415 - E * E - Complex(0, E * 0.241)));
    // Water at 10 GHz.
    const double tau = 2 * pi * 0.01 * 8.27;
    expectNear(make("PERMITTIVITY_DEBYE 1  5.2  73.2 8.27").eps(0, 0, 29979.2458, 300).xx,
               5.2 + 73.2 / Complex(1, -tau));
    expectNear(make("RIX_POLYX 1 2\nPERMEABILITY_EXPRESSION \"1 + 0.01*sqrt(-1)*lambda\"")
                   .mu(0, 0, l, 300).zz, Complex(1, 0.006));
}

TEST_F(MaterialQueries, TurningKeepsTheInvariants) {
    const std::string body = "RIX_POLYX 1 1.5\nRIX_ANISOTROPIC dnyy = 0.3 dnzz = 0.6\n"
                             "MATLOSS_ANISOTROPIC daxx 30000\nPERMITT_IMAG_OFFDIAG expImxy 0.2\n";
    const CFtensor plain = make(body).getAniEpsFull(0, 0, 1, 300);
    for (const char* turn : {"XCUT", "YCUT", "ZCUT", "RIX_ANIROTATION phiX 20 phiY 35 phiZ -100",
                             "<orientation> (0.36 0.48 -0.8) (-0.8 0.6 0) (0.48 0.64 0.6)",
                             "XCUT\nRIX_ANIROTATION phiY = USE_MX"}) {
        const CFtensor turned = make(body + turn).aniEpsRot(25, 0, 1, 300);
        expectNear(trace(turned), trace(plain));
        expectNear(determinant(turned), determinant(plain));
    }
    // A quarter turn about x takes z to -y; the next about z takes y to -x.
    const std::string axes = "PERMITTIVITY_POLYX xx 1 1 yy 1 2 zz 1 3\nRIX_ANIROTATION phiX = ";
    const CFtensor aboutX = make(axes + "90").getAniEpsFull(0, 0, 1, 300);
    EXPECT_EQ(aboutX.m[1][1], Complex(3));
    EXPECT_EQ(aboutX.m[2][2], Complex(2));
    EXPECT_EQ(aboutX.m[1][2], Complex(0));
    const CFtensor both = make(axes + "90 phiZ = 90").getAniEpsFull(0, 0, 1, 300);
    EXPECT_EQ(both.m[0][0], Complex(3));
    EXPECT_EQ(both.m[1][1], Complex(1));
    const CFtensor tilted = make(axes + "30").getAniEpsFull(0, 0, 1, 300);
    expectNear(tilted.m[1][2], (2.0 - 3.0) * std::sin(pi / 6) * std::cos(pi / 6));
    // The crystal's Z lies sideways in an x-cut, also for the static index.
    MaterB& cut = make("ANAL_LINBO3\nXCUT\nRIX_DC 5.3 dnxx = 1.3 dnyy = 1.3");
    MaterB& crystal = make("ANAL_LINBO3");
    EXPECT_DOUBLE_EQ(cut.nr(0, 0, 1, 300), crystal.nrani(0, 0, 1, 300).zz);
    EXPECT_LT(cut.nr(0, 0, 1, 300), cut.nrani(0, 0, 1, 300).yy);
    EXPECT_DOUBLE_EQ(cut.nrDC(0, 0).xx, 5.3);
    EXPECT_DOUBLE_EQ(cut.nrDC(0, 0).yy, 6.6);
}

TEST_F(MaterialQueries, GroupIndexIsTheExactDerivative) {
    const double l = 1.1, s = l * l;
    const auto sellmeier = [](double x) {
        return std::sqrt(1 + 0.7 * x * x / (x * x - 0.005) + 0.9 * x * x / (x * x - 97));
    };
    const double n = sellmeier(l);
    const double slope = (-0.7 * 0.005 * l / ((s - 0.005) * (s - 0.005)) -
                          0.9 * 97 * l / ((s - 97) * (s - 97))) / n;
    EXPECT_NEAR(make("RIX_SELLMEIER 2 0.7 0.005 0.9 97").ng(0, 0, l, 300), n - l * slope, 1e-14);
    EXPECT_NEAR(make("RIX_POLYL 3 1.5 0.1 0.2\nLAMBDA_REF 1").ng(0, 0, l, 300),
                1.5 + 0.1 * 0.1 + 0.2 * 0.01 - l * (0.1 + 0.4 * 0.1), 1e-14);
    // Against differences of the index, of fourth order.
    for (const char* body :
         {"RIX_A1L 4 2.7405 0.0184 0.0179 0.0155", "RIX_A2L 5 1.3 1.07 0.01 1.1 100",
          "RIX_EXPRESSION \"sqrt(2.1 + 0.01/lambda**2)\"", "ANAL_GOLD", "ANAL_LINBO3\nXCUT",
          "PERMITTIVITY_DRUDELORENTZ 2  1  7.87 0 0.053  1.4 0.415 0.241\nPERMEABILITY_POLYX 1 1.2",
          "PERMITTIVITY_EXPRESSION \"2.1 + 0.3*sqrt(-1)/lambda + 0.1*lambda\"\nMATLOSS_POLYX 1 3",
          "PERMITTIVITY_POLYL xx 2 2 (0.1, 0.02) zz 2 3 0.3\nRIX_ANIROTATION phiY 30",
          "RIX_POLYL 2 2 0.1\nRIX_ANISOTROPIC dnxx = 0.1\nPERMEABILITY_DRUDELORENTZ 1 1 0.3 0.8 0.1"}) {
        MaterB& m = make(body);
        const double h = 1e-3;
        const auto at = [&](double x) { return m.nr(0, 0, l + x * h, 300); };
        const double d = (8 * (at(1) - at(-1)) - (at(2) - at(-2))) / (12 * h);
        EXPECT_NEAR(m.ng(0, 0, l, 300), at(0) - l * d, 2e-9 * (1 + std::abs(d))) << body;
        CStensor epsSlope;
        const CStensor eps = m.eps(0, 0, l, 300, epsSlope);
        const auto epsAt = [&](double x) { return m.eps(0, 0, l + x * h, 300); };
        const CStensor e[] = {epsAt(-2), epsAt(-1), epsAt(0), epsAt(1), epsAt(2)};
        for (const auto axis : {&CStensor::xx, &CStensor::yy, &CStensor::zz}) {
            const auto expected = (8. * (e[3].*axis - e[1].*axis) - (e[4].*axis - e[0].*axis)) /
                                  (12 * h);
            EXPECT_LT(std::abs(eps.*axis - e[2].*axis), 1e-14 * std::abs(eps.*axis)) << body;
            EXPECT_LT(std::abs(epsSlope.*axis - expected), 4e-9 * (1 + std::abs(expected))) << body;
        }
    }
    // A group index that the file gives is that of the permittivity too: 2 n (n - ng) / lambda.
    CStensor given;
    make("RIX_POLYX 1 2\nNG_POLYL 2 1.5 0.1").eps(0, 0, l, 300, given);
    EXPECT_NEAR(given.yy.real(), 2 * 2 * (2 - 1.61) / l, 1e-14);
    EXPECT_DOUBLE_EQ(make("RIX_POLYX 1 2\nNG_POLYL 2 1.5 0.1").ng(0, 0, l, 300), 1.61);
    EXPECT_DOUBLE_EQ(make("RIX_POLYX 1 2\nNGROUP_EXPRESSION \"1.5 + T/300\"").ng(0, 0, l, 300), 2.5);
    EXPECT_STREQ(qverr().chars(), "");
}

TEST_F(MaterialQueries, SemiconductorConstants) {
    MaterB& m = make("EGAP \"1.4 - mxFrac\"\nGAINL_POLYN 3 -500 350 -10\nGAINL_LOGN_TE 2 1500 1.5\n"
                     "GAIN_LOGN_TM 3 800 1.5 0.1\nGAIN_EPS 0.5\nT_EPS 2\nRADRECOMB 3 0 0 0.1\n"
                     "NRADRECOMB 2 0 0.3\nDIFFUSION 10\nDIFFUSE_POLYN 2 0 0.4\nDIFFUSE_POLYT 2 0 1\n"
                     "CHI2_CONST 54\nCHI3_CONST 2e-22\nTHCON 55\nYOUNGS_MODULUS 73\n"
                     "POISSON_RATIO 0.17\nTHERM_EXPANSION 5e-7");
    EXPECT_DOUBLE_EQ(m.Eg(0.5, 0, 0, 300), 0.9);
    EXPECT_DOUBLE_EQ(m.Gainz(0, 0, 1.5, 300, 2), -500 + 700 - 40);
    EXPECT_DOUBLE_EQ(m.Gainz(0, 0, 1.5, 300, 3, 1, 4), 1500 * std::log(2) / 3);
    EXPECT_DOUBLE_EQ(m.Gainz(0, 0, 1.5, 300, 2, 2), 160);  // none of its own for TM
    EXPECT_DOUBLE_EQ(m.Gaint(0, 0, 1.5, 300, 3, 2, 1), 800 * std::log(3.1 / 1.6) / 3);
    EXPECT_DOUBLE_EQ(m.Rts(0, 0, 1.5, 300, 2), 1.0);
    EXPECT_DOUBLE_EQ(m.Rtsr(0, 0, 1.5, 300, 2), 0.4);
    EXPECT_DOUBLE_EQ(m.Ddif(0, 0, 1.5, 303, 5), 15);
    const double others[] = {m.Chi2(0, 0, 1, 300), m.Chi3(0, 0, 1, 300), m.ThCon(0, 0, 1, 300),
                             m.YM(0, 0, 1, 300), m.PR(0, 0, 1, 300), m.ThExp(0, 0, 1, 300)};
    const double expected[] = {54, 2e-22, 55, 73, 0.17, 5e-7};
    for (std::size_t i = 0; i < 6; ++i) EXPECT_EQ(others[i], expected[i]);
    EXPECT_GT(make("ANAL_ALGAAS").Eg(0.3, 0, 0, 300), 1.7);
    EXPECT_STREQ(qverr().chars(), "");
    EXPECT_EQ(m.Gainz(0, 0, 1.5, 300, 0, 1), 0);  // the logarithm of 0
    EXPECT_TRUE(posted("No gain per length"));
    EXPECT_EQ(m.Gaint(0, 0, 1.5, 300, 2), 0);
    EXPECT_EQ(message(), "GAINT_xxx expected in material\n");
    EXPECT_EQ(m.Gainz(0, 0, 1.5, 300, -1), 0);
    EXPECT_TRUE(posted("densities"));
}

TEST_F(MaterialQueries, UndefinedConstantsPostTheirName) {
    MaterB& m = make("MXPARM x");
    EXPECT_EQ(m.Eg(0, 0, 1, 300), 1);
    EXPECT_EQ(message(), "Egap undefined in material \"m0\"\n");
    EXPECT_EQ(m.Chi2(0, 0, 1, 300), 0);
    EXPECT_EQ(message(), "Chi2 undefined in material \"m0\"\n");
    EXPECT_EQ(m.Chi3(0, 0, 1, 300), 0);
    EXPECT_EQ(message(), "Chi3 undefined in material \"m0\"\n");
    EXPECT_EQ(m.Gainz(0, 0, 1, 300, 1), 0);
    EXPECT_EQ(message(), "GAINL_xxx expected in material\n");
    EXPECT_EQ(m.nr(0, 0, 1, 300), 1);
    EXPECT_TRUE(posted("Refractive index undefined"));
    EXPECT_EQ(m.nrDC(0, 0).xx, 1);
    EXPECT_TRUE(posted("RIX_DC undefined"));
    const double zeros[6] = {};
    EXPECT_EQ(m.PR(0, 0, 1, 300) + m.Rts(0, 0, 1, 300, 1) + m.Ddif(0, 0, 1, 300) +
                  m.eo_dnr(0, 0, 1, 300, zeros).xx, 0);
    EXPECT_TRUE(posted("Poisson ratio undefined"));  // the first of them
    double table[6][3];
    EXPECT_FALSE(m.EOCoefs(table));
    EXPECT_EQ(table[5][2], 0);
}

TEST_F(MaterialQueries, FieldsAndStrainsChangeTheIndex) {
    const std::string body = "RIX_POLYX 1 2.2\nRIX_ANISOTROPIC dnzz = -0.1\n"
                             "RIX_EOCOEF r13 = 10 r23 = 10 r33 = 30 r42 = 28\n"
                             "RIX_PHOTOELCOEF p11 = 0.12 p12 = 0.27 p31 = 0.2 p66 = 0.3\n";
    const double field[] = {0, 0, 5};
    const DStensor eo = make(body).eo_dnr(0, 0, 1, 300, field);
    EXPECT_NEAR(eo.xx, -0.5 * std::pow(2.2, 3) * 10e-12 * 5e6, 1e-16);
    EXPECT_NEAR(eo.zz, -0.5 * std::pow(2.1, 3) * 30e-12 * 5e6, 1e-16);
    const double strain[] = {1e-3, 2e-3, 0, 0, 0, 5e-4};
    const DStensor elastic = make(body).str_dnr(0, 0, 1, 300, strain);
    EXPECT_NEAR(elastic.xx, -0.5 * std::pow(2.2, 3) * (0.12e-3 + 0.54e-3), 1e-15);
    EXPECT_NEAR(elastic.zz, -0.5 * std::pow(2.1, 3) * 0.2e-3, 1e-15);
    // In an x-cut the crystal's Z is the waveguide's x: fields and strains turn along.
    const double alongX[] = {5, 0, 0};
    EXPECT_NEAR(make(body + "XCUT").eo_dnr(0, 0, 1, 300, alongX).xx, eo.zz, 1e-16);
    const double turned[] = {0, 1e-3, 2e-3, 5e-4, 0, 0};  // crystal X and Y are y and z
    const DStensor cut = make(body + "XCUT").str_dnr(0, 0, 1, 300, turned);
    EXPECT_NEAR(cut.yy, elastic.xx, 1e-16);
    EXPECT_NEAR(cut.xx, elastic.zz, 1e-16);
}

TEST_F(MaterialQueries, WarnsOncePerKindOutsideOfTheRange) {
    CapturedOutput output;
    MaterB& m = make("RIX_SELLMEIER 1 1.1 0.01\nLAMBDA_RANGE 0.4 2\nTEMP_RANGE 250 400\n"
                     "MXPARM x range 0 1");
    m.nr(0.5, 0, 1, 300);
    EXPECT_EQ(output.takeWarnings(), "");
    EXPECT_NEAR(m.nr(0, 0, 3, 300), std::sqrt(1 + 9.9 / 8.99), 1e-14);
    EXPECT_EQ(output.takeWarnings(),
              "WARNING: refractive index of material \"m0\": RIX_SELLMEIER: wavelength 3 um is "
              "outside of 0.4 to 2 um; extrapolated\n");
    m.nr(0, 0, 4, 500);
    EXPECT_EQ(output.takeWarnings(), "");
    m.alpha(0, 0, 1, 500);
    EXPECT_NE(output.takeWarnings().find("temperature 500 K"), std::string::npos);
    m.eps(2, 0, 1, 300);
    EXPECT_NE(output.takeWarnings().find("x 2 is outside of 0 to 1"), std::string::npos);
    const double wide[] = {1, 0.3};
    double results[2];
    EXPECT_TRUE(m.ng(0, 0, wide, 300, results));
    EXPECT_NE(output.takeWarnings().find("wavelength 0.3 um"), std::string::npos);
    EXPECT_STREQ(qverr().chars(), "");

    MaterB& alloy = make("ANAL_ALGAAS");
    EXPECT_EQ(alloy.nr(0, 0, 0.6, 300), 1);
    EXPECT_TRUE(posted("Photon energy was above bandgap of AlGaAs(0)"));
}

TEST_F(MaterialQueries, RefusesWhatIsNoNumber) {
    MaterB& m = make("RIX_POLYX 2 1.5 0.1\nEGAP 1");
    const double inf = INFINITY;
    EXPECT_EQ(m.nr(NAN, 0, 1, 300), 1);
    EXPECT_TRUE(posted("mx and my have to be numbers"));
    EXPECT_EQ(m.alpha(0, 0, inf, 300), 0);
    EXPECT_TRUE(posted("finite numbers"));
    EXPECT_EQ(m.eps(0, 0, 1, NAN).yy, Complex(1));
    EXPECT_TRUE(posted("finite numbers"));
    for (const double lambda : {-1.0, 0.0}) {
        EXPECT_EQ(m.ng(0, 0, lambda, 300), 1);
        EXPECT_TRUE(posted("the wavelength has to be above zero"));
    }
    EXPECT_EQ(m.Eg(0, 0, 1, -1), 1);
    EXPECT_TRUE(posted("the temperature is below zero"));
    EXPECT_EQ(make("RIX_SELLMEIER 1 1 1").nr(0, 0, 0.9, 300), 1);  // n^2 < 0
    EXPECT_TRUE(posted("no finite value"));
    EXPECT_EQ(make("RIX_EXPRESSION \"1/(lambda - 1)\"").nr(0, 0, 1, 300), 1);
    EXPECT_NE(message(), "");
}
