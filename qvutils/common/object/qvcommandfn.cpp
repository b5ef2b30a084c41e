#include "qvutils/common/object/qvcommandfn.h"

#include "qvutils/common/object/qvquotes.h"
#include "qvutils/common/text/qvnumber.h"

namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
    return text;
}

char unescaped(char c) {
    switch (c) {
        case 'n':
            return '\n';
        case 'r':
            return '\r';
        case 't':
            return '\t';
        default:
            return c;
    }
}

const QVCommandArg& noArgument() {
    static const QVCommandArg none;
    return none;
}

}  // namespace

QVString qvUnquote(std::string_view text) {
    text = trimmed(text);
    if (text.size() < 2 || text.front() != '"' || text.back() != '"') return QVString(text);
    text = text.substr(1, text.size() - 2);
    if (text.find('\\') == text.npos) return QVString(text);
    QVString plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            plain += text[i];
        } else if (++i < text.size()) {
            plain += unescaped(text[i]);
        }
    }
    return plain;
}

template <class T>
T QVCommandArg::number() const {
    T value = 0;
    if (position_ == 0 || qverr()) return value;
    if (!qvStringToNumber<T>(text_, value)) {
        qverr().setf("argument %d is not a number: \"%s\"\n", position_, text_.Chars());
    }
    return value;
}

QVCommandArg::operator int() const {
    return number<int>();
}

QVCommandArg::operator float() const {
    return number<float>();
}

QVCommandArg::operator double() const {
    return number<double>();
}

QVCommandArg::operator bool() const {
    if (text_ == "true") return true;
    if (text_ == "false") return false;
    return number<double>() != 0;
}

QVCommandArgList::QVCommandArgList(const char* args) {
    const std::string_view text = trimmed(args);
    if (text.empty()) return;
    qvQuotes quotes;
    std::size_t start = 0;
    const auto add = [&](std::size_t end) {
        const int position = nargs() + 1;
        args_.append().Init(text.substr(start, end - start), position);
    };
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (!quotes.outside(text[i]) || text[i] != ',') continue;
        add(i);
        start = i + 1;
    }
    add(text.size());
}

const QVCommandArg& QVCommandArgList::operator[](int i) const {
    if (i >= 0 && i < nargs()) return args_[static_cast<std::size_t>(i)];
    qverr().set("insufficient arguments\n");
    return noArgument();
}

const QVCommandArg& QVCommandArgList::optional(int i) const {
    return i < nargs() ? args_[static_cast<std::size_t>(i)] : noArgument();
}

bool QVCommandArgList::checkCount(int least, int most) const {
    if (nargs() < least) (*this)[least - 1];
    if (nargs() > most) qverr().set("too many arguments\n");
    return !qverr();
}
