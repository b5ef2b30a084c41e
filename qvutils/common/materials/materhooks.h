#pragma once

class MaterB;

namespace qvmaterial {

/// A material from the installed factory; null when there is none.
MaterB* newMaterial(const char* name);
bool hasMaterialFactory();

}  // namespace qvmaterial
