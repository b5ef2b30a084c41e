#pragma once
#include "qvutils/common/platform/qvexport.h"
#include "qvutils/common/text/qvstring.h"

class QVObject;

/// The answers of the methods "objmembers" and "objmember" of every object: what it publishes, for
/// programs to read.

/// A line per name, sorted: name, type, "ro" or "rw", and help text, with tabs between. In a help
/// text, backslashes, tabs and line ends are written \\, \t, \n and \r.
QVCORE_API QVString qvListMembers(QVObject& object);

/// The type of a member ("FLOAT", "LIST<qvProjectNode>", "FUNCTION", ...), and in the next line: of
/// a value its text, which may have further lines; of a list "first last", its range of indices; of
/// a matrix the ranges of both. A method, an object and what has no storage have no second line.
/// Nothing is called. Posts "could not find item \"%s\"\n" for an unknown name.
QVCORE_API QVString qvDescribeMember(QVObject& object, const QVString& name);
