// The material files that are installed with the library: every entry is checked.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/materials/analytic.h"
#include "qvutils/common/materials/materb.h"
#include "qvutils/common/materials/materlock.h"
#include "qvutils/common/text/qvnumber.h"
#include "tests/support/captured_output.h"

namespace {

using Complex = std::complex<double>;

const std::filesystem::path library = QV_MATERIALS;

std::vector<std::string> libraryFiles() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(library))
        if (entry.path().extension() == ".mat") names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

/// Where a material was published.
struct Domain {
    double from = 0.5;
    double to = 2;
    std::vector<double> mx{0};
    std::vector<double> my{0};
    double T = 300;
};

std::vector<double> over(double from, double to) {
    return {from, 0.7 * from + 0.3 * to, 0.4 * from + 0.6 * to, to};
}

/// For a composition of a built-in alloy the gap limits the wavelengths further.
Domain domainOf(const MaterB& material, double mx = 0) {
    const qvmaterial::Reading reading;
    const qvmaterial::MaterialData& data = material.data();
    Domain d;
    if (data.tempRange) d.T = std::clamp(d.T, (*data.tempRange)[0], (*data.tempRange)[1]);
    const auto* analytic = std::get_if<qvmaterial::AnalyticModel>(&data.index.model);
    if (analytic) {
        const qvAnalyticMaterial& row = *analytic->row;
        d.T = std::clamp(d.T, row.temperature.low, row.temperature.high);
        const qvRange published = row.publishedLambda(data.mx.scale * mx + data.mx.offset, d.T);
        d.from = published.low;
        d.to = std::min(published.high, 1000.0);
        if (row.usesMx()) d.mx = over(row.mx.low, row.mx.high);
    }
    if (data.lambdaRange) {
        d.from = (*data.lambdaRange)[0];
        d.to = (*data.lambdaRange)[1];
    }
    if (data.mx.range) d.mx = over((*data.mx.range)[0], (*data.mx.range)[1]);
    if (data.my.range) d.my = over((*data.my.range)[0], (*data.my.range)[1]);
    return d;
}

/// The largest jump that is left of the change of a function between two places.
double jump(const std::function<double(double)>& f, double a, double b, double fa, double fb) {
    for (int i = 0; i < 60 && std::abs(fb - fa) > 1e-4 * (std::abs(fa) + 0.1); ++i) {
        const double middle = (a + b) / 2;
        if (middle <= a || middle >= b) break;
        const double fm = f(middle);
        const bool left = std::abs(fm - fa) > std::abs(fb - fm);
        (left ? b : a) = middle;
        (left ? fb : fa) = fm;
    }
    return std::abs(fb - fa) / (std::abs(fa) + 0.1);
}

class MaterialLibrary : public ::testing::Test {
protected:
    MaterialLibrary() { qverr().reset(); }
    ~MaterialLibrary() override {
        EXPECT_FALSE(qverr()) << qverr().chars();
        qverr().reset();
        for (const auto& [name, base] : bases_) base->UnRef();
    }

    Materbase* base(const std::string& file) {
        auto found = bases_.find(file);
        if (found != bases_.end()) return found->second;
        Materbase* loaded = LoadMaterbase((library / file).string().c_str());
        if (!loaded) {
            ADD_FAILURE() << file << ": " << qverr().chars_and_reset();
            return nullptr;
        }
        return bases_[file] = loaded;
    }
    const MaterB& material(const std::string& file, const std::string& name) {
        static const MaterB none("none");
        Materbase* loaded = base(file);
        const MaterB* found = loaded ? loaded->MaterHandle(name.c_str(), false) : nullptr;
        if (!found) ADD_FAILURE() << name << " is not in " << file;
        return found ? *found : none;
    }
    /// Calls for every material of every file.
    void forEach(const std::function<void(const std::string& file, const MaterB&)>& call) {
        for (const std::string& file : libraryFiles()) {
            Materbase* loaded = base(file);
            for (int i = 0; loaded && i < loaded->getNMaterials(); ++i) {
                const MaterB& own = *loaded->getMaterial(i);
                SCOPED_TRACE(file + ": " + own.getName());
                call(file, own);
            }
        }
    }

