#pragma once
#include <string>

#include "qvutils/common/platform/qvexport.h"

/// A pending error: a number and a message. Number 0 means that nothing is pending.
///
/// A user's mistake is posted once, where its cause is known, into the calling thread's error
/// object qverr(); the function then returns a neutral value. Callers test after each step and do
/// nothing while an error is pending.
class QVCORE_API Error {
public:
    /// The number of an error that was set without one.
    static constexpr int unnumbered = -1;
    /// The title under which display() shows the message.
    static const char* errTitle;

    /// The message replaces what was pending; a null pointer counts as an empty one.
    void set(const char* message) { set(unnumbered, message); }
    void set(int number, const char* message);
    /// The same with a printf-style format; the message may have any length.
    void setf(const char* fmt, ...) QV_PRINTF_LIKE(2, 3);
    void setf(int number, const char* fmt, ...) QV_PRINTF_LIKE(3, 4);
    /// Adds to the message; posts an error without a number when nothing was pending.
    void append(const char* message);

    /// The error number; non-zero while an error is pending.
    operator int() const { return number_; }
    int& getErrNoRef() { return number_; }

    /// The message, empty when nothing is pending. The text stays as it is until the next call that
    /// changes this object.
    const char* chars() const { return number_ ? message_.c_str() : ""; }
    /// The message; `andReset` also takes the error back, as chars_and_reset() does. The text stays
    /// readable until the next error is set.
    const char* chars(bool andReset) { return andReset ? chars_and_reset() : chars(); }
    const char* chars_and_reset();
    void reset() { number_ = 0; }

    /// Hands a pending error to `other`, in place of what was pending there; nothing is pending
    /// here afterwards. Does nothing when there is none.
    void transferto(Error& other);

    /// Writes title and message as a warning (kind 1) or as normal text (kind 0) and leaves the
    /// error pending. Does nothing when there is none.
    void display(int kind = 1) const;

private:
    int number_ = 0;
    std::string message_;
};

/// The calling thread's error object.
QVCORE_API Error& qverr();

/// Posts "Code Error: %s\nAt %s:%d\nPlease contact Orvelle": the program has found itself in a
/// state that should not occur. `function` may be any text that names the place.
QVCORE_API void CodeError(const char* function, const char* file, int line);

/// A syntax error in text that is being read: writes the message as a warning and counts it for
/// the calling thread; reading goes on. The message may have any length.
QVCORE_API void SyntaxErr(const char* fmt, ...) QV_PRINTF_LIKE(1, 2);
QVCORE_API int qvSyntaxErrCount();
QVCORE_API void qvResetSyntaxErrCount();

/// While one lives on a thread, SyntaxErr neither writes nor counts there: for the first of two
/// passes over the same text.
class QVCORE_API qvQuietSyntaxErrs {
public:
    qvQuietSyntaxErrs();
    ~qvQuietSyntaxErrs();
    qvQuietSyntaxErrs(const qvQuietSyntaxErrs&) = delete;
    qvQuietSyntaxErrs& operator=(const qvQuietSyntaxErrs&) = delete;
};
