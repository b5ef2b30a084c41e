#pragma once

/// Operations on blocks of real numbers, compiled for several widths of vector instructions. Each
/// gives bit for bit what the operation on single numbers gives.
namespace qvformula {

enum class BlockOp { add, sub, mul, div };

/// n numbers, or one that stands for n equal ones.
struct BlockOperand {
    const double* values;
    bool uniform;
};

struct BlockArguments {
    const double* a;
    const double* x;
    const double* y;
    double k;
    double* out;  // may be one of the operands
    int n;
};

/// False when a number has no result: a division by 0, a root of a negative number.
using BlockKernel = bool (*)(const BlockArguments& arguments);

/// out = a op x, a op k, k op a
struct BinaryKernels {
    BlockKernel vectorVector, vectorNumber, numberVector;
};
/// out = a first (x second y), a first (x second k), a first (k second x)
struct FusedKernels {
    BlockKernel vectorVector, vectorNumber, numberVector;
};
/// The operations indexed by BlockOp.
struct BlockKernels {
    BinaryKernels binary[4];
    FusedKernels fused[4][4];
    BlockKernel horner;      // out = a * x + k
    BlockKernel squareRoot;  // of a
    BlockKernel allAbove;    // is no a at most k?
    BlockKernel allWithinOne;
    BlockKernel cutBelow;  // out = a, or -inf where that is below k
};
/// Those for the vectors in use.
const BlockKernels& blockKernels();

/// Functions as formulas have them. False when a number is outside the domain. `out` may be `in`.
bool blockExp(const double* in, double* out, int n);
bool blockLn(const double* in, double* out, int n);
bool blockLog10(const double* in, double* out, int n);
bool blockAsin(const double* in, double* out, int n);
bool blockAcos(const double* in, double* out, int n);
/// base[i] ** exponent[i]
void blockPow(BlockOperand base, BlockOperand exponent, double* out, int n);

}  // namespace qvformula
