#pragma once
#include <cstddef>
#include <new>
#include <string_view>

#include "qvutils/common/containers/array2d.h"
#include "qvutils/common/containers/list.h"
#include "qvutils/common/platform/qvexport.h"

class QVCommandElt;
class qvClassInfo;

/// What stands behind a published name: the element itself, or a list, a matrix or a method that
/// the element refers to.
class QVCORE_API PublishContainer {
public:
    /// 0 for a scalar or a method, 1 for a list, 2 for a matrix.
    virtual int getNdims() const { return 0; }
    /// Fills `entries` with pointers to the values and `kind` with their kind. With `nIndices` 0
    /// all of them, in an array that has the bounds of this container (a list is one row, number
    /// 1); with 1 the list entry i; with 2 the matrix entry (i, j). False without storage and for
    /// an index out of bounds.
    virtual bool GetPtrArray(Array2d<void*>& entries, int& kind, int i, int j, int nIndices);
    virtual ~PublishContainer() = default;

    /// The first and last index of a dimension (1 or 2); last < first when there is no entry.
    struct Range {
        int first = 1;
        int last = 0;
    };
    virtual Range getRange(int /*dimension*/) const { return {}; }
    /// The kind of the entries, and for objects the class that all of them have.
    virtual int getEntryKind() const { return 0; }
    virtual const qvClassInfo* getEntryClass() const { return nullptr; }
    /// The address of an entry's value, of the QVObject itself for kind 10. The index is in range;
    /// a list ignores the second index.
    virtual void* getEntry(int /*i*/, int /*j*/) const { return nullptr; }
    /// Builds a copy in storage of `capacity` bytes; null when it does not fit or cannot be copied.
    virtual PublishContainer* copyTo(void* /*storage*/, std::size_t /*capacity*/) const {
        return nullptr;
    }

protected:
    template <class T>
    static PublishContainer* copyInto(const T& from, void* storage, std::size_t capacity) {
        return sizeof(T) <= capacity ? new (storage) T(from) : nullptr;
    }
};

/// A container kept by value, copied with its holder; or none.
class qvHeldContainer {
public:
    qvHeldContainer() = default;
    qvHeldContainer(const qvHeldContainer& other) {
        if (other.container_) take(*other.container_);
    }
    qvHeldContainer& operator=(const qvHeldContainer& other) {
        if (this == &other) return *this;
        clear();
        if (other.container_) take(*other.container_);
        return *this;
    }
    ~qvHeldContainer() { clear(); }

    /// Holds a copy; false, holding nothing, when the container cannot be copied here.
    bool take(const PublishContainer& container) {
        clear();
        container_ = container.copyTo(storage_, sizeof storage_);
        return container_ != nullptr;
    }
    PublishContainer* get() const { return container_; }
    void clear() {
        if (container_) container_->~PublishContainer();
        container_ = nullptr;
    }

private:
    PublishContainer* container_ = nullptr;
    alignas(void*) unsigned char storage_[4 * sizeof(void*)];
};

/// A walk over what an object publishes: either a search for one name, in which every other name
/// costs a comparison, or the collection of all.
class qvPublishRequest {
public:
    /// Searches for a name; the element found goes to `result`, which is empty before.
    qvPublishRequest(std::string_view name, bool withTexts, QVCommandElt& result)
        : wanted_(name), withTexts_(withTexts), result_(&result) {}
    /// Collects everything that is published.
    qvPublishRequest(bool withTexts, List<QVCommandElt>& all) : withTexts_(withTexts), all_(&all) {}

    bool wants(const char* name) const {
        if (all_) return true;
        // Most names differ at once, so the characters are compared here.
        std::size_t i = 0;
        while (i < wanted_.size() && name[i] == wanted_[i]) ++i;
        return i == wanted_.size() && name[i] == '\0' && !found_;
    }
    /// Whether help texts that must be computed are asked for.
    bool wantsTexts() const { return withTexts_; }
    bool found() const { return found_; }
    /// A parameter has been published, under whatever name.
    void noteParameter() { parameters_ = true; }
    bool hasParameters() const { return parameters_; }
    /// The empty element to be filled with what is published under a name that is wanted.
    QVCORE_API QVCommandElt& place();

private:
    std::string_view wanted_;
    bool withTexts_;
    bool found_ = false;
    bool parameters_ = false;
    QVCommandElt* result_ = nullptr;
    List<QVCommandElt>* all_ = nullptr;
};
