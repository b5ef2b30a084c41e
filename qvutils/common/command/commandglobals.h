#pragma once
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "qvutils/common/object/qvobject.h"

/// The global variables of the command language: references to objects, and values that their
/// element owns. A reference goes when its object dies. Names that begin with "_" are those of
/// programs: they work, but are neither listed nor found by nameOf.
class qvCommandGlobals : private qvObjectWatcher {
public:
    QVCommandElt* find(std::string_view name);
    /// Replaces a variable of that name.
    void set(std::string_view name, const QVCommandElt& element);
    bool remove(std::string_view name);
    void clear();
    void removeReferences(void* object);
    /// Null when no variable refers to the object.
    const std::string* nameOf(const void* object) const;
    void appendNames(std::vector<std::string>& names) const;
    /// Makes `_` name the object that a statement has shown; after anything else there is no `_`.
    void noteShown(const QVCommandElt& shown);

    static bool isReference(const QVCommandElt& element);

private:
    void OnObjectDying(QVObject* object) override { removeReferences(object); }

    struct Hash : std::hash<std::string_view> {
        using is_transparent = void;
    };
    std::unordered_map<std::string, QVCommandElt, Hash, std::equal_to<>> byName_;
    std::unordered_multimap<const void*, const std::string*> byObject_;  // references alone
    bool hasShown_ = false;
};
