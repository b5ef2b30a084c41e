#include "qvutils/common/formula/blockrun.h"

#include <algorithm>
#include <utility>

#include "qvutils/common/formula/functioncall.h"

using namespace qvforms;
using qvformula::Complex;

namespace {

enum Operation { opAdd, opSub, opMul, opDiv, opPow };

constexpr int after(QVCode first, QVCode code) {
    return static_cast<int>(code) - static_cast<int>(first);
}

template <class Function>
bool compare(QVCode code, const Function& with) {
    switch (after(QVCode::EqAF, code) / comparisonForms) {
        case 0:
            return with(qvformula::Eq());
        case 1:
            return with(qvformula::Ne());
        case 2:
            return with(qvformula::Lt());
        case 3:
            return with(qvformula::Le());
        case 4:
            return with(qvformula::Gt());
        default:
            return with(qvformula::Ge());
    }
}

}  // namespace

template <class T>
bool QVBlockRunner<T>::serves(const QVProgram<T>& program) {
    return program.straight &&
           std::all_of(program.calls.begin(), program.calls.end(),
                       [](const FuncDataElt<T>* f) { return f->facts && f->facts->pure; });
}

template <class T>
QVBlockRunner<T>::QVBlockRunner(const QVProgram<T>& program, const QVRun<T>& run,
                                std::span<const QVArraySource<T>> sources)
    : program_(program), run_(run) {
    const auto slots = static_cast<std::size_t>(program.frameSize);
    slots_.resize(slots);
    own_.resize(slots);
    const std::size_t scalars = program.scalars.size();
    const std::size_t temporary = slots - scalars;  // slot 0 and the value stack
    // Blocks begin on cache lines: else each vector would be read from two of them.
    constexpr std::size_t line = 64;
    constexpr std::size_t stride = most + 3 * line / sizeof(T);
    std::size_t bytes = (temporary + 1) * stride * sizeof(T) + line;
    storage_ = std::make_unique_for_overwrite<std::byte[]>(bytes);
    void* aligned = storage_.get();
    T* block = static_cast<T*>(std::align(line, bytes - line, aligned, bytes));
    scratch_ = block;
    own_[0] = block += stride;
    for (std::size_t slot = scalars + 1; slot < slots; ++slot) own_[slot] = block += stride;

    numbers_.resize(scalars);
    run.fill(numbers_.data(), program.scalars);
    for (std::size_t i = 0; i < scalars; ++i) {
        sourceOf_.push_back(nullptr);
        for (const auto& source : sources) {
            if (source.parameter == program.scalars[i] + 1) sourceOf_[i] = source.values.data();
        }
        slots_[i + 1] = {&numbers_[i], true};
    }
}

template <class T>
bool QVBlockRunner<T>::rows(std::size_t first, int n, T* results) {
    n_ = n;
    for (std::size_t i = 0; i < sourceOf_.size(); ++i) {
        if (sourceOf_[i]) slots_[i + 1] = {sourceOf_[i] + first, false};
    }
    acc_ = {own_[0], true};
    const Instruction* const last = program_.code.data() + program_.code.size() - 2;
    try {
        for (const Instruction* i = program_.code.data(); i != last; ++i) {
            if (!step(*i)) return false;
        }
    } catch (const Error&) {
        return false;
    }
    if (!lastStep(*last, results)) return false;
    if (acc_.uniform) {
        std::fill_n(results, n, T(*acc_.values));
    } else if (acc_.values != results) {
        std::copy_n(acc_.values, n, results);
    }
    return true;
}

/// The last instruction before the end, which writes straight to the results.
template <class T>
bool QVBlockRunner<T>::lastStep(const Instruction& i, T* results) {
    T* const own = std::exchange(own_[0], results);
    bool done = false;
    try {
        done = step(i);
    } catch (const Error&) {
    }
    own_[0] = own;
    return done;
}

/// Saves the accumulator: its block becomes the slot's, so nothing is copied.
template <class T>
void QVBlockRunner<T>::save(int slot) {
    if (slot == 0) return;
    if (acc_.values == own_[0]) std::swap(own_[0], own_[static_cast<std::size_t>(slot)]);
    slots_[static_cast<std::size_t>(slot)] = acc_;
}

template <class T>
bool QVBlockRunner<T>::load(int saved, Operand value) {
    save(saved);
    acc_ = value;
    return true;
}

template <class T>
bool QVBlockRunner<T>::place(int slot, Operand value) {
    slots_[static_cast<std::size_t>(slot)] = value;
    return true;
}