    std::map<std::string, Materbase*> bases_;
};

/// No loss is negative, and the tensor is symmetric, or for a gyrotropic medium its real part is
/// and its imaginary one antisymmetric.
void expectPassive(const MaterB& material, double mx, double my, double lambda, double T) {
    const auto at = [&] { return ::testing::Message() << mx << " " << my << " " << lambda; };
    const DStensor n = material.nrani(mx, my, lambda, T);
    const DStensor alpha = material.alphaani(mx, my, lambda, T);
    for (const double value : {n.xx, n.yy, n.zz}) EXPECT_TRUE(value > 0 && value < 2000) << at();
    for (const double value : {alpha.xx, alpha.yy, alpha.zz}) EXPECT_GE(value, 0) << at();
    const double ng = material.ng(mx, my, lambda, T);
    EXPECT_TRUE(std::isfinite(ng)) << at();
    bool gyrotropic = false;
    {
        const qvmaterial::Reading reading;
        gyrotropic = material.data().permittivity.hasImagOffDiagonal;
    }
    const CFtensor eps = material.getAniEpsFull(mx, my, lambda, T);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_GE(eps.m[i][i].imag(), -1e-15 * std::abs(eps.m[i][i])) << at();
        for (std::size_t j = 0; j < i; ++j) {
            const Complex mirror = gyrotropic ? std::conj(eps.m[j][i]) : eps.m[j][i];
            EXPECT_NEAR(std::abs(eps.m[i][j] - mirror), 0, 1e-14 * std::abs(eps.m[i][i])) << at();
        }
    }
}

void expectContinuous(const MaterB& material, double mx, double my, const Domain& d) {
    const std::function<double(double)> functions[] = {
        [&](double l) { return material.nr(mx, my, l, d.T); },
        [&](double l) { return material.nrani(mx, my, l, d.T).zz; },
        [&](double l) { return material.alpha(mx, my, l, d.T) * l; },
    };
    constexpr int steps = 60;
    for (const auto& f : functions) {
        const double ratio = std::pow(d.to / d.from, 1.0 / steps);
        double a = d.from * (1 + 1e-9);
        double fa = f(a);
        for (int i = 1; i <= steps; ++i) {
            const double b = i == steps ? d.to * (1 - 1e-9) : a * ratio;
            const double fb = f(b);
            EXPECT_LT(jump(f, a, b, fa, fb), 2e-4) << "between " << a << " and " << b;
            a = b;
            fa = fb;
        }
    }
}

TEST_F(MaterialLibrary, LoadsWithoutAnyComplaint) {
    CapturedOutput output;
    std::set<std::string> names;
    std::size_t count = 0;
    for (const std::string& file : libraryFiles()) {
        const std::string path = (library / file).string();
        for (const qvMaterialMistake& mistake : qvCheckMaterialFile(path.c_str()))
            ADD_FAILURE() << mistake.file << ":" << mistake.line << ": " << mistake.message;
        if (!base(file)) continue;
        if (file == "standard.mat") {
            EXPECT_EQ(base(file)->getNMaterials(), 40);
        }
        for (int i = 0; i < base(file)->getNMaterials(); ++i)
            names.insert(base(file)->getMaterial(i)->getName());
        ++count;
    }
    EXPECT_GE(names.size(), 200U);
    EXPECT_GE(count, 7U);
    EXPECT_EQ(output.takeWarnings(), "");
}

TEST_F(MaterialLibrary, TellsOfEachMaterialWhereItComesFrom) {
    for (const std::string& file : libraryFiles()) {
        std::ifstream in(library / file);
        int comments = 0;
        for (std::string line; std::getline(in, line);) {
            EXPECT_LE(line.size(), 100U) << file << ": " << line;
            if (line.rfind("BEGIN ", 0) == 0) {
                EXPECT_GE(comments, 3) << file << ": " << line;
            }
            comments = line.rfind("// ", 0) == 0 ? comments + 1 : 0;
        }
    }
}

