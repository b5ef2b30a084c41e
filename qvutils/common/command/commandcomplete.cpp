// Help while typing: completion of names, and the names nearest to one that is not known.
#include <algorithm>
#include <cctype>

#include "qvutils/common/command/command_line.h"
#include "qvutils/common/command/commandglobals.h"
#include "qvutils/common/command/commandtext.h"
#include "qvutils/common/command/commandvalue.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/object/qvquotes.h"
#include "qvutils/common/text/qvnearest.h"

namespace {

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

}  // namespace

std::vector<std::string> QVCommandBase::nearestNames(std::string_view name,
                                                     const std::vector<std::string>& candidates) {
    QVNearestNames nearest(name);
    for (const std::string& candidate : candidates) nearest.offer(candidate);
    return nearest.names();
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
