#include "qvutils/common/materials/materentries.h"

#include <cmath>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/materials/materdefinition.h"
#include "qvutils/common/platform/format.h"

namespace qvmaterial {

namespace {

/// Orientations are typed with few digits; they are made exact rotations.
constexpr double orientationTolerance = 2e-3;

/// Entries "<prefix>xx = value" of a diagonal.
bool readDiagonal(Definition& d, const char* prefix, const char* message,
                  std::array<double, 3>& values, bool mayBeEmpty = false) {
    values = {};
    return d.entries({message, [&](std::string_view name) { return hasPrefix(name, prefix); },
                      [&](std::string_view name) {
                          int i = 0;
                          int j = 0;
                          return componentOf(name, prefix, i, j) && i == j &&
                                 d.number(values[static_cast<unsigned>(i)]);
                      },
                      false, mayBeEmpty});
}

/// Letter, row and column such as r63; rows and columns count from 1.
bool coefficientOf(std::string_view name, std::string_view letters, int columns, unsigned& i,
                   unsigned& j) {
    if (name.size() != 3 || letters.find(static_cast<char>(name[0] | 0x20)) == letters.npos)
        return false;
    i = static_cast<unsigned>(name[1] - '1');
    j = static_cast<unsigned>(name[2] - '1');
    return i < 6 && j < static_cast<unsigned>(columns);
}

template <std::size_t columns>
bool readCoefficients(Definition& d, std::string_view letters, const char* message,
                      std::optional<std::array<std::array<double, columns>, 6>>& target) {
    std::array<std::array<double, columns>, 6> table{};
    // Any word of three characters is meant to be a coefficient: keywords are longer, but END.
    const auto isName = [&](std::string_view name) {
        return name.size() == 3 && !sameWord(name, "END");
    };
    const bool read =
        d.entries({message, isName,
                   [&](std::string_view name) {
                       unsigned i = 0;
                       unsigned j = 0;
                       return coefficientOf(name, letters, columns, i, j) && d.number(table[i][j]);
                   },
                   true});
    if (read) target = table;
    return read;
}

/// Elements of a permittivity may be called eps.. or exp..
bool elementOf(std::string_view name, std::string_view suffix, int& i, int& j) {
    return componentOf(name, "exp" + std::string(suffix), i, j) ||
           componentOf(name, "eps" + std::string(suffix), i, j);
}

bool isPermittivityName(std::string_view name) {
    return hasPrefix(name, "exp") || hasPrefix(name, "eps");
}

/// The other side of the diagonal follows where it is not given.
void mirror(Permittivity& property) {
    for (unsigned i = 0; i < 3; ++i)
        for (unsigned j = 0; j < 3; ++j)
            if (!property.tensor[i][j]) property.tensor[i][j] = property.tensor[j][i];
}

double dot(const std::array<double, 3>& a, const std::array<double, 3>& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

std::array<double, 3> cross(const std::array<double, 3>& a, const std::array<double, 3>& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

/// Makes a nearly proper rotation an exact one; false when it is none.
bool makeRotation(Matrix3& r) {
    for (unsigned i = 0; i < 3; ++i)
        for (unsigned j = 0; j < 3; ++j)
            if (!(std::abs(dot(r[i], r[j]) - (i == j ? 1 : 0)) <= orientationTolerance))
                return false;
    const auto normalise = [](std::array<double, 3>& v) {
        const double length = std::sqrt(dot(v, v));
        for (double& x : v) x /= length;
    };
    normalise(r[0]);
    const double along = dot(r[0], r[1]);
    for (unsigned k = 0; k < 3; ++k) r[1][k] -= along * r[0][k];
    normalise(r[1]);
    const std::array<double, 3> third = cross(r[0], r[1]);
    if (dot(third, r[2]) < 0) return false;
    r[2] = third;
    return true;
}

/// The three rows of a matrix; posts an error when they are no orientation.
bool takeMatrix(const char* text, MaterialData& data) {
    Matrix3 r{};
    const int n =
        qvplatform::scan(text, " (%lf %lf %lf) (%lf %lf %lf) (%lf %lf %lf)", &r[0][0], &r[0][1],
                         &r[0][2], &r[1][0], &r[1][1], &r[1][2], &r[2][0], &r[2][1], &r[2][2]);
    if (n != 9) {
        qverr().set("Expected 9 params in orientation matrix\n");
        return false;
    }
    if (!makeRotation(r)) {
        qverr().set(
            "orientation matrix is not a rotation: its rows have to be three "
            "perpendicular unit vectors that form a right-handed system\n");
        return false;
    }
    data.orientation = r;
    data.cut = Cut::matrix;
    return true;
}

}  // namespace

bool readStaticIndex(Definition& d) {
    RefractiveIndex::Static dc;
    if (!d.in.number(dc.n)) return d.in.fail("missing isotropic dc in RIX_DC\n");
    if (!readDiagonal(d, "dn", "expected \"dnij\" in RIX_DC\n", dc.dn, true)) return false;
    d.m.index.dc = dc;
    return true;
}

bool readAnisotropic(Definition& d) {
    d.m.index.hasDn = true;
    return readDiagonal(d, "dn", "expected dnxx etc in RIX_ANISOTROPIC\n", d.m.index.dn);
}

bool readAnisoPolyX(Definition& d) {
    d.m.index.hasDnPolyX = true;
    d.m.index.dnPolyX = {};
    return d.entries({"expected dn_xx etc\n",
                      [](std::string_view name) { return hasPrefix(name, "dn_"); },
                      [&](std::string_view name) {
                          int i = 0;
                          int j = 0;
                          return componentOf(name, "dn_", i, j) && i == j &&
                                 d.polynomial(d.m.index.dnPolyX[static_cast<unsigned>(i)]);
                      }});
}

bool readAnisotropicLoss(Definition& d) {
    d.m.loss.hasDa = true;
    return readDiagonal(d, "da", "expected daxx etc\n", d.m.loss.da);
}

bool readRotation(Definition& d) {
    d.m.hasRotation = true;
    d.m.rotation = {};
    const auto readAngle = [&](std::string_view name) {
        const int axis = name.size() == 4 ? (name[3] | 0x20) - 'x' : -1;
        if (axis < 0 || axis > 2) return false;
        Angle& angle = d.m.rotation[static_cast<unsigned>(axis)];
        std::string next;
        if (d.in.peek(next) && (sameWord(next, "USE_MX") || sameWord(next, "USE_MY"))) {
            angle.source = sameWord(next, "USE_MX") ? Angle::useMx : Angle::useMy;
            return d.in.word(next);
        }
        return d.in.number(angle.degrees) ||
               d.in.fail("expected a number or flags USE_MX or USE_MY in MP_RIX_ANIROTATION %s\n",
                         d.material.getName());
    };
    return d.entries({"expected phiX, phiY or phiZ in MP_RIX_ANIROTATION\n",
                      [](std::string_view name) { return hasPrefix(name, "phi"); }, readAngle});
}

bool readElectroOptic(Definition& d) {
    return readCoefficients(d, "r", "expected r11 etc in RIX_EOCOEF\n", d.m.electroOptic);
}

bool readPhotoElastic(Definition& d) {
    return readCoefficients(d, "pr", "expected r11 etc in RIX_PHOTOELCOEF\n", d.m.photoElastic);
}

bool readPermittivityTensor(Definition& d) {
    Permittivity& property = d.m.permittivity;
    property.tensor = {};
    property.hasTensor = true;
    d.m.permittivityFirst = true;
    const auto readElement = [&](std::string_view name) {
        int i = 0;
        int j = 0;
        std::complex<double> value;
        if (!elementOf(name, "", i, j) || !d.in.number(value)) return false;
        property.tensor[static_cast<unsigned>(i)][static_cast<unsigned>(j)] = value;
        return true;
    };
    if (!d.entries({"expected exp** in MP_PERMITT_ANI_TENSOR\n", isPermittivityName, readElement}))
        return false;
    mirror(property);
    return true;
}

bool readImaginaryOffDiagonal(Definition& d) {
    Matrix3& g = d.m.permittivity.imagOffDiagonal;
    g = {};
    d.m.permittivity.hasImagOffDiagonal = true;
    const auto readElement = [&](std::string_view name) {
        int i = 0;
        int j = 0;
        double value = 0;
        if (!elementOf(name, "Im", i, j)) return false;
        if (i == j)
            return d.in.fail(
                "expected off-diagonal elements in MP_PERMITT_IMAG_OFFDIAG. Set "
                "diagonal elements using MP_PERMITT_ANI_TENSOR\n");
        if (!d.in.number(value)) return false;
        const auto row = static_cast<unsigned>(i);
        const auto column = static_cast<unsigned>(j);
        if (g[row][column] != 0 && g[row][column] != value)
            return d.syntaxError("the tensor is antisymmetric: an element is minus its mirror");
        g[row][column] = value;
        g[column][row] = -value;
        return true;
    };
    return d.entries(
        {"expected expIm** in PERMITT_IMAG_OFFDIAG\n", isPermittivityName, readElement});
}

bool readPermeabilityTensor(Definition& d) {
    Permittivity& property = d.m.permeability;
    property.tensor = {};
    property.hasTensor = true;
    const auto readElement = [&](std::string_view name) {
        int i = 0;
        int j = 0;
        std::complex<double> value;
        if (!componentOf(name, "mu", i, j) || !d.in.number(value)) return false;
        property.tensor[static_cast<unsigned>(i)][static_cast<unsigned>(j)] = value;
        return true;
    };
    if (!d.entries({"expected mu** in PERMEAB_ANI_TENSOR\n",
                    [](std::string_view name) { return hasPrefix(name, "mu"); }, readElement}))
        return false;
    mirror(property);
    return true;
}

bool readComposition(Definition& d, Composition& composition) {
    composition = {};
    const auto wrong = [&] {
        return d.in.fail("syntax error in %s in material %s\n", d.row.keyword,
                         d.material.getName());
    };
    std::string text;
    const MaterReader::Quoted quoted = d.in.quoted(text);
    if (quoted == MaterReader::Quoted::unfinished ||
        (quoted == MaterReader::Quoted::no && !d.in.word(text)) || text.empty())
        return wrong();
    composition.label = text.c_str();
    composition.given = true;
    std::array<double, 2> ends{};
    while (d.in.peek(text)) {
        if (sameWord(text, "scale")) {
            d.in.word(text);
            if (!d.in.number(composition.scale) || composition.scale == 0) return wrong();
        } else if (sameWord(text, "offset")) {
            d.in.word(text);
            if (!d.in.number(composition.offset)) return wrong();
        } else if (sameWord(text, "range")) {
            d.in.word(text);
            if (!d.in.number(ends[0]) || !d.in.number(ends[1]) || ends[0] > ends[1]) return wrong();
            composition.range = ends;
        } else {
            break;
        }
    }
    return true;
}

void setCut(MaterialData& data, Cut cut) {
    data.cut = cut;
    switch (cut) {
        case Cut::x:
            data.orientation = {{{0, 0, 1}, {1, 0, 0}, {0, 1, 0}}};
            break;
        case Cut::y:
            data.orientation = {{{0, 0, 1}, {0, 1, 0}, {-1, 0, 0}}};
            break;
        case Cut::z:
            data.orientation = {{{1, 0, 0}, {0, 0, 1}, {0, -1, 0}}};
            break;
        default:
            data.orientation = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    }
}

bool readOrientation(Definition& d) {
    std::string matrix;
    for (int row = 0; row < 3; ++row) {
        std::string text;
        d.in.bracketed(text);
        matrix += text + " ";
    }
    return takeMatrix(matrix.c_str(), d.m) || d.in.fail();
}

bool parseOrientation(const char* text, MaterialData& data) {
    std::string word;
    for (const char* c = text; *c; ++c) {
        if (static_cast<unsigned char>(*c) > ' ') {
            word += *c;
        } else if (!word.empty()) {
            break;
        }
    }
    if (sameWord(word, "XCUT")) return setCut(data, Cut::x), true;
    if (sameWord(word, "YCUT")) return setCut(data, Cut::y), true;
    if (sameWord(word, "ZCUT")) return setCut(data, Cut::z), true;
    if (sameWord(word, "<orientation>"))
        return takeMatrix(text + std::string(text).find(word) + word.size(), data);
    if (word.empty() || word[0] == '<') {
        qverr().set("Expected <orientation>\n");
    } else {
        qverr().setf("unexpected string \"%s\"\n", word.c_str());
    }
    return false;
}

}  // namespace qvmaterial