template <class T>
bool QVBlockRunner<T>::step(const Instruction& i) {
    const auto slot = [&](int number) { return slots_[static_cast<std::size_t>(number)]; };
    if (i.op <= QVCode::PowKF) return arithmetic(i);
    if (i.op <= QVCode::Div_DivFK) return fused(i);
    if (i.op >= QVCode::EqAF && i.op <= QVCode::GeFK) return comparison(i);
    switch (i.op) {
        case QVCode::MulAFAddAK:
            return horner(slot(i.x), i.k);
        case QVCode::LoadF:
            return load(i.z, slot(i.x));
        case QVCode::LoadK:
            return load(i.z, {&i.k, true});
        case QVCode::LoadName:
            save(i.z);
            *own_[0] = qvformula::readName<T>(run_.names, program_.names[i.n]);
            acc_ = {own_[0], true};
            return true;
        case QVCode::StoreF:
            return place(i.z, slot(i.x));
        case QVCode::StoreK:
            return place(i.z, {&i.k, true});
        case QVCode::StoreSquare:
            apply(opMul, slot(i.x), slot(i.x), own_[static_cast<std::size_t>(i.z)], false, false);
            return place(i.z, result_);
        case QVCode::StoreA:
            save(i.z);
            return true;
        case QVCode::NegF:
            load(i.z, slot(i.x));
            [[fallthrough]];
        case QVCode::Neg:
            return each([](const T& v) { return qvformula::negate(v); });
        case QVCode::Square:
            return square();
        case QVCode::Cube:
            return each([](const T& v) { return qvformula::cube(v); });
        case QVCode::Fourth:
            return each([](const T& v) { return qvformula::fourth(v); });
        case QVCode::Sqrt:
            return squareRoot();
        case QVCode::Abs:
            return each([](const T& v) { return qvformula::abs(v); });
        case QVCode::CallUnary:
            return callUnary(*program_.calls[i.n]);
        case QVCode::Call:
            return call(*program_.calls[i.n], i.x, i.y);
        default:
            return each([&](const T& v) { return qvformula::element(run_, i.x, v); });
    }
}

template <class T>
template <class Function>
bool QVBlockRunner<T>::each(const Function& f) {
    const T* const in = acc_.values;
    T* const out = own_[0];
    const int n = acc_.uniform ? 1 : n_;
    for (int i = 0; i < n; ++i) out[i] = f(in[i]);
    acc_.values = out;
    return true;
}

template <class T>
template <class Function>
bool QVBlockRunner<T>::each(Operand a, Operand b, T* out, const Function& f) {
    const bool uniform = a.uniform && b.uniform;
    const int n = uniform ? 1 : n_;
    const T left = *a.values, right = *b.values;  // a uniform one may lie where the results go
    for (int i = 0; i < n; ++i) {
        out[i] = f(a.uniform ? left : a.values[i], b.uniform ? right : b.values[i]);
    }
    result_ = {out, uniform};
    return true;
}

/// out = a operation b; the result_ is that. `aConstant` and `bConstant` tell operands that are
/// constants of the program, which complex arithmetic treats by themselves.
template <class T>
bool QVBlockRunner<T>::apply(int operation, Operand a, Operand b, T* out, bool aConstant,
                             bool bConstant) {
    if constexpr (std::is_same_v<T, double>) {
        if (!(a.uniform && b.uniform)) {
            result_ = {out, false};
            if (operation == opPow) {
                qvformula::blockPow({a.values, a.uniform}, {b.values, b.uniform}, out, n_);
                return true;
            }
            const qvformula::BinaryKernels& kernel = kernels_.binary[operation];
            if (a.uniform) {
                return kernel.numberVector({b.values, nullptr, nullptr, *a.values, out, n_});
            }
            if (b.uniform) {
                return kernel.vectorNumber({a.values, nullptr, nullptr, *b.values, out, n_});
            }
            return kernel.vectorVector({a.values, b.values, nullptr, 0, out, n_});
        }
    }
    const auto with = [&](auto op) {
        if (aConstant) {
            return each(a, b, out, [&](const T& x, const T& y) { return op.ofConstant(x, y); });
        }
        if (bConstant) {
            return each(a, b, out, [&](const T& x, const T& y) { return op.withConstant(x, y); });
        }
        return each(a, b, out, [&](const T& x, const T& y) { return op.of(x, y); });
    };
    switch (operation) {
        case opAdd:
            return with(qvformula::Add());
        case opSub:
            return with(qvformula::Sub());
        case opMul:
            return with(qvformula::Mul());
        case opDiv:
            return with(qvformula::Div());
        default:
            return with(qvformula::Pow());
    }
}

template <class T>
bool QVBlockRunner<T>::toAccumulator(bool done) {
    acc_ = result_;
    return done;
}