TEST_F(MaterialLibrary, IsPassiveSymmetricAndContinuousWhereItWasPublished) {
    CapturedOutput output;
    forEach([&](const std::string&, const MaterB& own) {
        for (const double mx : domainOf(own).mx) {
            const Domain d = domainOf(own, mx);
            ASSERT_LT(d.from, d.to);
            for (const double my : d.my) {
                for (const double part : {1e-9, 0.02, 0.1, 0.3, 0.6, 1 - 1e-9})
                    expectPassive(own, mx, my, d.from + part * (d.to - d.from), d.T);
                expectContinuous(own, mx, my, d);
            }
        }
        EXPECT_EQ(output.takeWarnings(), "");
        EXPECT_FALSE(qverr()) << qverr().chars_and_reset();
    });
}

TEST_F(MaterialLibrary, HasGainOnlyWhereItIsMeant) {
    forEach([](const std::string& file, const MaterB& own) {
        const double gain = own.Gainz(0, 0, 1.55, 300, 5);
        if (file == "active.mat") {
            EXPECT_GT(gain, 0);
            EXPECT_LT(own.Gainz(0, 0, 1.55, 300, 0.5), 0);
            EXPECT_GT(own.Rts(0, 0, 1.55, 300, 2), own.Rtsr(0, 0, 1.55, 300, 2));
        } else {
            EXPECT_TRUE(qverr());
        }
        qverr().reset();
    });
}

TEST_F(MaterialLibrary, IsListedInItsDocument) {
    std::ifstream in(QV_DOCS "/materials-library.md");
    std::stringstream text;
    text << in.rdbuf();
    std::string words = text.str().substr(text.str().find("## The materials"));
    std::replace(words.begin(), words.end(), '\n', ' ');
    for (const std::string& file : libraryFiles()) {
        std::string list = " `" + file + "`:";
        for (int i = 0; base(file) && i < base(file)->getNMaterials(); ++i)
            list += std::string(i ? ", " : " ") + base(file)->getMaterial(i)->getName();
        EXPECT_NE(words.find(list + "."), words.npos) << list;
    }
}

TEST_F(MaterialLibrary, GivesTheSameMaterialBySameName) {
    std::map<std::string, double> seen;
    forEach([&](const std::string&, const MaterB& own) {
        const double mx = domainOf(own).mx.back();
        const Domain d = domainOf(own, mx);
        const double n = own.nr(mx, 0, (d.from + d.to) / 2, d.T);
        const auto [found, first] = seen.emplace(own.getName(), n);
        EXPECT_EQ(found->second, n);
    });
}

TEST_F(MaterialLibrary, AgreesWithKnownValues) {
    std::ifstream file(QV_LIBRARY_VALUES);
    std::string line;
    std::getline(file, line);
    int count = 0;
    for (; std::getline(file, line); ++count) {
        SCOPED_TRACE(line);
        std::istringstream in(line);
        std::vector<std::string> words(9);
        for (std::string& word : words) std::getline(in, word, ',');
        const auto number = [&](std::size_t i) {
            double value = 0;
            EXPECT_TRUE(qvStringToNumber(std::string_view(words[i]), value)) << words[i];
            return value;
        };
        const MaterB& own = material(words[0], words[1]);
        const double mx = number(2), my = number(3), lambda = number(4), T = number(5);
        const std::string& quantity = words[6];
        const DStensor n = own.nrani(mx, my, lambda, T);
        const CStensor eps = own.eps(mx, my, lambda, T);
        const double value = quantity == "n"       ? own.nr(mx, my, lambda, T)
                             : quantity == "k"     ? std::sqrt(eps.xx).imag()
                             : quantity == "xx"    ? n.xx
                             : quantity == "yy"    ? n.yy
                             : quantity == "zz"    ? n.zz
                             : quantity == "epsre" ? eps.xx.real()
                                                   : eps.xx.imag();
        EXPECT_NEAR(value, number(7), number(8));
        qverr().reset();
    }
    EXPECT_GT(count, 100);
}

