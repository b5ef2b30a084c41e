#pragma once
#include <cstdint>
#include <vector>

#include "qvutils/common/formula/formulanames.h"
#include "qvutils/common/formula/funcparser.h"

/// The operations of a compiled formula. Each entry says what it takes from the value stack and
/// what it leaves there.
enum class QVOp : std::uint8_t {
    number,        // -> value
    parameter,     // -> current value of the scalar parameter `target`
    variable,      // -> current value of the namespace variable names[target]
    loopVariable,  // -> the integer in loop slot `target`
    call,          // `arguments` values -> function's result
    add,           // 2 -> 1, as for the next three
    subtract,
    multiply,
    divide,
    negate,      // 1 -> 1
    index,       // 1 -> element of the vector parameter `target`
    jumpIfZero,  // 1 -> nothing; goes on at element `target` when it was zero
    jump,        // goes on at element `target`
    endIf,       // nothing: where both ways of a conditional meet
    equal,       // 2 -> 1 or 0, as for the next five
    notEqual,
    less,
    lessEqual,
    greater,
    greaterEqual,
    loopBegin,  // lower bound, upper bound -> nothing; the body follows; `target` is its loopEnd
    loopEnd     // the body's value -> nothing; after the last round the total; `target`: loopBegin
};

enum class QVLoopKind : std::uint8_t { none = 0, sum = 1, product = 2 };

/// One entry of the list in postfix order that a formula is compiled to.
template <class T>
struct QVCompiledElement {
    QVOp op = QVOp::number;
    QVLoopKind kind = QVLoopKind::none;  // of loopBegin and loopEnd
    /// The text that an error at this element points to, in the formula as typed: the operator, the
    /// function's name, the number or name, name[...] of an index.
    int position = 0;
    int length = 0;
    /// What `op` says: the number of a parameter or name, from 0; a loop slot; a place in the list.
    int target = 0;
    int arguments = 0;  // of call; of loopBegin and loopEnd the loop slot
    T value{};
    const FuncDataElt<T>* function = nullptr;
};

/// The most elements of a list; no value stack gets deeper than that.
inline constexpr int qvMostOperations = 5000;
/// How deep sums and products nest, and so the number of loop slots, which count from 0 outermost.
inline constexpr int qvDeepestLoop = 16;

template <class T>
struct QVCompiledList {
    std::vector<QVCompiledElement<T>> elements;
    std::vector<QVNameHandle> names;  // each name of the namespace once
    int loopSlots = 0;                // how many are in use at most
};
