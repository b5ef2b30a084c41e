#pragma once
#include <string>

/// Puts the program under a locale whose decimal separator is a comma, from construction to
/// destruction.
class CommaLocale {
public:
    CommaLocale();
    ~CommaLocale();
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;

    /// False when the machine has no such locale: the test has nothing to say then.
    bool active() const { return active_; }

private:
    std::string before_;
    bool active_ = false;
};
