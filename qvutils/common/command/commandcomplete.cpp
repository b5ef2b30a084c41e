// Help while typing: completion of names, and the names nearest to one that is not known.
#include <algorithm>
#include <cctype>

#include "qvutils/common/command/command_line.h"
#include "qvutils/common/command/commandglobals.h"
#include "qvutils/common/command/commandtext.h"
#include "qvutils/common/command/commandvalue.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/object/qvquotes.h"

namespace {

constexpr std::size_t longestComparedName = 64;
constexpr std::size_t mostHints = 3;

/// Where the path that the text ends in begins: after the last ";", "=" or keyword.
std::size_t pathStart(std::string_view text) {
    std::size_t start = 0;
    qvQuotes quotes;
    int depth = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (!quotes.outside(text[i])) continue;
        if (text[i] == '(' || text[i] == '[') ++depth;
        if (text[i] == ')' || text[i] == ']') --depth;
        if (depth == 0 && (text[i] == ';' || text[i] == '=')) start = i + 1;
    }
    const auto skipBlanks = [&] {
        while (start < text.size() && text[start] == ' ') ++start;
    };
    skipBlanks();
    for (const std::string_view word : {"help ", "Del "}) {
        if (!text.substr(start).starts_with(word)) continue;
        start += word.size();
        skipBlanks();
    }
    return start;
}

bool isOpen(std::string_view path) {
    qvQuotes quotes;
    int depth = 0;
    for (const char c : path) {
        if (!quotes.outside(c)) continue;
        if (c == '(' || c == '[') ++depth;
        if (c == ')' || c == ']') --depth;
    }
    return depth > 0 || quotes.inside();
}

char folded(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// The number of characters to insert, delete, replace or swap with their neighbour to turn one
/// name into the other, case ignored (the distance of Damerau and Levenshtein, each place edited
/// once).
std::size_t editDistance(std::string_view a, std::string_view b) {
    std::size_t rows[3][longestComparedName + 1];
    std::size_t* before = rows[0];
    std::size_t* last = rows[1];
    std::size_t* row = rows[2];
    for (std::size_t j = 0; j <= b.size(); ++j) last[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const bool same = folded(a[i - 1]) == folded(b[j - 1]);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (same ? 0 : 1)});
            const bool swapped = i > 1 && j > 1 && folded(a[i - 1]) == folded(b[j - 2]) &&
                                 folded(a[i - 2]) == folded(b[j - 1]);
            if (swapped) row[j] = std::min(row[j], before[j - 2] + 1);
        }
        std::swap(before, last);
        std::swap(last, row);
    }
    return last[b.size()];
}

}  // namespace

std::vector<std::string> QVCommandBase::nearestNames(std::string_view name,
                                                     const std::vector<std::string>& candidates) {
    struct Near {
        std::size_t distance;
        const std::string* name;
    };
    std::vector<Near> near;
    const std::size_t limit = std::max<std::size_t>(1, (name.size() + 1) / 3);
    for (const std::string& candidate : candidates) {
        if (name.size() > longestComparedName || candidate.size() > longestComparedName) continue;
        const std::size_t distance = editDistance(name, candidate);
        if (distance <= limit && distance < name.size()) near.push_back({distance, &candidate});
    }
    std::stable_sort(near.begin(), near.end(),
                     [](const Near& a, const Near& b) { return a.distance < b.distance; });
    std::vector<std::string> names;
    for (const Near& n : near) {
        if (names.size() < mostHints) names.push_back(*n.name);
    }
    return names;
}

void QVCommandBase::listRoots(std::vector<std::string>& names) {
    globals_->appendNames(names);
    OnListRoots(names);
}

qvCompletions QVCommandBase::completions(const char* partial) {
    const std::string_view text(partial);
    const std::size_t start = pathStart(text);
    const std::string_view path = text.substr(start);
    const std::size_t dot = path.rfind('.');
    const std::string_view base = dot == path.npos ? std::string_view() : path.substr(0, dot);
    const std::string_view prefix = dot == path.npos ? path : path.substr(dot + 1);

    qvCompletions found;
    found.start = static_cast<int>(text.size() - prefix.size());
    // A call in the path might change something, so what it would return is not looked at.
    if (isOpen(path) || base.find('(') != base.npos) return found;
    const auto add = [&](std::string name) {
        if (name.starts_with(prefix)) found.names.push_back(std::move(name));
    };
    if (dot == path.npos) {
        std::vector<std::string> roots;
        listRoots(roots);
        if (start == 0) roots.insert(roots.end(), {"Del", "Ref&", "Set", "help"});
        for (std::string& root : roots) add(std::move(root));
    } else {
        Error pending;
        qverr().transferto(pending);
        const QVCommandElt object = getPublishedElt(std::string(base).c_str());
        qverr().reset();
        pending.transferto(qverr());
        for (const QVCommandElt& child : qvSortedChildren(object, false)) {
            const char* mark = child.IsFunction() ? "(" : child.getNdims() > 0 ? "[" : "";
            add(std::string(child.getName()) + mark);
        }
    }
    std::sort(found.names.begin(), found.names.end());
    return found;
}
