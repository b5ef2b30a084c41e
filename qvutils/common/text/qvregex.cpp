#include "qvutils/common/text/qvregex.h"

// Room for the backtracking records of a match: 64 MB in blocks of 4 KB.
#define BOOST_REGEX_MAX_BLOCKS 16384

#include <boost/regex.hpp>
#include <compare>
#include <cstdint>
#include <iterator>
#include <locale>
#include <new>
#include <stdexcept>

namespace {

// The compiler of patterns recurses over alternatives.
constexpr int longestPattern = 4096;

struct OutOfSteps {};

/// How many characters a search may look at: plenty for a text of n characters, yet no search goes
/// on for more than about a second because its pattern backtracks without end.
class Steps {
public:
    explicit Steps(std::size_t n) : left_(50'000'000 + 100 * static_cast<std::int64_t>(n)) {}
    void take() {
        if (--left_ < 0) throw OutOfSteps();
    }

private:
    std::int64_t left_;
};

/// Walks over the characters and counts every look at one.
class Cursor {
public:
    using iterator_category = std::random_access_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    Cursor() = default;
    Cursor(const char* at, Steps& steps) : at_(at), steps_(&steps) {}

    reference operator*() const {
        steps_->take();
        return *at_;
    }
    reference operator[](difference_type n) const { return *(*this + n); }
    Cursor& operator+=(difference_type n) {
        at_ += n;
        return *this;
    }
    Cursor& operator-=(difference_type n) { return *this += -n; }
    Cursor& operator++() { return *this += 1; }
    Cursor& operator--() { return *this += -1; }
    Cursor operator++(int) {
        Cursor old = *this;
        ++at_;
        return old;
    }
    Cursor operator--(int) {
        Cursor old = *this;
        --at_;
        return old;
    }
    friend Cursor operator+(Cursor c, difference_type n) { return c += n; }
    friend Cursor operator+(difference_type n, Cursor c) { return c += n; }
    friend Cursor operator-(Cursor c, difference_type n) { return c -= n; }
    friend difference_type operator-(Cursor a, Cursor b) { return a.at_ - b.at_; }
    friend bool operator==(Cursor a, Cursor b) { return a.at_ == b.at_; }
    friend auto operator<=>(Cursor a, Cursor b) { return a.at_ <=> b.at_; }

private:
    const char* at_ = nullptr;
    Steps* steps_ = nullptr;
};

using Engine = boost::basic_regex<char, boost::cpp_regex_traits<char>>;
using Groups = boost::match_results<Cursor>;

/// The engine reports a parenthesis without partner and a backslash at the end alike.
const char* explainParenthesis(std::string_view pattern) {
    int open = 0;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] != '\\') continue;
        if (++i == pattern.size()) return "Premature end of regular expression";
        if (pattern[i] == '(') ++open;
        if (pattern[i] == ')' && --open < 0) return "Unmatched \\)";
    }
    return "Unmatched \\(";
}

const char* explain(const boost::regex_error& error, std::string_view pattern) {
    namespace codes = boost::regex_constants;
    switch (error.code()) {
        case codes::error_paren:
            return explainParenthesis(pattern);
        case codes::error_brack:
        case codes::error_brace:
        case codes::error_end:
            return "Premature end of regular expression";
        case codes::error_escape:
            return static_cast<std::size_t>(error.position()) + 1 >= pattern.size()
                       ? "Premature end of regular expression"
                       : "Invalid regular expression";
        case codes::error_size:
            return "Regular expression too big";
        case codes::error_space:
        case codes::error_stack:
            return "Memory exhausted";
        case codes::error_complexity:
            return "Nesting too deep";
        case codes::error_unknown:
            return "invariant failure";
        default:
            return "Invalid regular expression";
    }
}

constexpr const char* tooManySteps = "Regular expression too complex for this text";

const char* explainMatch(const boost::regex_error& error) {
    return error.code() == boost::regex_constants::error_complexity ? tooManySteps
                                                                    : "Memory exhausted";
}

/// Runs a piece of work of the engine. Whatever it throws is reported, and the result is false.
template <class Work, class Explain>
bool guarded(Work work, Explain explainError) {
    const char* message = nullptr;
    try {
        return work();
    } catch (const OutOfSteps&) {
        message = tooManySteps;
    } catch (const boost::regex_error& error) {
        message = explainError(error);
    } catch (const std::bad_alloc&) {
        message = "Memory exhausted";
    } catch (const std::exception&) {
        message = "invariant failure";
    }
    qvStringError("QVRegex", message);
    return false;
}

}  // namespace

