#pragma once

/// Operations on blocks of real numbers, compiled for several widths of vector instructions. Each
/// gives bit for bit what the operation on single numbers gives.
namespace qvformula {

enum class BlockOp { add, sub, mul, div };

/// An operand of a block operation: n numbers, or one that stands for n equal ones.
struct BlockOperand {
    const double* values;
    bool uniform;
};

/// out[i] = a[i] op b[i]; not both uniform. False when a division has a divisor 0.
bool blockBinary(BlockOp op, BlockOperand a, BlockOperand b, double* out, int n);
/// out[i] = a[i] first (x[i] second y[i]), where a and x are not uniform.
bool blockFused(BlockOp first, BlockOp second, const double* a, const double* x, BlockOperand y,
                double* out, int n);
/// out[i] = a[i] * x[i] + k
void blockHorner(const double* a, const double* x, double k, double* out, int n);
/// The functions whose domain is checked by the caller of the C library, as formulas have them.
/// False when a number is outside the domain. `out` may be `in`.
bool blockSqrt(const double* in, double* out, int n);
bool blockExp(const double* in, double* out, int n);
bool blockLn(const double* in, double* out, int n);
bool blockLog10(const double* in, double* out, int n);
bool blockAsin(const double* in, double* out, int n);
bool blockAcos(const double* in, double* out, int n);
/// base[i] ** exponent[i]
void blockPow(BlockOperand base, BlockOperand exponent, double* out, int n);

}  // namespace qvformula
