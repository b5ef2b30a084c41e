#include "qvutils/common/shapes/weightfunc.h"

#include <cmath>
#include <string>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/shapes/shapetext.h"
#include "qvutils/common/shapes/weighting.h"
#include "qvutils/common/text/qvnumber.h"

/// The published face of the parameters: each under its name.
class qvWeightParams final : public QVObject {
public:
    QV_CLASS_INFO(qvWeightParams)

    explicit qvWeightParams(WeightFunc& owner) : owner_(owner) {}
    qvNameSpace* GetNameSpace() override { return owner_.GetNameSpace(); }
    void OnPublish() override {
        for (WeightParam& param : owner_.data_->params) {
            PublishVar(param.name.Chars(), param.value, "parameter of weighting formulas");
        }
    }
    void SetParam(QVCommandElt& element, const char* value, const char* name) override {
        if (!owner_.setValue(element, value, name)) QVObject::SetParam(element, value, name);
    }

private:
    WeightFunc& owner_;
};

const qvClassInfo qvWeightParams::cinfo_qvWeightParams("WeightParams",
                                                       QVObject::getStaticClassInfo());
const qvClassInfo WeightFunc::cinfo_WeightFunc("WeightFunc", QVObject::getStaticClassInfo(),
                                               nullptr, qvCreateObject<WeightFunc>);

WeightFunc::WeightFunc(qvNameSpace* space)
    : data_(std::make_unique<qvWeighting>()), params_(std::make_unique<qvWeightParams>(*this)) {
    SetNameSpace(space);
}

WeightFunc::WeightFunc(const WeightFunc& other)
    : QVObject(other),
      data_(std::make_unique<qvWeighting>(*other.data_)),
      params_(std::make_unique<qvWeightParams>(*this)) {}

WeightFunc& WeightFunc::operator=(const WeightFunc& other) {
    if (this == &other) return *this;
    QVObject::operator=(other);
    data_ = std::make_unique<qvWeighting>(*other.data_);
    return *this;
}

WeightFunc::~WeightFunc() = default;

void WeightFunc::CopyFrom(qvNameSpace* space, const WeightFunc& other) {
    auto copy = std::make_unique<qvWeighting>(*other.data_);
    copy->enter(space);
    copy->prepare();
    data_ = std::move(copy);
    SetNameSpace(space);
}

bool WeightFunc::EqualsTo(const QVObject& other) const {
    return other.IsKindOf(getStaticClassInfo()) &&
           getDefString() == static_cast<const WeightFunc&>(other).getDefString();
}

bool WeightFunc::ParseString(std::string_view text) {
    auto read = std::make_unique<qvWeighting>();
    if (!read->read(text, GetNameSpace())) return false;
    data_ = std::move(read);
    UpdateParamValues();
    for (const WeightComponent& function : data_->functions) {
        if (!function.isTold) wlwrite(function.flaw.c_str());
    }
    return true;
}

QVString WeightFunc::getDefString() const {
    return data_->write();
}

void WeightFunc::UpdateParamValues() {
    data_->prepare();
}

WeightType WeightFunc::WeightVal(double t) const {
    constexpr WeightType none{0, 0, 0};
    if (qverr()) return none;
    if (!std::isfinite(t)) {
        qverr().setf("weighting function: t = %s is not possible\n", qvShortestText(t).Chars());
        return none;
    }
    const auto& functions = data_->functions;
    const auto valueOf = [&](const WeightComponent& function, double otherwise) {
        return function.kind ? function.value(t, data_->range) : otherwise;
    };
    const double third = valueOf(functions[2], 1);
    const WeightType weights{valueOf(functions[0], third), valueOf(functions[1], third), third};
    return qverr() ? none : weights;
}

void WeightFunc::OnPublish() {
    PublishFn("definition", &WeightFunc::getDefString, "(): the weighting function as text");
    PublishFn("setdefinition", &WeightFunc::setDefinition,
              "( text ): set the weighting function, as in \"POWER 2 RANGE 0 10\"");
    PublishFn("value", &WeightFunc::valueText,
              "( t ): the weights of x size, y size and angle at t");
    PublishVar("params", *params_, "parameters used if a FORMULA is used");
    static constexpr const char* names[] = {"x", "y", "angle"};
    for (std::size_t i = 0; i < data_->functions.size(); ++i) {
        WeightComponent& function = data_->functions[i];
        if (function.kind && function.kind->takesNumber())
            PublishVar(names[i], function.number, function.kind->help);
    }
}

bool WeightFunc::setValue(QVCommandElt& element, const char* value, const char* name) {
    qvParameter<double>* const parameter = data_->findValue(element.getScalarPtr());
    if (!parameter) return false;
    qvAssignDimension({parameter, name, nullptr, QVDimension::finite}, element, value, name);
    if (qverr()) return true;
    UpdateParamValues();
    if (onChange) onChange();
    return true;
}

void WeightFunc::SetParam(QVCommandElt& element, const char* value, const char* name) {
    if (!setValue(element, value, name)) QVObject::SetParam(element, value, name);
}

void WeightFunc::setDefinition(const QVString& text) {
    if (qverr()) return;
    auto read = std::make_unique<qvWeighting>();
    if (read->read(text.view(), GetNameSpace())) {
        read->prepare();
        const std::string flaw = read->flaw();
        if (flaw.empty()) {
            data_ = std::move(read);
            if (onChange) onChange();
            return;
        }
        qverr().set(flaw.c_str());
    }
    qverr().append("the weighting function stays as it was\n");
}

QVString WeightFunc::valueText(double t) {
    UpdateParamValues();
    const WeightType weights = WeightVal(t);
    if (qverr()) return {};
    return qvShortestText(weights.x) + " " + qvShortestText(weights.y) + " " +
           qvShortestText(weights.angle);
}
