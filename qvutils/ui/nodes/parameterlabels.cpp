#include "qvutils/ui/nodes/parameterlabels.h"

#include "qvutils/common/object/qvpublishedparameters.h"
#include "qvutils/ui/project/qvprojman.h"

void ParameterLabels::addNode(qvProjectNode& node) {
    // Nodes of plain text have no parameters, and what they publish may be costly to make.
    const int flags = getProjectManager().getMetaDataTable().FindMetaDataFlags(node.getClassInfo());
    if (!(flags & qvProjectNodeInfo::plainText)) addObject(node, node.stateKey().Chars(), 0);
    for (qvProjectNode* child : node.getNodes()) addNode(*child);
}

void ParameterLabels::addObject(QVObject& object, const std::string& label, int depth) {
    const std::string start = label.empty() ? label : label + ".";
    for (const auto& [name, parameter] : qvPublishedParameters(object)) {
        qvNamedVariable* formula = parameter.getVariable();
        if (formula) all_.push_back({start + name.Chars(), formula});
    }
    if (depth == maxDepth) return;
    List<QVCommandElt> elements;
    object.getChildList(elements);
    for (const QVCommandElt& element : elements) {
        const std::string name = start + element.getName();
        const PublishContainer::Range entries = element.getRange(1);
        if (element.getKind() != qvKindObject || element.getNdims() > 1) continue;
        if (element.getNdims() == 0) addSubObject(element.getObject(), name, depth + 1);
        for (int i = entries.first; i <= entries.last; ++i) {
            addSubObject(element.entryElt(i, 0).getObject(), name + "[" + std::to_string(i) + "]",
                         depth + 1);
        }
    }
}

void ParameterLabels::addSubObject(QVObject* object, const std::string& label, int depth) {
    const bool isNode = object && object->IsKindOf(qvProjectNode::getStaticClassInfo());
    if (object && !isNode) addObject(*object, label, depth);
}
