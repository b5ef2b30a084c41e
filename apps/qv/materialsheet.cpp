#include "apps/qv/materialsheet.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "apps/qv/formulasheet.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/materials/materb.h"
#include "qvutils/common/text/qvnumber.h"

namespace {

/// Differences between the elements of a tensor that are this much smaller than it are none.
constexpr double negligible = 1e-12;

std::vector<const qvMaterialQuantity*> elementsOf(const qvMaterialQuantity& quantity) {
    std::vector<const qvMaterialQuantity*> elements;
    for (const qvMaterialQuantity& row : qvMaterialQuantities())
        if (std::string_view(row.tensor) == quantity.name) elements.push_back(&row);
    return elements;
}

}  // namespace

bool MaterialSheet::readPoints() {
    const double lambdaRef = material_.getLambdaRef();
    if (options_.lambda.empty() && lambdaRef == 0) {
        tellError(std::string("--lambda is needed: ") + material_.getName() +
                  " has no reference wavelength");
        return false;
    }
    if (!readArgument("lambda", "µm", options_.lambda, lambdaRef) ||
        !readArgument("mx", "", options_.mx, 0) || !readArgument("my", "", options_.my, 0) ||
        !readArgument("T", "K", options_.T, material_.getTempRef()) ||
        !readArgument("N", "1e18/cm^3", options_.N, 0)) {
        return false;
    }
    if (options_.N.empty()) columns_.pop_back();
    firstResult_ = columns_.size();
    return true;
}

bool MaterialSheet::readArgument(const char* name, const char* unit, const std::string& text,
                                 double usual) {
    std::vector<double>& values = arguments_.emplace_back(1, usual);
    FormulaSheet<double> formulas;
    SweepText sweep;
    const bool runs = splitSweep(text, sweep);
    if (runs ? !formulas.evaluateSweep(sweep, values)
             : !text.empty() && !formulas.evaluateReal(text, values[0])) {
        return false;
    }
    if (values.size() > 1 && rows_ > 1) {
        tellError("only one of --" + columns_[running_].name + " and --" + name +
                  " may run through values");
        return false;
    }
    if (values.size() > 1) {
        rows_ = values.size();
        running_ = columns_.size();
    }
    columns_.push_back(tableColumn(name, values));
    columns_.back().unit = unit;
    return true;
}

bool MaterialSheet::evaluate() {
    static constexpr const char* usual[] = {"n", "k", "alpha", "ng"};
    std::vector<const qvMaterialQuantity*> quantities = options_.show;
    if (quantities.empty() && !options_.plot.empty()) {
        quantities.push_back(qvFindMaterialQuantity("n"));
    } else if (quantities.empty()) {
        for (const char* name : usual) quantities.push_back(qvFindMaterialQuantity(name));
    }
    for (const qvMaterialQuantity* quantity : quantities) show(*quantity);
    return well_;
}

void MaterialSheet::show(const qvMaterialQuantity& quantity) {
    const auto isShown = [&](const TableColumn& column) { return column.name == quantity.name; };
    if (std::any_of(columns_.begin(), columns_.end(), isShown)) return;
    if (quantity.needsDensity && options_.N.empty()) {
        tell({std::string(quantity.name) + " needs --N"});
        return;
    }
    add(quantity, valuesOf(quantity));
    showElements(quantity);
}

void MaterialSheet::add(const qvMaterialQuantity& quantity, Values&& values) {
    const Values& kept = values_.emplace_back(std::move(values));
    columns_.push_back(quantity.isComplex ? tableColumn(quantity.name, kept.complex)
                                          : tableColumn(quantity.name, kept.real));
    columns_.back().unit = quantity.unit;
}

MaterialSheet::Values MaterialSheet::valuesOf(const qvMaterialQuantity& quantity) {
    Values values;
    Failures failures;
    for (std::size_t row = 0; row < rows_; ++row) {
        std::complex<double> value = quantity.value(material_, point(row));
        if (qverr()) {
            if (failures.count++ == 0) failures.firstRow = row;
            if (failures.count == 1) failures.message = qverr().chars();
            qverr().reset();
            value = {std::numeric_limits<double>::quiet_NaN(), 0};
            if (quantity.isComplex) value.imag(value.real());
        }
        if (quantity.isComplex)
            values.complex.push_back(value);
        else
            values.real.push_back(value.real());
    }
    if (failures.count > 0) tell(failures);
    return values;
}

// Of an anisotropic material the elements that are not 0 follow what was asked for.
void MaterialSheet::showElements(const qvMaterialQuantity& quantity) {
    struct Element {
        const qvMaterialQuantity* quantity;
        Values values;
        bool isZero = true;
        bool differs = false;
    };
    std::vector<Element> elements;
    for (const qvMaterialQuantity* row : elementsOf(quantity))
        elements.push_back({row, valuesOf(*row)});
    bool anisotropic = false;
    for (Element& element : elements) {
        const bool onDiagonal = element.quantity->row == element.quantity->column;
        for (std::size_t row = 0; row < rows_; ++row) {
            const auto at = [&](const Values& v) {
                return v.real.empty() ? v.complex[row] : std::complex<double>(v.real[row]);
            };
            const std::complex<double> first = at(elements[0].values);
            const double least = negligible * std::abs(first);
            const std::complex<double> value = at(element.values);
            if (std::abs(value) > least) element.isZero = false;
            if (onDiagonal && std::abs(value - first) > least) anisotropic = true;
        }
        if (!onDiagonal && !element.isZero) anisotropic = true;
    }
    if (!anisotropic) return;
    wholes_.insert(columns_.size() - 1);
    for (Element& element : elements) {
        if (!element.isZero || element.quantity->row == element.quantity->column)
            add(*element.quantity, std::move(element.values));
    }
}

qvMaterialPoint MaterialSheet::point(std::size_t row) const {
    const auto at = [&](std::size_t i) {
        return arguments_[i].size() > 1 ? arguments_[i][row] : arguments_[i][0];
    };
    return {at(1), at(2), at(0), at(3), at(4)};
}

void MaterialSheet::tell(const Failures& failures) {
    well_ = false;
    if (!told_.insert(failures.message).second) return;
    std::string text = failures.message;
    while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) text.pop_back();
    if (rows_ > 1 && failures.count > 0) {
        const TableColumn& column = columns_[running_];
        std::string place = column.name + " = " + qvShortestText(column[failures.firstRow]).Chars();
        if (failures.count > 1) place += " and " + std::to_string(failures.count - 1) + " more";
        text = "at " + place + ": " + text;
    }
    tellError(text);
}

std::vector<TableColumn> MaterialSheet::curves() const {
    std::vector<TableColumn> curves = {columns_[running_]};
    for (std::size_t i = firstResult_; i < columns_.size(); ++i)
        if (wholes_.count(i) == 0) curves.push_back(columns_[i]);
    return curves;
}
