#pragma once
#include <complex>
#include <concepts>

#include "qvutils/common/platform/qvexport.h"
#include "qvutils/common/text/qvstring.h"

/// Number text. All of it is the same under every locale.

/// The longest text that qvFormatG and qvFormatInteger write.
inline constexpr int qvNumberTextSize = 32;

/// Writes a number as printf's "%.<precision>g" does (1 <= precision <= 17), without a NUL, and
/// returns the end of the text. `buffer` has room for qvNumberTextSize characters.
QVCORE_API char* qvFormatG(char* buffer, double value, int precision);
QVCORE_API char* qvFormatInteger(char* buffer, long long value);

QVCORE_API int qvRoundDoubleToNearestInt(double value);

/// Text for display. T is int, long, float, double or complex<double>: "%d", "%.8g", "%.8g",
/// "(%.8g, %.8g)".
template <class T>
QVString qvNumberToString(const T& value);
/// Text for files: "%d", "%.8g" for float, "%.10g" for double, "(%.10g, %.10g)".
template <class T>
QVString qvWriteNumber(const T& value);

/// Full precision: "%d", "%g" for float, "%.16lg" for double, "(%.16lg,%.16lg)".
QVCORE_API QVString qvIntegerToText(long long value);
template <std::integral T>
QVString numtoA(T value) {
    return qvIntegerToText(static_cast<long long>(value));
}
QVCORE_API QVString numtoA(float value);
QVCORE_API QVString numtoA(double value);
QVCORE_API QVString numtoA(const std::complex<double>& value);
/// The fewest digits that qvReadShortest reads back as the same value; "(re,im)", "inf", "nan".
QVCORE_API QVString qvShortestText(int value);
QVCORE_API QVString qvShortestText(float value);
QVCORE_API QVString qvShortestText(double value);
QVCORE_API QVString qvShortestText(const std::complex<double>& value);
/// "%x"
QVCORE_API QVString hexnumtoA(int value);
QVCORE_API QVString hexnumtoA(long value);

/// Text to number, for T = int, float, double and complex<double>. The whole text must be a number,
/// blanks around it allowed; else the result is false and the target keeps its value. The value is
/// the correctly rounded one; one that overflows is refused. int takes the nearest integer;
/// complex takes a real number or "(re,im)".
template <class T>
bool qvStringToNumber(QVText text, T& value);

/// The same, but what qvShortestText writes for infinities and for what is not a number are numbers
/// too.
template <class T>
bool qvReadShortest(QVText text, T& value);

/// complex copies, double and float take the real part, int the nearest integer to the real part,
/// clamped to -2147483647 ... 2147483647. A real part that is not a number gives 0 as an int.
template <class T>
void qvComplexToNumber(const std::complex<double>& number, T& value);

/// Read the number at the start of the text as scanf's "%d" does; `failed` is 1 when there is none,
/// else 0. What follows the number is not looked at. Out of range, the nearest limit is returned.
QVCORE_API int atoI(QVText text, int& failed);
QVCORE_API long atoL(QVText text, int& failed);
/// The same in base 16 ("0x" may precede); a text without a number gives 0, `failed` is always 0.
QVCORE_API int hexatoI(QVText text, int& failed);
QVCORE_API long hexatoL(QVText text, int& failed);
/// The same as scanf's "%lf".
QVCORE_API float atoF(QVText text, int& failed);
QVCORE_API double atoD(QVText text, int& failed);

extern template QVCORE_API QVString qvNumberToString<int>(const int&);
extern template QVCORE_API QVString qvNumberToString<long>(const long&);
extern template QVCORE_API QVString qvNumberToString<float>(const float&);
extern template QVCORE_API QVString qvNumberToString<double>(const double&);
extern template QVCORE_API QVString
qvNumberToString<std::complex<double>>(const std::complex<double>&);
extern template QVCORE_API QVString qvWriteNumber<int>(const int&);
extern template QVCORE_API QVString qvWriteNumber<long>(const long&);
extern template QVCORE_API QVString qvWriteNumber<float>(const float&);
extern template QVCORE_API QVString qvWriteNumber<double>(const double&);
extern template QVCORE_API QVString
qvWriteNumber<std::complex<double>>(const std::complex<double>&);
template <>
QVCORE_API bool qvStringToNumber<double>(QVText text, double& value);
template <>
QVCORE_API bool qvStringToNumber<float>(QVText text, float& value);
template <>
QVCORE_API bool qvStringToNumber<int>(QVText text, int& value);
template <>
QVCORE_API bool qvStringToNumber<std::complex<double>>(QVText text, std::complex<double>& value);
extern template QVCORE_API bool qvReadShortest<int>(QVText, int&);
extern template QVCORE_API bool qvReadShortest<float>(QVText, float&);
extern template QVCORE_API bool qvReadShortest<double>(QVText, double&);
template <>
QVCORE_API bool qvReadShortest<std::complex<double>>(QVText text, std::complex<double>& value);
template <>
QVCORE_API void qvComplexToNumber<std::complex<double>>(const std::complex<double>& number,
                                                        std::complex<double>& value);
template <>
QVCORE_API void qvComplexToNumber<double>(const std::complex<double>& number, double& value);
template <>
QVCORE_API void qvComplexToNumber<float>(const std::complex<double>& number, float& value);
template <>
QVCORE_API void qvComplexToNumber<int>(const std::complex<double>& number, int& value);
