#include "qvutils/common/materialobject/materialobject.h"

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/materialobject/materialquantity.h"
#include "qvutils/common/text/qvnumber.h"

const qvClassInfo qvMaterialObject::cinfo_qvMaterialObject("qvMaterialObject",
                                                           QVObject::getStaticClassInfo());

namespace {

/// The arguments mx, my, lambda and T, of which the last may be left out, and others after them.
/// False after an error.
bool readPoint(const QVCommandArgList& arguments, const MaterB& material, int more,
               qvMaterialPoint& point) {
    constexpr int all = 4;
    if (!arguments.checkCount(more > 0 ? all + more : all - 1, all + more)) return false;
    point.mx = arguments[0];
    point.my = arguments[1];
    point.lambda = arguments[2];
    point.T = arguments.nargs() < all ? material.getTempRef() : static_cast<double>(arguments[3]);
    return !qverr();
}

/// The method that gives a quantity.
class QuantityMethod : public QVCommandFNClass {
public:
    explicit QuantityMethod(const qvMaterialQuantity& quantity)
        : quantity_(quantity),
          help_(quantity.needsDensity ? "( mx, my, lambda, T, N ): "
                                      : "( mx, my, lambda[, T] ): ") {
        help_ += quantity.help;
        if (quantity.tensor[0]) help_ += std::string(" ") + quantity.tensor;
    }

    bool Resolve(QVCommandElt& result, void* object, const char* text, void*) override {
        const auto& self = static_cast<qvMaterialObject&>(*static_cast<QVObject*>(object));
        const QVCommandArgList arguments(text);
        qvMaterialPoint point;
        if (!readPoint(arguments, self.material(), quantity_.needsDensity ? 1 : 0, point))
            return false;
        if (quantity_.needsDensity) point.N = arguments[4];
        if (qverr()) return false;
        const std::complex<double> value = quantity_.value(self.material(), point);
        if (qverr()) return false;
        if (quantity_.isComplex)
            qvSetResult(result, value);
        else
            qvSetResult(result, value.real());
        return true;
    }

    const char* name() const { return quantity_.name; }
    const char* help() const { return help_.c_str(); }

private:
    const qvMaterialQuantity& quantity_;
    std::string help_;
};

std::vector<QuantityMethod>& quantityMethods() {
    static std::vector<QuantityMethod> methods(qvMaterialQuantities().begin(),
                                               qvMaterialQuantities().end());
    return methods;
}

void addNumber(QVString& text, double value) {
    if (!text.Empty() && text.view().back() != '\n') text += " ";
    text += qvShortestText(value);
}

QVString textOf(const DStensor& t) {
    QVString text;
    for (double value : {t.xx, t.yy, t.zz}) addNumber(text, value);
    return text;
}

template <int rows, int columns>
QVString textOf(const double (&values)[rows][columns]) {
    QVString text;
    for (const auto& row : values) {
        for (double value : row) addNumber(text, value);
        text += "\n";
    }
    return text;
}

template <DStensor (MaterB::*query)(double, double, double, double) const>
QVString diagonal(qvMaterialObject& self, const QVCommandArgList& arguments) {
    qvMaterialPoint p;
    if (!readPoint(arguments, self.material(), 0, p)) return "";
    return textOf((self.material().*query)(p.mx, p.my, p.lambda, p.T));
}

// The change of the index by `count` numbers that follow the point.
template <int count, DStensor (MaterB::*query)(double, double, double, double, const double*) const>
QVString change(qvMaterialObject& self, const QVCommandArgList& arguments) {
    qvMaterialPoint p;
    double cause[count];
    if (!readPoint(arguments, self.material(), count, p)) return "";
    for (int i = 0; i < count; ++i) cause[i] = arguments[4 + i];
    return qverr() ? "" : textOf((self.material().*query)(p.mx, p.my, p.lambda, p.T, cause));
}

QVString electroOptic(qvMaterialObject& self) {
    double coefficients[6][3];
    return self.material().EOCoefs(coefficients) ? textOf(coefficients) : "";
}

QVString photoElastic(qvMaterialObject& self) {
    double coefficients[6][6];
    return self.material().PhotoElasticTensor(coefficients) ? textOf(coefficients) : "";
}

}  // namespace

qvMaterialObject::qvMaterialObject(Materbase& base, MaterB& material) : material_(&material) {
    base.Ref();
    base_.reset(&base);
}

qvMaterialObject::~qvMaterialObject() = default;

QVObject* qvMaterialObject::Clone() const {
    return new qvMaterialObject(*base_, *material_);
}

void qvMaterialObject::OnPublish() {
    using Self = qvMaterialObject;
    for (QuantityMethod& method : quantityMethods())
        PublishObj(method.name(), method, method.help(), false, nullptr, nullptr, qvKindMethod);

    PublishFn("nrani", diagonal<&MaterB::nrani>,
              "( mx, my, lambda[, T] ): the indices xx, yy and zz");
    PublishFn("alphaani", diagonal<&MaterB::alphaani>,
              "( mx, my, lambda[, T] ): the losses xx, yy and zz in 1/cm");
    PublishFn("nrDC",
              [](Self& self, double mx, double my) { return textOf(self.material().nrDC(mx, my)); },
              "( mx, my ): the static indices xx, yy and zz");
    PublishFn("eo_dnr", change<3, &MaterB::eo_dnr>,
              "( mx, my, lambda, T, Ex, Ey, Ez ): change of the indices xx, yy and zz by an "
              "electric field in V/um");
    PublishFn("str_dnr", change<6, &MaterB::str_dnr>,
              "( mx, my, lambda, T, sxx, syy, szz, syz, sxz, sxy ): change of the indices xx, yy "
              "and zz by strains");
    PublishFn("EOCoefs", electroOptic, "(): electro-optic coefficients in pm/V, row by row");
    PublishFn("PhotoElasticTensor", photoElastic, "(): photo-elastic coefficients, row by row");

    PublishFn("name", [](Self& self) { return self.material().getName(); },
              "(): name of the material");
    PublishFn("filename", [](Self& self) { return self.database().getFileName(); },
              "(): the file that it comes from");
    PublishFn("model", [](Self& self) { return self.material().getModelName(); },
              "(): the keyword that defines the index or the permittivity");
    PublishFn("getmxName", [](Self& self) { return self.material().getmxName(); },
              "(): what mx stands for");
    PublishFn("getmyName", [](Self& self) { return self.material().getmyName(); },
              "(): what my stands for");
    PublishFn("getLambdaRef", [](Self& self) { return self.material().getLambdaRef(); },
              "(): reference wavelength in um, 0 for none");
    PublishFn("getTempRef", [](Self& self) { return self.material().getTempRef(); },
              "(): reference temperature in K, which stands in for a T that is left out");
    PublishFn("useEpsilonFn", [](Self& self) { return self.material().useEpsilonFn(); },
              "(): is the material defined by its permittivity?");
    PublishFn("isFullTensor", [](Self& self) { return self.material().isFullTensor(); },
              "(): has its permittivity or permeability elements off the diagonal?");
}

qvMaterialObject* qvMaterialShelf::find(const std::string& file, const std::string& name,
                                        const std::vector<std::string>& first) {
    const qvMaterbaseRef base = qvOpenMaterials(file, first);
    MaterB* material = base ? qvFindMaterial(*base, name) : nullptr;
    if (!material) return nullptr;
    std::unique_ptr<qvMaterialObject>& object = objects_[{base.get(), material->getName()}];
    if (!object) object = std::make_unique<qvMaterialObject>(*base, *material);
    // A material that had gone from the file may have come back as another one.
    object->material_ = material;
    return object.get();
}
