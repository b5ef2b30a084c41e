#pragma once
#include <new>
#include <type_traits>

#include "qvutils/common/containers/array1d.h"
#include "qvutils/common/containers/array2d.h"
#include "qvutils/common/containers/list.h"
#include "qvutils/common/object/qvelementkinds.h"
#include "qvutils/common/object/qvpublish.h"

/// The published face of a List: of values, or of pointers to objects.
template <class T>
class qvListContainer final : public PublishContainer {
    static constexpr bool ofObjects = std::is_pointer_v<T>;
    using Entry = std::remove_pointer_t<T>;
    static_assert(qvKindOf<Entry>() != qvKindNone, "a list of this type cannot be published");

public:
    explicit qvListContainer(List<T>& list) : list_(&list) {}

    int getNdims() const override { return 1; }
    Range getRange(int) const override { return {1, list_->size()}; }
    int getEntryKind() const override { return qvKindOf<Entry>(); }
    const qvClassInfo* getEntryClass() const override {
        if constexpr (ofObjects) return Entry::getStaticClassInfo();
        return nullptr;
    }
    void* getEntry(int i, int) const override {
        if constexpr (ofObjects)
            return static_cast<QVObject*>((*list_)[i]);
        else
            return &(*list_)[i];
    }
    PublishContainer* copyTo(void* storage, std::size_t capacity) const override {
        return copyInto(*this, storage, capacity);
    }

private:
    List<T>* list_;
};

/// The published face of an Array1d of values.
template <class T>
class qvArray1dContainer final : public PublishContainer {
    static_assert(qvKindOf<T>() != qvKindNone, "an array of this type cannot be published");

public:
    explicit qvArray1dContainer(Array1d<T>& array) : array_(&array) {}

    int getNdims() const override { return 1; }
    Range getRange(int) const override { return {array_->get_lbd(), array_->get_ubd()}; }
    int getEntryKind() const override { return qvKindOf<T>(); }
    void* getEntry(int i, int) const override { return &(*array_)[i]; }
    PublishContainer* copyTo(void* storage, std::size_t capacity) const override {
        return copyInto(*this, storage, capacity);
    }

private:
    Array1d<T>* array_;
};

/// The published face of an Array2d of values.
template <class T>
class qvArray2dContainer final : public PublishContainer {
    static_assert(qvKindOf<T>() != qvKindNone, "an array of this type cannot be published");

public:
    explicit qvArray2dContainer(Array2d<T>& array) : array_(&array) {}

    int getNdims() const override { return 2; }
    Range getRange(int dimension) const override {
        return dimension == 1 ? Range{array_->get_lbd1(), array_->get_ubd1()}
                              : Range{array_->get_lbd2(), array_->get_ubd2()};
    }
    int getEntryKind() const override { return qvKindOf<T>(); }
    void* getEntry(int i, int j) const override { return &(*array_)[i][j]; }
    PublishContainer* copyTo(void* storage, std::size_t capacity) const override {
        return copyInto(*this, storage, capacity);
    }

private:
    Array2d<T>* array_;
};
