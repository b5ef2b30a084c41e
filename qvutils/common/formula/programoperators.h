#pragma once
// How operators become instructions; a part of program.cpp.
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/formula/arithmetic.h"
#include "qvutils/common/formula/programbuilder.h"

namespace qvprogram {

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
            case QVCode::AddAF:
                value = qvformula::Add::withConstant(a, b);
                break;
            case QVCode::SubAF:
                value = qvformula::Sub::withConstant(a, b);
                break;
            case QVCode::MulAF:
                value = qvformula::Mul::withConstant(a, b);
                break;
            case QVCode::DivAF:
                value = qvformula::Div::withConstant(a, b);
                break;
            default:
                value = qvformula::Pow::withConstant(a, b);
                break;
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
    const int form = second % binaryForms;
    if (second < 0 || previous->op >= QVCode::PowAF || (form != formFF && form != formFK) ||
        operation >= QVCode::PowAF) {
        return false;
    }
    if (operation == QVCode::DivAF && second >= 3 * binaryForms) return false;  // one may fail
    const int first = distance(QVCode::AddAF, operation) / binaryForms;
    previous->op =
        plus(QVCode::Add_AddFF, 4 * fusedForms * first + fusedForms * (second / binaryForms) +
                                    (form == formFK ? fusedFK : fusedFF));
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

inline QVCode mirrored(QVCode operation) {
    switch (operation) {
        case QVCode::LtAF:
            return QVCode::GtAF;
        case QVCode::LeAF:
            return QVCode::GeAF;
        case QVCode::GtAF:
            return QVCode::LtAF;
        case QVCode::GeAF:
            return QVCode::LeAF;
        default:
            return operation;
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
        emit({exponent == T(2)   ? QVCode::Square
              : exponent == T(3) ? QVCode::Cube
                                 : QVCode::Fourth});
    }
    pushAccumulator();
    return true;
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

}  // namespace qvprogram
