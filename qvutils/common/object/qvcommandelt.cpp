#include "qvutils/common/object/qvcommandelt.h"

#include "qvutils/common/object/qvcommandfn.h"
#include "qvutils/common/object/qvobject.h"
#include "qvutils/common/object/qvpublishedparameters.h"
#include "qvutils/common/text/qvnumber.h"

void QVCommandElt::unalloc() {
    ptr_ = nullptr;
    held_.clear();
    parent_ = nullptr;
    owned_.reset();
    setTexts("", "");
    if (!computedDescription_.Empty()) computedDescription_ = QVString();
    capacity_ = 0;
    kind_ = qvKindNone;
    ndims_ = 0;
    readOnly_ = isCopy_ = false;
}

void QVCommandElt::Init(void* ptr, int kind, bool readOnly, bool isCopy, int ndims,
                        QVObject* parent, void*, void*) {
    if (kind_ != qvKindNone || owned_) unalloc();
    kind_ = static_cast<short>(kind);
    ndims_ = static_cast<signed char>(ndims);
    readOnly_ = readOnly;
    parent_ = parent;
    ptr_ = ptr;
    if (!ptr) return;
    if (ndims > 0 || kind == qvKindMethod) {
        if (held_.take(*static_cast<PublishContainer*>(ptr))) ptr_ = nullptr;
    } else if (isCopy && qvKindRow(kind).copy) {
        owned_ = qvKindRow(kind).copy(slot(ptr));
        ptr_ = owned_.get();
        isCopy_ = true;
    }
}

void QVCommandElt::InitOwned(std::shared_ptr<void> value, int kind) {
    Init(value.get(), kind, false, false, 0, nullptr);
    owned_ = std::move(value);
    isCopy_ = true;
}

void QVCommandElt::setTexts(const char* name, const char* description, const char* text1,
                            const char* text2, const char* text3) {
    name_ = name;
    description_ = description;
    texts_[0] = text1;
    texts_[1] = text2;
    texts_[2] = text3;
}

void QVCommandElt::setDescription(const QVString& description) {
    computedDescription_ = description;
}

PublishContainer::Range QVCommandElt::getRange(int dimension) const {
    return ndims_ > 0 && !IsNull() ? container()->getRange(dimension) : Range();
}

const qvClassInfo* QVCommandElt::getEntryClass() const {
    if (ndims_ > 0 && !IsNull()) return container()->getEntryClass();
    const QVObject* object = getObject();
    return object ? object->getClassInfo() : nullptr;
}

void* QVCommandElt::getEntry(int i, int j) const {
    return ndims_ > 0 ? container()->getEntry(i, j) : ptr_;
}

QVCommandElt QVCommandElt::entryElt(int i, int j) const {
    QVCommandElt entry = *this;
    entry.enterEntry(i, j);
    return entry;
}

void QVCommandElt::enterEntry(int i, int j) {
    ptr_ = getEntry(i, j);
    held_.clear();
    ndims_ = 0;
    isCopy_ = false;
    if (kind_ != qvKindObject) return;
    // An object speaks for itself, not for the list that it is in.
    readOnly_ = false;
    setTexts("", "");
}

bool QVCommandElt::getEntryText(int i, int j, QVString& text) const {
    const qvKindInfo& row = qvKindRow(kind_);
    void* value = getEntry(i, j);
    if (!value || !row.write) return false;
    row.write(slot(value), text);
    return true;
}

QVString QVCommandElt::getType() const {
    QVString name = qvKindRow(kind_).typeName;
    const qvClassInfo* info = kind_ == qvKindObject ? getEntryClass() : nullptr;
    if (info) name = info->getClassName();
    if (ndims_ == 1) return "LIST<" + name + ">";
    if (ndims_ == 2) return "MATRIX<" + name + ">";
    return name;
}

QVObject* QVCommandElt::getObject() const {
    return kind_ == qvKindObject ? static_cast<QVObject*>(getScalarPtr()) : nullptr;
}

Array2d<void*> QVCommandElt::getArray() {
    Array2d<void*> entries;
    int kind = 0;
    GetPtrArray(entries, kind, 0, 0, 0);
    return entries;
}

bool QVCommandElt::alloced() const {
    if (IsNull()) return false;
    for (int dimension = 1; dimension <= ndims_; ++dimension) {
        const Range range = getRange(dimension);
        if (range.last < range.first) return false;
    }
    return true;
}

bool QVCommandElt::IsKindOf(const qvClassInfo* info) const {
    const QVObject* object = getObject();
    return object && object->IsKindOf(info);
}

bool QVCommandElt::SetVal(double value) {
    return SetVal(std::complex<double>(value));
}

bool QVCommandElt::SetVal(const std::complex<double>& value) {
    const qvKindInfo& row = qvKindRow(kind_);
    return getScalarPtr() && row.setNumber && row.setNumber(slot(ptr_), value);
}

bool QVCommandElt::SetVal(const char* text) {
    const qvKindInfo& row = qvKindRow(kind_);
    return getScalarPtr() && row.read && row.read(slot(ptr_), text);
}

void QVCommandElt::Assign(const char* text, const char* path) {
    bool done = false;
    if (kind_ == qvKindFlag) {
        double value = 0;
        done = qvStringToNumber<double>(text, value) && SetVal(value);
    } else if (kind_ == qvKindChar && getScalarPtr()) {
        done = text[0] && !text[1];
        if (done) *static_cast<char*>(ptr_) = text[0];
    } else {
        done = SetVal(text);
    }
    if (done && qvIsParameterKind(kind_)) qvPublishedParameter(*this).TellFlaws();
    if (!done) qverr().setf("could not set \"%s\" to \"%s\"\n", path, text);
}

bool QVCommandElt::getValueText(QVString& text) const {
    return ndims_ == 0 && getEntryText(0, 0, text);
}

QVCommandElt QVCommandElt::getChildElt(const char* name, bool withTexts) const {
    QVCommandElt child;
    if (QVObject* object = getObject()) object->findPublishedElt(name, withTexts, child);
    child.keepAlive(*this);
    return child;
}

void QVCommandElt::getChildList(List<QVCommandElt>& children, bool withTexts) const {
    children.unalloc();
    if (QVObject* object = getObject()) object->getChildList(children, withTexts);
}

QVCommandElt QVCommandElt::ExecuteFn(const char* args) const {
    if (!IsFunction() || IsNull() || !parent_) {
        CodeError("QVCommandElt::ExecuteFn", "qvobject", __LINE__);
        return *this;
    }
    QVCommandElt result;
    if (qverr()) return result;
    // The method is the copy that this element holds, so it outlives an object that deletes itself.
    auto& method = static_cast<QVCommandFNClass&>(const_cast<PublishContainer&>(*container()));
    const bool done = method.Resolve(result, parent_, args, nullptr);
    if (!done) result.unalloc();
    return result;
}

std::size_t QVCommandElt::getMemSize() const {
    const qvKindInfo& row = qvKindRow(kind_);
    return sizeof *this + (isCopy_ && row.size ? row.size(slot(ptr_)) : 0);
}

QVCommandEltRef::QVCommandEltRef(QVObject& object) {
    Init(&object, qvKindObject, false, false, 0, nullptr);
}
