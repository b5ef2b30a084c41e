#pragma once
#include <string>
#include <string_view>
#include <vector>

#include "qvutils/common/shapes/qvshape.h"

/// The text without the blanks around it.
std::string_view qvTrimmedShapeText(std::string_view text);

/// What a parameter's text must not hold, for it would not be read back from the text form: nothing
/// at all, a comma outside brackets, brackets that do not match, double quotes, comments, control
/// characters. Null when it can be read back.
const char* qvFlawOfShapeParameter(std::string_view text);

/// The parameters between the brackets of a text form, cut at each comma outside brackets and
/// without the blanks around them.
std::vector<std::string_view> qvSplitShapeParameters(std::string_view text);

/// What keeps a dimension from being set to a text, as in "width must be a positive number": it
/// takes a formula, for which there must be a namespace, or a number that it may have. Empty when
/// nothing does.
std::string qvFlawOfDimension(const QVDimension& dimension, std::string_view text,
                              const qvNameSpace* space);

/// A dimension's text in the text form; one that is undefined is written as what it reads as.
QVString qvTextOfDimension(const QVDimension& dimension);

/// An assignment by a command to the dimension that the element refers to. What the dimension or
/// the text form cannot take posts an error, and the dimension keeps what it was.
void qvAssignDimension(const QVDimension& dimension, QVCommandElt& element, const char* value,
                       const char* path);
