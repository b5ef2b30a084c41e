#pragma once
#include <cstdio>
#include <string>
#include <string_view>
#include <type_traits>

#include "qvutils/common/containers/array1d.h"
#include "qvutils/common/containers/array2d.h"
#include "qvutils/common/containers/list.h"
#include "qvutils/common/events/qvevent.h"
#include "qvutils/common/object/qvclassinfo.h"
#include "qvutils/common/object/qvcommandelt.h"
#include "qvutils/common/object/qvcommandfn.h"
#include "qvutils/common/object/qvlists.h"
#include "qvutils/common/object/qvmessage.h"
#include "qvutils/common/object/qvpublish.h"
#include "qvutils/common/text/qvstring.h"

class SFHandler;
class qvNameSpace;

/// Takes the sub-objects that an object declares in OnDeclareChildren.
class QVCORE_API DepTreeEvent {
public:
    virtual ~DepTreeEvent() = default;
    virtual void appendEvent(QVObject& child) = 0;
};

/// The root class of everything that the command language can reach: class record, published
/// variables, sub-objects and methods, messages, and a state file.
class QVCORE_API QVObject : public qvEventHandler {
public:
    QVObject();
    /// Copies what describes the object; not the state file, which stays with its owner.
    QVObject(const QVObject& other);
    QVObject& operator=(const QVObject& other);

    static const qvClassInfo cinfo_QVObject;
    static const qvClassInfo* getStaticClassInfo() { return &cinfo_QVObject; }

    virtual const qvClassInfo* getClassInfo() const { return &cinfo_QVObject; }
    /// Command-language globals that refer to this object disappear with it.
    ~QVObject() override;
    /// A new copy, owned by the caller.
    virtual QVObject* Clone() const { return new QVObject(*this); }
    void OnEvent(qvEvent&, int /*tag*/) override {}
    /// Reads the state file; false, with the reason in qverr() or the log, when that fails.
    virtual bool LoadState();
    /// Writes the state file: a header, then what OnSaveState writes.
    virtual bool SaveState();
    virtual void ResetTop();
    /// Resets this object and all that it declares, as far as they are of the class named (null or
    /// empty: all).
    virtual void ResetAll(const char* className);
    /// The namespace in which this object's expressions are evaluated; null until one is set.
    virtual qvNameSpace* GetNameSpace() { return nameSpace_; }
    virtual bool EqualsTo(const QVObject&) const { return false; }
    /// Declares each sub-object, so that messages and updates reach it.
    virtual void OnDeclareChildren(DepTreeEvent&) {}
    /// The body of the state file. A failure to write is posted to qverr().
    virtual void OnSaveState(FILE*) {}
    virtual bool OnLoadState(FILE*, int /*version*/) { return false; }
    virtual void OnMessage(QVMessage&) {}
    virtual void OnReset() {}
    /// Publishes the object's things by calls of PublishVar, PublishFn and PublishList. When a name
    /// is published twice the first counts: a class that overrides a name of its base publishes it
    /// before it calls the base.
    virtual void OnPublish() {}
    /// An assignment to one of the object's published values: sets the element from the text, or
    /// posts "could not set \"%s\" to \"%s\"\n" with `name`, the path that the user wrote.
    virtual void SetParam(QVCommandElt& element, const char* value, const char* name);
    virtual void OnGetParam(const char* /*name*/) {}

    bool IsKindOf(const char* className) const { return getClassInfo()->IsKindOf(className); }
    bool IsKindOf(const qvClassInfo* info) const { return getClassInfo()->IsKindOf(info); }
    /// Whether the class is `info` or descends from it by first bases alone.
    bool IsMainType(const qvClassInfo* info) const { return getClassInfo()->IsMainType(info); }
    const char* getClassName() const { return getClassInfo()->getClassName(); }

    /// One published element, empty when there is none of that name. `withTexts` also computes the
    /// help texts that are not fixed. Every object has the method objtype, which is found here and
    /// not listed: objtype() is the class name, objtype(MAINTYPE(qvProject)) is 1 when the class
    /// named is this object's or one of its first bases, else 0. One that publishes parameters also
    /// has, and lists, why(name), how the value of a parameter or variable comes about, and
    /// uses(name), its parameters whose formulas use a variable.
    QVCommandElt getPublishedElt(const char* name, bool withTexts = false);
    bool findPublishedElt(std::string_view name, bool withTexts, QVCommandElt& element);
    void getChildList(List<QVCommandElt>& children, bool withTexts = false);

