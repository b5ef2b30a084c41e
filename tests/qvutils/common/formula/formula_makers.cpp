#include "tests/qvutils/common/formula/formula_makers.h"

namespace {

const std::string tokens[] = {"a",    "b",     "x",    "width", "i",  "_PI", "1",     "2.5",
                              "1e-3", "2.E+4", "0x1F", "inf",   ".5", "1e5", "undef", "1.2.3"};
const std::string functions[] = {"sqrt", "sin", "max", "pow", "nosuch"};
const std::string pieces[] = {
    "a",   "b",      "1",     "e",  "1e", "2.",  "+",  "-",  "*",  "/",    "**",    "<", ">",
    "=",   "==",     "!=",    "<=", ">=", "(",   ")",  "[",  "]",  ",",    ":",     "!", " ",
    "if(", "sum(i=", "prod(", "f(", "v[", "(a)", "1:", "i,", "-1", "1e+5", "sin(1)"};
const std::string alphabet = "ab1.eE+-*/*+-<>=!()[](),: ";

}  // namespace

std::string FormulaMaker::operand(int depth) {
    const auto inner = [&] { return formula(depth - 1); };
    switch (depth > 0 ? below(14) : below(7)) {
        case 7:
            return "(" + inner() + ")";
        case 8:
            return pick(functions) + "(" + inner() + ")";
        case 9:
            return pick(functions) + "(" + inner() + "," + inner() + ")";
        case 10:
            return "if(" + inner() + "," + inner() + (below(9) ? "," + inner() : "") + ")";
        case 11:
            return "sum(i=" + inner() + ":" + inner() + "," + inner() + ")";
        case 12:
            return "prod( k =" + inner() + ":" + inner() + "," + inner() + ")";
        case 13:
            return "v[" + inner() + "]";
        default:
            return pick(tokens);
    }
}

std::string FormulaMaker::term(int depth) {
    static const std::string joints[] = {"*", "/", "**", " * "};
    std::string text = operand(depth);
    while (below(3) == 0) text += pick(joints) + operand(depth - 1);
    return text;
}

std::string FormulaMaker::formula(int depth) {
    static const std::string joints[] = {"+", "-", " + ", "-",  "+",  "-",
                                         "<", ">", "<=",  ">=", "==", "!="};
    static const std::string signs[] = {"", "", "", "+", "-"};
    std::string text = pick(signs) + term(depth);
    while (below(3) == 0) text += pick(joints) + term(depth - 1);
    return text;
}

std::string FormulaMaker::bent(std::string formula) {
    for (int changes = 1 + below(3); changes > 0; --changes) {
        const auto at = static_cast<std::size_t>(below(static_cast<int>(formula.size()) + 1));
        const std::size_t taken = below(2) ? 1 : 0;
        const char c = alphabet[static_cast<std::size_t>(below(static_cast<int>(alphabet.size())))];
        formula.replace(at, taken, static_cast<std::size_t>(below(3) != 0), c);
    }
    return formula;
}

std::string FormulaMaker::soup(int count) {
    std::string text;
    while (count-- > 0) text += pick(pieces);
    return text;
}
