// The names in a formula, and showing where it failed.
#include "qvutils/common/formula/formulanames.h"

#include <algorithm>
#include <cctype>
#include <string>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/formula/formulaparser.h"
#include "qvutils/common/formula/formularesolver.h"

QVNameSource::~QVNameSource() = default;

namespace {

/// The names in a formula and the loops that bind some of them. Ranges are those of the text
/// without blanks.
class NameUses {
public:
    static constexpr int noLoop = -1;
    struct Use {
        int begin;
        int end;
        int boundBy;  // the loop whose variable it is
        int inside;   // the innermost loop around it
    };
    struct Loop {
        int begin;
        int end;
        int around;
    };

    explicit NameUses(std::string_view formula) : parser_(formula) {
        try {
            collect(parser_.parse());
        } catch (const Error&) {
            uses.clear();
            collectWords();
        }
        std::sort(uses.begin(), uses.end(),
                  [](const Use& a, const Use& b) { return a.begin < b.begin; });
    }

    const QVFormulaText& text() const { return parser_.text(); }
    /// Of a use or of a loop's variable where it is introduced.
    template <class Range>
    std::string_view name(const Range& range) const {
        return text().view(range.begin, range.end);
    }
    /// The innermost of this loop and those around it whose variable has the name.
    int binding(int loop, std::string_view wanted) const {
        while (loop != noLoop && name(at(loop)) != wanted) loop = at(loop).around;
        return loop;
    }
    const Loop& at(int loop) const { return loops[static_cast<std::size_t>(loop)]; }

    std::vector<Use> uses;  // in the order of the text
    std::vector<Loop> loops;

private:
    void collect(const std::vector<QVParsedElement>& elements) {
        int loop = noLoop;
        double number = 0;
        for (const QVParsedElement& e : elements) {
            if (e.op == QVOp::loopBegin) {
                loops.push_back({e.begin, e.end, loop});
                loop = static_cast<int>(loops.size()) - 1;
            } else if (e.op == QVOp::loopEnd) {
                loop = at(loop).around;
            } else if (e.op == QVOp::variable || e.op == QVOp::index) {
                const std::string_view word = text().view(e.begin, e.end);
                if (qvReadFormulaNumber(word, number)) continue;
                uses.push_back({e.begin, e.end, binding(loop, word), loop});
            }
        }
    }

    /// The words of a text that is no formula: what looks like a name and has no "(" behind it.
    void collectWords() {
        const QVFormulaText& t = text();
        const auto inWord = [&](int i) {
            return i < t.size() && (std::isalnum(static_cast<unsigned char>(t[i])) || t[i] == '_');
        };
        double number = 0;
        for (int begin = 0, end = 0; begin < t.size(); begin = end + 1) {
            for (end = begin; inWord(end);) ++end;
            if (begin == end || std::isdigit(static_cast<unsigned char>(t[begin]))) continue;
            if (end < t.size() && t[end] == '(') continue;
            if (qvReadFormulaNumber(t.view(begin, end), number)) continue;
            uses.push_back({begin, end, noLoop, noLoop});
        }
    }

    QVFormulaParser parser_;
};

/// Names of a formula to be replaced, with those of the loops that would capture the new name.
class Renaming {
public:
    Renaming(QVText formula, std::string_view from, std::string_view to)
        : typed_(formula.view()), names_(typed_), renamed_(names_.loops.size()) {
        for (const auto& use : names_.uses) {
            if (!isMeant(use, from)) continue;
            ++count;
            const int captor = names_.binding(use.inside, to);
            if (captor != NameUses::noLoop) renamed_[static_cast<std::size_t>(captor)] = true;
        }
        for (fresh_ = to; isUsed(fresh_);) fresh_ += '_';
        replaceAll(from, to);
    }

    QVString text() {
        std::sort(edits_.begin(), edits_.end(),
                  [](const Edit& a, const Edit& b) { return a.position < b.position; });
        std::string text;
        std::size_t done = 0;
        for (const Edit& edit : edits_) {
            text += typed_.substr(done, edit.position - done);
            text += edit.replacement;
            done = edit.position + edit.length;
        }
        text += typed_.substr(done);
        return QVString(std::string_view(text));
    }

    int count = 0;

private:
    struct Edit {
        std::size_t position;
        std::size_t length;
        std::string_view replacement;
    };

