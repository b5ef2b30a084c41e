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

/// A use of a name, or the place where a loop introduces it; ranges of the text without blanks.
struct NameUse {
    int begin;
    int end;
};

/// The uses of names that loops bind, and of those that come from outside, in the order of the
/// text.
class NameUses {
public:
    explicit NameUses(std::string_view formula) : parser_(formula) {
        try {
            collect(parser_.parse());
        } catch (const Error&) {
            collectWords();
        }
        std::sort(uses.begin(), uses.end(),
                  [](const NameUse& a, const NameUse& b) { return a.begin < b.begin; });
    }

    std::string_view name(const NameUse& use) const { return text().view(use.begin, use.end); }
    const QVFormulaText& text() const { return parser_.text(); }

    std::vector<NameUse> uses;

private:
    void collect(const std::vector<QVParsedElement>& elements) {
        std::vector<std::string_view> loops;
        double number = 0;
        for (const QVParsedElement& e : elements) {
            const std::string_view word = text().view(e.begin, e.end);
            if (e.op == QVOp::loopBegin) loops.push_back(word);
            if (e.op == QVOp::loopEnd) loops.pop_back();
            if (e.op != QVOp::variable && e.op != QVOp::index) continue;
            const bool bound = std::find(loops.begin(), loops.end(), word) != loops.end();
            if (!bound && !qvReadFormulaNumber(word, number)) uses.push_back({e.begin, e.end});
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
            if (!qvReadFormulaNumber(t.view(begin, end), number)) uses.push_back({begin, end});
        }
    }

    QVFormulaParser parser_;
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
    for (const NameUse& use : names.uses) {
        const QVFormulaFault place = names.text().faultAt(use.begin, use.end);
        callback(names.name(use), place.column, place.length);
    }
}

QVString qvRenameInFormula(QVText formula, QVText from, QVText to, int& count) {
    count = 0;
    std::string renamed;
    std::size_t done = 0;
    qvForEachName(formula, [&](QVText name, int position, int length) {
        if (name.view() != from.view()) return;
        renamed += formula.view().substr(done, static_cast<std::size_t>(position) - done);
        renamed += to.view();
        done = static_cast<std::size_t>(position + length);
        ++count;
    });
    renamed += formula.view().substr(done);
    return QVString(std::string_view(renamed));
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