    /// Sends a message to this object and, through OnDeclareChildren, to all beneath it. Its name
    /// chooses the receivers: empty for all, a class name for the objects of that class, or the
    /// keys "RECEIVERS:" (class names joined by ",") and "SEARCHMODE:" (1 this object and those
    /// beneath, 2 only those beneath, 3 only this one), separated by a blank.
    void sendMessage(QVMessage& message);
    void sendMessage(const char* name, int code, void* data1 = nullptr, void* data2 = nullptr);

    void SetNameSpace(qvNameSpace* nameSpace) { nameSpace_ = nameSpace; }
    /// The keeper of the state file, not owned, and the name of the object's file in it.
    void setSFHandle(SFHandler& handler, const char* name);
    SFHandler* getSFHandle() const { return sfHandler_; }
    void DeleteSFHandle();

    /// Calls `visit(QVObject&)` for each sub-object that this one declares. An object that turns up
    /// beneath itself is a code error, and is not entered again.
    template <class Visit>
    void forEachDeclared(Visit visit) {
        struct Walk final : DepTreeEvent {
            explicit Walk(Visit& v) : visit(v) {}
            void appendEvent(QVObject& child) override { visit(child); }
            Visit& visit;
        };
        if (!beginWalk()) return;
        Walk walk(visit);
        OnDeclareChildren(walk);
        walking_ = false;
    }

    bool IsModified() const { return modified_; }
    void SetModified(bool modified = true) { modified_ = modified; }
    /// Written into the state file and given to OnLoadState.
    int getObjectVersion() const { return objectVersion_; }
    void setObjectVersion(int version) { objectVersion_ = version; }

protected:
    // Called from OnPublish alone. Names and fixed help texts are literals, or last as long as the
    // object.

    /// A value: bool, unsigned char, char, short, int, float, double, complex<double>, QVString, or
    /// a qvParameter, whose expressions are those of GetNameSpace().
    template <class T>
    void PublishVar(const char* name, T& var, const char* description, bool readOnly = false) {
        constexpr int kind = qvKindOf<T>();
        static_assert(kind != qvKindNone, "a variable of this type cannot be published");
        if (!wants<kind>(name)) return;
        if constexpr (kind == qvKindObject)
            publishObject(name, var, description, readOnly);
        else
            publishValue(name, &var, kind, description, readOnly, 0);
    }
    /// Text in a character array of fixed size, its terminator included.
    void PublishVar(const char* name, char* buffer, int size, const char* description,
                    bool readOnly = false);
    /// A sub-object, reached by its name.
    void PublishVar(const char* name, QVObject& child, const char* description,
                    bool readOnly = false, void* = nullptr) {
        if (wants(name)) publishObject(name, child, description, readOnly);
    }
    /// A list or matrix of values; the array stays where it is.
    template <class T>
    void PublishVar(const char* name, Array1d<T>& array, const char* description,
                    bool readOnly = false) {
        if (!wants<qvKindOf<T>()>(name)) return;
        qvArray1dContainer<T> container(array);
        publishContainer(name, container, qvKindOf<T>(), 1, description, readOnly);
    }
    template <class T>
    void PublishVar(const char* name, Array2d<T>& array, const char* description,
                    bool readOnly = false) {
        if (!wants<qvKindOf<T>()>(name)) return;
        qvArray2dContainer<T> container(array);
        publishContainer(name, container, qvKindOf<T>(), 2, description, readOnly);
    }
    /// A list of values, or of pointers to objects; its entries have indices from 1. Nothing is
    /// listed: an entry is looked up when its index is asked for.
    template <class T>
    void PublishList(const char* name, List<T>& list, const char* description,
                     bool readOnly = false) {
        if (!wants<qvKindOf<T>()>(name)) return;
        qvListContainer<T> container(list);
        publishContainer(name, container, container.getEntryKind(), 1, description, readOnly);
    }

