#pragma once
#include <string>
#include <unordered_map>

#include "qvutils/ui/project/qvprojnode.h"

class qvNamedVariable;

/// What a user calls the expressions that the objects of a project hold: the path of the node below
/// the project, then the names under which they are published, as in "ring/coupler.gap".
class ParameterLabels {
public:
    explicit ParameterLabels(qvProjectNode& root) { addNode(root); }

    /// Empty for a variable that is nobody's published parameter.
    QVString of(const qvNamedVariable& variable) const;

private:
    static constexpr int maxDepth = 8;  ///< of objects within objects

    void addNode(qvProjectNode& node);
    void addObject(QVObject& object, const std::string& label, int depth);
    void addElement(const QVCommandElt& element, const std::string& label, int depth);

    std::unordered_map<const qvNamedVariable*, std::string> labels_;
};
