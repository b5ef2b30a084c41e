#pragma once
#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "qvutils/common/formula/blockkernels.h"
#include "qvutils/common/formula/interpreter.h"

/// Runs a straight program over many rows of values at once: each instruction works on a block of
/// them. It finds out that a row fails, not which one, nor why: that is left to the evaluation of
/// the rows one by one.
template <class T>
class QVBlockRunner {
public:
    static constexpr int most = 8192 / sizeof(T);

    /// Can the program be run in blocks? Not when it has jumps or calls impure functions.
    static bool serves(const QVProgram<T>& program);

    QVBlockRunner(const QVProgram<T>& program, const QVRun<T>& run,
                  std::span<const QVArraySource<T>> sources);

    /// The results of n rows from `first` on; false when one of them fails.
    bool rows(std::size_t first, int n, T* results);

private:
    /// n values, or one that stands for n equal ones.
    struct Operand {
        const T* values = nullptr;
        bool uniform = false;
    };
    using Instruction = QVInstruction<T>;

    bool step(const Instruction& i);
    bool lastStep(const Instruction& i, T* results);
    bool arithmetic(const Instruction& i);
    bool fused(const Instruction& i);
    bool horner(Operand x, const T& k);
    bool square();
    bool comparison(const Instruction& i);
    bool squareRoot();
    bool callUnary(const FuncDataElt<T>& f);
    bool call(const FuncDataElt<T>& f, int firstSlot, int count);
    void save(int slot);
    bool load(int saved, Operand value);
    bool place(int slot, Operand value);
    bool apply(int operation, Operand a, Operand b, T* out, bool aConstant, bool bConstant);
    /// The result_ becomes the accumulator.
    bool toAccumulator(bool done);
    /// The accumulator becomes f of it; out = f(a, b): one by one.
    template <class Function>
    bool each(const Function& f);
    template <class Function>
    bool each(Operand a, Operand b, T* out, const Function& f);

    const QVProgram<T>& program_;
    const QVRun<T>& run_;
    const qvformula::BlockKernels& kernels_ = qvformula::blockKernels();
    std::vector<const T*> sourceOf_;  // of each scalar of the program; null for none
    std::vector<T> numbers_;          // the current values of the scalars
    std::vector<T> arguments_;        // of a call
    std::unique_ptr<std::byte[]> storage_;
    std::vector<T*> own_;         // each slot's own block; slot 0's is the accumulator's
    std::vector<Operand> slots_;  // what the slots hold
    T* scratch_;
    Operand acc_;
    Operand result_;
    int n_ = 0;
};

extern template class QVBlockRunner<double>;
extern template class QVBlockRunner<std::complex<double>>;
