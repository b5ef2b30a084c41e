#include "qvutils/common/object/qvelementkinds.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "qvutils/common/object/qvobject.h"
#include "qvutils/common/text/qvnumber.h"

namespace {

using Complex = std::complex<double>;
using Slot = qvValueSlot;

template <class T>
T& at(const Slot& slot) {
    return *static_cast<T*>(slot.ptr);
}

template <class T>
void writeNumber(const Slot& slot, QVString& text) {
    text = numtoA(at<T>(slot));
}

template <class T>
bool readNumber(const Slot& slot, const char* text) {
    return qvStringToNumber<T>(text, at<T>(slot));
}

template <class T>
bool setNumber(const Slot& slot, const Complex& value) {
    qvComplexToNumber<T>(value, at<T>(slot));
    return true;
}

template <class T>
std::shared_ptr<void> copyValue(const Slot& slot) {
    return std::make_shared<T>(at<T>(slot));
}

template <class T>
std::size_t valueSize(const Slot&) {
    return sizeof(T);
}

// A flag is stored as 0 or 1, whether it is a bool or an unsigned char.
bool setFlag(const Slot& slot, const Complex& value) {
    at<unsigned char>(slot) = value != 0.0;
    return true;
}

void writeChar(const Slot& slot, QVString& text) {
    text = QVString(&at<char>(slot), at<char>(slot) ? 1 : 0);
}

bool storeShort(const Slot& slot, int value) {
    if (value < std::numeric_limits<short>::min() || value > std::numeric_limits<short>::max()) {
        return false;
    }
    at<short>(slot) = static_cast<short>(value);
    return true;
}

bool readShort(const Slot& slot, const char* text) {
    int value = 0;
    return qvStringToNumber<int>(text, value) && storeShort(slot, value);
}

bool setShort(const Slot& slot, const Complex& number) {
    int value = 0;
    qvComplexToNumber<int>(number, value);
    return storeShort(slot, value);
}

void writeArray(const Slot& slot, QVString& text) {
    const char* chars = &at<char>(slot);
    const char* end = std::find(chars, chars + slot.capacity, '\0');
    text = QVString(std::string_view(chars, static_cast<std::size_t>(end - chars)));
}

bool readArray(const Slot& slot, const char* text) {
    if (slot.capacity < 1) return false;
    const std::size_t room = static_cast<std::size_t>(slot.capacity) - 1;
    const std::size_t length = std::min(std::strlen(text), room);
    std::memcpy(slot.ptr, text, length);
    (&at<char>(slot))[length] = '\0';
    return true;
}

std::shared_ptr<void> copyArray(const Slot& slot) {
    std::shared_ptr<char[]> copy(new char[static_cast<std::size_t>(slot.capacity) + 1]());
    std::copy_n(&at<char>(slot), slot.capacity, copy.get());
    return copy;
}

std::size_t arraySize(const Slot& slot) {
    return static_cast<std::size_t>(slot.capacity);
}

void writeString(const Slot& slot, QVString& text) {
    text = at<QVString>(slot);
}

bool readString(const Slot& slot, const char* text) {
    at<QVString>(slot) = text;
    return true;
}

std::size_t stringSize(const Slot& slot) {
    return sizeof(QVString) + static_cast<std::size_t>(at<QVString>(slot).Allocation());
}

std::shared_ptr<void> copyObject(const Slot& slot) {
    return std::shared_ptr<QVObject>(at<QVObject>(slot).Clone());
}

template <class T>
void writeParameter(const Slot& slot, QVString& text) {
    text = numtoA(at<qvParameter<T>>(slot).GetValue());
}

// Without a namespace a formula would be lost, so it is refused.
template <class T>
bool readParameter(const Slot& slot, const char* text) {
    auto& parameter = at<qvParameter<T>>(slot);
    if (parameter.SetValue(QVString(text))) return true;
    qvNameSpace* space = slot.parent ? slot.parent->GetNameSpace() : nullptr;
    return (space || !*text) && parameter.SetExpression(space, text);
}

template <class T>
bool setParameter(const Slot& slot, const Complex& number) {
    T value;
    qvComplexToNumber<T>(number, value);
    at<qvParameter<T>>(slot).SetValue(value);
    return true;
}

template <class T>
constexpr qvKindInfo parameter(int kind, const char* typeName) {
    using Parameter = qvParameter<T>;
    return {kind,
            typeName,
            writeParameter<T>,
            readParameter<T>,
            setParameter<T>,
            copyValue<Parameter>,
            valueSize<Parameter>};
}

constexpr qvKindInfo none(int kind, const char* typeName = "<unknown type>") {
    return {kind, typeName, nullptr, nullptr, nullptr, nullptr, nullptr};
}

// In the order of the kinds. A text is assigned to a flag or a character by QVCommandElt::Assign.
constexpr qvKindInfo kinds[] = {
    none(qvKindNone),
    {qvKindFlag, "INTEGER", writeNumber<unsigned char>, nullptr, setFlag, copyValue<unsigned char>,
     valueSize<unsigned char>},
    {qvKindChar, "CHARACTER", writeChar, nullptr, nullptr, copyValue<char>, valueSize<char>},
    {qvKindShort, "INTEGER", writeNumber<short>, readShort, setShort, copyValue<short>,
     valueSize<short>},
    {qvKindInt, "INTEGER", writeNumber<int>, readNumber<int>, setNumber<int>, copyValue<int>,
     valueSize<int>},
    {qvKindFloat, "FLOAT", writeNumber<float>, readNumber<float>, setNumber<float>,
     copyValue<float>, valueSize<float>},
    {qvKindDouble, "FLOAT", writeNumber<double>, readNumber<double>, setNumber<double>,
     copyValue<double>, valueSize<double>},
    {qvKindComplex, "COMPLEX", writeNumber<Complex>, readNumber<Complex>, setNumber<Complex>,
     copyValue<Complex>, valueSize<Complex>},
    {qvKindCharArray, "STRING", writeArray, readArray, nullptr, copyArray, arraySize},
    {qvKindString, "STRING", writeString, readString, nullptr, copyValue<QVString>, stringSize},
    {qvKindObject, "OBJECT", nullptr, nullptr, nullptr, copyObject, valueSize<QVObject>},
    parameter<int>(qvKindParameterInt, "INTEGER"),
    parameter<float>(qvKindParameterFloat, "FLOAT"),
    parameter<double>(qvKindParameterDouble, "FLOAT"),
    parameter<Complex>(qvKindParameterComplex, "COMPLEX"),
    none(qvKindMethod, "FUNCTION"),
};

}  // namespace

const qvKindInfo& qvKindRow(int kind) {
    const bool known = kind > 0 && kind < static_cast<int>(std::size(kinds));
    return kinds[known ? kind : qvKindNone];
}
