#include "qvutils/common/shapes/weighting.h"

#include <algorithm>
#include <cmath>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/shapes/weightfunc.h"

namespace {

constexpr std::string_view blanks = " \t\r\n\v\f";
constexpr const char* rangeFormat = "RANGE start end";

QVString oneLine(std::string_view text) {
    std::string line(text);
    std::replace_if(
        line.begin(), line.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
    return line.c_str();
}

/// Each reading function consumes what its production says; false after a SyntaxErr.
class Reader {
public:
    Reader(std::string_view text, qvNameSpace* space, qvWeighting& result)
        : rest_(text), space_(space), result_(result) {
        skipBlanks();
    }
    /// definition: { [ name ] function | "RANGE" start end }
    bool readDefinition();

private:
    bool readFunction(std::size_t component, const WeightKind& kind);
    bool readArgument(WeightComponent& function);
    bool readText(WeightComponent& function);
    bool readNumber(WeightComponent& function);
    bool readParams(std::size_t component);
    bool readParam(std::size_t component, std::string_view name);
    bool readRange();

    void skipBlanks() {
        rest_.remove_prefix(std::min(rest_.find_first_not_of(blanks), rest_.size()));
    }
    std::string_view word() const { return rest_.substr(0, rest_.find_first_of(blanks)); }
    void take(std::size_t length) {
        rest_.remove_prefix(length);
        skipBlanks();
    }
    bool isQuoted() const { return rest_.starts_with('"') && rest_.find('"', 1) != rest_.npos; }
    std::string_view takeQuoted();
    bool takeValue(qvParameter<double>& value);
    std::string_view nameBeforeEquals() const;
    bool fail(const char* format) const;

    std::string_view rest_;
    std::string_view item_;  ///< from the keyword under way to the end
    qvNameSpace* space_;
    qvWeighting& result_;
};

bool Reader::fail(const char* format) const {
    constexpr std::size_t shown = 200;
    SyntaxErr("Invalid weighting function parameters: %s\n   required format: %s\n",
              std::string(item_.substr(0, shown)).c_str(), format);
    return false;
}

bool Reader::readDefinition() {
    constexpr auto& names = qvWeighting::names;
    while (!rest_.empty()) {
        item_ = rest_;
        std::size_t component = names.size() - 1;
        const auto* const name = std::find(names.begin(), names.end(), word());
        if (name != names.end()) {
            component = static_cast<std::size_t>(name - names.begin());
            take(word().size());
        }
        const WeightKind* const kind = WeightKind::find(word());
        if (kind) {
            if (!readFunction(component, *kind)) return false;
        } else if (word() == "RANGE" && name == names.end()) {
            if (!readRange()) return false;
        } else {
            const std::string_view unknown = rest_.empty() ? item_ : word();
            SyntaxErr("Unrecognised symbol \"%s\"\n", std::string(unknown).c_str());
            return false;
        }
    }
    return true;
}

bool Reader::readFunction(std::size_t component, const WeightKind& kind) {
    WeightComponent& function = result_.functions[component];
    if (function.kind) {
        SyntaxErr("There is already a weighting function for %s: %s\n",
                  qvWeighting::names[component], function.kind->keyword);
        return false;
    }
    take(word().size());
    function.kind = &kind;
    return readArgument(function) &&
           (kind.argument != WeightKind::formula || readParams(component));
}

bool Reader::readArgument(WeightComponent& function) {
    return function.kind->takesNumber() ? readNumber(function) : readText(function);
}

/// A formula stands in quotes; the name of a file does when it has blanks.
bool Reader::readText(WeightComponent& function) {
    const bool mustBeQuoted = function.kind->argument == WeightKind::formula;
    std::string_view text = word();
    if (isQuoted()) {
        text = takeQuoted();
    } else if (mustBeQuoted || text.find('"') != text.npos) {
        return fail(function.kind->format);
    } else {
        take(text.size());
    }
    if (text.find_first_not_of(blanks) == text.npos) return fail(function.kind->format);
    function.text = oneLine(text);
    return true;
}

bool Reader::readNumber(WeightComponent& function) {
    const WeightKind& kind = *function.kind;
    const bool isNumber =
        !rest_.empty() && (rest_[0] == '"' || rest_[0] == '+' || rest_[0] == '-' ||
                           rest_[0] == '.' || (rest_[0] >= '0' && rest_[0] <= '9'));
    if (!isNumber && kind.argument == WeightKind::numberOrNone) {
        function.number = kind.usual;
        return true;
    }
    return takeValue(function.number) || fail(kind.format);
}

std::string_view Reader::takeQuoted() {
    const std::size_t end = rest_.find('"', 1);
    const std::string_view text = rest_.substr(1, end - 1);
    take(end + 1);
    return text;
}

/// value: number | '"' formula '"'
bool Reader::takeValue(qvParameter<double>& value) {
    if (isQuoted()) {
        const QVString text = oneLine(takeQuoted());
        return value.SetValueOrExpression(space_, text);
    }
    const std::string_view number = word();
    if (!value.SetValue(QVString(number)) || !std::isfinite(value.GetValue())) return false;
    take(number.size());
    return true;
}

/// The word before an "=" at the cursor; empty when there is none.
std::string_view Reader::nameBeforeEquals() const {
    const std::size_t length =
        std::min(rest_.find_first_of(std::string(blanks) + "=\""), rest_.size());
    const std::size_t next = std::min(rest_.find_first_not_of(blanks, length), rest_.size());
    return rest_.substr(next, 1) == "=" ? rest_.substr(0, length) : std::string_view();
}

/// { name "=" value }
bool Reader::readParams(std::size_t component) {
    for (;;) {
        const std::string_view name = nameBeforeEquals();
        if (name.empty()) return true;
        if (!readParam(component, name)) return false;
    }
}

bool Reader::readParam(std::size_t component, std::string_view name) {
    const auto& params = result_.params;
    const QVString text(name);
    if (!qvNamedVariable::IsNameValid(text) || text == "t") {
        SyntaxErr("Invalid weighting parameter name %s\n", text.Chars());
        return false;
    }
    if (std::any_of(params.begin(), params.end(),
                    [&](const WeightParam& param) { return param.name == text; })) {
        SyntaxErr("Duplicate weighting parameter name %s\n", text.Chars());
        return false;
    }
    if (params.size() == WeightFunc::mostParams) {
        SyntaxErr("Weighting functions have at most %d parameters\n", WeightFunc::mostParams);
        return false;
    }
    take(name.size());
    take(1);
    WeightParam param{text, {}, static_cast<int>(component)};
    if (!takeValue(param.value)) return fail(result_.functions[component].kind->format);
    result_.params.push_back(std::move(param));
    return true;
}

bool Reader::readRange() {
    take(word().size());
    double ends[2];
    for (double& end : ends) {
        if (!qvStringToNumber(QVText(word()), end)) return fail(rangeFormat);
        take(word().size());
    }
    if (WeightRange::isUsable(ends[0], ends[1]))
        result_.range = {ends[0], ends[1], true};
    else
        wlprintf("WARNING: silly range in Weighting Function\n");
    return true;
}

bool needsQuotes(std::string_view text) {
    return text.find_first_of(blanks) != text.npos;
}

}  // namespace

bool qvWeighting::read(std::string_view text, qvNameSpace* space) {
    if (text.size() > WeightFunc::longestText) {
        SyntaxErr("Weighting functions have at most %d characters\n",
                  static_cast<int>(WeightFunc::longestText));
        return false;
    }
    // The project file keeps it on a line, where this would begin a comment.
    if (text.find("//") != text.npos || text.find('\0') != text.npos) {
        SyntaxErr("Weighting functions cannot have \"//\"\n");
        return false;
    }
    return Reader(text, space, *this).readDefinition();
}

QVString qvWeighting::write() const {
    QVString text;
    const auto add = [&text](const QVString& word) {
        if (!text.Empty()) text += ' ';
        text += word;
    };
    for (std::size_t i = 0; i < functions.size(); ++i) {
        const WeightComponent& function = functions[i];
        if (!function.kind) continue;
        if (i + 1 < functions.size()) add(names[i]);
        add(function.kind->keyword);
        if (function.kind->takesNumber())
            add(function.number.Write());
        else if (function.kind->argument == WeightKind::formula ||
                 needsQuotes(function.text.view()))
            add("\"" + function.text + "\"");
        else
            add(function.text);
        for (const WeightParam& param : params) {
            if (param.component == static_cast<int>(i)) add(param.name + "=" + param.value.Write());
        }
    }
    if (range.given) add("RANGE " + qvShortestText(range.start) + " " + qvShortestText(range.end));
    return text;
}

void qvWeighting::prepare() {
    for (WeightComponent& function : functions) {
        if (function.kind) function.prepare(params);
    }
}

void qvWeighting::enter(qvNameSpace* space) {
    const auto move = [space](qvParameter<double>& value) {
        if (!value.IsValue()) value.SetExpression(space, value.GetMyExpression());
    };
    for (WeightComponent& function : functions) move(function.number);
    for (WeightParam& param : params) move(param.value);
}

std::string qvWeighting::flaw() const {
    for (const WeightComponent& function : functions) {
        if (!function.flaw.empty()) return function.flaw;
    }
    return {};
}

qvParameter<double>* qvWeighting::findValue(const void* address) {
    for (WeightComponent& function : functions) {
        if (&function.number == address) return &function.number;
    }
    for (WeightParam& param : params) {
        if (&param.value == address) return &param.value;
    }
    return nullptr;
}
