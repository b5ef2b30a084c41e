#pragma once
#include <string_view>

#include "qvutils/common/platform/qvexport.h"

class QVObject;

/// The run-time record of a class: its name, up to two base classes, and how to make an object.
/// One static record per class; two records are the same class when they have the same address.
class QVCORE_API qvClassInfo {
public:
    using Constructor = QVObject* (*)();

    constexpr qvClassInfo(const char* className, const qvClassInfo* firstBase = nullptr,
                          const qvClassInfo* secondBase = nullptr,
                          Constructor constructor = nullptr)
        : name_(className), base1_(firstBase), base2_(secondBase), constructor_(constructor) {}
    qvClassInfo(const qvClassInfo&) = delete;
    qvClassInfo& operator=(const qvClassInfo&) = delete;

    const char* getClassName() const { return name_; }
    const qvClassInfo* getFirstBase() const { return base1_; }
    const qvClassInfo* getSecondBase() const { return base2_; }

    /// Whether this class is `other` or descends from it through either base.
    bool IsKindOf(const qvClassInfo* other) const;
    bool IsKindOf(std::string_view className) const;
    /// The same along the first bases only.
    bool IsMainType(const qvClassInfo* other) const;
    bool IsMainType(std::string_view className) const;

    /// A new object, owned by the caller; null when the class has no factory.
    QVObject* CreateObject() const { return constructor_ ? constructor_() : nullptr; }
    Constructor GetConstructor() const { return constructor_; }

private:
    const char* name_;
    const qvClassInfo* base1_;
    const qvClassInfo* base2_;
    Constructor constructor_;
};

/// The usual factory for a record.
template <class T>
QVObject* qvCreateObject() {
    return new T;
}

/// Declares the record of a class derived from QVObject, in its public part. The source defines it:
///     const qvClassInfo qvNotesNode::cinfo_qvNotesNode("qvNotesNode",
///         qvProjectNode::getStaticClassInfo(), nullptr, qvCreateObject<qvNotesNode>);
#define QV_CLASS_INFO(CLASS)                           \
    static const qvClassInfo cinfo_##CLASS;            \
    static const qvClassInfo* getStaticClassInfo() {   \
        return &cinfo_##CLASS;                         \
    }                                                  \
    const qvClassInfo* getClassInfo() const override { \
        return &cinfo_##CLASS;                         \
    }
