#include "qvutils/common/formula/program.h"

#include <algorithm>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/formula/arithmetic.h"

namespace {

// The order of the forms in QV_BINARY_FORMS and QV_COMPARISON_FORMS.
enum Form { formAF, formFA, formAK, formKA, formFF, formFK, formKF };
enum ComparisonForm { compareAF, compareAK, compareFF, compareFK, jumpForms };

QVCode plus(QVCode code, int offset) {
    return static_cast<QVCode>(static_cast<int>(code) + offset);
}
int distance(QVCode from, QVCode to) { return static_cast<int>(to) - static_cast<int>(from); }

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
        return 1 + static_cast<int>(std::lower_bound(all.begin(), all.end(), parameter) -
                                    all.begin());
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
    std::vector<int> open_;  // jumps whose target is not known yet, first rounds of loops
    QVSpot spot_;
    int inAccumulator_ = -1;
    int firstValue_ = 0;
    int deepest_ = 1;
    std::size_t barrier_ = 0;
};

template <class T>
Builder<T>::Builder(const QVCompiledList<T>& list, QVProgram<T>& program)
    : list_(list), program_(program) {
    std::vector<int>& scalars = program.scalars;
    for (const QVCompiledElement<T>& e : list.elements) {
        if (e.op == QVOp::parameter) scalars.push_back(e.target);
    }
    std::sort(scalars.begin(), scalars.end());
    scalars.erase(std::unique(scalars.begin(), scalars.end()), scalars.end());
    program.names = list.names;
    program.loops = list.loopSlots;
    firstValue_ = loopSlot(list.loopSlots);
    program.code.reserve(list.elements.size() / 2 + 8);
    program.spots.reserve(list.elements.size() / 2 + 8);
    stack_.reserve(16);
    makeSquares();
}

/// Formulas of optics are full of the square of the wavelength: a square that is needed again is
/// worked out once.
template <class T>
void Builder<T>::makeSquares() {
    const auto& list = list_.elements;
    squares_.resize(program_.scalars.size());
    for (std::size_t i = 0; i + 2 < list.size(); ++i) {
        if (list[i].op != QVOp::parameter) continue;
        const QVCompiledElement<T>&second = list[i + 1], &third = list[i + 2];
        const bool product = third.op == QVOp::multiply && second.op == QVOp::parameter &&
                             second.target == list[i].target;
        const bool power = isPower(third) && second.op == QVOp::number && isSmall(second.value);
        if (product || power) ++squares_[static_cast<std::size_t>(scalarSlot(list[i].target) - 1)];
    }
    for (std::size_t i = 0; i < squares_.size(); ++i) {
        const bool again = squares_[i] > 1;
        squares_[i] = again ? firstValue_++ : 0;
        if (again) emit({QVCode::StoreSquare, 0, static_cast<int>(i) + 1, 0, squares_[i]});
    }
}

template <class T>
void Builder<T>::element(const QVCompiledElement<T>& e) {
    switch (e.op) {
        case QVOp::number: return push(constant, 0, e.value);
        case QVOp::parameter: return push(slot, scalarSlot(e.target));
        case QVOp::loopVariable: return push(slot, loopSlot(e.target));
        case QVOp::variable:
            emitStart({QVCode::LoadName, static_cast<std::uint16_t>(e.target)});
            return pushAccumulator();
        case QVOp::call: return call(e);
        case QVOp::add: return binary(QVCode::AddAF);
        case QVOp::subtract: return binary(QVCode::SubAF);
        case QVOp::multiply: return binary(QVCode::MulAF);
        case QVOp::divide: return binary(QVCode::DivAF);
        case QVOp::negate: return negate();
        case QVOp::index: return index(e.target);
        case QVOp::jumpIfZero: return conditionalJump();
        case QVOp::jump: return jumpToEnd();
        case QVOp::endIf: return endOfConditional();
        case QVOp::equal: return comparison(QVCode::EqAF);
        case QVOp::notEqual: return comparison(QVCode::NeAF);
        case QVOp::less: return comparison(QVCode::LtAF);
        case QVOp::lessEqual: return comparison(QVCode::LeAF);
        case QVOp::greater: return comparison(QVCode::GtAF);
        case QVOp::greaterEqual: return comparison(QVCode::GeAF);
        case QVOp::loopBegin: return loopBegin(e);
        case QVOp::loopEnd: return loopEnd(e);
    }
}