template <class T>
bool QVBlockRunner<T>::arithmetic(const Instruction& i) {
    const int number = after(QVCode::AddAF, i.op);
    const int form = number % binaryForms;
    if (form >= formFF) save(i.z);
    const Operand x = slots_[static_cast<std::size_t>(i.x)];
    const Operand y = slots_[static_cast<std::size_t>(i.y)];
    const Operand k{&i.k, true};
    const auto run = [&](Operand a, Operand b) {
        return toAccumulator(
            apply(number / binaryForms, a, b, own_[0], a.values == k.values, b.values == k.values));
    };
    switch (form) {
        case formAF:
            return run(acc_, x);
        case formFA:
            return run(x, acc_);
        case formAK:
            return run(acc_, k);
        case formKA:
            return run(k, acc_);
        case formFF:
            return run(x, y);
        case formFK:
            return run(x, k);
        default:
            return run(k, x);
    }
}

template <class T>
bool QVBlockRunner<T>::fused(const Instruction& i) {
    const int number = after(QVCode::Add_AddFF, i.op);
    constexpr int seconds = 4;
    const int first = number / fusedForms / seconds;
    const int second = number / fusedForms % seconds;
    const bool constant = number % fusedForms == fusedFK;
    const Operand x = slots_[static_cast<std::size_t>(i.x)];
    const Operand y = constant ? Operand{&i.k, true} : slots_[static_cast<std::size_t>(i.y)];
    if constexpr (std::is_same_v<T, double>) {
        if (!acc_.uniform && !(x.uniform && y.uniform)) {
            const qvformula::FusedKernels& kernel = kernels_.fused[first][second];
            const T* const acc = std::exchange(acc_.values, own_[0]);
            T* const out = own_[0];
            if (y.uniform) return kernel.vectorNumber({acc, x.values, nullptr, *y.values, out, n_});
            if (x.uniform) return kernel.numberVector({acc, y.values, nullptr, *x.values, out, n_});
            return kernel.vectorVector({acc, x.values, y.values, 0, out, n_});
        }
    }
    return apply(second, x, y, scratch_, false, constant) &&
           toAccumulator(apply(first, acc_, result_, own_[0], false, false));
}

template <class T>
bool QVBlockRunner<T>::horner(Operand x, const T& k) {
    if constexpr (std::is_same_v<T, double>) {
        if (!acc_.uniform && !x.uniform) {
            const T* const acc = std::exchange(acc_.values, own_[0]);
            return kernels_.horner({acc, x.values, nullptr, k, own_[0], n_});
        }
    }
    apply(opMul, acc_, x, own_[0], false, false);
    return toAccumulator(apply(opAdd, result_, {&k, true}, own_[0], false, false));
}

template <class T>
bool QVBlockRunner<T>::square() {
    if constexpr (std::is_same_v<T, double>) {
        return toAccumulator(apply(opMul, acc_, acc_, own_[0], false, false));
    } else {
        return each([](const T& v) { return qvformula::square(v); });
    }
}

template <class T>
bool QVBlockRunner<T>::comparison(const Instruction& i) {
    const int form = after(QVCode::EqAF, i.op) % comparisonForms;
    const bool starts = form == compareFF || form == compareFK;
    if (starts) save(i.z);
    const Operand x = slots_[static_cast<std::size_t>(i.x)];
    const Operand left = starts ? x : acc_;
    Operand right{&i.k, true};
    if (form == compareAF) right = x;
    if (form == compareFF) right = slots_[static_cast<std::size_t>(i.y)];
    return toAccumulator(compare(i.op, [&](auto op) {
        return each(left, right, own_[0],
                    [&](const T& a, const T& b) { return T(op.of(a, b, i.n) ? 1 : 0); });
    }));
}

template <class T>
bool QVBlockRunner<T>::squareRoot() {
    if constexpr (std::is_same_v<T, double>) {
        if (!acc_.uniform) {
            const T* const in = std::exchange(acc_.values, own_[0]);
            return kernels_.squareRoot({in, nullptr, nullptr, 0, own_[0], n_});
        }
    }
    return each([](const T& v) { return qvformula::sqrt(v); });
}

template <class T>
bool QVBlockRunner<T>::callUnary(const FuncDataElt<T>& f) {
    if (!f.facts->array || acc_.uniform) return each(f.facts->unary);
    return f.facts->array(std::exchange(acc_.values, own_[0]), own_[0], n_);
}

template <class T>
bool QVBlockRunner<T>::call(const FuncDataElt<T>& f, int firstSlot, int count) {
    const auto first = slots_.begin() + firstSlot;
    const bool uniform =
        std::all_of(first, first + count, [](const Operand& o) { return o.uniform; });
    arguments_.resize(static_cast<std::size_t>(count));
    const int n = uniform ? 1 : n_;
    for (int i = 0; i < n; ++i) {
        for (int k = 0; k < count; ++k) {
            arguments_[static_cast<std::size_t>(k)] = first[k].values[first[k].uniform ? 0 : i];
        }
        own_[0][i] = qvCallFunction<T>(f, {count, arguments_.data()});
    }
    acc_ = {own_[0], uniform};
    return true;
}

template class QVBlockRunner<double>;
template class QVBlockRunner<Complex>;
