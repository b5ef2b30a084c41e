#pragma once
#include "qvutils/common/materials/materialdata.h"

/// Readers of the keywords whose values are named entries, and of orientations.
namespace qvmaterial {

class Definition;

bool readStaticIndex(Definition& d);
bool readAnisotropic(Definition& d);
bool readAnisoPolyX(Definition& d);
bool readAnisotropicLoss(Definition& d);
bool readRotation(Definition& d);
bool readElectroOptic(Definition& d);
bool readPhotoElastic(Definition& d);
bool readPermittivityTensor(Definition& d);
bool readImaginaryOffDiagonal(Definition& d);
bool readPermeabilityTensor(Definition& d);
bool readOrientation(Definition& d);

bool readComposition(Definition& d, Composition& composition);
template <Composition MaterialData::*member, class AnyDefinition>
bool readComposition(AnyDefinition& d) {
    return readComposition(d, d.m.*member);
}

void setCut(MaterialData& data, Cut cut);
/// "XCUT", ..., or "<orientation> (a b c) (d e f) (g h i)"; posts an error when it is neither.
bool parseOrientation(const char* text, MaterialData& data);

}  // namespace qvmaterial
