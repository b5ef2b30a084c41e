#pragma once
#include <complex>
#include <cstddef>
#include <memory>

#include "qvutils/common/object/qvclassinfo.h"
#include "qvutils/common/object/qvelementkinds.h"
#include "qvutils/common/object/qvpublish.h"
#include "qvutils/common/text/qvstring.h"

class QVObject;

/// A handle on one published thing: a value, an object, a list or matrix of either, or a method.
///
/// Cheap to make and to copy. It refers to the storage of the object that published it, so it is
/// for use at once: it must not outlive that object. An element with the copy flag owns its value,
/// and copies of such an element share the value.
class QVCORE_API QVCommandElt : public PublishContainer {
public:
    QVCommandElt() = default;

    /// `ptr` points to the value, to the QVObject for kind 10, to a QVCommandFNClass for kind 15,
    /// and to a PublishContainer for a list or matrix (`ndims` 1 or 2). With `isCopy` the value is
    /// copied and the element owns the copy. Containers and methods that can be copied into the
    /// element are; others must last as long as the element is used.
    void Init(void* ptr, int kind, bool readOnly, bool isCopy, int ndims, QVObject* parent,
              void* = nullptr, void* = nullptr);
    /// The same for a value that the element shall own; kind 10 when T is a QVObject.
    void InitOwned(std::shared_ptr<void> value, int kind);
    /// The texts are not copied: they are literals, or last as long as the published object.
    void setTexts(const char* name, const char* description, const char* text1 = "",
                  const char* text2 = "", const char* text3 = "");
    /// A description that was computed: copied.
    void setDescription(const QVString& description);
    /// The size of a character array (kind 8), its terminator included.
    void setCapacity(int capacity) { capacity_ = capacity; }

    /// Keeps what `owner` owns alive while this element, which refers to a part of it, is in use.
    void keepAlive(const QVCommandElt& owner) { keepAlive(owner.owned_); }
    void keepAlive(const std::shared_ptr<void>& owner) {
        if (!owned_) owned_ = owner;
    }
    const std::shared_ptr<void>& getOwner() const { return owned_; }
    /// Makes the element empty.
    void clear() { unalloc(); }

    int getNdims() const override { return ndims_; }
    Range getRange(int dimension) const override;
    int getEntryKind() const override { return kind_; }
    const qvClassInfo* getEntryClass() const override;
    void* getEntry(int i, int j) const override;
    /// The list or matrix entry as a scalar element. The index is in range.
    QVCommandElt entryElt(int i, int j) const;
    /// Makes this element that entry.
    void enterEntry(int i, int j);
    /// The entry's value as text; false for a kind without a text form.
    bool getEntryText(int i, int j, QVString& text) const;

    const char* getName() const { return name_; }
    const char* getDescription() const {
        return computedDescription_.Empty() ? description_ : computedDescription_.Chars();
    }
    const char* getFurtherText(int i) const { return texts_[i]; }  ///< i from 0 to 2
    int getKind() const { return kind_; }
    /// The printed type name: "FLOAT", "LIST<qvProjectNode>", "FUNCTION", ...
    QVString getType() const;
    QVObject* getParent() const { return parent_; }
    void setParent(QVObject* parent) { parent_ = parent; }
    /// Null for a list, a matrix and an element without storage.
    void* getScalarPtr() const { return ndims_ == 0 ? ptr_ : nullptr; }
    /// The object that a kind-10 element refers to, else null.
    QVObject* getObject() const;
    /// Pointers to all values; see PublishContainer::GetPtrArray.
    Array2d<void*> getArray();
    /// Whether there is a value: a list or matrix with entries, or a scalar with storage.
    bool alloced() const;
    /// Whether nothing stands behind this element.
    bool IsNull() const { return !ptr_ && !held_.get(); }
    bool IsReadOnly() const { return readOnly_; }
    bool IsCopy() const { return isCopy_; }
    bool IsFunction() const { return kind_ == qvKindMethod; }
    bool IsKindOf(int kind) const { return kind_ == kind; }
    /// Whether this refers to an object of that class.
    bool IsKindOf(const qvClassInfo* info) const;

    /// Sets the value; false, with nothing changed, when it has no storage or the kind cannot take
    /// it. A text is read according to the kind.
    bool SetVal(double value);
    bool SetVal(const std::complex<double>& value);
    bool SetVal(const char* text);
    /// SetVal from the text of an assignment, which a flag (a number, not 0 for true) and a
    /// character (one character) take too; posts "could not set \"%s\" to \"%s\"\n" with `path`
    /// when that fails. The warnings about a parameter's formula are written at once.
    void Assign(const char* text, const char* path);
    /// The value as text; false for a kind without a text form.
    bool getValueText(QVString& text) const;

    /// What the object that this refers to publishes; an empty element, an empty list for others.
    QVCommandElt getChildElt(const char* name, bool withTexts = false) const;
    void getChildList(List<QVCommandElt>& children, bool withTexts = false) const;

    /// Calls a method (kind 15) with an argument text such as `"wg2", 3`. A failure is posted to
    /// qverr() and the result is empty. The method may delete the object it belongs to.
    QVCommandElt ExecuteFn(const char* args) const;

    /// The bytes of this element and of the value that it owns.
    std::size_t getMemSize() const;

private:
    void unalloc();
    const PublishContainer* container() const {
        return held_.get() ? held_.get() : static_cast<const PublishContainer*>(ptr_);
    }
    qvValueSlot slot(void* value) const { return {value, capacity_, parent_}; }

    void* ptr_ = nullptr;  ///< the value, or a PublishContainer that is not held
    qvHeldContainer held_;
    QVObject* parent_ = nullptr;
    std::shared_ptr<void> owned_;  ///< the value, or what it is a part of
    const char* name_ = "";
    const char* description_ = "";
    const char* texts_[3] = {"", "", ""};
    QVString computedDescription_;
    int capacity_ = 0;
    short kind_ = 0;
    signed char ndims_ = 0;
    bool readOnly_ = false;
    bool isCopy_ = false;
};

/// An element that refers to an object.
class QVCORE_API QVCommandEltRef : public QVCommandElt {
public:
    explicit QVCommandEltRef(QVObject& object);
};
