#include "tests/qvutils/common/formula/splitting_rules.h"

#include <algorithm>
#include <vector>

namespace {

constexpr auto none = std::string::npos;
const std::string parseError = "parse error\n";

bool isOpening(char c) {
    return c == '(' || c == '[';
}
bool isClosing(char c) {
    return c == ')' || c == ']';
}
bool isOneOf(char c, const char* set) {
    return c != 0 && std::string(set).find(c) != none;
}
std::string missing(char bracket) {
    return isOneOf(bracket, "()") ? "missing bracket\n" : "missing square bracket\n";
}

/// Comparisons are looked for from the right end; a bracket that never closes ends the search.
std::size_t lastComparison(const std::string& s, const std::string& op) {
    int depth = 0;
    for (std::size_t i = s.size(); i-- > 0;) {
        if (isClosing(s[i])) ++depth;
        if (isOpening(s[i]) && --depth < 0) return none;
        if (depth > 0 || s.compare(i, op.size(), op) != 0) continue;
        const bool longer = op.size() == 1 && i + 1 < s.size() && s[i + 1] == '=';
        if (!longer) return i;
    }
    return none;
}

bool isExponentSign(const std::string& s, std::size_t i) {
    if (i < 2 || !isOneOf(s[i - 1], "eE") || !isOneOf(s[i - 2], "0123456789.")) return false;
    std::string before = s.substr(0, i - 1);
    while (!before.empty() && isOneOf(before.back(), "0123456789.")) before.pop_back();
    return before.empty() || isOneOf(before.back(), "(+-*/");
}

std::size_t lastSign(const std::string& s) {
    std::string closers;
    for (std::size_t i = s.size(); i-- > 0;) {
        if (isClosing(s[i])) closers += s[i];
        if (isOpening(s[i])) {
            if (closers.empty()) throw missing(s[i]);
            closers.pop_back();
        }
        if (!closers.empty() || (s[i] != '+' && s[i] != '-')) continue;
        if (i + 1 == s.size()) throw parseError;
        if (i > 0 && isOneOf(s[i - 1], s[i] == '+' ? "*/-" : "*/+")) throw parseError;
        if (isOneOf(s[i + 1], "*/+-")) throw parseError;
        if (i > 0 && !isExponentSign(s, i)) return i;
    }
    if (!closers.empty()) throw missing(closers.front());
    return none;
}

std::size_t lastTimesOrOver(const std::string& s) {
    int depth = 0;
    for (std::size_t i = s.size(); i-- > 0;) {
        if (isClosing(s[i])) ++depth;
        if (isOpening(s[i])) --depth;
        if (depth != 0 || (s[i] != '*' && s[i] != '/')) continue;
        if (i == 0 || i + 1 == s.size()) throw parseError;
        const char a = s[i - 1];
        const char b = s[i + 1];
        if (s[i] == '*' && (a == '/' || b == '/')) throw parseError;
        if (s[i] == '/' && (isOneOf(a, "*/") || isOneOf(b, "*/"))) throw parseError;
        if (s[i] == '/' || (a != '*' && b != '*')) return i;
    }
    return none;
}

/// From the left: the first place where `what` stands outside brackets.
std::size_t first(const std::string& s, const std::string& what, std::size_t from = 0) {
    int depth = 0;
    for (std::size_t i = from; i < s.size(); ++i) {
        if (depth == 0 && s.compare(i, what.size(), what) == 0) return i;
        if (isOpening(s[i])) ++depth;
        if (isClosing(s[i])) --depth;
    }
    return none;
}

std::size_t partnerOf(const std::string& s, std::size_t bracket) {
    int depth = 0;
    for (std::size_t i = bracket; i < s.size(); ++i) {
        if (isOpening(s[i])) ++depth;
        if (isClosing(s[i]) && --depth == 0) return i;
    }
    return none;
}

std::vector<std::string> splitAtCommas(const std::string& s) {
    std::vector<std::string> parts;
    std::size_t from = 0;
    for (std::size_t comma; (comma = first(s, ",", from)) != none; from = comma + 1) {
        parts.push_back(s.substr(from, comma - from));
    }
    parts.push_back(s.substr(from));
    return parts;
}

class Rules {
public:
    void compile(const std::string& s, int loops = 0) {
        if (s.empty()) throw parseError;
        if (compileComparison(s, loops)) return;
        if (const auto i = lastSign(s); i != none) return binary(s, i, 1, loops);
        if (const auto i = lastTimesOrOver(s); i != none) return binary(s, i, 1, loops);
        if (s[0] == '+') return compile(s.substr(1), loops);
        if (s[0] == '-') {
            compile(s.substr(1), loops);
            return append("negate");
        }
        if (const auto i = first(s, "**"); i != none) {
            if (s.compare(i, 3, "***") == 0) throw parseError;
            return binary(s, i, 2, loops);
        }
        compileBrackets(s, loops);
    }

