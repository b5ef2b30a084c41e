#include "qvutils/common/command/commandvalue.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "qvutils/common/text/qvnumber.h"

namespace {

const char* const margin = "     ";

void addEntry(const QVCommandElt& element, int i, int j, QVString& text) {
    QVString value;
    if (!element.getEntryText(i, j, value)) value = "????";
    text += margin;
    text += "[" + numtoA(i);
    if (element.getNdims() == 2) text += "][" + numtoA(j);
    text += "]";
    text += margin;
    text += value;
    text += '\n';
}

QVString entriesText(const QVCommandElt& element) {
    QVString text;
    if (!element.alloced()) return QVString(margin) + "<EMPTY>\n";
    const auto rows = element.getRange(1);
    const bool matrix = element.getNdims() == 2;
    const auto columns = matrix ? element.getRange(2) : PublishContainer::Range{0, 0};
    for (int i = rows.first; i <= rows.last; ++i) {
        for (int j = columns.first; j <= columns.last; ++j) addEntry(element, i, j, text);
    }
    return text;
}

QVString typeText(const QVCommandElt& element) {
    QVString text = element.getType();
    if (element.IsReadOnly()) text += " (read only)";
    return text;
}

bool nameLess(const QVCommandElt& a, const QVCommandElt& b) {
    return std::strcmp(a.getName(), b.getName()) < 0;
}

bool sameName(const QVCommandElt& a, const QVCommandElt& b) {
    return std::strcmp(a.getName(), b.getName()) == 0;
}

}  // namespace

QVString qvValueText(const QVCommandElt& element) {
    if (element.IsNull()) return QVString();
    if (element.getNdims() > 0) return entriesText(element);
    QVString text;
    return element.getValueText(text) ? text : QVString("????");
}

std::vector<QVCommandElt> qvSortedChildren(const QVCommandElt& object, bool withTexts) {
    List<QVCommandElt> published;
    object.getChildList(published, withTexts);
    std::vector<QVCommandElt> children;
    std::copy(published.begin(), published.end(), std::back_inserter(children));
    std::stable_sort(children.begin(), children.end(), nameLess);
    children.erase(std::unique(children.begin(), children.end(), sameName), children.end());
    return children;
}

QVString qvHelpText(const QVCommandElt& element) {
    QVString text = typeText(element) + "\n";
    if (*element.getDescription()) text += QVString(element.getDescription()) + "\n";
    if (!element.getObject()) return text;
    const std::vector<QVCommandElt> children = qvSortedChildren(element, true);
    text += "Children:\n";
    if (children.empty()) text += " <NONE>\n";
    for (const QVCommandElt& child : children) {
        text += QVString(" ") + child.getName() + "  " + typeText(child);
        if (*child.getDescription()) text += QVString("  ") + child.getDescription();
        text += '\n';
    }
    return text;
}
