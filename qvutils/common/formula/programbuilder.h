#pragma once
#include <algorithm>
#include <vector>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/formula/program.h"

namespace qvprogram {

using namespace qvforms;

inline QVCode plus(QVCode code, int offset) {
    return static_cast<QVCode>(static_cast<int>(code) + offset);
}
inline int distance(QVCode from, QVCode to) {
    return static_cast<int>(to) - static_cast<int>(from);
}

template <class T>
bool isPower(const QVCompiledElement<T>& e) {
    return e.op == QVOp::call && e.arguments == 2 && e.function->facts &&
           e.function->facts->direct == QVDirect::power;
}
template <class T>
bool isSmall(const T& exponent) {
    return exponent == T(2) || exponent == T(3) || exponent == T(4);
}

/// Makes the program in one pass over the list. A value stack of what is known at compile time
/// stands for the one of the list: numbers and parameters stay where they are until an operation
/// names them as its operands; at most one entry is in the accumulator; others have been saved to
/// the slot of their place on the stack.
template <class T>
class Builder {
public:
    Builder(const QVCompiledList<T>& list, QVProgram<T>& program);
    void run() {
        for (const QVCompiledElement<T>& e : list_.elements) {
            spot_ = {e.position, e.length};
            element(e);
            deepest_ = std::max(deepest_, static_cast<int>(stack_.size()));
        }
        toAccumulator();
        emit({QVCode::End});
        program_.frameSize = firstValue_ + deepest_;
    }

private:
    enum Place { constant, slot, accumulator };
    struct Entry {
        Place place;
        int slot;
        T k;
    };
    using Instruction = QVInstruction<T>;

    void element(const QVCompiledElement<T>& e);
    void push(Place place, int slot, const T& k = T()) { stack_.push_back({place, slot, k}); }
    void pushAccumulator() {
        push(accumulator, 0);
        inAccumulator_ = static_cast<int>(stack_.size()) - 1;
    }
    /// Takes the top entry away, which may be the one in the accumulator.
    Entry pop() {
        const Entry top = stack_.back();
        stack_.pop_back();
        if (inAccumulator_ == static_cast<int>(stack_.size())) inAccumulator_ = -1;
        return top;
    }
    int home(int entry) const { return firstValue_ + entry; }
    Entry& top() { return stack_.back(); }

    void emit(const Instruction& instruction) {
        program_.code.push_back(instruction);
        program_.spots.push_back(spot_);
    }
    /// An instruction that begins a new value: what the accumulator holds is saved in slot z.
    void emitStart(Instruction instruction);
    void toAccumulator();
    void toHome(int entry);
    /// The last instruction, when no jump leads to behind it.
    Instruction* last() {
        return program_.code.size() > barrier_ ? &program_.code.back() : nullptr;
    }
    void markTarget() { barrier_ = program_.code.size(); }
    int here() const { return static_cast<int>(program_.code.size()); }

    void binary(QVCode operation);
    bool fold(QVCode operation, const T& a, const T& b);
    bool fuse(QVCode operation, int leftSlot);
    bool fuseHorner(QVCode operation, const T& k);
    void comparison(QVCode operation);
    void negate();
    void call(const QVCompiledElement<T>& e);
    bool foldCall(const QVCompiledElement<T>& e);
    void callWithList(const QVCompiledElement<T>& e);
    void unary(const QVCompiledElement<T>& e);
    bool smallPower();
    int callNumber(const FuncDataElt<T>* function);
    void index(int parameter);
    void conditionalJump();
    void jumpToEnd();
    void endOfConditional();
    void loopBegin(const QVCompiledElement<T>& e);
    void loopEnd(const QVCompiledElement<T>& e);
    int scalarSlot(int parameter) const {
        const auto& all = program_.scalars;
        return 1 +
               static_cast<int>(std::lower_bound(all.begin(), all.end(), parameter) - all.begin());
    }
    void makeSquares();
    /// The slot that holds the square of what is in a slot; 0 for none.
    int squareOf(int number) const {
        const auto i = static_cast<std::size_t>(number - 1);
        return i < squares_.size() ? squares_[i] : 0;
    }
    int loopSlot(int level) const {
        return 1 + static_cast<int>(program_.scalars.size()) + 2 * level;
    }

    const QVCompiledList<T>& list_;
    QVProgram<T>& program_;
    std::vector<Entry> stack_;
    std::vector<int> squares_;  // the slot of each scalar's square, 0 for none
    std::vector<int> open_;     // jumps whose target is not known yet, first rounds of loops
    QVSpot spot_;
    int inAccumulator_ = -1;
    int firstValue_ = 0;
    int deepest_ = 1;
    std::size_t barrier_ = 0;
};

}  // namespace qvprogram
