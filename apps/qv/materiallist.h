#pragma once
#include "apps/qv/numbertable.h"

class Materbase;

/// Writes the materials of a file to standard output: name, model, what mx and my stand for, and
/// the ranges where they are known. Columns that would be empty are left out of an aligned table.
void listMaterials(Materbase& base, TableFormat format);
