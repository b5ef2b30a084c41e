#pragma once
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "qvutils/common/materials/materb.h"
#include "qvutils/common/platform/qvexport.h"

/// A reference to a loaded material file, given up at the end.
struct qvUnRefMaterbase {
    void operator()(Materbase* base) const { base->UnRef(); }
};
using qvMaterbaseRef = std::unique_ptr<Materbase, qvUnRefMaterbase>;

/// Loads a material file that is found as qvFindMaterialFile does. Null with an error posted.
QVCORE_API qvMaterbaseRef qvOpenMaterials(const std::string& file,
                                          const std::vector<std::string>& first = {});

/// The material of that name; null with an error posted, which also says what may have been meant.
QVCORE_API MaterB* qvFindMaterial(Materbase& base, const std::string& name);

/// What a list of materials tells about one.
struct qvMaterialSummary {
    struct Range {
        double low;
        double high;
    };

    std::string name;
    std::string model;    ///< empty for none
    std::string mxLabel;  ///< empty where mx plays no part
    std::string myLabel;
    /// Where the material is known: wavelengths in micrometres, fractions, temperatures in kelvin.
    /// A limit may be infinite; nothing when there are none.
    std::optional<Range> lambda;
    std::optional<Range> mx;
    std::optional<Range> my;
    std::optional<Range> T;
};
QVCORE_API qvMaterialSummary qvSummarize(const MaterB& material);
