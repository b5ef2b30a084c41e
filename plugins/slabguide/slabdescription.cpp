#include "plugins/slabguide/slabdescription.h"

#include <algorithm>
#include <cmath>

#include "qvutils/common/error/qverror.h"

namespace {

std::string layerName(std::size_t number) {
    return "layer " + std::to_string(number + 1) + ": ";
}

bool isUsable(const MaterB& material, const std::string& where) {
    if (material.isFullTensor()) {
        qverr().setf("%sthe permittivity of %s has elements off the diagonal\n", where.c_str(),
                     material.getName());
    } else if (material.isMuDefined()) {
        qverr().setf("%s%s is magnetic\n", where.c_str(), material.getName());
    }
    return !qverr();
}

/// d(eps)/d(lambda) by the central difference of fourth order, where no exact one can be had.
CStensor differenceOf(const MaterB& material, double mx, double my, double lambda, double T) {
    const auto at = [&](int steps) { return material.eps(mx, my, lambda * (1 + 1e-3 * steps), T); };
    const CStensor a = at(-2), b = at(-1), c = at(1), d = at(2);
    const auto slope = [&](slab::Complex CStensor::*axis) {
        return ((a.*axis - d.*axis) + 8. * (c.*axis - b.*axis)) / (12e-3 * lambda);
    };
    return {slope(&CStensor::xx), slope(&CStensor::yy), slope(&CStensor::zz)};
}

}  // namespace

SlabModel::SlabModel(const SlabDescription& description, qvNameSpace& names) : names_(names) {
    wavelength_ = compile(description.wavelength, "", "wavelength");
    temperature_ = compile(description.temperature, "", "temperature");
    polarisation_ = compile(description.polarisation, "", "polarisation");
    for (std::size_t i = 0; i < description.layers.size() && !qverr(); ++i) {
        const SlabDescription::Layer& layer = description.layers[i];
        const std::string where = layerName(i);
        LayerValues values;
        values.from = &layer;
        values.thickness = compile(layer.thickness, where, "thickness");
        if (!layer.material) values.index = compile(layer.index, where, "index");
        if (layer.material) values.mx = compile(layer.mx, where, "mx");
        if (layer.material) values.my = compile(layer.my, where, "my");
        layers_.push_back(std::move(values));
    }
}

std::unique_ptr<SlabModel> SlabModel::withCopy(const SlabDescription& description,
                                               const qvNameSpace& names) {
    auto copy = std::make_unique<qvNameSpace>(names);
    auto model = std::make_unique<SlabModel>(description, *copy);
    model->copy_ = std::move(copy);
    return model;
}

bool SlabModel::set(const QVString& variable, double value) {
    qvNamedVariable* found = copy_ ? copy_->Find(variable, false) : nullptr;
    if (!found) return false;
    if (!found->IsValue()) knowsSlopes_ = false;  // one formula less
    found->SetValue(value);
    return true;
}

SlabModel::Value SlabModel::compile(const SlabTerm& term, const std::string& where,
                                    const char* what) {
    Value value;
    value.value = term.value;
    value.isFormula = term.isFormula();
    if (!value.isFormula || qverr()) return value;
    value.expression.setExpression(term.formula);
    value.expression.setNameSpace(&names_);
    Error error;
    if (!value.expression.Compile(error)) {
        qverr().setf("%s%s = \"%s\" could not be evaluated: %s", where.c_str(), what,
                     term.formula.Chars(), error.chars());
    }
    return value;
}

slab::Complex SlabModel::read(const Value& value, const std::string& where,
                              const char* what) const {
    if (!value.isFormula || qverr()) return value.value;
    Error error;
    const slab::Complex result = value.expression.Evaluate(error);
    if (error) {
        qverr().setf("%s%s = \"%s\" could not be evaluated: %s", where.c_str(), what,
                     value.expression.getExpression().Chars(), error.chars());
    }
    return result;
}

SlabModel::Point SlabModel::point() const {
    const Point at{read(wavelength_, "", "wavelength").real(),
                   read(temperature_, "", "temperature").real(),
                   read(polarisation_, "", "polarisation").real() == 1};
    const double polarisation = read(polarisation_, "", "polarisation").real();
    if (!qverr() && polarisation != 0 && polarisation != 1) {
        qverr().setf("the polarisation %g is neither 0 (TE) nor 1 (TM)\n", polarisation);
    }
    // Materials cannot be asked at a wavelength that is none.
    if (!qverr() && !(at.wavelength > 0 && std::isfinite(at.wavelength))) {
        qverr().setf("the wavelength %g um is %s\n", at.wavelength,
                     at.wavelength > 0 ? "out of range" : "not positive");
    }
    return at;
}

