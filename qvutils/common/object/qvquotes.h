#pragma once

/// Follows a text character by character and knows which are inside double quotes. A double quote
/// opens or closes unless an odd number of backslashes stands before it.
class qvQuotes {
public:
    /// Takes the next character; true when it is outside quotes and no quote itself.
    bool outside(char c) {
        const bool quote = c == '"' && !escaped_;
        escaped_ = c == '\\' && !escaped_;
        if (quote) inside_ = !inside_;
        return !inside_ && !quote;
    }
    /// Takes a character that is known to be neither quote nor backslash.
    void passPlain() { escaped_ = false; }
    bool inside() const { return inside_; }

private:
    bool inside_ = false;
    bool escaped_ = false;
};
