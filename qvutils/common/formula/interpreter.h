#pragma once
#include <cmath>
#include <cstdint>

#include "qvutils/common/formula/arithmetic.h"
#include "qvutils/common/formula/functioncall.h"
#include "qvutils/common/formula/program.h"
#include "qvutils/common/formula/qvfnparserComm.h"

/// The value range of a vector parameter.
template <class T>
struct QVVectorView {
    const T* values = nullptr;  // the element at lo
    int lo = 0;
    int hi = -1;
    const QVString* name = nullptr;
};

/// Sums and products of one evaluation.
class QVLoopBudget {
public:
    /// Takes the rounds of a loop; throws when the limit for the whole evaluation is passed.
    void take(double rounds);
    /// Throws, now and then looked at, when the running operation has been asked to stop.
    void round() {
        if (--untilPoll_ == 0) poll();
    }

private:
    void poll();

    double taken_ = 0;
    int untilPoll_ = 4096;
};

/// What a run of a program needs besides it: where the values of the parameters are, and where a
/// failure goes.
template <class T>
struct QVRun {
    QVRun(const List<QVParameterOf<T>>& all, const std::vector<const QVParameterOf<T>*>& used,
          const QVArguments<T>* values, QVNameSource* source, bool checkBounds, Error& errorOut,
          QVFormulaFault& faultOut)
        : parameters(all),
          scalars(used),
          arguments(values),
          names(source),
          boundsCheck(checkBounds),
          error(errorOut),
          fault(faultOut) {}

    const List<QVParameterOf<T>>& parameters;
    const std::vector<const QVParameterOf<T>*>& scalars;
    const QVArguments<T>* arguments;  // hold the values in place of the parameters when not null
    QVNameSource* names;
    bool boundsCheck;
    Error& error;
    QVFormulaFault& fault;
    bool failed = false;
    int variable = -1;  // of a derivative: its place among the program's scalars
    std::span<const T> slopes;  // of a derivative along a direction: one for each parameter

    /// Writes the values of the parameters to the slots from `slot` on.
    template <class V>
    void fill(V* slot, const std::vector<int>& numbers) const {
        V* const first = slot;
        if (arguments) {
            for (const int number : numbers) *slot++ = V(arguments->first(number));
        } else {
            for (const QVParameterOf<T>* p : scalars) *slot++ = V(*p->value.begin());
        }
        if constexpr (!std::is_same_v<V, T>) {
            if (variable >= 0) first[variable].slope = T(1);
            if (slopes.empty()) return;
            V* next = first;
            for (const int number : numbers)
                (next++)->slope = slopes[static_cast<std::size_t>(number)];
        }
    }
    QVVectorView<T> vector(int number) const;
    void report(const Error& failure, const QVProgram<T>& program, std::ptrdiff_t instruction);
};