template <class T>
void Builder<T>::emitStart(Instruction instruction) {
    if (inAccumulator_ >= 0) {
        instruction.z = home(inAccumulator_);
        stack_[inAccumulator_] = {slot, instruction.z, T()};
        inAccumulator_ = -1;
    }
    emit(instruction);
}

template <class T>
void Builder<T>::toAccumulator() {
    const Entry entry = top();
    if (entry.place == accumulator) return;
    if (entry.place == constant) {
        emitStart({QVCode::LoadK, 0, 0, 0, 0, entry.k});
    } else {
        emitStart({QVCode::LoadF, 0, entry.slot});
    }
    pop();
    pushAccumulator();
}

/// Puts an entry into the slot of its place, as the arguments of a call have to stand.
template <class T>
void Builder<T>::toHome(int number) {
    Entry& entry = stack_[number];
    const int z = home(number);
    if (entry.place == constant) {
        emit({QVCode::StoreK, 0, 0, 0, z, entry.k});
    } else if (entry.place == accumulator) {
        emit({QVCode::StoreA, 0, 0, 0, z});
        inAccumulator_ = -1;
    } else if (entry.slot != z) {
        emit({QVCode::StoreF, 0, entry.slot, 0, z});
    }
    entry = {slot, z, T()};
}

template <class T>
void Builder<T>::binary(QVCode operation) {
    Entry right = pop();
    Entry left = pop();
    if (left.place == constant && right.place == constant) {
        if (fold(operation, left.k, right.k)) return;
        push(constant, 0, left.k);
        toAccumulator();
        left = pop();
    }
    if (operation == QVCode::MulAF && left.place == slot && right.place == slot &&
        left.slot == right.slot && squareOf(left.slot)) {
        return push(slot, squareOf(left.slot));
    }
    if (operation == QVCode::SubAF && right.place == constant) {
        operation = QVCode::AddAF;  // the same number in all cases, and one that fuses
        right.k = -right.k;
    }
    const bool commutes = operation == QVCode::AddAF || operation == QVCode::MulAF;
    if (commutes && (right.place == accumulator || left.place == constant)) std::swap(left, right);

    if (left.place == accumulator && right.place == slot) {
        if (!(commutes && fuse(operation, right.slot))) {
            emit({operation, 0, right.slot});
        }
    } else if (left.place == slot && right.place == accumulator) {
        if (!fuse(operation, left.slot)) emit({plus(operation, formFA), 0, left.slot});
    } else if (left.place == accumulator) {
        if (!fuseHorner(operation, right.k)) {
            emit({plus(operation, formAK), 0, 0, 0, 0, right.k});
        }
    } else if (right.place == accumulator) {
        emit({plus(operation, formKA), 0, 0, 0, 0, left.k});
    } else if (left.place == constant) {
        emitStart({plus(operation, formKF), 0, right.slot, 0, 0, left.k});
    } else if (right.place == constant) {
        emitStart({plus(operation, formFK), 0, left.slot, 0, 0, right.k});
    } else {
        emitStart({plus(operation, formFF), 0, left.slot, right.slot});
    }
    pushAccumulator();
}

/// Works out an operation on two numbers. One that fails is left for the evaluation to report.
template <class T>
bool Builder<T>::fold(QVCode operation, const T& a, const T& b) {
    try {
        T value{};
        switch (operation) {
            case QVCode::AddAF: value = qvformula::Add::withConstant(a, b); break;
            case QVCode::SubAF: value = qvformula::Sub::withConstant(a, b); break;
            case QVCode::MulAF: value = qvformula::Mul::withConstant(a, b); break;
            case QVCode::DivAF: value = qvformula::Div::withConstant(a, b); break;
            default: value = qvformula::Pow::withConstant(a, b); break;
        }
        push(constant, 0, value);
        return true;
    } catch (const Error&) {
        return false;
    }
}