TEST_F(MaterialLibrary, HasAlloysThatEndInThePureMaterials) {
    // The tolerances are those of docs/materials-library.md.
    const struct {
        const char* alloy;
        double mx;
        const char* pure;
        double from, to, tolerance;
    } ends[] = {
        {"semiconductors.mat/AlGaAs", 0, "semiconductors.mat/GaAs", 1.0, 3.0, 0.006},
        {"semiconductors.mat/AlGaAs", 1, "semiconductors.mat/AlAs", 0.6, 2.2, 0.002},
        {"semiconductors.mat/InGaAsP", 0, "semiconductors.mat/InP", 1.05, 5.0, 0.01},
        {"semiconductors.mat/InGaAsP_Henry", 0, "semiconductors.mat/InP", 1.05, 2.0, 0.03},
        {"glasses.mat/SiO2GeO2", 0, "glasses.mat/SiO2", 0.4, 4.0, 1e-6},
        {"glasses.mat/SiO2GeO2", 1, "glasses.mat/GeO2", 0.4, 4.0, 1e-6},
        {"glasses.mat/SiO2GeO2_Sunak", 0, "glasses.mat/SiO2", 0.6, 1.8, 1e-6},
        {"glasses.mat/SiO2GeO2", 0.031, "glasses.mat/SiO2GeO2_3.1", 0.6, 1.6, 0.001},
        {"glasses.mat/SiO2GeO2_Sunak", 0.058, "glasses.mat/SiO2GeO2_5.8", 0.6, 1.6, 2e-4},
        {"glasses.mat/SiO2GeO2_percent", 7.9, "glasses.mat/SiO2GeO2_7.9", 0.6, 1.6, 3e-4},
        {"films.mat/SiON", 1, "glasses.mat/SiO2", 0.35, 3.5, 1e-6},
        {"films.mat/SiON", 0, "films.mat/Si3N4", 0.35, 3.5, 1e-6},
        {"metals.mat/Au_LD", 0, "metals.mat/Au", 0.25, 9.0, 1e-6},
    };
    const auto find = [&](const std::string& where) -> const MaterB& {
        const std::size_t slash = where.find('/');
        return material(where.substr(0, slash), where.substr(slash + 1));
    };
    const auto temperature = [](const char* name) {
        // Silica models and the nitride at their own reference temperatures.
        const std::string where = name;
        if (where.find("Si3N4") != where.npos) return 298.15;
        return where.find("glasses") != where.npos ? 293.15 : 300.0;
    };
    for (const auto& end : ends) {
        SCOPED_TRACE(end.alloy);
        const MaterB& alloy = find(end.alloy);
        const MaterB& pure = find(end.pure);
        const double T = temperature(end.pure);
        for (const double lambda : over(end.from, end.to))
            EXPECT_NEAR(alloy.nr(end.mx, 0, lambda, T), pure.nr(0, 0, lambda, T), end.tolerance)
                << lambda;
        EXPECT_FALSE(qverr()) << qverr().chars_and_reset();
    }
}

TEST_F(MaterialLibrary, TurnsLithiumNiobateAsItsCutsSay) {
    const auto index = [&](const char* name, double mx) {
        return material("crystals_uniaxial.mat", name).nrani(mx, 0, 1.55, 300);
    };
    const DStensor crystal = index("LiNbO3", 0);
    EXPECT_LT(crystal.zz, crystal.xx);
    const DStensor xCut = index("LiNbO3_xcut", 0);
    const DStensor zCut = index("LiNbO3_zcut", 0);
    EXPECT_NEAR(xCut.xx, crystal.zz, 1e-12);
    EXPECT_NEAR(xCut.yy, crystal.xx, 1e-12);
    EXPECT_NEAR(zCut.yy, crystal.zz, 1e-12);
    EXPECT_NEAR(zCut.xx, crystal.xx, 1e-12);
    const MaterB& tilted = material("crystals_uniaxial.mat", "LiNbO3_tilted");
    EXPECT_NEAR(tilted.getAniEpsFull(90, 0, 1.55, 300).m[1][1].real(), crystal.zz * crystal.zz,
                1e-12);
    double r[6][3];
    ASSERT_TRUE(material("crystals_uniaxial.mat", "LiNbO3").EOCoefs(r));
    EXPECT_EQ(r[2][2], 30.8);
}

}  // namespace
