#include "qvutils/common/materials/materdefinition.h"

#include <cmath>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/materials/materloader.h"

namespace qvmaterial {

bool hasPrefix(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() && sameWord(text.substr(0, prefix.size()), prefix);
}

bool componentOf(std::string_view name, std::string_view prefix, int& i, int& j) {
    if (!hasPrefix(name, prefix) || name.size() != prefix.size() + 2) return false;
    const auto axis = [&](std::size_t k) { return (name[prefix.size() + k] | 0x20) - 'x'; };
    i = axis(0);
    j = axis(1);
    return i >= 0 && i <= 2 && j >= 0 && j <= 2;
}

namespace {

/// What a list is called in its message.
std::string listName(const KeywordRow& row) {
    static constexpr const char* polynomials[] = {"", "polyx", "polyl", "", "polyt"};
    const bool permittivity = row.family == Family::permittivity;
    if ((!permittivity && row.family != Family::permeability) || row.part == otherModel)
        return row.keyword;
    return (permittivity ? "permittivity " : "permeability ") + std::string(polynomials[row.part]);
}

const char* familyName(Family family) {
    switch (family) {
        case Family::index:
            return "refractive index";
        case Family::groupIndex:
            return "group index";
        case Family::loss:
            return "loss";
        case Family::permittivity:
            return "permittivity";
        case Family::permeability:
            return "permeability";
        case Family::diffusion:
            return "diffusion";
        case Family::orientation:
            return "orientation";
        default:
            return "gain";
    }
}

bool together(const KeywordRow& a, const KeywordRow& b) {
    if (a.part == otherModel && b.part == otherModel) return false;
    if (a.part == otherModel) return (a.beside & b.part) != 0;
    if (b.part == otherModel) return (b.beside & a.part) != 0;
    return &a != &b;
}

/// The polynomials that add to each model.
unsigned beside(const std::monostate&) {
    return polyX | polyL | polyT;
}
unsigned beside(const SellmeierModel&) {
    return polyT;
}
unsigned beside(const OnePoleModel&) {
    return polyT;
}
unsigned beside(const TwoPoleModel&) {
    return polyT;
}
unsigned beside(const FuncXYModel&) {
    return polyL | polyT;
}
template <class Other>
unsigned beside(const Other&) {
    return noPart;
}

template <class Property>
void makeRoomIn(Property& property, const KeywordRow& row) {
    if (row.part != otherModel) {
        const unsigned allowed =
            std::visit([](const auto& model) { return beside(model); }, property.model);
        if ((allowed & row.part) == 0) property.model = std::monostate();
        return;
    }
    property.model = std::monostate();
    if ((row.beside & polyX) == 0) property.poly.x = {};
    if ((row.beside & polyL) == 0) property.poly.l = {};
    if ((row.beside & polyT) == 0) property.poly.t = {};
}

template <class Property>
void dropModel(Property& property) {
    property.model = std::monostate();
    property.poly = {};
}

}  // namespace

bool Definition::conflict(const char* with) {
    return in.fail("%s being used while %s in material %s\n", keyword.c_str(), with,
                   material.getName());
}

bool Definition::fitsWith(const std::vector<bool>& given) {
    const std::span<const KeywordRow> rows = keywordRows();
    for (std::size_t i = 0; i < given.size(); ++i) {
        if (!given[i]) continue;
        const KeywordRow& other = i < rows.size() ? rows[i] : analyticKeyword();
        const bool samePart = &other == &row && row.part != otherModel;
        if (samePart)
            return in.fail("%s is given twice in material %s\n", keyword.c_str(),
                           material.getName());
        if (row.family == Family::index && other.family == Family::permittivity)
            return conflict("the permittivity has already been defined");
        if (row.family == Family::permittivity && other.family == Family::index)
            return conflict("the refractive index has already been defined");
        if (row.family == Family::none || row.family != other.family || together(row, other))
            continue;
        const std::string with =
            std::string("another ") + familyName(row.family) + " flag has already been used";
        return conflict(with.c_str());
    }
    return true;
}

void Definition::makeRoom() {
    switch (row.family) {
        case Family::index:
            dropModel(m.permittivity);
            m.permittivityFirst = false;
            return makeRoomIn(m.index, row);
        case Family::permittivity:
            dropModel(m.index);
            m.permittivityFirst = true;
            return makeRoomIn(m.permittivity, row);
        case Family::permeability:
            return makeRoomIn(m.permeability, row);
        case Family::loss:
            return makeRoomIn(m.loss, row);
        default:
            return;
    }
}

bool Definition::checkTensorConflicts() {
    if (!m.permittivity.hasTensor) return true;
    const struct {
        bool given;
        const char* keyword;
    } others[] = {
        {m.index.hasDn, "MP_RIX_ANISOTROPIC"},
        {m.loss.hasDa, "MP_MATLOSS_ANISOTROPIC"},
        {m.index.hasDnPolyX, "MP_RIXANISOPOLYX"},
        {m.hasRotation, "MP_RIX_ANIROTATION"},
        {m.permittivity.hasImagOffDiagonal, "MP_PERMITT_IMAG_OFFDIAG"},
    };
    for (const auto& other : others)
        if (other.given)
            return in.fail("Conflict between PERMITT_ANI_TENSOR and %s\n", other.keyword);
    // A model of the diagonal that differs from axis to axis.
    const auto oneForAll = [](const auto& model) {
        if constexpr (requires { model.terms.isotropic; })
            return model.terms.isotropic;
        else if constexpr (requires { model.c.isotropic; })
            return model.c.isotropic;
        else if constexpr (requires { model.formula.isotropic; })
            return model.formula.isotropic;
        else
            return true;
    };
    const bool isotropic =
        m.index.poly.isotropic() && m.loss.poly.isotropic() && m.permittivity.poly.isotropic() &&
        m.loss.eyFraction == 1 && std::visit(oneForAll, m.index.model) &&
        std::visit(oneForAll, m.loss.model) && std::visit(oneForAll, m.permittivity.model);
    return isotropic ||
           in.fail("conflict between PERMITT_ANI_TENSOR and other anisotropic paramters\n");
}

bool Definition::syntaxError(const char* expected) {
    return in.fail("syntax error in %s in material %s\n%s\n", listName(row).c_str(),
                   material.getName(), expected);
}

bool Definition::count(int least, int most, int& value) {
    if (in.number(value) && value >= least && value <= most) return true;
    const std::string expected = least == most ? "expected the count " + std::to_string(least)
                                               : "expected a count from " + std::to_string(least) +
                                                     " to " + std::to_string(most);
    return syntaxError(expected.c_str());
}

template <class T>
bool Definition::number(T& value, const char* expected) {
    return in.number(value) || syntaxError(expected);
}

bool Definition::positive(double& value) {
    return (in.number(value) && value > 0) || syntaxError("expected a number above 0");
}

template <class T>
bool Definition::list(int least, int most, std::vector<T>& values) {
    int n = 0;
    if (!count(least, most, n)) return false;
    values.assign(static_cast<std::size_t>(n), T());
    for (T& value : values)
        if (!number(value, "expected as many numbers as the count says")) return false;
    return true;
}

bool Definition::fixedList(int least, double* values, int most) {
    std::vector<double> read;
    if (!list(least, most, read)) return false;
    std::copy(read.begin(), read.end(), values);
    return true;
}

bool Definition::range(std::optional<std::array<double, 2>>& values) {
    std::array<double, 2> ends{};
    if (!number(ends[0]) || !number(ends[1])) return false;
    if (ends[0] > ends[1]) return syntaxError("the range has to begin with its lower end");
    values = ends;
    return true;
}

template <class T>
bool Definition::compile(QVExpression<T>& expression, const std::string& text) {
    expression.DeclareParam("lambda", "wavelength in micrometres");
    expression.DeclareParam("mxFrac", "first composition fraction");
    expression.DeclareParam("myFrac", "second composition fraction");
    expression.DeclareParam("T", "temperature in kelvin");
    expression.setExpression(std::string_view(text));
    Error error;
    if (expression.Compile(error)) return true;
    std::string message = error.chars();
    message += qvShowFault(std::string_view(text), expression.getFault()).Chars();
    return in.fail("%s%s in material %s\n", message.c_str(), row.keyword, material.getName());
}

template <class T>
bool Definition::formula(QVExpression<T>& expression) {
    std::string text;
    switch (in.quoted(text)) {
        case MaterReader::Quoted::yes:
            return compile(expression, text);
        case MaterReader::Quoted::unfinished:
            return syntaxError("a quote is missing at the end of the formula");
        case MaterReader::Quoted::no:
            break;
    }
    return false;
}

template <class T>
bool Definition::quotedFormula(QVExpression<T>& expression) {
    if (formula(expression)) return true;
    return qverr() ? false : in.fail("expected quotes in %s\n", row.keyword);
}

bool Definition::constant(std::optional<Constant>& value) {
    QVExpressionR expression;
    if (formula(expression)) {
        value = Constant{expression};
        return true;
    }
    if (qverr()) return false;
    double read = 0;
    if (!number(read, "expected a number, or a formula in quotes")) return false;
    value = Constant{read};
    return true;
}

bool Definition::function(FuncXYModel& model) {
    std::string type;
    std::string name;
    const bool known = in.word(type) && (sameWord(type, "POLY2D") || sameWord(type, "SPLINE2D"));
    if (!known) return in.fail("Expected POLY2D or SPLINE2D\n");
    if (!in.word(name)) return syntaxError("expected the name of a data block");
    type = sameWord(type, "POLY2D") ? "POLY2D" : "SPLINE2D";
    model.blockName = name.c_str();
    model.function = qvMaterialLoader::function(material.getOwner(), type, name);
    if (model.function) return true;
    if (!qverr())
        qverr().setf("Data block \"<%s> %s\" not found for %s in material %s\n", type.c_str(),
                     name.c_str(), row.keyword, material.getName());
    return in.fail();
}

bool Definition::entries(const EntryRules& rules) {
    for (bool any = false;; any = true) {
        const std::int64_t start = in.position();
        std::string name;
        std::string sign;
        const bool found = in.word(name, true);
        const bool isEntry = found && rules.isName(name);
        const bool equals = found && in.peek(sign, true) && sign == "=";
        if (!isEntry && (equals || !(any || rules.mayBeEmpty))) return in.fail("%s", rules.message);
        if (!isEntry) {
            in.goTo(start);
            return true;
        }
        if (equals) in.word(sign, true);
        if (!equals && rules.needsEquals) return in.fail("%s", rules.message);
        if (!rules.read(name)) return qverr() ? false : in.fail("%s", rules.message);
    }
}

template bool Definition::number(double&, const char*);
template bool Definition::list(int, int, std::vector<double>&);
template bool Definition::list(int, int, std::vector<std::complex<double>>&);
template bool Definition::quotedFormula(QVExpressionR&);
template bool Definition::quotedFormula(QVExpressionC&);

}  // namespace qvmaterial
