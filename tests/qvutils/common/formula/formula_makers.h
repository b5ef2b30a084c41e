#pragma once
#include <random>
#include <string>

/// Makes random formulas: right ones by the grammar, the same with a few characters changed, and
/// mere heaps of the language's pieces.
class FormulaMaker {
public:
    explicit FormulaMaker(unsigned seed) : random_(seed) {}

    std::string formula(int depth);
    std::string bent(std::string formula);
    std::string soup(int pieces);
    int below(int n) { return static_cast<int>(random_() % static_cast<unsigned>(n)); }

private:
    template <class Choices>
    std::string pick(const Choices& choices) {
        return choices[static_cast<std::size_t>(below(static_cast<int>(std::size(choices))))];
    }
    std::string operand(int depth);
    std::string term(int depth);

    std::mt19937 random_;
};
