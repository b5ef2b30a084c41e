#pragma once
#include <vector>

#include "qvutils/common/object/qvcommandelt.h"

/// The value as it is shown to the user: a scalar's text, one line per entry of a list or matrix,
/// "????" for what has no text form, nothing for an element without storage.
QVString qvValueText(const QVCommandElt& element);

/// What help shows of an element: its type, its description, and for an object its published
/// things, sorted by name.
QVString qvHelpText(const QVCommandElt& element);

/// What an object publishes, sorted by name, each name once (the first that was published).
std::vector<QVCommandElt> qvSortedChildren(const QVCommandElt& object, bool withTexts);
