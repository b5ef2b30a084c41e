#pragma once
#include <cstdarg>
#include <cstddef>
#include <string>

#include "qvutils/common/platform/qvexport.h"

/// printf and scanf that read and write numbers the same under every locale.
namespace qvplatform {

/// vsnprintf in the C locale.
QVCORE_API int vformat(char* buffer, std::size_t size, const char* fmt, va_list args)
    QV_PRINTF_LIKE(3, 0);
/// snprintf in the C locale.
QVCORE_API int format(char* buffer, std::size_t size, const char* fmt, ...) QV_PRINTF_LIKE(3, 4);

/// The formatted text, of any length.
QVCORE_API std::string vformatText(const char* fmt, va_list args) QV_PRINTF_LIKE(1, 0);
QVCORE_API std::string formatText(const char* fmt, ...) QV_PRINTF_LIKE(1, 2);

/// vsscanf in the C locale.
QVCORE_API int vscan(const char* text, const char* fmt, va_list args) QV_SCANF_LIKE(2, 0);
/// sscanf in the C locale.
QVCORE_API int scan(const char* text, const char* fmt, ...) QV_SCANF_LIKE(2, 3);

}  // namespace qvplatform
