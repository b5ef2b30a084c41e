#include "qvutils/common/parameters/qvproperty.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>
#include <string_view>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/format.h"
#include "qvutils/common/text/qvnumber.h"

namespace {

using Complex = std::complex<double>;

constexpr double radian = 180 / 3.14159265358979323846;  ///< in degrees
constexpr const char* shadings = "none|flat|smooth";

/// The choice of that number, from 0; empty when there is none.
std::string_view choiceAt(std::string_view choices, int index) {
    for (; index >= 0; --index) {
        const std::size_t end = std::min(choices.find('|'), choices.size());
        if (index == 0) return choices.substr(0, end);
        choices.remove_prefix(std::min(end + 1, choices.size()));
    }
    return {};
}

/// The number of that choice or -1.
int indexOfChoice(std::string_view choices, std::string_view text) {
    for (int index = 0;; ++index) {
        const std::size_t end = std::min(choices.find('|'), choices.size());
        if (choices.substr(0, end) == text) return index;
        if (end == choices.size()) return -1;
        choices.remove_prefix(end + 1);
    }
}

/// Reads "(<size> <word>,<phase> deg)".
bool readPolar(QVString text, const char* word, double& size, double& phase) {
    Complex pair;
    if (text.GSub(QVString(" ") + word, "") != 1 || text.GSub(" deg", "") != 1 ||
        !text.Contains('(') || !qvStringToNumber(text, pair) || pair.real() < 0)
        return false;
    size = pair.real();
    phase = pair.imag() / radian;
    return true;
}

bool readHex(std::string_view digits, unsigned char& value) {
    const char* end = digits.data() + digits.size();
    return std::from_chars(digits.data(), end, value, 16).ptr == end;
}

}  // namespace

bool QVProperty::setText(const QVString& text) {
    if (readOnly_) {
        qverr().setf("\"%s\" is read only!\n", name_);
        return false;
    }
    if (take(text)) return true;
    if (!qverr()) qverr().setf("could not set \"%s\" to \"%s\"\n", name_, text.Chars());
    return false;
}

// Numbers.

QVString QVPropInt::getText() const {
    return numtoA(data<int>());
}

bool QVPropInt::take(const QVString& text) {
    return qvStringToNumber<int>(text, data<int>());
}

template <class T>
QVString QVPropReal<T>::getText() const {
    return qvNumberToString(data<T>());
}

template <class T>
QVString QVPropReal<T>::getEditText() const {
    return qvShortestText(data<T>());
}

template <class T>
bool QVPropReal<T>::take(const QVString& text) {
    return qvReadShortest<T>(text, data<T>());
}

template class QVPropReal<float>;
template class QVPropReal<double>;

QVString QVPropComplex::getText() const {
    const Complex z = data<Complex>();
    const double phase = std::arg(z) * radian;
    std::string text;
    if (display_ == modulus)
        text = qvplatform::formatText("(%.3g abs,%.3g deg)", std::abs(z), phase);
    else if (display_ == power)
        text = qvplatform::formatText("(%.3g norm,%.3g deg)", std::norm(z), phase);
    else
        text = qvplatform::formatText("(%.3g,%.3g)", z.real(), z.imag());
    return QVString(text);
}

QVString QVPropComplex::getEditText() const {
    return qvShortestText(data<Complex>());
}

bool QVPropComplex::take(const QVString& text) {
    Complex& value = data<Complex>();
    double size = 0, phase = 0;
    if (qvReadShortest<Complex>(text, value)) return true;
    if (readPolar(text, "norm", size, phase))
        size = std::sqrt(size);
    else if (!readPolar(text, "abs", size, phase))
        return false;
    value = std::polar(size, phase);
    return true;
}

// Parameters.

template <class T>
QVString QVPropParam<T>::getText() const {
    return qvNumberToString(data<qvParameter<T>>().GetValue());
}

template <class T>
QVString QVPropParam<T>::getEditText() const {
    return data<qvParameter<T>>().GetMyExpression();
}

template <class T>
bool QVPropParam<T>::take(const QVString& text) {
    auto& parameter = data<qvParameter<T>>();
    if (parameter.SetValue(text)) return true;
    return (space_ || text.Empty()) && parameter.SetExpression(space_, text);
}

template class QVPropParam<int>;
template class QVPropParam<float>;
template class QVPropParam<double>;
template class QVPropParam<Complex>;

// Texts and choices.

QVString QVPropBool::getText() const {
    return data<bool>() ? "true" : "false";
}

bool QVPropBool::take(const QVString& text) {
    const bool on = text == "true" || text == "1";
    if (!on && text != "false" && text != "0") return false;
    data<bool>() = on;
    return true;
}

QVString QVPropChar::getText() const {
    return QVString(&data<char>(), data<char>() ? 1 : 0);
}

bool QVPropChar::take(const QVString& text) {
    if (text.Length() != 1 || !text[0]) return false;
    data<char>() = text[0];
    return true;
}

QVString QVPropCharArray::getText() const {
    const char* chars = &data<char>();
    return QVString(chars, static_cast<int>(std::find(chars, chars + length_, '\0') - chars));
}

bool QVPropCharArray::take(const QVString& text) {
    if (text.Length() >= length_) return false;
    std::copy_n(text.Chars(), text.Length() + 1, &data<char>());
    return true;
}

bool QVPropString::take(const QVString& text) {
    data<QVString>() = text;
    return true;
}

QVString QVPropChoice::getText() const {
    return QVString(choiceAt(choices_, *index_));
}

bool QVPropChoice::take(const QVString& text) {
    const int index = indexOfChoice(choices_, text.view());
    if (index < 0) return false;
    *index_ = index;
    if (getData()) data<QVString>() = text;
    return true;
}

QVString QVPropShading::getText() const {
    return QVString(choiceAt(shadings, static_cast<int>(data<QVShading>())));
}

bool QVPropShading::take(const QVString& text) {
    const int index = indexOfChoice(shadings, text.view());
    if (index >= 0) data<QVShading>() = static_cast<QVShading>(index);
    return index >= 0;
}

// Colours.

QVString QVPropColour::getText() const {
    const QVColour colour = data<QVColour>();
    return QVString(qvplatform::formatText("#%02x%02x%02x", colour.red, colour.green, colour.blue));
}

bool QVPropColour::take(const QVString& text) {
    QVColour colour;
    const std::string_view t = text.view();
    if (t.size() != 7 || t[0] != '#' || !readHex(t.substr(1, 2), colour.red) ||
        !readHex(t.substr(3, 2), colour.green) || !readHex(t.substr(5, 2), colour.blue))
        return false;
    data<QVColour>() = colour;
    return true;
}

QVString QVPropCustomColour::getText() const {
    for (int i = 0; i < colours_->count; ++i) {
        if (colours_->entries[i].colour == data<QVColour>()) return colours_->entries[i].name;
    }
    return QVPropColour::getText();
}

bool QVPropCustomColour::take(const QVString& text) {
    for (int i = 0; i < colours_->count; ++i) {
        if (text != colours_->entries[i].name) continue;
        data<QVColour>() = colours_->entries[i].colour;
        return true;
    }
    return QVPropColour::take(text);
}

bool QVPropVoid::Run() {
    if (IsReadOnly()) {
        qverr().setf("\"%s\" is read only!\n", getName());
        return false;
    }
    editor_->Edit(getData());
    return true;
}
