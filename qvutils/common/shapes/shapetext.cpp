#include "qvutils/common/shapes/shapetext.h"

#include <algorithm>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/text/qvnumber.h"

namespace {

bool isControl(char c) {
    return static_cast<unsigned char>(c) < ' ' && c != '\t';
}

/// Follows a text and knows how many brackets are open. Kinds of brackets are not told apart: the
/// formula parser does that.
class Brackets {
public:
    void pass(char c) {
        depth_ += c == '(' || c == '[' || c == '{';
        depth_ -= c == ')' || c == ']' || c == '}';
        crossed_ = crossed_ || depth_ < 0;
    }
    bool outside() const { return depth_ == 0; }
    bool match() const { return depth_ == 0 && !crossed_; }

private:
    long depth_ = 0;
    bool crossed_ = false;
};

}  // namespace

std::string_view qvTrimmedShapeText(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n";
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    return text.substr(0, text.find_last_not_of(blanks) + 1);
}

const char* qvFlawOfShapeParameter(std::string_view text) {
    if (qvTrimmedShapeText(text).empty()) return "is missing";
    if (std::any_of(text.begin(), text.end(), isControl)) return "has a control character";
    if (text.find('"') != text.npos) return "has a double quote";
    if (text.find("//") != text.npos) return "has a comment";
    Brackets brackets;
    for (char c : text) {
        brackets.pass(c);
        if (c == ',' && brackets.outside()) return "has a comma outside brackets";
    }
    return brackets.match() ? nullptr : "has brackets that do not match";
}

std::vector<std::string_view> qvSplitShapeParameters(std::string_view text) {
    std::vector<std::string_view> pieces;
    Brackets brackets;
    std::size_t start = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        brackets.pass(text[i]);
        if (text[i] != ',' || !brackets.outside()) continue;
        pieces.push_back(qvTrimmedShapeText(text.substr(start, i - start)));
        start = i + 1;
    }
    pieces.push_back(qvTrimmedShapeText(text.substr(start)));
    return pieces;
}

std::string qvFlawOfDimension(const QVDimension& dimension, std::string_view text,
                              const qvNameSpace* space) {
    const char* flaw = dimension.with([&]<class T>(const qvParameter<T>*) -> const char* {
        T value;
        if (qvStringToNumber<T>(text, value)) return dimension.flawOf(value);
        if (const char* unreadable = qvFlawOfShapeParameter(text)) return unreadable;
        return space ? nullptr : "is a formula, but there are no variables here";
    });
    return flaw ? std::string(dimension.name) + " " + flaw : std::string();
}

QVString qvTextOfDimension(const QVDimension& dimension) {
    return dimension.with([](const auto* parameter) {
        return parameter->IsUndefined() ? parameter->GetValueString()
                                        : parameter->GetMyExpression();
    });
}

void qvAssignDimension(const QVDimension& dimension, QVCommandElt& element, const char* value,
                       const char* path) {
    dimension.with([&](auto* parameter) {
        const auto before = *parameter;
        element.Assign(value, path);
        if (qverr()) return;
        const char* flaw = qvFlawOfShapeParameter(parameter->GetMyExpression().view());
        if (!flaw && parameter->IsValue()) flaw = dimension.flawOf(parameter->GetValue());
        const std::string told = flaw ? std::string(flaw) + "\n" : dimension.flawNow();
        if (told.empty()) return;
        *parameter = before;
        qverr().setf("could not set \"%s\" to \"%s\"\n   it %s", path, value, told.c_str());
    });
}