/// "a op (b op2 c)", where the last instruction has saved a and calculated (b op2 c), becomes one
/// instruction that leaves a in the accumulator.
template <class T>
bool Builder<T>::fuse(QVCode operation, int leftSlot) {
    Instruction* const previous = last();
    if (!previous || leftSlot < firstValue_ || previous->z != leftSlot) return false;
    const int second = distance(QVCode::AddAF, previous->op);
    const int perOperation = distance(QVCode::AddAF, QVCode::SubAF);
    const int form = second % perOperation;
    if (second < 0 || previous->op >= QVCode::PowAF || (form != formFF && form != formFK) ||
        operation >= QVCode::PowAF) {
        return false;
    }
    if (operation == QVCode::DivAF && second >= 3 * perOperation) return false;  // one may fail
    const int first = distance(QVCode::AddAF, operation) / perOperation;
    previous->op = plus(QVCode::Add_AddFF,
                        8 * first + 2 * (second / perOperation) + (form == formFK));
    if (operation == QVCode::DivAF) program_.spots.back() = spot_;
    return true;
}

template <class T>
bool Builder<T>::fuseHorner(QVCode operation, const T& k) {
    Instruction* const previous = last();
    if (operation != QVCode::AddAF || !previous || previous->op != QVCode::MulAF) return false;
    previous->op = QVCode::MulAFAddAK;
    previous->k = k;
    return true;
}

QVCode mirrored(QVCode operation) {
    switch (operation) {
        case QVCode::LtAF: return QVCode::GtAF;
        case QVCode::LeAF: return QVCode::GeAF;
        case QVCode::GtAF: return QVCode::LtAF;
        case QVCode::GeAF: return QVCode::LeAF;
        default: return operation;
    }
}

template <class T>
void Builder<T>::comparison(QVCode operation) {
    Entry right = pop();
    Entry left = pop();
    if (left.place == constant && right.place == constant) {
        push(constant, 0, left.k);
        toAccumulator();
        left = pop();
    }
    std::uint16_t turned = 0;
    if (right.place == accumulator || left.place == constant) {
        std::swap(left, right);
        operation = mirrored(operation);
        turned = 1;
    }
    if (left.place == accumulator && right.place == slot) {
        emit({operation, turned, right.slot});
    } else if (left.place == accumulator) {
        emit({plus(operation, compareAK), turned, 0, 0, 0, right.k});
    } else if (right.place == slot) {
        emitStart({plus(operation, compareFF), turned, left.slot, right.slot});
    } else {
        emitStart({plus(operation, compareFK), turned, left.slot, 0, 0, right.k});
    }
    pushAccumulator();
}

template <class T>
void Builder<T>::negate() {
    const Entry entry = pop();
    if (entry.place == constant) return push(constant, 0, qvformula::negate(entry.k));
    if (entry.place == slot) {
        emitStart({QVCode::NegF, 0, entry.slot});
    } else {
        emit({QVCode::Neg});
    }
    pushAccumulator();
}

template <class T>
void Builder<T>::call(const QVCompiledElement<T>& e) {
    const QVFunctionFacts<T>* facts = e.function->facts;
    if (isPower(e)) {
        if (!smallPower()) binary(QVCode::PowAF);
    } else if (facts && facts->pure && foldCall(e)) {
        return;
    } else if (facts && facts->unary && e.arguments == 1) {
        unary(e);
    } else {
        callWithList(e);
    }
}

/// x**2, x**3 and x**4 are multiplied out.
template <class T>
bool Builder<T>::smallPower() {
    if (top().place != constant || !isSmall(top().k)) return false;
    const Entry base = stack_[stack_.size() - 2];
    if (base.place == constant) return false;
    const T exponent = pop().k;
    const int square = base.place == slot ? squareOf(base.slot) : 0;
    if (square) {
        pop();
        if (exponent == T(2)) return push(slot, square), true;
        emitStart({QVCode::MulFF, 0, square, exponent == T(3) ? base.slot : square});
    } else if (exponent == T(2) && base.place == slot) {
        pop();
        emitStart({QVCode::MulFF, 0, base.slot, base.slot});
    } else {
        toAccumulator();
        pop();
        emit({exponent == T(2) ? QVCode::Square
                               : exponent == T(3) ? QVCode::Cube : QVCode::Fourth});
    }
    pushAccumulator();
    return true;
}

