#pragma once

/// QVCORE_API marks what the library exports when it is built as a shared library.
#if defined(_WIN32)
#if !defined(QVCORE_SHARED)
#define QVCORE_API
#elif defined(QVCORE_BUILDING)
#define QVCORE_API __declspec(dllexport)
#else
#define QVCORE_API __declspec(dllimport)
#endif
#else
#define QVCORE_API __attribute__((visibility("default")))
#endif

/// QV_PRINTF_LIKE(format, first) lets the compiler check the arguments of a printf-style function.
/// `this` counts as argument 1; `first` is 0 when the function takes a va_list.
#if defined(__clang__)
#define QV_PRINTF_LIKE(format, first) __attribute__((format(printf, format, first)))
#define QV_SCANF_LIKE(format, first) __attribute__((format(scanf, format, first)))
#elif defined(__GNUC__)
#define QV_PRINTF_LIKE(format, first) __attribute__((format(gnu_printf, format, first)))
#define QV_SCANF_LIKE(format, first) __attribute__((format(gnu_scanf, format, first)))
#else
#define QV_PRINTF_LIKE(format, first)
#define QV_SCANF_LIKE(format, first)
#endif
