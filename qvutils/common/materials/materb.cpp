#include "qvutils/common/materials/materb.h"

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/materials/analytic.h"
#include "qvutils/common/materials/materdefinition.h"
#include "qvutils/common/materials/materentries.h"
#include "qvutils/common/materials/materkeywords.h"
#include "qvutils/common/materials/materlock.h"

using qvmaterial::MaterialData;
using qvmaterial::Reading;

namespace {

/// Shared by all materials without parameters. Never destroyed: materials may outlive it.
const std::shared_ptr<const MaterialData>& emptyData() {
    static const auto* const data =
        new std::shared_ptr<const MaterialData>(std::make_shared<const MaterialData>());
    return *data;
}

const char* polynomialName(const qvmaterial::Polynomials<double>& poly) {
    return poly.x[0].defined() ? "RIX_POLYX" : poly.l[0].defined() ? "RIX_POLYL" : "RIX_POLYT";
}

struct IndexModelName {
    const qvmaterial::RefractiveIndex& index;

    QVString operator()(const std::monostate&) const { return polynomialName(index.poly); }
    QVString operator()(const qvmaterial::SellmeierModel&) const { return "RIX_SELLMEIER"; }
    QVString operator()(const qvmaterial::OnePoleModel&) const { return "RIX_A1L"; }
    QVString operator()(const qvmaterial::TwoPoleModel&) const { return "RIX_A2L"; }
    QVString operator()(const qvmaterial::ExpressionModel<double>&) const {
        return "RIX_EXPRESSION";
    }
    QVString operator()(const qvmaterial::FuncXYModel&) const { return "RIX_FUNCXY"; }
    QVString operator()(const qvmaterial::AnalyticModel& model) const { return model.row->keyword; }
};

QVString permittivityName(const qvmaterial::Permittivity& eps) {
    switch (eps.model.index()) {
        case 1:
            return "PERMITTIVITY_EXPRESSION";
        case 2:
            return "PERMITTIVITY_DEBYE";
        case 3:
            return "PERMITTIVITY_DRUDELORENTZ";
        default:
            break;
    }
    if (!eps.poly.defined()) return "PERMITT_ANI_TENSOR";
    return eps.poly.x[0].defined()   ? "PERMITTIVITY_POLYX"
           : eps.poly.l[0].defined() ? "PERMITTIVITY_POLYL"
                                     : "PERMITTIVITY_POLYT";
}

double infinityOf(const qvmaterial::Permittivity& property) {
    if (const auto* debye = std::get_if<qvmaterial::DebyeModel>(&property.model))
        return debye->infinity;
    if (const auto* lorentz = std::get_if<qvmaterial::DrudeLorentzModel>(&property.model))
        return lorentz->infinity;
    return 1;
}

/// A label lasts as long as the material's definition; null when the model has none.
const char* labelOf(const qvmaterial::Composition& composition, const char* modelLabel,
                    const char* otherwise) {
    if (composition.given) return composition.label;
    return modelLabel && *modelLabel ? modelLabel : otherwise;
}

}  // namespace

MaterB::MaterB(const char* name) : name_(name), keeper_(emptyData()), current_(keeper_.get()) {}

MaterB::~MaterB() = default;

/// Queries see the new data from now on; the old are dropped when no query reads them any more.
void MaterB::publish(DataPtr data) {
    DataPtr old = std::move(keeper_);
    keeper_ = std::move(data);
    current_.store(keeper_.get());
    epsFull_ = keeper_->permittivity.hasTensor || keeper_->permittivity.hasImagOffDiagonal;
    muFull_ = keeper_->permeability.hasTensor;
    warned_ = 0;
    if (old == emptyData()) return;
    if (qvmaterial::waitForQueries()) {
        retired_.clear();
    } else {
        retired_.push_back(std::move(old));
    }
}

void MaterB::Init() {
    draft_.reset();
    given_.clear();
    publish(emptyData());
}

void MaterB::Copy(const MaterB& other) {
    given_.clear();
    if (&other == this) return;
    if (other.draft_) {
        draft_ = std::make_unique<MaterialData>(*other.draft_);
        return;
    }
    draft_.reset();
    publish(other.keeper_);
}