template <class T>
bool Builder<T>::foldCall(const QVCompiledElement<T>& e) {
    const auto count = static_cast<std::size_t>(e.arguments);
    const std::size_t first = stack_.size() - count;
    for (std::size_t i = first; i < stack_.size(); ++i) {
        if (stack_[i].place != constant) return false;
    }
    std::vector<T> values;
    for (std::size_t i = first; i < stack_.size(); ++i) values.push_back(stack_[i].k);
    try {
        const T value = e.function->function({e.arguments, values.data()});
        stack_.resize(first);
        push(constant, 0, value);
        return true;
    } catch (const Error&) {
        return false;
    }
}

template <class T>
void Builder<T>::unary(const QVCompiledElement<T>& e) {
    toAccumulator();
    pop();
    switch (e.function->facts->direct) {
        case QVDirect::sqrt: emit({QVCode::Sqrt}); break;
        case QVDirect::abs: emit({QVCode::Abs}); break;
        default:
            emit({QVCode::CallUnary, static_cast<std::uint16_t>(callNumber(e.function))});
            break;
    }
    pushAccumulator();
}

template <class T>
void Builder<T>::callWithList(const QVCompiledElement<T>& e) {
    const int first = static_cast<int>(stack_.size()) - e.arguments;
    if (inAccumulator_ >= 0) toHome(inAccumulator_);
    for (int i = first; i < first + e.arguments; ++i) toHome(i);
    stack_.resize(static_cast<std::size_t>(first));
    emit({QVCode::Call, static_cast<std::uint16_t>(callNumber(e.function)), home(first),
          e.arguments});
    pushAccumulator();
}

template <class T>
int Builder<T>::callNumber(const FuncDataElt<T>* function) {
    program_.calls.push_back(function);
    return static_cast<int>(program_.calls.size()) - 1;
}

template <class T>
void Builder<T>::index(int parameter) {
    toAccumulator();
    pop();
    emit({QVCode::Index, 0, parameter});
    pushAccumulator();
}

/// A comparison just before the jump takes its work over.
template <class T>
void Builder<T>::conditionalJump() {
    toAccumulator();
    pop();
    program_.straight = false;
    if (Instruction* const previous = last()) {
        const int offset = distance(QVCode::EqAF, previous->op);
        const int perOperation = distance(QVCode::EqAF, QVCode::NeAF);
        if (offset >= 0 && previous->op <= QVCode::GeFK && offset % perOperation < jumpForms) {
            previous->op = plus(previous->op, jumpForms);
        }
    }
    open_.push_back(here());
    emit({QVCode::JumpUnless});
    markTarget();
}

template <class T>
void Builder<T>::jumpToEnd() {
    toAccumulator();
    pop();
    const int jump = here();
    emit({QVCode::Jump});
    program_.code[open_.back()].x = here();
    open_.back() = jump;
    markTarget();
}

template <class T>
void Builder<T>::endOfConditional() {
    toAccumulator();
    program_.code[open_.back()].x = here();
    open_.pop_back();
    markTarget();
}

template <class T>
void Builder<T>::loopBegin(const QVCompiledElement<T>& e) {
    toAccumulator();
    pop();
    const int lower = static_cast<int>(stack_.size()) - 1;
    if (stack_[lower].place != slot) toHome(lower);
    program_.straight = false;
    emit({QVCode::LoopBegin, static_cast<std::uint16_t>(e.arguments), stack_[lower].slot,
          loopSlot(e.arguments), static_cast<int>(e.kind)});
    pop();
    open_.push_back(here());
    markTarget();
}

template <class T>
void Builder<T>::loopEnd(const QVCompiledElement<T>& e) {
    toAccumulator();
    pop();
    emit({QVCode::LoopEnd, static_cast<std::uint16_t>(e.arguments), open_.back(),
          loopSlot(e.arguments), static_cast<int>(e.kind)});
    open_.pop_back();
    markTarget();
    pushAccumulator();
}

}  // namespace

template <class T>
QVProgram<T>::QVProgram(const QVCompiledList<T>& list) {
    Builder<T>(list, *this).run();
}

template class QVProgram<double>;
template class QVProgram<std::complex<double>>;
