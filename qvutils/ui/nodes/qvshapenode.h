#pragma once
#include <array>
#include <string>
#include <vector>

#include "qvutils/common/shapes/qvshapecontainer.h"
#include "qvutils/common/shapes/weightfunc.h"
#include "qvutils/ui/project/qvprojnode.h"

struct DefinitionLine;

/// A node that holds one shape, or none, whose dimensions may be formulas over the project's
/// variables. It publishes what the shape publishes, questions about it, and operations, among them
/// the blend of two other nodes' shapes by the node's weighting function. In its block:
///     { "shape" "=" text form | "weighting" "=" text form }
class QVCORE_API qvShapeNode : public qvProjectNode {
public:
    QV_CLASS_INFO(qvShapeNode)

    qvShapeNode();

    void OnPublish() override;
    bool PreloadVariables(TextBlock&) override { return true; }
    /// A line that is no definition is a syntax error and kept.
    bool ReadTB(TextBlock& block) override;
    bool WriteTB(TextBlock& block) const override;
    void OnAncestryChanged() override;

    const QVShape* getShape() const { return shape_.getShape(); }
    const WeightFunc& getWeighting() const { return weighting_; }

    // What the commands do. Each posts an error and changes nothing when it cannot.

    /// See QVShape::ReadShape.
    void SetShape(const QVString& text);
    void Expand(double distance);
    void Rotate(double angle);
    /// Makes this the blend, at t, of the shapes of two nodes, given by their paths from the parent
    /// of this node: by a weighting function, or with an empty text by the one of this node.
    void Blend(const QVString& first, const QVString& second, double t, const QVString& weighting);
    void BlendBy(const QVString& first, const QVString& second, const WeightType& weights);
    /// A picture of the shape and of the shapes of other nodes, given by their paths.
    void SaveSvg(const QVString& filename, const std::vector<QVString>& others);
    /// The shape, when it has dimensions that make one; null with an error posted.
    const QVShape* checkedShape() const { return shape_.Check() ? shape_.getShape() : nullptr; }

private:
    /// One of the definitions, with what a user wrote around it.
    struct Part {
        QVString lead;       ///< the lines between the definition before it and its own
        QVString comment;    ///< with its "//" and the blanks before it
        QVString refused;    ///< its line, as long as it could not be used
        bool found = false;  ///< such a line, in the block that was read last
    };
    static constexpr std::array<const char*, 2> partNames{"shape", "weighting"};

    QVString definitionOf(std::size_t part) const;
    bool readDefinition(std::size_t part, const std::string& text);
    bool readLine(const DefinitionLine& line);
    qvShapeNode* findShapeNode(const QVString& path) const;
    void changedShape();

    QVShapeContainer shape_;
    WeightFunc weighting_;
    std::array<Part, partNames.size()> parts_;
    QVString closing_;  ///< the lines after the last definition
};

/// Registers the block type "shapeTB" (1.0), displayed as "Shape", allowed in projects.
QVCORE_API void registerShapeNode();
