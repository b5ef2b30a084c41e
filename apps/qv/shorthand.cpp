#include "apps/qv/shorthand.h"

#include <sstream>
#include <vector>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/variables/qvnamespace.h"
#include "qvutils/ui/nodes/qvvariablesnode.h"
#include "qvutils/ui/project/qvprojman.h"
#include "qvutils/ui/scripting/qvcommandobject.h"

namespace {

constexpr std::size_t mostNodes = 100'000;

// Of all open projects.
std::vector<qvProjectNode*> allNodes() {
    std::vector<qvProjectNode*> nodes = {&getProjectManager()};
    for (std::size_t i = 0; i < nodes.size() && nodes.size() < mostNodes; ++i) {
        for (qvProjectNode* child : nodes[i]->getNodes()) nodes.push_back(child);
    }
    nodes.erase(nodes.begin());
    return nodes;
}

bool isParameter(const QVCommandElt& element) {
    return element.getKind() >= qvKindParameterInt && element.getKind() <= qvKindParameterComplex;
}

// Does the node define the variable, or have a parameter of that name?
bool hasName(qvProjectNode& node, const std::string& name) {
    if (auto* variables = dynamic_cast<qvVariablesNode*>(&node)) {
        variables->GetVariable(name.c_str());
        const bool isKnown = !qverr();
        qverr().reset();
        return isKnown;
    }
    QVCommandElt element;
    return node.findPublishedElt(name, false, element) && isParameter(element);
}

// What the name may have been meant to be.
std::vector<std::string> allNames(const std::vector<qvProjectNode*>& nodes) {
    std::vector<std::string> names;
    for (qvProjectNode* node : nodes) {
        std::vector<QVString> variables;
        if (dynamic_cast<qvVariablesNode*>(node)) node->GetNameSpace()->listNames(variables);
        for (const QVString& variable : variables) names.push_back(variable.Chars());
        List<QVCommandElt> children;
        node->getChildList(children);
        for (const QVCommandElt& child : children)
            if (isParameter(child)) names.push_back(child.getName());
    }
    return names;
}

}  // namespace

bool expandShorthand(const std::string& line, std::string& command, std::string& error) {
    command = line;
    std::istringstream words(line);
    std::string verb;
    std::string name;
    std::string more;
    words >> verb >> name;
    if (words >> more || name.empty() || name[0] == '=' || (verb != "why" && verb != "uses"))
        return true;

    const std::vector<qvProjectNode*> nodes = allNodes();
    std::vector<std::string> commands;
    for (qvProjectNode* node : nodes) {
        if (!hasName(*node, name)) continue;
        const std::string path = node->getPath().Chars() + 1;
        commands.push_back("app.findnode(\"" + path + "\")." + verb + "(" + name + ")");
    }
    if (commands.size() == 1) {
        command = commands[0];
        return true;
    }
    if (!commands.empty()) {
        error = "there are several, write one of:";
        for (const std::string& one : commands) error += "\n  " + one;
        return false;
    }
    error = "no open project has a variable or parameter \"" + name + "\"";
    const std::vector<std::string> near = QVCommandBase::nearestNames(name, allNames(nodes));
    if (!near.empty()) error += "\ndid you mean " + near[0] + "?";
    return false;
}