struct QVRegex::Compiled {
    Engine engine;

    /// Looks from `start` on; with match_continuous only there.
    bool find(std::string_view text, std::size_t start, Steps& steps, Groups& groups,
              boost::match_flag_type flags) const {
        const Cursor begin(text.data(), steps);
        const auto all = static_cast<std::ptrdiff_t>(text.size());
        flags |= boost::match_posix;
        if (start > 0) flags |= boost::match_prev_avail | boost::match_not_bob;
        return boost::regex_search(begin + static_cast<std::ptrdiff_t>(start), begin + all, groups,
                                   engine, flags);
    }
};

QVRegex::QVRegex(QVText pattern) : pattern_(QVString(pattern.view())) {
    if (pattern.Length() > longestPattern) {
        qvStringError("QVRegex", "Regular expression too big");
        return;
    }
    auto compiled = std::make_shared<Compiled>();
    const auto compile = [&] {
        compiled->engine.imbue(std::locale::classic());
        // Ranges go by byte, not by the collation of a language; a backslash in brackets and a
        // newline before a dot are what they are in basic expressions.
        const auto syntax = (boost::regbase::emacs & ~boost::regbase::collate) |
                            boost::regbase::no_escape_in_lists | boost::regbase::no_mod_s;
        const std::string_view text = pattern.view();
        compiled->engine.assign(text.data(), text.data() + text.size(), syntax);
        return true;
    };
    if (guarded(compile, [&](const auto& error) { return explain(error, pattern.view()); }))
        compiled_ = std::move(compiled);
}

int QVRegex::Search(QVText text, int& matchLength, int start) const {
    matchLength = 0;
    if (!compiled_ || start < 0 || start > text.Length()) return -1;
    Steps steps(text.view().size());
    Groups groups;
    const auto search = [&] {
        return compiled_->find(text.view(), static_cast<std::size_t>(start), steps, groups,
                               boost::match_default);
    };
    if (!guarded(search, explainMatch)) return -1;
    matchLength = static_cast<int>(groups.length(0));
    return start + static_cast<int>(groups.position(boost::match_results<Cursor>::size_type(0)));
}

int QVRegex::SearchLast(QVText text, int& matchLength) const {
    matchLength = 0;
    if (!compiled_) return -1;
    Steps steps(text.view().size());
    Groups groups;
    int pos = text.Length();
    const auto search = [&] {
        for (; pos >= 0; --pos)
            if (compiled_->find(text.view(), static_cast<std::size_t>(pos), steps, groups,
                                boost::match_continuous))
                return true;
        return false;
    };
    if (!guarded(search, explainMatch)) return -1;
    matchLength = static_cast<int>(groups.length(0));
    return pos;
}

int QVRegex::Match(QVText text, int start) const {
    if (!compiled_ || start < 0 || start > text.Length()) return -1;
    Steps steps(text.view().size());
    Groups groups;
    const auto match = [&] {
        return compiled_->find(text.view(), static_cast<std::size_t>(start), steps, groups,
                               boost::match_continuous);
    };
    return guarded(match, explainMatch) ? static_cast<int>(groups.length(0)) : -1;
}

bool QVRegex::MatchesAll(QVText text, int start) const {
    return Match(text, start) == text.Length() - start;
}

const QVRegex& QVRXwhite() {
    static const QVRegex pattern("[ \n\t\r\v\f]+");
    return pattern;
}

const QVRegex& QVRXint() {
    static const QVRegex pattern("-?[0-9]+");
    return pattern;
}

const QVRegex& QVRXdouble() {
    static const QVRegex pattern(
        "-?\\(\\([0-9]+\\.[0-9]*\\)\\|\\([0-9]+\\)\\|\\(\\.[0-9]+\\)\\)\\([eE][---+]?[0-9]+\\)?");
    return pattern;
}

const QVRegex& QVRXalpha() {
    static const QVRegex pattern("[A-Za-z]+");
    return pattern;
}

const QVRegex& QVRXlowercase() {
    static const QVRegex pattern("[a-z]+");
    return pattern;
}

const QVRegex& QVRXuppercase() {
    static const QVRegex pattern("[A-Z]+");
    return pattern;
}

const QVRegex& QVRXalphanum() {
    static const QVRegex pattern("[0-9A-Za-z]+");
    return pattern;
}

const QVRegex& QVRXidentifier() {
    static const QVRegex pattern("[A-Za-z_][A-Za-z0-9_]*");
    return pattern;
}
