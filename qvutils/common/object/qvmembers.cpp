#include "qvutils/common/object/qvmembers.h"

#include <map>
#include <string_view>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/object/qvobject.h"
#include "qvutils/common/text/qvnumber.h"

namespace {

/// With \\, \t, \n and \r for the characters that would end a field or a line.
void addEscaped(std::string_view text, QVString& line) {
    constexpr std::string_view special = "\\\t\n\r", letters = "\\tnr";
    for (const char c : text) {
        const std::size_t found = special.find(c);
        if (found != special.npos) line += '\\';
        line += found == special.npos ? c : letters[found];
    }
}

QVString rangeText(const QVCommandElt& element) {
    QVString text;
    for (int dimension = 1; dimension <= element.getNdims(); ++dimension) {
        const auto range = element.getRange(dimension);
        if (dimension > 1) text += ' ';
        text += numtoA(range.first) + " " + numtoA(range.last);
    }
    return text;
}

}  // namespace

QVString qvListMembers(QVObject& object) {
    List<QVCommandElt> published;
    object.getChildList(published, true);
    // Of things with the same name the first counts.
    std::map<std::string_view, const QVCommandElt*> members;
    for (const QVCommandElt& element : published) members.emplace(element.getName(), &element);

    QVString text;
    for (const auto& [name, element] : members) {
        text += element->getName();
        text += "\t" + element->getType() + (element->IsReadOnly() ? "\tro\t" : "\trw\t");
        addEscaped(element->getDescription(), text);
        text += '\n';
    }
    return text;
}

QVString qvDescribeMember(QVObject& object, const QVString& name) {
    QVCommandElt element;
    if (!object.findPublishedElt(name.view(), false, element)) {
        qverr().setf("could not find item \"%s\"\n", name.Chars());
        return QVString();
    }
    const QVString type = element.getType();
    if (element.getNdims() > 0) return type + "\n" + rangeText(element);
    QVString value;
    return element.getValueText(value) ? type + "\n" + value : type;
}
