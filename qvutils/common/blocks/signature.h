#pragma once
#include <cstdio>

#include "qvutils/common/platform/qvexport.h"

/// The signature line NAME(VERSION) that begins a plain data file.

/// Splits "name(arguments)" at the first "(" and its matching ")"; a blank before any "(" ends the
/// name. Each destination receives at most max - 1 characters and a NUL.
QVCORE_API void parsefunc(const char* text, char* name, char* args, int max);

/// Compares a signature with the expected one without regard to case. Returns 0 when they agree;
/// else 1 and posts error 1 (another name: another kind of file) or 2 (another version).
QVCORE_API int checksig(const char* found, const char* expected, const char* fileName);

/// The same for the first line of a file; the file is then at the first character after blank space
/// and comment lines.
QVCORE_API int checksig(FILE* file, const char* expected, const char* fileName);