MaterialData& MaterB::edit() {
    if (!draft_) draft_ = std::make_unique<MaterialData>(*keeper_);
    return *draft_;
}

void MaterB::Complete() {
    if (!draft_) return;
    const bool hasIndex = draft_->index.defined() || draft_->permittivity.defined();
    if ((draft_->index.hasDn || draft_->index.hasDnPolyX) && !hasIndex) {
        qverr().setf("no refractive index for %s to add to in material %s\n",
                     draft_->index.hasDn ? "RIX_ANISOTROPIC" : "RIX_ANISOPOLYX", getName());
        return;
    }
    given_.clear();
    draft_->prepare();
    publish(std::shared_ptr<const MaterialData>(std::move(draft_)));
}

bool MaterB::ReadDef(const char* keyword, FILE* file) {
    const qvmaterial::KeywordRow* row = qvmaterial::findKeyword(keyword);
    if (!row) {
        if (keyword[0] != '<') return false;
        qvmaterial::MaterReader in(file);
        in.noteWord(keyword);
        return in.fail("Expected <orientation>\n");
    }
    const std::span<const qvmaterial::KeywordRow> rows = qvmaterial::keywordRows();
    const bool analytic = row == &qvmaterial::analyticKeyword();
    const char* shown = analytic ? qvFindAnalytic(keyword)->keyword : row->keyword;
    qvmaterial::Definition definition(*this, edit(), shown, *row, file);
    definition.in.noteWord(keyword);
    if (!definition.fitsWith(given_)) return false;
    definition.makeRoom();
    given_.resize(rows.size() + 1);
    given_[analytic ? rows.size() : static_cast<std::size_t>(row - rows.data())] = true;
    return row->read(definition) && definition.checkTensorConflicts();
}

bool MaterB::setOrientation(const char* text) {
    auto data = std::make_shared<MaterialData>(*keeper_);
    if (!qvmaterial::parseOrientation(text, *data)) return false;
    data->prepare();
    publish(std::move(data));
    return true;
}

const char* MaterB::getmxName() const {
    const Reading reading;
    const auto* model = std::get_if<qvmaterial::AnalyticModel>(&data().index.model);
    return labelOf(data().mx, model ? model->row->mxLabel : nullptr, "mx");
}

const char* MaterB::getmyName() const {
    const Reading reading;
    const auto* model = std::get_if<qvmaterial::AnalyticModel>(&data().index.model);
    return labelOf(data().my, model ? model->row->myLabel : nullptr, "my");
}

double MaterB::getLambdaRef() const {
    const Reading reading;
    return data().lambdaRef;
}

double MaterB::getTempRef() const {
    const Reading reading;
    return data().tempRef;
}

QVString MaterB::getModelName() const {
    const Reading reading;
    const MaterialData& m = data();
    if (m.permittivityFirst) return permittivityName(m.permittivity);
    if (!m.index.defined()) return "";
    return std::visit(IndexModelName{m.index}, m.index.model);
}

bool MaterB::isEpsDefined() const {
    const Reading reading;
    return data().permittivity.defined();
}

bool MaterB::isMuDefined() const {
    const Reading reading;
    return data().permeability.defined();
}

bool MaterB::isEpsFull() const {
    return epsFull_;
}

bool MaterB::isMuFull() const {
    return muFull_;
}

bool MaterB::isFullTensor() const {
    return epsFull_ || muFull_;
}

bool MaterB::isTensorRotat() const {
    const Reading reading;
    return data().hasRotation;
}

bool MaterB::isOptic_Rotat() const {
    const Reading reading;
    return data().cut != qvmaterial::Cut::none;
}

void MaterB::setEpsFullFlag(bool full) {
    epsFull_ = full;
}

void MaterB::setMuFullFlag(bool full) {
    muFull_ = full;
}

double MaterB::getEpsInfty() const {
    const Reading reading;
    return infinityOf(data().permittivity);
}

double MaterB::getMuInfty() const {
    const Reading reading;
    return infinityOf(data().permeability);
}

bool MaterB::useEpsilonFn() const {
    const Reading reading;
    return data().permittivityFirst;
}
