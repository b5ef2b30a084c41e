#pragma once
#include <memory>

#include "qvutils/common/platform/qvexport.h"
#include "qvutils/common/text/qvstring.h"

/// A compiled regular expression. Groups are written \( ... \) and alternatives \|; * + ? are
/// operators; [[:alpha:]] and its like name character classes; a backslash in brackets is an
/// ordinary character, except that \d, \s and \w keep their meaning there. A match is the leftmost
/// one, and of those the longest. Bytes are matched one by one, whatever the locale.
///
/// A pattern that does not compile is reported to the string error handler with class name
/// "QVRegex" and then matches nothing. The same holds for a text on which matching would take
/// unreasonably long. Compiled patterns never change: they may be copied cheaply and shared between
/// threads.
class QVCORE_API QVRegex {
public:
    explicit QVRegex(QVText pattern);

    /// Has the pattern compiled?
    bool OK() const { return compiled_ != nullptr; }
    const QVString& Pattern() const { return pattern_; }

    /// The position of the first match at or after `start`, or -1; `matchLength` gets its length.
    int Search(QVText text, int& matchLength, int start = 0) const;
    /// The same for the last position at which a match begins.
    int SearchLast(QVText text, int& matchLength) const;
    /// The length of the longest match that begins at `start`, or -1.
    int Match(QVText text, int start = 0) const;
    /// Does the pattern match everything from `start` to the end?
    bool MatchesAll(QVText text, int start = 0) const;

private:
    struct Compiled;

    QVString pattern_;
    std::shared_ptr<const Compiled> compiled_;
};

/// The predefined patterns.
QVCORE_API const QVRegex& QVRXwhite();       ///< white space
QVCORE_API const QVRegex& QVRXint();         ///< an integer
QVCORE_API const QVRegex& QVRXdouble();      ///< a real number
QVCORE_API const QVRegex& QVRXalpha();       ///< letters
QVCORE_API const QVRegex& QVRXlowercase();   ///< lower-case letters
QVCORE_API const QVRegex& QVRXuppercase();   ///< upper-case letters
QVCORE_API const QVRegex& QVRXalphanum();    ///< letters and digits
QVCORE_API const QVRegex& QVRXidentifier();  ///< a letter or "_", then letters, digits, "_"
