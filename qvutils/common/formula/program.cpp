#include "qvutils/common/formula/program.h"

#include "qvutils/common/formula/functioncall.h"
#include "qvutils/common/formula/programoperators.h"

namespace qvprogram {

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

template <class T>
void Builder<T>::element(const QVCompiledElement<T>& e) {
    switch (e.op) {
        case QVOp::number:
            return push(constant, 0, e.value);
        case QVOp::parameter:
            return push(slot, scalarSlot(e.target));
        case QVOp::loopVariable:
            return push(slot, loopSlot(e.target));
        case QVOp::variable:
            emitStart({QVCode::LoadName, static_cast<std::uint16_t>(e.target)});
            return pushAccumulator();
        case QVOp::call:
            return call(e);
        case QVOp::add:
            return binary(QVCode::AddAF);
        case QVOp::subtract:
            return binary(QVCode::SubAF);
        case QVOp::multiply:
            return binary(QVCode::MulAF);
        case QVOp::divide:
            return binary(QVCode::DivAF);
        case QVOp::negate:
            return negate();
        case QVOp::index:
            return index(e.target);
        case QVOp::jumpIfZero:
            return conditionalJump();
        case QVOp::jump:
            return jumpToEnd();
        case QVOp::endIf:
            return endOfConditional();
        case QVOp::equal:
            return comparison(QVCode::EqAF);
        case QVOp::notEqual:
            return comparison(QVCode::NeAF);
        case QVOp::less:
            return comparison(QVCode::LtAF);
        case QVOp::lessEqual:
            return comparison(QVCode::LeAF);
        case QVOp::greater:
            return comparison(QVCode::GtAF);
        case QVOp::greaterEqual:
            return comparison(QVCode::GeAF);
        case QVOp::loopBegin:
            return loopBegin(e);
        case QVOp::loopEnd:
            return loopEnd(e);
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
        const T value = qvCallFunction<T>(*e.function, {e.arguments, values.data()});
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
        case QVDirect::sqrt:
            emit({QVCode::Sqrt});
            break;
        case QVDirect::abs:
            emit({QVCode::Abs});
            break;
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
        if (offset >= 0 && previous->op <= QVCode::GeFK && offset % comparisonForms < jumpForms) {
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

}  // namespace qvprogram

template <class T>
QVProgram<T>::QVProgram(const QVCompiledList<T>& list) {
    qvprogram::Builder<T>(list, *this).run();
}

template class QVProgram<double>;
template class QVProgram<std::complex<double>>;
