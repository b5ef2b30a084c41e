#pragma once
#include "plugins/slabguide/slabdescription.h"
#include "qvutils/common/object/qvobject.h"

class qvSlabNode;

/// A layer of a guide as the command language sees it: an index, or a material with its fractions.
class qvSlabLayer : public QVObject {
public:
    QV_CLASS_INFO(qvSlabLayer)

    explicit qvSlabLayer(qvSlabNode& node) : node_(node) {}

    QVObject* Clone() const override { return nullptr; }
    void OnPublish() override;
    /// Giving an index to a layer that has a material takes the material from it.
    void SetParam(QVCommandElt& element, const char* value, const char* name) override;
    qvNameSpace* GetNameSpace() override;

    bool hasMaterial() const { return !material.Empty(); }
    /// Its definition, with the material found; `where` begins what is posted when there is none.
    /// A file that has changed on disk is loaded again when `afresh`.
    SlabDescription::Layer describe(const std::string& where, bool afresh);
    /// The formulas are those of this namespace from now on.
    void enterNameSpace(qvNameSpace* names);

    qvParameter<double> thickness = 0;
    qvParameter<slab::Complex> index = slab::Complex(1);
    QVString file, material;
    qvParameter<double> mx = 0, my = 0;
    /// The lines before its own in the block, and the comment in that.
    QVString lead, comment;

private:
    qvSlabNode& node_;
    /// The file and what it was asked for.
    std::shared_ptr<Materbase> base_;
    const MaterB* found_ = nullptr;
    QVString foundFile_, foundMaterial_;
};
