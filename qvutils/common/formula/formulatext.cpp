#include "qvutils/common/formula/formulatext.h"

#include <algorithm>
#include <utility>

QVFormulaText::QVFormulaText(std::string_view typed) {
    removeBlanks(typed);
    matchBrackets();
}

void QVFormulaText::removeBlanks(std::string_view typed) {
    if (std::none_of(typed.begin(), typed.end(), qvformula::isBlank)) {
        chars_ = typed;
        return;
    }
    chars_.reserve(typed.size());
    typed_.reserve(typed.size() + 1);
    for (std::size_t i = 0; i < typed.size(); ++i) {
        if (qvformula::isBlank(typed[i])) continue;
        chars_ += typed[i];
        typed_.push_back(static_cast<int>(i));
    }
    typed_.push_back(static_cast<int>(typed.size()));
}

void QVFormulaText::matchBrackets() {
    partners_ = std::make_unique_for_overwrite<int[]>(chars_.size());
    int open = -1;  // the innermost open bracket; each one's partner is the one around it till then
    for (int i = 0; i < size(); ++i) {
        const char c = chars_[static_cast<std::size_t>(i)];
        if (c == '(' || c == '[') {
            partners_[i] = open;
            open = i;
        } else if (c == ')' || c == ']') {
            partners_[i] = open;
            if (open >= 0) open = std::exchange(partners_[open], i);
        }
    }
    while (open >= 0) open = std::exchange(partners_[open], -1);
}

QVFormulaFault QVFormulaText::faultAt(int begin, int end) const {
    QVFormulaFault fault;
    fault.column = typed(begin);
    fault.length = end > begin ? typed(end - 1) - fault.column + 1 : 1;
    return fault;
}
