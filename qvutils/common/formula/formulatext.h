#pragma once
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "qvutils/common/formula/formulanames.h"

/// A formula made ready for parsing: blanks, tabs and line ends removed, brackets matched.
///
/// Round and square brackets count alike towards the depth, so a bracket's partner may be of the
/// wrong kind; the parser says so when it gets there.
class QVFormulaText {
public:
    explicit QVFormulaText(std::string_view typed);

    int size() const { return static_cast<int>(chars_.size()); }
    char operator[](int i) const { return chars_[static_cast<std::size_t>(i)]; }
    std::string_view view(int begin, int end) const {
        return std::string_view(chars_).substr(static_cast<std::size_t>(begin),
                                               static_cast<std::size_t>(end - begin));
    }
    /// The position of the matching bracket, -1 when there is none; for positions of brackets only.
    int partner(int i) const { return partners_[static_cast<std::size_t>(i)]; }

    /// The position in the text as typed; of the end, the end there.
    int typed(int i) const { return typed_.empty() ? i : typed_[static_cast<std::size_t>(i)]; }
    /// What the range from begin to end is in the text as typed; an empty one is one column wide.
    QVFormulaFault faultAt(int begin, int end) const;

private:
    void removeBlanks(std::string_view typed);
    void matchBrackets();

    std::string chars_;
    std::vector<int> typed_;           // empty when there was nothing to remove
    std::unique_ptr<int[]> partners_;  // set at brackets only
};

namespace qvformula {

inline bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

}  // namespace qvformula