    /// A method: a member function, or a function or captureless lambda whose first parameter is
    /// the object. Parameters: int, float, double, bool, const char*, const QVString&, QVString, or
    /// one const QVCommandArgList& for all of them. Results: none, a number, bool, text, a pointer
    /// to a QVObject (a reference, or nothing when null), a unique_ptr to one (handed over).
    /// `help` is a text, or a callable that returns one and is called only when help is asked for.
    template <class C, class R, class... A, class Help>
    void PublishFn(const char* name, R (C::*method)(A...), const Help& help,
                   qvRequiredArgs required = qvRequiredArgs(sizeof...(A))) {
        if (wants(name))
            publishMethod(qvMethod<R (C::*)(A...), C, R, A...>(method, required.count), name, help);
    }
    template <class C, class R, class... A, class Help>
    void PublishFn(const char* name, R (C::*method)(A...) const, const Help& help,
                   qvRequiredArgs required = qvRequiredArgs(sizeof...(A))) {
        if (wants(name))
            publishMethod(qvMethod<R (C::*)(A...) const, C, R, A...>(method, required.count), name,
                          help);
    }
    template <class C, class R, class... A, class Help>
    void PublishFn(const char* name, R (*function)(C&, A...), const Help& help,
                   qvRequiredArgs required = qvRequiredArgs(sizeof...(A))) {
        if (wants(name))
            publishMethod(qvMethod<R (*)(C&, A...), C, R, A...>(function, required.count), name,
                          help);
    }
    template <class Lambda, class Help>
    requires std::is_class_v<Lambda>
    void PublishFn(const char* name, const Lambda& lambda, const Help& help) {
        PublishFn(name, +lambda, help);
    }
    template <class Lambda, class Help>
    requires std::is_class_v<Lambda>
    void PublishFn(const char* name, const Lambda& lambda, const Help& help,
                   qvRequiredArgs required) {
        PublishFn(name, +lambda, help, required);
    }

    /// A container or method that the caller keeps alive as long as this object, with three more
    /// texts.
    void PublishObj(const char* name, PublishContainer& container, const char* description,
                    bool readOnly, void*, void*, int kind, const char* text1 = "",
                    const char* text2 = "", const char* text3 = "");

    /// All that another object publishes, as if it were published here; its methods run on it.
    void PublishAll(QVObject& other) {
        if (request_) other.publishInto(*request_);
    }

    /// SaveState and LoadState with `size` bytes between the header and the body.
    bool writeState(const void* preamble, std::size_t size);
    bool readState(void* preamble, std::size_t size);

private:
    friend class qvObjectWatcher;

    bool wants(const char* name) const {
        return request_ ? request_->wants(name) : publishedOutsideOnPublish();
    }
    /// The same for values of that kind.
    template <int kind>
    bool wants(const char* name) const {
        if constexpr (qvIsParameterKind(kind)) {
            if (request_) request_->noteParameter();
        }
        return wants(name);
    }
    bool publishedOutsideOnPublish() const;
    void publishValue(const char* name, void* var, int kind, const char* description, bool readOnly,
                      int capacity);
    void publishObject(const char* name, QVObject& child, const char* description, bool readOnly);
    QVCommandElt& publishContainer(const char* name, PublishContainer& container, int kind,
                                   int ndims, const char* description, bool readOnly);
    template <class Method, class Help>
    void publishMethod(Method&& method, const char* name, const Help& help) {
        if constexpr (std::is_same_v<Help, QVString>) {
            takeMethod(name, method, "", &help);
        } else if constexpr (std::is_convertible_v<Help, const char*>) {
            takeMethod(name, method, help, nullptr);
        } else if (request_->wantsTexts()) {
            const QVString text = help();
            takeMethod(name, method, "", &text);
        } else {
            takeMethod(name, method, "", nullptr);
        }
    }
    void takeMethod(const char* name, QVCommandFNClass& method, const char* help,
                    const QVString* computedHelp);
    void publishInto(qvPublishRequest& request);
    void publishAnswers(const qvPublishRequest& request);
    QVString objectType(const QVCommandArgList& args);
    void sendMessage1(int mode, const char* receiver, QVMessage& message);
    bool beginWalk();
    bool stateFilePath(bool toWrite, std::string& path);

    SFHandler* sfHandler_ = nullptr;
    QVString sfName_;
    qvNameSpace* nameSpace_ = nullptr;
    qvPublishRequest* request_ = nullptr;  ///< while OnPublish runs
    int objectVersion_ = 0;
    bool modified_ = false;
    bool walking_ = false;  ///< while the declared sub-objects are visited
    bool watched_ = false;  ///< some qvObjectWatcher wants to know when this object dies
};

/// Is told when objects that it watches die.
class QVCORE_API qvObjectWatcher {
public:
    qvObjectWatcher();
    virtual ~qvObjectWatcher();
    qvObjectWatcher(const qvObjectWatcher&) = delete;
    qvObjectWatcher& operator=(const qvObjectWatcher&) = delete;

    void watch(QVObject& object) { object.watched_ = true; }
    /// Some watched object is being destroyed; only its address is of use any more.
    virtual void OnObjectDying(QVObject* object) = 0;

private:
    friend class QVObject;
    static void objectDying(QVObject* object);
};
