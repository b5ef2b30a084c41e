#pragma once

#include "qvutils/common/platform/qvexport.h"

/// Diagnostic text. An application installs hooks to show it in its windows; without them normal
/// text and warnings go to standard output, fatal messages to standard error.

/// The longest text of one lprintf or wlprintf is one character less.
inline constexpr int qvDiagnosticLimit = 4096;

enum qvOutputKind { qvOutputNormal = 0, qvOutputWarning = 1 };

/// Receives the text in pieces, each ending after a "\n" or at the end of the text. May be called
/// on any thread.
using qvOutputHook = void (*)(int kind, const char* piece);
/// Receives the message of exitfn (`fatal` true; the process ends when the hook returns) or warnfn.
using qvFatalHook = void (*)(const char* message, bool fatal);

/// Null takes the hook away. Both return the hook installed before.
QVCORE_API qvOutputHook setOutputHook(qvOutputHook hook);
QVCORE_API qvFatalHook setFatalHook(qvFatalHook hook);

/// Prints normal text (lprintf) or a warning (wlprintf). Numbers look the same under every locale.
/// A result of qvDiagnosticLimit characters or more ends the program ("Code error in lprintf()"):
/// text of unknown length goes through lwrite.
QVCORE_API void lprintf(const char* fmt, ...) QV_PRINTF_LIKE(1, 2);
QVCORE_API void wlprintf(const char* fmt, ...) QV_PRINTF_LIKE(1, 2);

/// The same for text of any length: lines too long for one piece are emitted in several, never
/// divided inside a UTF-8 character.
QVCORE_API void lwrite(const char* text);
QVCORE_API void wlwrite(const char* text);

/// A programming error: the formatted message goes to the fatal hook or to standard error, and the
/// process ends with exit code 1.
[[noreturn]] QVCORE_API void exitfn(const char* fmt, ...) QV_PRINTF_LIKE(1, 2);
/// The same without ending the process.
QVCORE_API void warnfn(const char* fmt, ...) QV_PRINTF_LIKE(1, 2);
