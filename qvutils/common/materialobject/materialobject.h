#pragma once
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "qvutils/common/materialobject/materialref.h"
#include "qvutils/common/object/qvobject.h"

/// A material as the command language sees it: it publishes the queries. It keeps the file loaded;
/// when the file is loaded again, it answers from the new contents.
class QVCORE_API qvMaterialObject : public QVObject {
public:
    QV_CLASS_INFO(qvMaterialObject)

    /// The database becomes referenced once more.
    qvMaterialObject(Materbase& base, MaterB& material);
    ~qvMaterialObject() override;

    QVObject* Clone() const override;
    void OnPublish() override;

    MaterB& material() const { return *material_; }
    Materbase& database() const { return *base_; }

private:
    friend class qvMaterialShelf;

    qvMaterbaseRef base_;
    MaterB* material_;
};

/// The objects of materials that commands have asked for, one per file and material.
class QVCORE_API qvMaterialShelf {
public:
    /// The object of a material, which lives as long as the shelf. A file that has changed on disk
    /// is loaded again. Null with an error posted; `first` as for qvFindMaterialFile.
    qvMaterialObject* find(const std::string& file, const std::string& name,
                           const std::vector<std::string>& first);

private:
    /// By database, which an object keeps alive, and name.
    std::map<std::pair<const Materbase*, std::string>, std::unique_ptr<qvMaterialObject>> objects_;
};