    std::string list;

private:
    void append(const std::string& element) { list += element + " "; }

    void binary(const std::string& s, std::size_t at, std::size_t width, int loops) {
        compile(s.substr(0, at), loops);
        compile(s.substr(at + width), loops);
        append(s.substr(at, width));
    }

    bool compileComparison(const std::string& s, int loops) {
        for (const std::string op : {"==", "!=", "<", "<=", ">", ">="}) {
            const std::size_t at = lastComparison(s, op);
            if (at == none) continue;
            binary(s, at, op.size(), loops);
            return true;
        }
        return false;
    }

    void compileBrackets(const std::string& s, int loops) {
        const std::size_t open = s.find_first_of("([");
        if (open == none) return append(s);
        const std::size_t close = partnerOf(s, open);
        if (s[close] != (s[open] == '(' ? ')' : ']')) throw missing(s[open]);
        const std::string name = s.substr(0, open);
        const std::string inner = s.substr(open + 1, close - open - 1);
        const bool whole = close + 1 == s.size();
        if (s[open] == '[') {
            if (!whole && !isClosing(s.back())) throw missing('[');
            if (!whole || name.empty()) throw parseError;
            compile(inner, loops);
            return append(name + "[]");
        }
        if (!whole || inner.empty()) throw parseError;
        if (name.empty()) return compile(inner, loops);
        if (name == "if") return compileIf(splitAtCommas(inner), loops);
        if (name == "sum" || name == "prod") return compileLoop(name, inner, loops);
        const std::vector<std::string> arguments = splitAtCommas(inner);
        for (const std::string& argument : arguments) compile(argument, loops);
        append(name + "(" + std::to_string(arguments.size()) + ")");
    }

    void compileIf(const std::vector<std::string>& arguments, int loops) {
        if (arguments.size() != 3) throw std::string("too many arguments to if function\n");
        compile(arguments[0], loops);
        append("?");
        compile(arguments[1], loops);
        append(":");
        compile(arguments[2], loops);
        append("endif");
    }

    void compileLoop(const std::string& kind, const std::string& inner, int loops) {
        const std::size_t equals = first(inner, "=");
        if (equals == none) throw parseError;
        const std::string variable = inner.substr(0, equals);
        if (variable.empty() || variable.find_first_of("+-*/<>=!()[],:") != none) throw parseError;
        const std::string rest = inner.substr(equals + 1);
        const std::size_t colon = first(rest, ":");
        const std::size_t comma = first(rest, ",");
        if (colon == none || comma == none || comma < colon) throw parseError;
        compile(rest.substr(0, colon), loops);
        compile(rest.substr(colon + 1, comma - colon - 1), loops);
        if (loops == 16) throw std::string("sums and products are nested too deeply\n");
        append(kind + "[" + variable + "]{");
        compile(rest.substr(comma + 1), loops + 1);
        append("}");
    }
};

}  // namespace

std::string splitByTheRules(std::string_view formula) {
    std::string text(formula);
    std::erase_if(text, [](char c) { return isOneOf(c, " \t\r\n"); });
    Rules rules;
    try {
        rules.compile(text);
    } catch (const std::string& message) {
        return "!" + message;
    }
    return rules.list;
}
