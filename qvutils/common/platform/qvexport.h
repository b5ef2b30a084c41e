#pragma once

/// QVCORE_API marks what the library exports to programs that link it shared, and to plug-ins.
#if defined(_WIN32)
#if defined(QVCORE_BUILDING)
#define QVCORE_API __declspec(dllexport)
#elif defined(QVCORE_SHARED)
#define QVCORE_API __declspec(dllimport)
#else
#define QVCORE_API
#endif
#else
#define QVCORE_API __attribute__((visibility("default")))
#endif

/// QV_PRINTF_LIKE(fmt, first) lets the compiler check the arguments of a printf-style function: the
/// numbers of the format and of the first argument, `this` counting as 1; `first` is 0 when the
/// function takes a va_list.
#if defined(__clang__)
#define QV_PRINTF_LIKE(fmt, first) __attribute__((__format__(__printf__, fmt, first)))
#define QV_SCANF_LIKE(fmt, first) __attribute__((__format__(__scanf__, fmt, first)))
#elif defined(__GNUC__)
#define QV_PRINTF_LIKE(fmt, first) __attribute__((__format__(__gnu_printf__, fmt, first)))
#define QV_SCANF_LIKE(fmt, first) __attribute__((__format__(__gnu_scanf__, fmt, first)))
#else
#define QV_PRINTF_LIKE(fmt, first)
#define QV_SCANF_LIKE(fmt, first)
#endif
