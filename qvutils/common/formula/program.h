#pragma once
#include <memory>
#include <vector>

#include "qvutils/common/formula/builtins.h"
#include "qvutils/common/formula/compiledelement.h"
#include "qvutils/common/formula/instructions.h"

/// The place in the formula that an instruction's failure points to.
struct QVSpot {
    int position = 0;
    int length = 0;
};

/// The fast form of a compiled formula. It never changes and may be shared by threads.
///
/// The frame holds, in this order: slot 0, which nobody reads; the scalar parameters in use; a pair
/// of slots for each level of loops; squares of parameters that occur more than once, worked out at
/// the start; the value stack.
template <class T>
class QVProgram {
public:
    explicit QVProgram(const QVCompiledList<T>& list);

    std::vector<QVInstruction<T>> code;
    std::vector<QVSpot> spots;  ///< one per instruction
    std::vector<int> scalars;   ///< the parameters, from 0, in the slots from 1 on
    std::vector<const FuncDataElt<T>*> calls;
    std::vector<QVNameHandle> names;
    int frameSize = 0;
    int loops = 0;         ///< levels of loops
    bool straight = true;  ///< runs from the first to the last instruction, without jumps
};

extern template class QVProgram<double>;
extern template class QVProgram<std::complex<double>>;
