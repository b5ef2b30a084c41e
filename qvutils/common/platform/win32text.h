#pragma once
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>

#include <string>
#include <vector>

/// Between the UTF-8 of this library and the UTF-16 of Windows. For the sources of this room only.
namespace qvplatform {

/// Bytes that are not UTF-8 become U+FFFD.
std::wstring toWide(const std::string& text);
std::string toUtf8(const wchar_t* text);

/// The arguments as one text, quoted so that the C runtime of a started program reads each of them
/// back as it is.
std::wstring commandLine(const std::vector<std::string>& arguments);

/// Sets `errno` from GetLastError(), so that callers have one kind of error to look at.
void setErrnoFromSystem();

}  // namespace qvplatform