slab::Stack SlabModel::stack() {
    slab::Stack stack;
    const Point at = point();
    stack.wavelength = at.wavelength;
    stack.polarisation = at.tm ? slab::Polarisation::TM : slab::Polarisation::TE;
    for (std::size_t i = 0; i < layers_.size() && !qverr(); ++i) {
        slab::Layer layer;
        const bool isOuter = i == 0 || i + 1 == layers_.size();
        if (!isOuter)
            layer.thickness = read(layers_[i].thickness, layerName(i), "thickness").real();
        permittivity(i, layer, at);
        stack.layers.push_back(layer);
    }
    if (qverr()) return stack;
    const std::string flaw = stack.flaw();
    if (flaw.empty())
        addDispersion(stack);
    else
        qverr().setf("%s\n", flaw.c_str());
    return stack;
}

void SlabModel::permittivity(std::size_t number, slab::Layer& layer, const Point& at) const {
    const LayerValues& values = layers_[number];
    const std::string where = layerName(number);
    const MaterB* material = values.from->material;
    if (!material) {
        const slab::Complex index = read(values.index, where, "index");
        if (!qverr() && !(std::abs(index) > 0 && std::abs(index) < 1e3)) {
            qverr().setf("%sthe index (%g,%g) is no usable number\n", where.c_str(), index.real(),
                         index.imag());
        }
        layer.eps = layer.epsAlong = index * index;
        return;
    }
    askMaterial(number, layer, at);
}

/// In the axes of materials x is sideways, y up and z along.
void SlabModel::askMaterial(std::size_t number, slab::Layer& layer, const Point& at) const {
    const LayerValues& values = layers_[number];
    const std::string where = layerName(number);
    const MaterB& material = *values.from->material;
    const double mx = read(values.mx, where, "mx").real();
    const double my = read(values.my, where, "my").real();
    if (qverr() || !isUsable(material, where)) return;
    CStensor slope;
    CStensor eps = material.eps(mx, my, at.wavelength, at.temperature, slope);
    if (qverr()) {
        qverr().reset();
        eps = material.eps(mx, my, at.wavelength, at.temperature);
        if (!qverr()) slope = differenceOf(material, mx, my, at.wavelength, at.temperature);
    }
    if (qverr()) {
        const std::string why = qverr().chars_and_reset();
        qverr().setf("%s%s", where.c_str(), why.c_str());
    }
    layer.eps = at.tm ? eps.yy : eps.xx;
    layer.epsAlong = at.tm ? eps.zz : eps.xx;
    layer.dispersion = -at.wavelength * (at.tm ? slope.yy : slope.xx);
    layer.dispersionAlong = -at.wavelength * (at.tm ? slope.zz : slope.xx);
}

bool SlabModel::followsFormula(const LayerValues& layer) const {
    return !layer.from->material && layer.index.isFormula;
}

void SlabModel::prepareSlopes() {
    knowsSlopes_ = true;
    slopes_.reset();
    const auto follows = [this](const LayerValues& layer) { return followsFormula(layer); };
    if (!wavelength_.isFormula || std::none_of(layers_.begin(), layers_.end(), follows)) return;
    const QVString& formula = wavelength_.expression.getExpression();
    qvNamedVariable* variable = SlabSlopes::rootOf(formula, names_);
    if (!variable) return;
    slopes_.emplace(names_, *variable);
    wavelengthSlope_ = slopes_->add(formula);
    for (LayerValues& layer : layers_) {
        if (follows(layer)) layer.slope = slopes_->add(layer.index.expression.getExpression());
    }
}

/// Of indices given by formulas: d(eps)/d(lambda) is 2 n dn / d(lambda), both with respect to the
/// variable that the wavelength hangs on.
void SlabModel::addDispersion(slab::Stack& stack) {
    if (!knowsSlopes_) prepareSlopes();
    if (!slopes_ || qverr()) return;
    slopes_->update();
    const slab::Complex way = (*slopes_)[wavelengthSlope_];
    if (qverr() || way == slab::Complex(0)) return;
    for (std::size_t i = 0; i < layers_.size(); ++i) {
        if (!followsFormula(layers_[i])) continue;
        const slab::Complex n = read(layers_[i].index, layerName(i), "index");
        const slab::Complex slope = (*slopes_)[layers_[i].slope] / way.real();
        stack.layers[i].dispersion = stack.layers[i].dispersionAlong =
            -2 * stack.wavelength * n * slope;
    }
}
