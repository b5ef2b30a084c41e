#include "qvutils/common/diagnostics/diagnostics.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "qvutils/common/platform/format.h"

namespace {

std::atomic<qvOutputHook> outputHook = nullptr;
std::atomic<qvFatalHook> fatalHook = nullptr;

void emit(qvOutputKind kind, const char* piece) {
    if (const qvOutputHook hook = outputHook) {
        hook(kind, piece);
    } else {
        std::fputs(piece, stdout);
    }
}

/// Where to divide a text longer than one piece: before the character that would not fit whole.
std::size_t cutAt(std::string_view text, std::size_t most) {
    std::size_t cut = most;
    while (cut > most - 4 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) --cut;
    return cut == most - 4 ? most : cut;
}

void emitPieces(qvOutputKind kind, std::string_view text) {
    constexpr std::size_t most = qvDiagnosticLimit - 1;
    char piece[qvDiagnosticLimit];
    while (!text.empty()) {
        const std::size_t newline = text.find('\n');
        std::size_t length = newline == text.npos ? text.size() : newline + 1;
        if (length > most) length = cutAt(text, most);
        text.copy(piece, length);
        piece[length] = '\0';
        emit(kind, piece);
        text.remove_prefix(length);
    }
}

void vprint(qvOutputKind kind, const char* fmt, va_list args) {
    char text[qvDiagnosticLimit];
    const int length = qvplatform::vformat(text, sizeof text, fmt, args);
    if (length < 0 || length >= qvDiagnosticLimit) exitfn("Code error in lprintf()");
    emitPieces(kind, std::string_view(text, static_cast<std::size_t>(length)));
}

void report(const std::string& message, bool fatal) {
    if (const qvFatalHook hook = fatalHook) return hook(message.c_str(), fatal);
    std::fflush(stdout);
    const bool ended = !message.empty() && message.back() == '\n';
    std::fprintf(stderr, "%s%s", message.c_str(), ended ? "" : "\n");
}

}  // namespace

qvOutputHook setOutputHook(qvOutputHook hook) { return outputHook.exchange(hook); }

qvFatalHook setFatalHook(qvFatalHook hook) { return fatalHook.exchange(hook); }

void lprintf(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    vprint(qvOutputNormal, fmt, args);
    va_end(args);
}

void wlprintf(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    vprint(qvOutputWarning, fmt, args);
    va_end(args);
}

void lwrite(const char* text) { emitPieces(qvOutputNormal, text); }

void wlwrite(const char* text) { emitPieces(qvOutputWarning, text); }

void exitfn(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const std::string message = qvplatform::vformatText(fmt, args);
    va_end(args);
    // A second fatal error, in the hook or while the first one ends the process, ends it at once.
    static std::atomic<bool> ending = false;
    if (ending.exchange(true)) {
        std::fprintf(stderr, "%s\n", message.c_str());
        std::_Exit(1);
    }
    report(message, true);
    std::exit(1);
}

void warnfn(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const std::string message = qvplatform::vformatText(fmt, args);
    va_end(args);
    report(message, false);
}
