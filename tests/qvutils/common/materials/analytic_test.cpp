#include "qvutils/common/materials/analytic.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <limits>
#include <numbers>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "qvutils/common/materials/faddeeva.h"
#include "qvutils/common/platform/format.h"
#include "qvutils/common/text/qvnumber.h"

namespace {

using qvplatform::formatText;
using Complex = std::complex<double>;

const qvAnalyticMaterial& row(const char* keyword) {
    const qvAnalyticMaterial* found = qvFindAnalytic(keyword);
    if (!found) ADD_FAILURE() << keyword;
    return found ? *found : *qvAnalyticMaterials()[0];
}

/// A published value.
struct Point {
    std::string keyword;
    double mx, lambda, T;
    std::string quantity;
    double value, tolerance;
    std::string source;

    double modelled() const {
        const qvAnalyticMaterial& material = row(keyword.c_str());
        if (quantity == "Eg") return material.gap(mx, T);
        const qvAxis axis = quantity == "ne" ? qvAxis::Extraordinary : qvAxis::Ordinary;
        const Complex n = material.index(mx, 0, lambda, T, axis);
        return quantity == "k" ? n.imag() : n.real();
    }
};

double number(const std::string& text) {
    double value = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(qvStringToNumber(std::string_view(text), value)) << text;
    return value;
}

/// Published points; the last column, the source, may hold commas.
std::vector<Point> referencePoints() {
    std::ifstream file(QV_REFERENCE_POINTS);
    std::vector<Point> points;
    std::string line;
    std::getline(file, line);
    while (std::getline(file, line)) {
        std::istringstream in(line);
        std::string column[7];
        Point p;
        for (std::string& text : column) std::getline(in, text, ',');
        std::getline(in, p.source);
        if (!p.source.empty() && p.source.back() == '\r') p.source.pop_back();
        p.keyword = column[0];
        p.mx = number(column[1]);
        p.lambda = number(column[2]);
        p.T = number(column[3]);
        p.quantity = column[4];
        p.value = number(column[5]);
        p.tolerance = number(column[6]);
        points.push_back(p);
    }
    return points;
}

std::string span(double low, double high) {
    return low == high ? formatText("%g", low) : formatText("%g-%g", low, high);
}

/// A line of the document's table: the points of one model, quantity and source.
std::string accuracyLine(const std::vector<Point>& group) {
    double deviation = 0, tolerance = 0, share = 0;
    Point low = group[0], high = group[0];
    for (const Point& p : group) {
        const double away = std::abs(p.modelled() - p.value);
        deviation = std::max(deviation, away);
        share = std::max(share, away / p.tolerance);
        tolerance = std::max(tolerance, p.tolerance);
        low.lambda = std::min(low.lambda, p.lambda);
        high.lambda = std::max(high.lambda, p.lambda);
        low.T = std::min(low.T, p.T);
        high.T = std::max(high.T, p.T);
    }
    const std::string wavelengths = high.lambda > 0 ? span(low.lambda, high.lambda) : "";
    return formatText("| `%s` | %s | %s | %d | %s | %s | %.1e | %.1e | %.0f %% |",
                      low.keyword.c_str(), low.source.c_str(), low.quantity.c_str(),
                      static_cast<int>(group.size()), wavelengths.c_str(),
                      span(low.T, high.T).c_str(), deviation, tolerance, 100 * share);
}

std::vector<std::string> accuracyTable() {
    std::vector<std::string> lines;
    std::vector<Point> group;
    const auto finish = [&] {
        if (!group.empty()) lines.push_back(accuracyLine(group));
        group.clear();
    };
    for (const Point& p : referencePoints()) {
        if (!group.empty() && (p.keyword != group[0].keyword || p.source != group[0].source ||
                               p.quantity != group[0].quantity))
            finish();
        group.push_back(p);
    }
    finish();
    return lines;
}

TEST(AnalyticMaterials, models_meet_the_published_points) {
    const std::vector<Point> points = referencePoints();
    EXPECT_GT(points.size(), 300U);
    for (const Point& p : points)
        EXPECT_NEAR(p.modelled(), p.value, p.tolerance)
            << p.keyword << " mx " << p.mx << ", " << p.lambda << " um, " << p.T << " K, "
            << p.quantity << ", " << p.source;
}

TEST(AnalyticMaterials, the_document_shows_the_accuracy_that_is_measured) {
    std::ifstream document(QV_DOCS "/materials-accuracy.md");
    std::vector<std::string> documented;
    for (std::string line; std::getline(document, line);)
        if (line.rfind("| `ANAL_", 0) == 0 && line.find(" % |") != std::string::npos)
            documented.push_back(line);
    const std::vector<std::string> measured = accuracyTable();
    if (measured == documented) return;
    std::ofstream fresh("materials-accuracy-table.md");
    for (const std::string& line : measured) fresh << line << "\n";
    FAIL() << "docs/materials-accuracy.md is not up to date: materials-accuracy-table.md in the "
              "test's directory holds the table for it";
}

// Values worked out independently from the papers' coefficients.
TEST(AnalyticMaterials, formulas_give_the_papers_values) {
    const struct {
        const char* keyword;
        double mx, lambda, T, n, k = 0;
        qvAxis axis = qvAxis::Ordinary;
    } values[] = {
        {"ANAL_ALGAAS", 0, 1.55, 300, 3.375282},
        {"ANAL_ALGAAS", 0.3, 1.55, 300, 3.215024},
        {"ANAL_ALGAAS", 0.2, 0.85, 300, 3.455830},
        {"ANAL_INGAASP1", 0, 1.55, 300, 3.169332},
        {"ANAL_INGAASP1", 0.6, 1.55, 300, 3.384477},
        {"ANAL_INGAASP1", 0.6, 1.55, 350, 3.395594},
        {"ANAL_INGAASP2", 0, 1.55, 300, 3.149508},
        {"ANAL_INGAASP2", 0.6, 1.55, 300, 3.392618},
        {"ANAL_INGAASP2", 0.6, 1.55, 350, 3.406324},
        {"ANAL_INGAALAS1", 0.5, 1.55, 300, 3.340104},
        {"ANAL_INGAALAS1", 1, 1.55, 300, 3.199689},
        {"ANAL_INGAALAS1", 0.5, 1.55, 350, 3.348159},
        {"ANAL_SIO2GEO2A", 0.1, 1.55, 293.15, 1.4589885},
        {"ANAL_SIO2GEO2A", 0.1, 1.55, 373.15, 1.4598408},
        {"ANAL_SIO2GEO2B", 0.1, 1.55, 293.15, 1.4596662},
        {"ANAL_SILICA1", 0, 1.55, 293.15, 1.4440236},
        {"ANAL_SILICA1", 0, 1.55, 373.15, 1.4448759},
        {"ANAL_SILICON1", 0, 1.55, 299.15, 3.4777238},
        {"ANAL_SILICON1", 0, 1.55, 350, 3.4874040},
        {"ANAL_SILICON2", 0, 1.55, 293, 3.4756878},
        {"ANAL_SILICON2", 0, 1.55, 350, 3.4864920},
        {"ANAL_SILICON2", 0, 1.55, 200, 3.4600855},
        {"ANAL_LINBO3", 0, 1.55, 300, 2.2112459},
        {"ANAL_LINBO3", 0, 1.55, 300, 2.1381571, 0, qvAxis::Extraordinary},
        {"ANAL_LINBO3", 0, 1.55, 400, 2.2117305},
        {"ANAL_LINBO3", 0, 1.55, 400, 2.1422713, 0, qvAxis::Extraordinary},
        {"ANAL_SIN1", 0, 1.55, 298.15, 1.9962797},
        {"ANAL_SIN1", 0, 1.55, 398.15, 1.9987297},
        {"ANAL_ALUMINIUM", 0, 0.6328, 300, 1.339626, 7.299589},
        {"ANAL_ALUMINIUM", 0, 1.55, 300, 1.535544, 15.330400},
        {"ANAL_ALUMINIUM2", 0, 0.6328, 300, 1.266125, 7.280810},
        {"ANAL_ALUMINIUM2", 0, 1.55, 300, 1.513639, 15.233882},
        {"ANAL_GOLD", 0, 0.6328, 300, 0.312277, 3.146054},
        {"ANAL_GOLD", 0, 1.55, 300, 0.574813, 9.664264},
        {"ANAL_PLATINUM", 0, 0.6328, 300, 2.318278, 4.162192},
        {"ANAL_PLATINUM", 0, 1.55, 300, 5.352993, 7.053347},
        {"ANAL_SILVER", 0, 0.6328, 300, 0.143707, 3.808286},
        {"ANAL_SILVER", 0, 1.55, 300, 0.399590, 10.173108},
        {"ANAL_TUNGSTEN", 0, 0.6328, 300, 3.676558, 2.887459},
        {"ANAL_TUNGSTEN", 0, 1.55, 300, 2.373411, 4.815048},
        {"ANAL_NICKEL", 0, 0.6328, 300, 2.014782, 3.683338},
        {"ANAL_NICKEL", 0, 1.55, 300, 3.441715, 6.754015},
    };
    for (const auto& v : values) {
        const Complex n = row(v.keyword).index(v.mx, 0, v.lambda, v.T, v.axis);
        EXPECT_NEAR(n.real(), v.n, 1e-6) << v.keyword << " " << v.lambda << " um, " << v.T << " K";
        EXPECT_NEAR(n.imag(), v.k, 1e-6) << v.keyword << " " << v.lambda << " um";
    }
    EXPECT_NEAR(row("ANAL_ALGAAS").gap(0, 300), 1.42413, 1e-5);
    EXPECT_NEAR(row("ANAL_ALGAAS").gap(0.2, 300), 1.71166, 1e-5);
    EXPECT_NEAR(row("ANAL_INGAASP1").gap(0.6, 350), 0.945064, 1e-6);
    EXPECT_NEAR(row("ANAL_INGAALAS1").gap(0.5, 300), 1.055, 1e-12);
}

/// dn/dlambda by central differences, extrapolated twice.
Complex difference(const qvAnalyticMaterial& m, double mx, double lambda, double T, qvAxis axis) {
    const auto central = [&](double h) {
        return (m.index(mx, 0, lambda + h, T, axis) - m.index(mx, 0, lambda - h, T, axis)) /
               (2 * h);
    };
    const double h = 2e-3 * lambda;
    const Complex a = central(h), b = central(h / 2), c = central(h / 4);
    const Complex ab = (4.0 * b - a) / 3.0, bc = (4.0 * c - b) / 3.0;
    return (16.0 * bc - ab) / 15.0;
}

/// Calls visit(material, mx, lambda, T, axis) at wavelengths that rise over the published range, at
/// several compositions and temperatures.
template <class Visit>
void throughRanges(int steps, Visit visit) {
    for (const qvAnalyticMaterial* m : qvAnalyticMaterials())
        for (const qvAxis axis : {qvAxis::Ordinary, qvAxis::Extraordinary})
            for (const double share : {0.0, 0.4, 1.0}) {
                const double T =
                    m->temperature.low + share * (m->temperature.high - m->temperature.low);
                const double mx = m->usesMx() ? m->mx.low + share * (m->mx.high - m->mx.low) : 0;
                const qvRange lambda = m->publishedLambda(mx, T);
                const double factor = std::pow(lambda.high / lambda.low, 1.0 / steps);
                for (int i = 0; i <= steps; i++)
                    visit(*m, mx, std::min(lambda.low * std::pow(factor, i), lambda.high), T, axis);
            }
}

TEST(AnalyticMaterials, derivatives_are_exact) {
    throughRanges(13, [](const qvAnalyticMaterial& m, double mx, double lambda, double T,
                         qvAxis axis) {
        // Differences need room on either side of the ends and next to a gap.
        if (!m.publishedLambda(mx, T).holds(lambda * 0.98) || lambda < m.gapWavelength(mx, T) + 0.1)
            return;
        const qvIndexSlope n = m.indexSlope(mx, 0, lambda, T, axis);
        EXPECT_LT(std::abs(n.value - m.index(mx, 0, lambda, T, axis)), 1e-13 * std::abs(n.value));
        EXPECT_LT(std::abs(lambda * (n.slope - difference(m, mx, lambda, T, axis))),
                  2e-10 * std::abs(n.value) + 1e-9 * std::abs(lambda * n.slope))
            << m.keyword << " mx " << mx << ", " << lambda << " um, " << T << " K";
    });
    // Li's formula in closed form: n ng = eps, the part that does not depend on the wavelength,
    // plus twice the one that falls with its square.
    const qvAnalyticMaterial& silicon = row("ANAL_SILICON2");
    const double n1 = std::norm(silicon.index(0, 0, 1.5, 293));
    const double n2 = std::norm(silicon.index(0, 0, 3.0, 293));
    const double b = (n1 - n2) / (1 / 2.25 - 1 / 9.0);
    EXPECT_NEAR(silicon.groupIndex(0, 0, 1.5, 293), (n1 + b / 2.25) / std::sqrt(n1), 1e-11);
}

TEST(AnalyticMaterials, indices_are_smooth_and_passive_over_the_published_ranges) {
    constexpr int steps = 400;
    Complex before;
    double lambdaBefore = 0;
    throughRanges(steps, [&](const qvAnalyticMaterial& m, double mx, double lambda, double T,
                             qvAxis axis) {
        const qvIndexSlope n = m.indexSlope(mx, 0, lambda, T, axis);
        EXPECT_GT(n.value.real(), 0) << m.keyword << " " << lambda;
        EXPECT_TRUE(m.lossy ? n.value.imag() > 0 : n.value.imag() == 0) << m.keyword << lambda;
        if (lambda > lambdaBefore && lambdaBefore > 0.9 * lambda) {
            EXPECT_LT(std::abs(n.value - before),
                      0.02 * std::abs(n.value) + 4 * std::abs(n.slope) * (lambda - lambdaBefore))
                << m.keyword << " mx " << mx << ", " << lambda << " um, " << T << " K";
        }
        before = n.value;
        lambdaBefore = lambda;
    });
}

TEST(AnalyticMaterials, many_wavelengths_at_once_give_what_one_at_a_time_gives) {
    std::vector<double> lambda;
    for (int i = 0; i < 77; i++) lambda.push_back(0.2 + 0.05 * i);
    std::vector<Complex> n(lambda.size());
    std::vector<double> real(lambda.size());
    for (const qvAnalyticMaterial* m : qvAnalyticMaterials()) {
        m->indices(0.4, 0, 310, lambda, n, qvAxis::Extraordinary);
        m->realIndices(0.4, 0, 310, lambda, real, qvAxis::Extraordinary);
        for (std::size_t i = 0; i < lambda.size(); i++) {
            const Complex one = m->index(0.4, 0, lambda[i], 310, qvAxis::Extraordinary);
            if (!std::isfinite(one.real())) {
                EXPECT_FALSE(std::isfinite(n[i].real()) || std::isfinite(real[i])) << m->keyword;
                continue;
            }
            EXPECT_LE(std::abs(n[i] - one), 1e-14 * std::abs(one)) << m->keyword << lambda[i];
            EXPECT_NEAR(real[i], one.real(), 1e-14 * std::abs(one)) << m->keyword << lambda[i];
        }
    }
}

TEST(AnalyticMaterials, end_points_of_alloys_agree_with_the_pure_materials) {
    const auto n = [](const char* keyword, double mx, double lambda) {
        return row(keyword).index(mx, 0, lambda, 293.15).real();
    };
    EXPECT_DOUBLE_EQ(n("ANAL_SIO2GEO2A", 0, 1.3), n("ANAL_SILICA1", 0, 1.3));
    EXPECT_NEAR(n("ANAL_SIO2GEO2B", 0, 1.3), n("ANAL_SILICA1", 0, 1.3), 5e-7);
    EXPECT_NEAR(n("ANAL_SIO2GEO2B", 0.05, 1.3), n("ANAL_SIO2GEO2A", 0.05, 1.3), 8e-4);
    EXPECT_NEAR(n("ANAL_INGAASP1", 0, 1.3), n("ANAL_INGAASP2", 0, 1.3), 0.025);  // InP
    EXPECT_NEAR(n("ANAL_INGAASP1", 1, 2), n("ANAL_INGAASP2", 1, 2), 0.06);       // In0.53Ga0.47As
    EXPECT_NEAR(n("ANAL_INGAALAS1", 0, 2), n("ANAL_INGAASP2", 1, 2), 0.05);
    EXPECT_NEAR(n("ANAL_SILICON1", 0, 2), n("ANAL_SILICON2", 0, 2), 0.003);
    EXPECT_GT(n("ANAL_LINBO3", 0, 1.55),
              row("ANAL_LINBO3").index(0, 0, 1.55, 293.15, qvAxis::Extraordinary).real() + 0.07);
}

std::string complaint(const char* keyword, double mx, double lambda, double T) {
    const qvAnalyticMaterial& m = row(keyword);
    const QVString text = m.describe(m.check(mx, 0, lambda, T), mx, T);
    return std::string(QVText(text).view());
}

TEST(AnalyticMaterials, the_gap_stops_a_model_and_its_range_warns) {
    EXPECT_EQ(complaint("ANAL_ALGAAS", 0.3, 0.5, 300),
              "Photon energy was above bandgap of AlGaAs(0.3)\n"
              "photon energy 2.47971 eV, band gap 1.86077 eV at 300 K");
    EXPECT_EQ(complaint("ANAL_INGAASP2", 0.25, 1.0, 300).substr(0, 52),
              "Photon energy was above bandgap in InGaAsP(0.25)\npho");
    EXPECT_EQ(complaint("ANAL_INGAALAS1", 1, 0, 300),
              "Request of bandgap wavelength <= zero in InGaAlAs(1)\nwavelength 0 um");
    EXPECT_EQ(complaint("ANAL_ALGAAS", 0.3, 0.85, 300), "");
    EXPECT_EQ(complaint("ANAL_ALGAAS", -0.1, 5, 320),
              "ANAL_ALGAAS (Gehrsitz et al. 2000): wavelength 5 um is outside of 0.99478 to 3 um; "
              "mx -0.1 is outside of 0 to 1; temperature 320 K is outside of 103 to 313 K; "
              "extrapolated");
    EXPECT_EQ(complaint("ANAL_GOLD", 7, 1.55, 400),
              "ANAL_GOLD (Rakic et al. 1998, Lorentz-Drude): temperature 400 K is outside of 270 "
              "to 330 K; extrapolated");
}

TEST(AnalyticMaterials, nothing_unusable_passes_for_a_value) {
    using Verdict = qvAnalyticVerdict;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinite = std::numeric_limits<double>::infinity();
    for (const qvAnalyticMaterial* m : qvAnalyticMaterials()) {
        SCOPED_TRACE(m->keyword);
        const double lambda = m->lambda.high, mx = m->usesMx() ? m->mx.high : nan;
        EXPECT_EQ(m->check(mx, nan, lambda, m->referenceTemperature).kind, Verdict::Inside);
        EXPECT_EQ(m->check(mx, 0, nan, 300).kind, Verdict::NotANumber);
        EXPECT_EQ(m->check(mx, 0, infinite, 300).kind, Verdict::NotANumber);
        EXPECT_EQ(m->check(mx, 0, lambda, nan).kind, Verdict::NotANumber);
        EXPECT_EQ(m->check(mx, 0, -1, 300).kind, Verdict::WavelengthNotPositive);
        EXPECT_EQ(m->check(mx, 0, lambda, -1).kind, Verdict::TemperatureNegative);
        EXPECT_FALSE(m->check(mx, 0, 1e-6, 300).usable());
        EXPECT_EQ(m->check(mx, 0, 1e9, 300).kind, Verdict::Beyond);
        // Wherever a model is called usable it has a finite index.
        for (const double fraction : {-3.0, 0.0, 0.5, 1.0, 4.0})
            for (const double T : {0.0, 77.0, 300.0, 900.0, 5000.0})
                for (double l = 0.05; l < 2e5; l *= 1.1) {
                    const bool usable = m->check(fraction, 0, l, T).usable();
                    const Complex n = m->index(fraction, 0, l, T);
                    EXPECT_TRUE(!usable || (std::isfinite(n.real()) && n.real() >= 0 &&
                                            std::isfinite(n.imag())))
                        << fraction << " " << l << " " << T;
                }
        EXPECT_EQ(m->check(mx, 0, std::vector{lambda, lambda, nan}, 300).kind, Verdict::NotANumber);
        EXPECT_EQ(m->check(mx, 0, std::vector{lambda, -1.0, lambda}, 300).kind,
                  Verdict::WavelengthNotPositive);
        EXPECT_EQ(m->check(mx, 0, std::vector{lambda, 1e9}, 300).lambda, 1e9);
    }
    EXPECT_EQ(row("ANAL_ALGAAS").check(nan, 0, 1.55, 300).kind, Verdict::NotANumber);
}

TEST(AnalyticMaterials, every_row_is_complete_and_is_found) {
    EXPECT_EQ(qvAnalyticMaterials().size(), 18U);
    for (const qvAnalyticMaterial* m : qvAnalyticMaterials()) {
        SCOPED_TRACE(m->keyword);
        EXPECT_EQ(std::string_view(m->keyword).substr(0, 5), "ANAL_");
        EXPECT_EQ(qvFindAnalytic(m->keyword), m);
        EXPECT_NE(std::string_view(m->reference).find('('), std::string_view::npos);
        EXPECT_TRUE(m->reach.low <= m->lambda.low && m->lambda.high <= m->reach.high);
        EXPECT_TRUE(m->temperature.holds(m->referenceTemperature) && m->temperature.holds(300));
        EXPECT_TRUE(!m->gapLimits || m->gap);
        EXPECT_TRUE(!m->usesMx() || std::isfinite(m->mx.high));
    }
    EXPECT_EQ(qvFindAnalytic("anal_Silver"), qvFindAnalytic("ANAL_SILVER"));
    EXPECT_EQ(qvFindAnalytic("ANAL_SILVER1"), nullptr);
    EXPECT_EQ(qvFindAnalytic(""), nullptr);
    EXPECT_STREQ(row("ANAL_ALGAAS").mxLabel, "mx:Al-frac");
    EXPECT_STREQ(row("ANAL_INGAASP1").mxLabel, "mx:As-frac");
    EXPECT_STREQ(row("ANAL_INGAALAS1").mxLabel, "mx:Al-frac/0.48");
}

TEST(Faddeeva, agrees_with_the_real_functions_and_its_differential_equation) {
    using qvfaddeeva::w;
    for (double y = 0; y < 5; y += 0.05)
        EXPECT_NEAR(w(Complex(0, y)).real() / (std::exp(y * y) * std::erfc(y)), 1, 1e-13);
    for (double x = -9; x < 9; x += 0.05)
        EXPECT_NEAR(w(Complex(x, 0)).real(), std::exp(-x * x), 1e-14);
    for (double angle = 0.05; angle < 3.1; angle += 0.25)
        for (const double size : {0.3, 2.0, 7.999999, 8.000001, 40.0}) {
            const Complex z = std::polar(size, angle);
            const QVDual<Complex> value = w(QVDual<Complex>(z, Complex(1)));
            const Complex slope = -2.0 * z * value.value + Complex(0, 2 * std::numbers::inv_sqrtpi);
            EXPECT_LT(std::abs(value.slope - slope), 1e-13 * (1 + std::abs(z * value.value)));
        }
}

}  // namespace
