#pragma once
#include <functional>
#include <string>
#include <string_view>

#include "qvutils/common/platform/qvexport.h"

class TextBlock;

/// One line of a body that consists of definitions, one a line:
///     line = [ left "=" definition ] [ "//" comment ] | nested block
/// Blank lines are not told.
struct QVCORE_API DefinitionLine {
    enum Kind {
        assignment,
        other,     ///< a comment line or a line of a nested block
        noEquals,  ///< neither
    };
    Kind kind;
    std::string_view whole;    ///< with its blanks, comment and line end
    std::string_view left;     ///< before the "=", without blanks around it
    std::string definition;    ///< after it, likewise; line breaks are blanks
    std::string_view comment;  ///< from the blanks before its "//" to its end
    /// For messages: the line without the blanks before it, with its end.
    std::string told() const;
};

/// Calls `tell` for each line of the block's body.
QVCORE_API void forEachDefinitionLine(const TextBlock& block,
                                      const std::function<void(const DefinitionLine&)>& tell);

/// The line of a definition, in a form that is read back as the same.
std::string definitionLineText(std::string_view left, std::string_view definition,
                               std::string_view comment);

/// The line with a line end.
QVCORE_API std::string withLineEnd(std::string_view line);

/// Posts an error for a formula that the line would lose: one with "//" in it.
bool refuseComment(std::string_view formula);
