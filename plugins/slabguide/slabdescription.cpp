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

}  // namespace

QVString SlabDescription::wavelengthVariable(qvNameSpace& names) const {
    const auto depends = [](const Layer& layer) {
        return layer.material ? layer.mx.isFormula() || layer.my.isFormula()
                              : layer.index.isFormula();
    };
    if (!wavelength.isFormula() || std::none_of(layers.begin(), layers.end(), depends)) return {};
    const qvNamedVariable* variable = names.Find(wavelength.formula, false);
    return variable ? wavelength.formula : QVString();
}

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
    const QVString variable = description.wavelengthVariable(*copy);
    if (!variable.Empty()) {
        model->wavelengthVariable_ = copy->Find(variable, false);
        model->wavelengthFormula_ = model->wavelengthVariable_->GetExpression();
    }
    model->copy_ = std::move(copy);
    return model;
}

bool SlabModel::set(const QVString& variable, double value) {
    qvNamedVariable* found = copy_ ? copy_->Find(variable, false) : nullptr;
    if (!found) return false;
    found->SetValue(value);
    if (found == wavelengthVariable_) wavelengthFormula_ = found->GetExpression();
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
        qverr().setf("the wavelength %g um is not positive\n", at.wavelength);
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
        addDispersion(stack, at);
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
    const double mx = read(values.mx, where, "mx").real();
    const double my = read(values.my, where, "my").real();
    if (qverr() || !isUsable(*material, where)) return;
    const CStensor eps = material->eps(mx, my, at.wavelength, at.temperature);
    if (qverr()) {
        const std::string why = qverr().chars_and_reset();
        qverr().setf("%s%s", where.c_str(), why.c_str());
    }
    // In the axes of materials x is sideways, y up and z along.
    layer.eps = at.tm ? eps.yy : eps.xx;
    layer.epsAlong = at.tm ? eps.zz : eps.xx;
}

bool SlabModel::disperses(const LayerValues& layer) const {
    return layer.from->material || (wavelengthVariable_ && layer.index.isFormula);
}

/// k0 d(eps)/d(k0) = -lambda d(eps)/d(lambda) by the central difference of fourth order, good to 11
/// digits for anything as smooth as an optical constant.
void SlabModel::addDispersion(slab::Stack& stack, Point at) {
    constexpr double step = 1e-3;
    constexpr struct {
        int steps;
        double weight;
    } stencil[] = {{-2, 1. / 12}, {-1, -8. / 12}, {1, 8. / 12}, {2, -1. / 12}};
    const auto any = [this](const LayerValues& layer) { return disperses(layer); };
    if (std::none_of(layers_.begin(), layers_.end(), any)) return;
    for (const auto& point : stencil) {
        at.wavelength = stack.wavelength * (1 + step * point.steps);
        if (wavelengthVariable_) wavelengthVariable_->SetValue(at.wavelength);
        for (std::size_t i = 0; i < layers_.size(); ++i) {
            if (!disperses(layers_[i])) continue;
            slab::Layer there;
            permittivity(i, there, at);
            stack.layers[i].dispersion -= point.weight * there.eps / step;
            stack.layers[i].dispersionAlong -= point.weight * there.epsAlong / step;
        }
    }
    if (wavelengthVariable_) wavelengthVariable_->SetValueOrExpression(wavelengthFormula_);
}
