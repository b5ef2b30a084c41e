#include "qvutils/ui/nodes/qvshapenode.h"

#include <algorithm>
#include <utility>

#include "qvutils/common/error/qverror.h"
#include "qvutils/ui/nodes/definitionlines.h"
#include "qvutils/ui/nodes/shapepicture.h"
#include "qvutils/ui/project/qvnodeinfo.h"

namespace {

constexpr TBlockSig signature{"shapeTB", 1, 0};

}  // namespace

const qvClassInfo qvShapeNode::cinfo_qvShapeNode("qvShapeNode", qvProjectNode::getStaticClassInfo(),
                                                 nullptr, qvCreateObject<qvShapeNode>);

void registerShapeNode() {
    qvProjectNodeInfo info;
    info.classInfo = qvShapeNode::getStaticClassInfo();
    info.signature = signature;
    info.displayName = "Shape";
    info.parentTypes = {"projectTB"};
    static const qvProjectNodeInfoClass registration(info);
    qvProjectNodeInfoClass::Register();
}

qvShapeNode::qvShapeNode() {
    shape_.onChange = [this] { NotifyChanged(); };
    weighting_.onChange = [this] {
        parts_[1].refused = "";
        NotifyChanged();
    };
}

QVString qvShapeNode::definitionOf(std::size_t part) const {
    return part == 0 ? shape_.getDefString() : weighting_.getDefString();
}

bool qvShapeNode::readDefinition(std::size_t part, const std::string& text) {
    return part == 0 ? shape_.ReadShape(text.c_str()) : weighting_.ParseString(text);
}

/// Reads a definition; false, after a syntax error, when the line defines nothing that is missing.
bool qvShapeNode::readLine(const DefinitionLine& line) {
    const auto* const name = std::find(partNames.begin(), partNames.end(), line.left);
    const auto part = static_cast<std::size_t>(name - partNames.begin());
    if (line.kind == DefinitionLine::noEquals) {
        SyntaxErr(
            "Missing equals in shape definition: %s"
            "   required format: shape = RECTANGLE(width, height)\n",
            line.told().c_str());
    } else if (name == partNames.end()) {
        SyntaxErr("Unrecognised symbol \"%s\"\n   in shape definition: %s",
                  std::string(line.left).c_str(), line.told().c_str());
    } else if (parts_[part].found) {
        SyntaxErr("Duplicate %s\n   in shape definition: %s", *name, line.told().c_str());
    } else {
        parts_[part].lead += std::exchange(closing_, {});
        parts_[part].comment = line.comment;
        if (!readDefinition(part, line.definition))
            parts_[part].refused = withLineEnd(line.whole).c_str();
        // A line that defines nothing is not written again, so another one may follow.
        parts_[part].found = !parts_[part].refused.Empty() || !definitionOf(part).Empty();
        return true;
    }
    return false;
}

bool qvShapeNode::ReadTB(TextBlock& block) {
    if (!block.CheckStartRead(signature, true)) return false;
    shape_.setShape(nullptr);
    shape_.SetNameSpace(GetNameSpace());
    weighting_.CopyFrom(GetNameSpace(), WeightFunc());
    parts_ = {};
    closing_ = "";
    RememberBlock(block, true);
    forEachDefinitionLine(block, [&](const DefinitionLine& line) {
        if (line.kind == DefinitionLine::other || !readLine(line))
            closing_ += std::string_view(withLineEnd(line.whole));
    });
    return true;
}

bool qvShapeNode::WriteTB(TextBlock& block) const {
    StartNodeBlock(block);
    if (qverr()) return false;
    block.setBlockIndent(0);
    for (std::size_t i = 0; i < parts_.size(); ++i) {
        const Part& part = parts_[i];
        const QVString text = definitionOf(i);
        block.Append(part.lead.view());
        if (!text.Empty())
            block.Append(definitionLineText(partNames[i], text.view(), part.comment.view()));
        else
            block.Append(part.refused.view());
    }
    block.Append(closing_.view());
    block.EndWrite();
    return !qverr();
}

/// The formulas are those of the project that the node is in.
void qvShapeNode::OnAncestryChanged() {
    qvProjectNode::OnAncestryChanged();
    qvNameSpace* const space = GetNameSpace();
    if (shape_.GetNameSpace() == space) return;
    shape_.CopyFrom(space, shape_);
    weighting_.CopyFrom(space, weighting_);
}

/// A definition that could not be used is no longer kept.
void qvShapeNode::changedShape() {
    parts_[0].refused = "";
    NotifyChanged();
}

void qvShapeNode::SetShape(const QVString& text) {
    if (qverr() || refuseComment(text.view())) return;
    QVShapeContainer read;
    read.SetNameSpace(GetNameSpace());
    if (read.ReadShape(text) && read.Check()) {
        shape_.CopyFrom(GetNameSpace(), read);
        changedShape();
    } else {
        qverr().append("the shape stays as it was\n");
    }
}

void qvShapeNode::Expand(double distance) {
    if (!qverr() && shape_.Expand(distance)) changedShape();
}

void qvShapeNode::Rotate(double angle) {
    if (!qverr() && shape_.Rotate(angle)) changedShape();
}

qvShapeNode* qvShapeNode::findShapeNode(const QVString& path) const {
    if (qverr()) return nullptr;
    qvProjectNode* const parent = getParent();
    qvProjectNode* const node = parent ? parent->FindNode(path.Chars()) : nullptr;
    if (node && node->IsKindOf(getStaticClassInfo())) return static_cast<qvShapeNode*>(node);
    qverr().setf(node ? "node \"%s\" is no shape\n" : "could not find node \"%s\"\n", path.Chars());
    return nullptr;
}

void qvShapeNode::Blend(const QVString& first, const QVString& second, double t,
                        const QVString& weighting) {
    if (qverr()) return;
    WeightFunc function(weighting_);
    if (!weighting.Empty() && !function.ParseString(weighting.view())) {
        qverr().set("the shape stays as it was\n");
        return;
    }
    function.UpdateParamValues();
    const WeightType weights = function.WeightVal(t);
    BlendBy(first, second, weights);
}

void qvShapeNode::BlendBy(const QVString& first, const QVString& second,
                          const WeightType& weights) {
    const qvShapeNode* const a = findShapeNode(first);
    const qvShapeNode* const b = findShapeNode(second);
    const QVShape* const from = a ? a->checkedShape() : nullptr;
    const QVShape* const to = from && b ? b->checkedShape() : nullptr;
    if (to && shape_.SetToWeighted(*from, *to, weights)) changedShape();
}

void qvShapeNode::SaveSvg(const QVString& filename, const std::vector<QVString>& others) {
    if (qverr()) return;
    ShapePicture picture(getName());
    if (!picture.add(*this)) return;
    for (const QVString& path : others) {
        const qvShapeNode* const node = findShapeNode(path);
        if (!node || !picture.add(*node)) return;
    }
    picture.save(filename);
}
