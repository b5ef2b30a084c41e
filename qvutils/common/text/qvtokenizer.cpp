#include "qvutils/common/text/qvtokenizer.h"

QVStringTokenizer::QVStringTokenizer(QVText text, QVText delimiters, bool keepDelimiters) {
    std::string_view rest = text.view();
    while (!rest.empty()) {
        const std::size_t run = std::min(rest.find_first_of(delimiters.view()), rest.size());
        if (run > 0) tokens_.append(QVString(rest.substr(0, run)));
        if (run == rest.size()) break;
        if (keepDelimiters) tokens_.append(QVString(rest[run]));
        rest.remove_prefix(run + 1);
    }
}

QVString QVStringTokenizer::GetNextToken() {
    return HasMoreTokens() ? tokens_[cursor_++] : QVString();
}