namespace qvformula {

/// The element of a vector parameter at an index that is not checked yet.
template <class T>
T element(const QVRun<T>& run, int parameter, T index);
template <class T>
T readName(QVNameSource* source, const QVNameHandle& handle);
/// A bound of a sum or product as an integer.
template <class T>
double loopBound(T bound, QVLoopKind kind);

template <class T>
T call(const FuncDataElt<T>& f, const T* arguments, int count) {
    return qvCallFunction(f, {count, arguments});
}
template <class T>
QVDual<T> call(const FuncDataElt<T>& f, const QVDual<T>* arguments, int count);

template <class T>
T callUnary(const FuncDataElt<T>& f, T x) {
    return f.facts->unary(x);
}
template <class T>
QVDual<T> callUnary(const FuncDataElt<T>& f, QVDual<T> x) {
    return call(f, &x, 1);
}

template <class T>
QVDual<T> sqrt(const QVDual<T>& a) {
    const T root = sqrt(a.value);
    return {root, qvChain(a.slope, T(0.5) / root)};
}
template <class T>
QVDual<T> abs(QVDual<T> a);

struct Loop {
    double left;
    double step;
};

// Labels as values, a GNU extension: one indirect jump at the end of each instruction lets the
// processor predict each of them by itself.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"

/// Runs a program; V is T or QVDual<T>. When the formula has no value the failure is reported and
/// the result 0. All is in this one function, for calls cost as much as a dozen instructions do.
/// The frame lies on the machine's stack: an evaluation takes no memory elsewhere.
template <class V, class T>
V execute(const QVProgram<T>& program, QVRun<T>& run) {
    static const void* const labels[] = {
#define QV_LABEL(name) &&label##name,
        QV_INSTRUCTIONS(QV_LABEL)
#undef QV_LABEL
    };
    Loop loops[qvDeepestLoop];
    QVLoopBudget budget;
    V* const F =
        static_cast<V*>(__builtin_alloca(static_cast<std::size_t>(program.frameSize) * sizeof(V)));
    run.fill(F + 1, program.scalars);
    const QVInstruction<T>* const code = program.code.data();
    const QVInstruction<T>* ip = code;
    V acc{};
    const auto truth = [](bool yes) { return V(T(yes ? 1 : 0)); };

#define QV_GO goto* labels[static_cast<int>(ip->op)]
#define QV_CASE(name, ...)     \
    label##name : __VA_ARGS__; \
    ++ip;                      \
    QV_GO;
#define QV_BINARY(name)                                                          \
    QV_CASE(name##AF, acc = name::of(acc, F[ip->x]))                             \
    QV_CASE(name##FA, acc = name::of(F[ip->x], acc))                             \
    QV_CASE(name##AK, acc = name::withConstant(acc, ip->k))                      \
    QV_CASE(name##KA, acc = name::ofConstant(ip->k, acc))                        \
    QV_CASE(name##FF, F[ip->z] = acc; acc = name::of(F[ip->x], F[ip->y]))        \
    QV_CASE(name##FK, F[ip->z] = acc; acc = name::withConstant(F[ip->x], ip->k)) \
    QV_CASE(name##KF, F[ip->z] = acc; acc = name::ofConstant(ip->k, F[ip->x]))
#define QV_FUSED(first, second)                                                         \
    QV_CASE(first##_##second##FF, acc = first::of(acc, second::of(F[ip->x], F[ip->y]))) \
    QV_CASE(first##_##second##FK, acc = first::of(acc, second::withConstant(F[ip->x], ip->k)))
#define QV_FUSED_ALL(first) \
    QV_FUSED(first, Add) QV_FUSED(first, Sub) QV_FUSED(first, Mul) QV_FUSED(first, Div)
#define QV_JUMP_CASE(name, save, condition)     \
    label##name : save;                         \
    ip = (condition) ? ip + 2 : code + ip[1].x; \
    QV_GO;
#define QV_COMPARED(name, left, right) name::of(plain(left), plain(right), ip->n)
#define QV_COMPARISON(name)                                                               \
    QV_CASE(name##AF, acc = truth(QV_COMPARED(name, acc, F[ip->x])))                      \
    QV_CASE(name##AK, acc = truth(QV_COMPARED(name, acc, ip->k)))                         \
    QV_CASE(name##FF, F[ip->z] = acc; acc = truth(QV_COMPARED(name, F[ip->x], F[ip->y]))) \
    QV_CASE(name##FK, F[ip->z] = acc; acc = truth(QV_COMPARED(name, F[ip->x], ip->k)))    \
    QV_JUMP_CASE(name##JumpAF, , QV_COMPARED(name, acc, F[ip->x]))                        \
    QV_JUMP_CASE(name##JumpAK, , QV_COMPARED(name, acc, ip->k))                           \
    QV_JUMP_CASE(name##JumpFF, F[ip->z] = acc, QV_COMPARED(name, F[ip->x], F[ip->y]))     \
    QV_JUMP_CASE(name##JumpFK, F[ip->z] = acc, QV_COMPARED(name, F[ip->x], ip->k))

    try {
        QV_GO;
        QV_BINARY(Add)
        QV_BINARY(Sub)
        QV_BINARY(Mul)
        QV_BINARY(Div)
        QV_BINARY(Pow)
        QV_FUSED_ALL(Add)
        QV_FUSED_ALL(Sub)
        QV_FUSED_ALL(Mul)
        QV_FUSED_ALL(Div)
        QV_CASE(MulAFAddAK, acc = acc * F[ip->x] + V(ip->k))
        QV_COMPARISON(Eq)
        QV_COMPARISON(Ne)
        QV_COMPARISON(Lt)
        QV_COMPARISON(Le)
        QV_COMPARISON(Gt)
        QV_COMPARISON(Ge)
        QV_CASE(LoadF, F[ip->z] = acc; acc = F[ip->x])
        QV_CASE(LoadK, F[ip->z] = acc; acc = V(ip->k))
        QV_CASE(LoadName, F[ip->z] = acc; acc = V(readName<T>(run.names, program.names[ip->n])))
        QV_CASE(StoreF, F[ip->z] = F[ip->x])
        QV_CASE(StoreK, F[ip->z] = V(ip->k))
        QV_CASE(StoreA, F[ip->z] = acc)
        QV_CASE(StoreSquare, F[ip->z] = F[ip->x] * F[ip->x])
        QV_CASE(Neg, acc = negate(acc))
        QV_CASE(NegF, F[ip->z] = acc; acc = negate(F[ip->x]))
        QV_CASE(Square, acc = square(acc))
        QV_CASE(Cube, acc = cube(acc))
        QV_CASE(Fourth, acc = fourth(acc))
        QV_CASE(Sqrt, acc = sqrt(acc))
        QV_CASE(Abs, acc = abs(acc))
        QV_CASE(CallUnary, acc = callUnary(*program.calls[ip->n], acc))
        QV_CASE(Call, acc = call(*program.calls[ip->n], F + ip->x, ip->y))
        QV_CASE(Index, acc = V(element(run, ip->x, plain(acc))))
    labelJump:
        ip = code + ip->x;
        QV_GO;
    labelJumpUnless:
        ip = plain(acc) != T(0) ? ip + 1 : code + ip->x;
        QV_GO;
    labelLoopBegin : {
        const auto kind = static_cast<QVLoopKind>(ip->z);
        const double to = loopBound(plain(acc), kind);
        const double from = loopBound(plain(F[ip->x]), kind);
        Loop& loop = loops[ip->n];
        loop.left = std::fabs(to - from) + 1;
        loop.step = to >= from ? 1 : -1;
        budget.take(loop.left);
        F[ip->y] = V(T(from));
        F[ip->y + 1] = V(T(kind == QVLoopKind::sum ? 0 : 1));
        acc = V();  // so that it need not survive the calls above: it stays in a register
        ++ip;
        QV_GO;
    }
    labelLoopEnd : {
        Loop& loop = loops[ip->n];
        V& total = F[ip->y + 1];
        total = static_cast<QVLoopKind>(ip->z) == QVLoopKind::sum ? total + acc : total * acc;
        budget.round();
        acc = total;
        if (--loop.left > 0) {
            F[ip->y] = F[ip->y] + V(T(loop.step));
            ip = code + ip->x;
        } else {
            ++ip;
        }
        QV_GO;
    }
    labelEnd:
        return acc;
    } catch (const Error& failure) {
        run.report(failure, program, ip - code);
        return V();
    }

#undef QV_GO
#undef QV_CASE
#undef QV_BINARY
#undef QV_FUSED
#undef QV_FUSED_ALL
#undef QV_JUMP_CASE
#undef QV_COMPARED
#undef QV_COMPARISON
}
#pragma GCC diagnostic pop

}  // namespace qvformula
