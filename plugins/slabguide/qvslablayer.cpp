#include "plugins/slabguide/qvslablayer.h"

#include <string_view>
#include <utility>

#include "plugins/slabguide/qvslabnode.h"
#include "qvutils/common/error/qverror.h"

const qvClassInfo qvSlabLayer::cinfo_qvSlabLayer("qvSlabLayer", QVObject::getStaticClassInfo());

void qvSlabLayer::OnPublish() {
    PublishVar("thickness", thickness, "um; not used in the first layer and the last");
    PublishVar("index", index, "refractive index, complex with a loss; not used with a material");
    PublishVar("file", file, "material file, standard.mat when empty");
    PublishVar("material", material, "material in place of the index; empty for none");
    PublishVar("mx", mx, "first fraction of the material");
    PublishVar("my", my, "second fraction of the material");
}

qvNameSpace* qvSlabLayer::GetNameSpace() {
    return node_.GetNameSpace();
}

void qvSlabLayer::SetParam(QVCommandElt& element, const char* value, const char* name) {
    if (!qvSlabNode::canBeKept(value)) return;
    if (element.IsKindOf(qvKindString) &&
        std::string_view(value).find('"') != std::string_view::npos) {
        qverr().setf("%s cannot have a double quote in it\n", name);
        return;
    }
    QVObject::SetParam(element, value, name);
    if (qverr()) return;
    if (std::string_view(element.getName()) == "index") file = material = "";
    node_.NotifyChanged();
}

SlabDescription::Layer qvSlabLayer::describe(const std::string& where, bool afresh) {
    SlabDescription::Layer layer{thickness, index, mx, my, nullptr, nullptr};
    if (!hasMaterial() || qverr()) return layer;
    if (afresh || !base_ || file != foundFile_ || material != foundMaterial_) {
        const char* name = file.Empty() ? "standard.mat" : file.Chars();
        base_ = qvOpenMaterials(name, node_.materialDirectories());
        found_ = base_ ? qvFindMaterial(*base_, material.Chars()) : nullptr;
        foundFile_ = file;
        foundMaterial_ = material;
    }
    if (!found_) {
        base_.reset();
        const std::string why = qverr().chars_and_reset();
        qverr().setf("%s%s", where.c_str(), why.c_str());
    }
    layer.material = found_;
    layer.file = base_;
    return layer;
}

void qvSlabLayer::enterNameSpace(qvNameSpace* names) {
    const auto enter = [names](auto& parameter) {
        if (!parameter.IsValue()) parameter.SetExpression(names, parameter.GetMyExpression());
    };
    enter(thickness);
    enter(index);
    enter(mx);
    enter(my);
}
