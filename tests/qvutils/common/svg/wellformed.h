#pragma once
#include <cctype>
#include <string>
#include <vector>

/// What is wrong with a document as XML, as far as the drawings here use it: elements with
/// attributes in double quotes, text, the five named marks. Empty when nothing is.
inline std::string xmlFault(const std::string& document) {
    std::vector<std::string> open;
    bool hasRoot = false;
    for (std::size_t at = 0; at < document.size();) {
        const auto c = static_cast<unsigned char>(document[at]);
        if (c < 0x20 && c != '\n' && c != '\t') return "control character";
        if (c == '&') {
            const std::string mark = document.substr(at, document.find(';', at) + 1 - at);
            if (mark != "&amp;" && mark != "&lt;" && mark != "&gt;" && mark != "&quot;")
                return "bare ampersand";
            at += mark.size();
            continue;
        }
        if (c != '<') {
            if (open.empty() && !std::isspace(c)) return "text outside of the root";
            ++at;
            continue;
        }
        const bool closing = document.compare(at, 2, "</") == 0;
        at += closing ? 2 : 1;
        std::string name;
        while (std::isalpha(static_cast<unsigned char>(document[at]))) name += document[at++];
        if (name.empty()) return "tag without a name";
        bool inValue = false;
        std::size_t equals = 0;
        std::size_t quotes = 0;
        for (; at < document.size() && (inValue || document[at] != '>'); ++at) {
            if (document[at] == '<') return "bare < in a tag";
            if (document[at] == '"') {
                inValue = !inValue;
                ++quotes;
            } else if (!inValue && document[at] == '=') {
                ++equals;
            }
        }
        if (at == document.size() || quotes != 2 * equals) return "tag without an end: " + name;
        const bool empty = document[at - 1] == '/';
        ++at;
        if (closing) {
            if (open.empty() || open.back() != name) return "closed but not open: " + name;
            open.pop_back();
        } else {
            if (open.empty() && hasRoot) return "a second root";
            hasRoot = true;
            if (!empty) open.push_back(name);
        }
    }
    if (!open.empty()) return "not closed: " + open.back();
    return hasRoot ? "" : "no root";
}
