#pragma once
#include <cstdint>

/// The instructions of a compiled formula. They work on one running value, the accumulator, and on
/// a frame of numbered slots that holds the parameters, the loop variables and the intermediate
/// values.
///
/// A binary operation has a form for each place its operands may come from, named by two letters,
/// left operand first: A the accumulator, F a slot of the frame (x, then y), K the constant k of
/// the instruction. An instruction that does not use the accumulator saves it in slot z beforehand;
/// where nothing has to be saved, z is a slot that nobody reads.
#define QV_BINARY_FORMS(X, name) \
    X(name##AF) X(name##FA) X(name##AK) X(name##KA) X(name##FF) X(name##FK) X(name##KF)

/// Comparisons give 1 or 0; the Jump forms stand before a JumpUnless and do its work as well. A
/// comparison with the accumulator or a constant on the other side is turned round: n is then 1.
#define QV_COMPARISON_FORMS(X, name)                                                      \
    X(name##AF) X(name##AK) X(name##FF) X(name##FK) X(name##JumpAF) X(name##JumpAK)       \
        X(name##JumpFF) X(name##JumpFK)

/// accumulator = accumulator (first operation) (F[x] (second operation) F[y] or k)
#define QV_FUSED_SECOND(X, first)                                                         \
    X(first##_AddFF) X(first##_AddFK) X(first##_SubFF) X(first##_SubFK) X(first##_MulFF)  \
        X(first##_MulFK) X(first##_DivFF) X(first##_DivFK)

#define QV_INSTRUCTIONS(X)                                                                  \
    QV_BINARY_FORMS(X, Add) QV_BINARY_FORMS(X, Sub) QV_BINARY_FORMS(X, Mul)                 \
    QV_BINARY_FORMS(X, Div) QV_BINARY_FORMS(X, Pow)                                         \
    QV_FUSED_SECOND(X, Add) QV_FUSED_SECOND(X, Sub) QV_FUSED_SECOND(X, Mul)                 \
    QV_FUSED_SECOND(X, Div)                                                                 \
    X(MulAFAddAK)  /* accumulator * F[x] + k, a step of Horner's rule */                    \
    QV_COMPARISON_FORMS(X, Eq) QV_COMPARISON_FORMS(X, Ne) QV_COMPARISON_FORMS(X, Lt)        \
    QV_COMPARISON_FORMS(X, Le) QV_COMPARISON_FORMS(X, Gt) QV_COMPARISON_FORMS(X, Ge)        \
    X(LoadF) X(LoadK)                                                                       \
    X(LoadName)  /* saves the accumulator, reads the outside name n */                      \
    X(StoreF) X(StoreK) X(StoreA)  /* F[z] = F[x], k, accumulator */                        \
    X(StoreSquare)  /* F[z] = F[x] * F[x] */                                                \
    X(Neg) X(NegF) X(Square) X(Cube) X(Fourth) X(Sqrt) X(Abs)                               \
    X(CallUnary)  /* function n of the accumulator */                                       \
    X(Call)       /* function n of y arguments in the slots from x on */                    \
    X(Index)      /* element of vector parameter x */                                       \
    X(Jump) X(JumpUnless)  /* to instruction x; when the accumulator is 0 */                \
    X(LoopBegin)  /* state n: from F[x] to the accumulator; slots y and y + 1 hold the */   \
                  /* variable and the result; z is 1 for a sum, 2 for a product */          \
    X(LoopEnd)    /* takes in the accumulator; next round at x, or result to the accu. */   \
    X(End)

enum class QVCode : std::uint16_t {
#define QV_NAME(name) name,
    QV_INSTRUCTIONS(QV_NAME)
#undef QV_NAME
};

template <class T>
struct QVInstruction {
    QVCode op;
    std::uint16_t n = 0;
    int x = 0;
    int y = 0;
    int z = 0;
    T k{};
};

/// Where the forms of an operation stand among its instructions, and how many there are.
namespace qvforms {
enum Binary { formAF, formFA, formAK, formKA, formFF, formFK, formKF, binaryForms };
enum Comparison { compareAF, compareAK, compareFF, compareFK, jumpForms, comparisonForms = 8 };
enum Fused { fusedFF, fusedFK, fusedForms };
}  // namespace qvforms
