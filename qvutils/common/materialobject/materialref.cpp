#include "qvutils/common/materialobject/materialref.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/materials/analytic.h"
#include "qvutils/common/materials/materialfiles.h"
#include "qvutils/common/materials/materlock.h"
#include "qvutils/common/text/qvnearest.h"

namespace {

using Range = std::optional<qvMaterialSummary::Range>;

// What both allow.
Range common(const std::optional<std::array<double, 2>>& given, const qvRange* built) {
    qvRange range = built ? *built : qvRange();
    if (given) {
        range.low = std::max(range.low, given->front());
        range.high = std::min(range.high, given->back());
    }
    if (std::isinf(range.low) && std::isinf(range.high)) return {};
    return qvMaterialSummary::Range{range.low, range.high};
}

}  // namespace

qvMaterbaseRef qvOpenMaterials(const std::string& file, const std::vector<std::string>& first) {
    const std::string path = qvFindMaterialFile(file, first);
    return qvMaterbaseRef(LoadMaterbase(path.empty() ? file.c_str() : path.c_str()));
}

MaterB* qvFindMaterial(Materbase& base, const std::string& name) {
    MaterB* material = base.MaterHandle(name.c_str(), true);
    if (material) return material;
    QVNearestNames nearest(name);
    for (int i = 0; i < base.getNMaterials(); ++i) nearest.offer(base.getMaterial(i)->getName());
    const std::vector<std::string> names = nearest.names();
    if (!names.empty()) qverr().append(("\ndid you mean " + names.front() + "?").c_str());
    return nullptr;
}

qvMaterialSummary qvSummarize(const MaterB& material) {
    qvMaterialSummary summary;
    summary.name = material.getName();
    summary.model = material.getModelName().Chars();
    const qvmaterial::Reading reading;
    const qvmaterial::MaterialData& data = material.data();
    const auto* model = std::get_if<qvmaterial::AnalyticModel>(&data.index.model);
    const qvAnalyticMaterial* built = model ? model->row : nullptr;
    if (data.mx.given || (built && built->usesMx())) summary.mxLabel = material.getmxName();
    if (data.my.given || (built && built->myLabel[0])) summary.myLabel = material.getmyName();
    summary.lambda = common(data.lambdaRange, built ? &built->lambda : nullptr);
    summary.T = common(data.tempRange, built ? &built->temperature : nullptr);
    summary.mx = common(data.mx.range, built && built->usesMx() ? &built->mx : nullptr);
    summary.my = common(data.my.range, nullptr);
    return summary;
}
