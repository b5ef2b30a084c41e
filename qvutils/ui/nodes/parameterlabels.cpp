#include "qvutils/ui/nodes/parameterlabels.h"

#include "qvutils/common/parameters/qvparameter.h"
#include "qvutils/ui/project/qvprojman.h"

namespace {

template <class T>
const qvNamedVariable* expressionOf(const QVCommandElt& element) {
    return static_cast<const qvParameter<T>*>(element.getScalarPtr())->GetVariable();
}

}  // namespace

QVString ParameterLabels::of(const qvNamedVariable& variable) const {
    const auto found = labels_.find(&variable);
    return found == labels_.end() ? QVString() : QVString(found->second.c_str());
}

void ParameterLabels::addNode(qvProjectNode& node) {
    // Nodes of plain text have no parameters, and what they publish may be costly to make.
    const int flags = getProjectManager().getMetaDataTable().FindMetaDataFlags(node.getClassInfo());
    if (!(flags & qvProjectNodeInfo::plainText)) addObject(node, node.stateKey().Chars(), 0);
    for (qvProjectNode* child : node.getNodes()) addNode(*child);
}

void ParameterLabels::addObject(QVObject& object, const std::string& label, int depth) {
    List<QVCommandElt> elements;
    object.getChildList(elements);
    for (const QVCommandElt& element : elements) {
        const std::string name = label.empty() ? element.getName() : label + "." + element.getName();
        if (element.getNdims() == 0) {
            addElement(element, name, depth);
        } else if (element.getNdims() == 1) {
            const PublishContainer::Range range = element.getRange(1);
            for (int i = range.first; i <= range.last; ++i) {
                addElement(element.entryElt(i, 1), name + "[" + std::to_string(i) + "]", depth);
            }
        }
    }
}

void ParameterLabels::addElement(const QVCommandElt& element, const std::string& label, int depth) {
    const qvNamedVariable* variable = nullptr;
    switch (element.getKind()) {
        case qvKindParameterInt: variable = expressionOf<int>(element); break;
        case qvKindParameterFloat: variable = expressionOf<float>(element); break;
        case qvKindParameterDouble: variable = expressionOf<double>(element); break;
        case qvKindParameterComplex: variable = expressionOf<std::complex<double>>(element); break;
        case qvKindObject: {
            QVObject* object = element.getObject();
            const bool isNode = object && object->IsKindOf(qvProjectNode::getStaticClassInfo());
            if (object && !isNode && depth < maxDepth) addObject(*object, label, depth + 1);
            break;
        }
    }
    if (variable) labels_.emplace(variable, label);
}
