#include "apps/qv/calculator.h"

#include <cctype>
#include <cstdio>

#include "apps/qv/evaloptions.h"
#include "apps/qv/input.h"
#include "apps/qv/lineedit.h"
#include "qvutils/common/platform/console.h"
#include "qvutils/common/tasks/runsignal.h"
#include "qvutils/common/text/qvnumber.h"

namespace {

constexpr const char* blanks = " \t";

bool isNamePart(char c) {
    return c == '_' || std::isalnum(static_cast<unsigned char>(c)) != 0;
}

}  // namespace

QVString valueText(double value) {
    return qvShortestText(value);
}

QVString valueText(const std::complex<double>& value) {
    return value.imag() == 0 ? qvShortestText(value.real()) : qvShortestText(value);
}

template <class T>
bool Calculator<T>::run() {
    if (qvplatform::inputIsTerminal()) {
        converse();
        return true;
    }
    bool well = true;
    std::string line;
    while (readLine(stdin, line)) well = runLine(line) && well;
    return well;
}

template <class T>
bool Calculator<T>::runLine(const std::string& line) {
    const std::size_t first = line.find_first_not_of(blanks);
    if (first == std::string::npos || line.compare(first, 2, "//") == 0) return true;
    EvalOptions::Named definition;
    if (splitDefinition(line, definition))
        return sheet_.define(definition.name, definition.formula);
    std::vector<T> values;
    if (!sheet_.evaluate(line, values)) return false;
    std::printf("%s\n", valueText(values[0]).Chars());
    std::fflush(stdout);
    return true;
}

template <class T>
void Calculator<T>::converse() {
    std::printf("Formulas; \"name = formula\" defines a name. Ctrl-D or \"quit\" leaves.\n");
    LineEditor editor([this](const std::string& typed) { return completions(typed); }, {});
    std::string line;
    while (editor.read("= ", line) && line != "quit" && line != "exit") {
        editor.remember(line);
        const qvRunSignal running;
        runLine(line);
    }
}

// The names, functions and constants that begin as the last word does.
template <class T>
std::vector<std::string> Calculator<T>::completions(const std::string& typed) const {
    std::size_t begin = typed.size();
    while (begin > 0 && isNamePart(typed[begin - 1])) --begin;
    const std::string word = typed.substr(begin);
    std::vector<std::string> lines;
    const auto offer = [&](const std::string& name, const char* after) {
        const bool isWord = !name.empty() && isNamePart(name[0]);
        if (isWord && name.compare(0, word.size(), word) == 0)
            lines.push_back(typed.substr(0, begin) + name + after);
    };
    for (const std::string& name : sheet_.names()) offer(name, "");
    for (const char* name : {"sum", "prod"}) offer(name, "(");
    const QVFuncParser<T>& registry = QVFuncParser<T>::TheFuncParser;
    for (const FuncDataElt<T>& function : registry.getFunctions())
        offer(function.name.Chars(), "(");
    for (const QVFormulaConstant<T>& constant : registry.getConstants())
        offer(constant.name.Chars(), "");
    return lines;
}

template class Calculator<double>;
template class Calculator<std::complex<double>>;