    bool isMeant(const NameUses::Use& use, std::string_view from) const {
        return use.boundBy == NameUses::noLoop && names_.name(use) == from;
    }
    bool isUsed(std::string_view name) const {
        const auto same = [&](const auto& range) { return names_.name(range) == name; };
        return std::any_of(names_.uses.begin(), names_.uses.end(), same) ||
               std::any_of(names_.loops.begin(), names_.loops.end(), same);
    }
    void replaceAll(std::string_view from, std::string_view to) {
        for (const auto& use : names_.uses) {
            if (isMeant(use, from)) {
                replace(use, to);
            } else if (use.boundBy >= 0 && renamed_[static_cast<std::size_t>(use.boundBy)]) {
                replace(use, fresh_);
            }
        }
        for (std::size_t i = 0; i < renamed_.size(); ++i) {
            if (renamed_[i]) replace(names_.loops[i], fresh_);
        }
    }
    template <class Range>
    void replace(const Range& range, std::string_view replacement) {
        const QVFormulaFault place = names_.text().faultAt(range.begin, range.end);
        edits_.push_back({static_cast<std::size_t>(place.column),
                          static_cast<std::size_t>(place.length), replacement});
    }

    std::string_view typed_;
    NameUses names_;
    std::vector<bool> renamed_;  // the loops whose variable changes
    std::string fresh_;
    std::vector<Edit> edits_;
};

constexpr int widestShown = 70;

bool continuesCharacter(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

/// The length of UTF-8 text on the screen.
int columns(std::string_view text) {
    return static_cast<int>(
        std::count_if(text.begin(), text.end(), [](char c) { return !continuesCharacter(c); }));
}

/// The part of a long text that is shown: the fault, or its beginning, with text on both sides.
std::pair<int, int> windowAround(std::string_view text, int column, int length) {
    const int size = static_cast<int>(text.size());
    if (size <= widestShown) return {0, size};
    const int room = std::max(0, widestShown - length);
    int begin = std::clamp(column - room / 2, 0, size - widestShown);
    int end = begin + widestShown;
    while (begin > 0 && continuesCharacter(text[static_cast<std::size_t>(begin)])) --begin;
    while (end < size && continuesCharacter(text[static_cast<std::size_t>(end)])) ++end;
    return {begin, end};
}

}  // namespace

void qvForEachName(QVText formula,
                   const std::function<void(QVText name, int position, int length)>& callback) {
    const NameUses names(formula.view());
    for (const auto& use : names.uses) {
        if (use.boundBy != NameUses::noLoop) continue;
        const QVFormulaFault place = names.text().faultAt(use.begin, use.end);
        callback(names.name(use), place.column, place.length);
    }
}

QVString qvRenameInFormula(QVText formula, QVText from, QVText to, int& count) {
    Renaming renaming(formula, from.view(), to.view());
    count = renaming.count;
    return count == 0 ? QVString(formula.view()) : renaming.text();
}

QVString qvShowFault(QVText formula, const QVFormulaFault& fault) {
    const std::string_view text = formula.view();
    const int size = static_cast<int>(text.size());
    QVString shown;
    if (fault.column < 0 || fault.column > size) return shown;
    const auto [begin, end] = windowAround(text, fault.column, fault.length);
    const auto part = [&](int from, int to) {
        return text.substr(static_cast<std::size_t>(from), static_cast<std::size_t>(to - from));
    };
    std::string line(part(begin, end));
    for (char& c : line) {
        if (static_cast<unsigned char>(c) < ' ') c = ' ';
    }
    const char* const before = begin > 0 ? "..." : "";
    const int indent = columns(before) + columns(part(begin, fault.column));
    const int faultEnd = std::clamp(fault.column + fault.length, fault.column, end);
    const int width = std::max(1, columns(part(fault.column, faultEnd)));
    shown += before;
    shown += std::string_view(line);
    shown += end < size ? "...\n" : "\n";
    shown.Append(' ', indent);
    shown += '^';
    shown.Append('~', width - 1);
    shown += '\n';
    for (std::size_t i = 0; i < fault.nearest.size(); ++i) {
        shown += i == 0 ? "did you mean " : ", ";
        shown += fault.nearest[i];
    }
    if (!fault.nearest.empty()) shown += "?\n";
    return shown;
}
