#pragma once
#include <string>
#include <vector>

#include "qvutils/ui/project/qvprojnode.h"

class qvNamedVariable;

/// The formulas that the objects of a project hold, in the order of the tree, and what a user calls
/// them: the path of the node below the project, then the names under which they are published, as
/// in "ring/coupler.gap".
class ParameterLabels {
public:
    struct Labelled {
        std::string label;
        qvNamedVariable* formula;
    };
    explicit ParameterLabels(qvProjectNode& root) { addNode(root); }

    std::vector<Labelled>::const_iterator begin() const { return all_.begin(); }
    std::vector<Labelled>::const_iterator end() const { return all_.end(); }

private:
    static constexpr int maxDepth = 8;  ///< of objects within objects

    void addNode(qvProjectNode& node);
    void addObject(QVObject& object, const std::string& label, int depth);
    void addSubObject(QVObject* object, const std::string& label, int depth);

    std::vector<Labelled> all_;
};
