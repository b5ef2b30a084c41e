#pragma once
#include <complex>
#include <cstddef>
#include <memory>
#include <type_traits>

#include "qvutils/common/parameters/qvparameter.h"
#include "qvutils/common/platform/qvexport.h"
#include "qvutils/common/text/qvstring.h"

class QVObject;

/// The kinds of published things.
enum qvKind : int {
    qvKindNone = 0,
    qvKindFlag = 1,
    qvKindChar = 2,
    qvKindShort = 3,
    qvKindInt = 4,
    qvKindFloat = 5,
    qvKindDouble = 6,
    qvKindComplex = 7,
    qvKindCharArray = 8,
    qvKindString = 9,
    qvKindObject = 10,
    qvKindParameterInt = 11,
    qvKindParameterFloat = 12,
    qvKindParameterDouble = 13,
    qvKindParameterComplex = 14,
    qvKindMethod = 15
};

/// The kind that a C++ type is published as; qvKindNone when it cannot be.
template <class T>
constexpr int qvKindOf() {
    if constexpr (std::is_same_v<T, bool> || std::is_same_v<T, unsigned char>) return qvKindFlag;
    if constexpr (std::is_same_v<T, char>) return qvKindChar;
    if constexpr (std::is_same_v<T, short>) return qvKindShort;
    if constexpr (std::is_same_v<T, int>) return qvKindInt;
    if constexpr (std::is_same_v<T, float>) return qvKindFloat;
    if constexpr (std::is_same_v<T, double>) return qvKindDouble;
    if constexpr (std::is_same_v<T, std::complex<double>>) return qvKindComplex;
    if constexpr (std::is_same_v<T, QVString>) return qvKindString;
    if constexpr (std::is_base_of_v<QVObject, T>) return qvKindObject;
    if constexpr (std::is_same_v<T, qvParameter<int>>) return qvKindParameterInt;
    if constexpr (std::is_same_v<T, qvParameter<float>>) return qvKindParameterFloat;
    if constexpr (std::is_same_v<T, qvParameter<double>>) return qvKindParameterDouble;
    if constexpr (std::is_same_v<T, qvParameter<std::complex<double>>>)
        return qvKindParameterComplex;
    return qvKindNone;
}

constexpr bool qvIsParameterKind(int kind) {
    return kind >= qvKindParameterInt && kind <= qvKindParameterComplex;
}

/// Where a value of some kind lies.
struct qvValueSlot {
    void* ptr;
    int capacity;      ///< of a character array
    QVObject* parent;  ///< the object that published the value, perhaps null
};

/// One row of the table of kinds: everything that depends on the kind. A function that is null
/// means that the kind cannot do it.
struct qvKindInfo {
    int kind;
    const char* typeName;
    void (*write)(const qvValueSlot&, QVString& text);
    bool (*read)(const qvValueSlot&, const char* text);
    bool (*setNumber)(const qvValueSlot&, const std::complex<double>&);
    std::shared_ptr<void> (*copy)(const qvValueSlot&);
    std::size_t (*size)(const qvValueSlot&);
};

/// The row of a kind; the row of qvKindNone for a number that is no kind.
QVCORE_API const qvKindInfo& qvKindRow(int kind);
