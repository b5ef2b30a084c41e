#include "qvutils/common/object/qvobject.h"

#include <algorithm>
#include <mutex>
#include <vector>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/object/qvmembers.h"
#include "qvutils/common/object/qvpublishedparameters.h"

const qvClassInfo QVObject::cinfo_QVObject("QVObject", nullptr, nullptr, qvCreateObject<QVObject>);

QVObject::QVObject() = default;

QVObject::QVObject(const QVObject& other)
    : qvEventHandler(other),
      nameSpace_(other.nameSpace_),
      objectVersion_(other.objectVersion_),
      modified_(other.modified_) {}

QVObject& QVObject::operator=(const QVObject& other) {
    if (getClassInfo() != other.getClassInfo()) {
        CodeError("QVObject::operator=", "qvobject", __LINE__);
        return *this;
    }
    nameSpace_ = other.nameSpace_;
    objectVersion_ = other.objectVersion_;
    modified_ = true;
    return *this;
}

QVObject::~QVObject() {
    if (request_) CodeError("~QVObject::QVObject", "qvobject", __LINE__);
    if (watched_) qvObjectWatcher::objectDying(this);
}

void QVObject::ResetTop() {
    OnReset();
}

void QVObject::ResetAll(const char* className) {
    if (!className || !*className || IsKindOf(className)) ResetTop();
    forEachDeclared([&](QVObject& child) { child.ResetAll(className); });
}

void QVObject::SetParam(QVCommandElt& element, const char* value, const char* name) {
    element.Assign(value, name);
}

// What is published.

QVCommandElt QVObject::getPublishedElt(const char* name, bool withTexts) {
    QVCommandElt element;
    findPublishedElt(name, withTexts, element);
    return element;
}

bool QVObject::findPublishedElt(std::string_view name, bool withTexts, QVCommandElt& element) {
    qvPublishRequest request(name, withTexts, element);
    publishInto(request);
    if (request.found()) return true;
    qvPublishRequest* outer = request_;
    request_ = &request;
    publishAnswers(request);
    PublishFn("objtype", &QVObject::objectType, "get the object type");
    PublishFn(
        "objmembers", qvListMembers,
        "(): get all members, one a line: name, type, ro or rw, help text, with tabs between");
    PublishFn("objmember", qvDescribeMember,
              "( name ): get the type of a member, and in the next line its value or index range");
    request_ = outer;
    return request.found();
}

void QVObject::getChildList(List<QVCommandElt>& children, bool withTexts) {
    children.unalloc();
    qvPublishRequest request(withTexts, children);
    publishInto(request);
    qvPublishRequest* outer = request_;
    request_ = &request;
    publishAnswers(request);
    request_ = outer;
}

void QVObject::publishAnswers(const qvPublishRequest& request) {
    if (!request.hasParameters()) return;
    PublishFn("why", qvExplainParameter,
              "( name ): get the formula of a parameter or variable with the values in it");
    PublishFn("uses", qvParametersThatUse,
              "( name ): get the parameters here whose formulas use a variable");
}

void QVObject::publishInto(qvPublishRequest& request) {
    qvPublishRequest* outer = request_;
    request_ = &request;
    OnPublish();
    request_ = outer;
}

bool QVObject::publishedOutsideOnPublish() const {
    CodeError("QVObject::PublishVar 1", "qvobject", __LINE__);
    return false;
}

void QVObject::PublishVar(const char* name, char* buffer, int size, const char* description,
                          bool readOnly) {
    if (!wants(name)) return;
    if (size < 1) return CodeError("QVObject::PublishVar 2", "qvobject", __LINE__);
    publishValue(name, buffer, qvKindCharArray, description, readOnly, size);
}

void QVObject::publishValue(const char* name, void* var, int kind, const char* description,
                            bool readOnly, int capacity) {
    QVCommandElt& element = request_->place();
    element.Init(var, kind, readOnly, false, 0, this);
    element.setTexts(name, description);
    element.setCapacity(capacity);
}

void QVObject::publishObject(const char* name, QVObject& child, const char* description,
                             bool readOnly) {
    if (&child == this) return CodeError("QVObject::PublishVar 3", "qvobject", __LINE__);
    QVCommandElt& element = request_->place();
    element.Init(&child, qvKindObject, readOnly, false, 0, this);
    element.setTexts(name, description);
}

QVCommandElt& QVObject::publishContainer(const char* name, PublishContainer& container, int kind,
                                         int ndims, const char* description, bool readOnly) {
    QVCommandElt& element = request_->place();
    element.Init(&container, kind, readOnly, false, ndims, this);
    element.setTexts(name, description);
    return element;
}

void QVObject::takeMethod(const char* name, QVCommandFNClass& method, const char* help,
                          const QVString* computedHelp) {
    QVCommandElt& element = publishContainer(name, method, qvKindMethod, 0, help, false);
    if (computedHelp) element.setDescription(*computedHelp);
}

void QVObject::PublishObj(const char* name, PublishContainer& container, const char* description,
                          bool readOnly, void*, void*, int kind, const char* text1,
                          const char* text2, const char* text3) {
    if (!wants(name)) return;
    QVCommandElt& element = request_->place();
    element.Init(&container, kind, readOnly, false, container.getNdims(), this);
    element.setTexts(name, description, text1, text2, text3);
}

QVString QVObject::objectType(const QVCommandArgList& args) {
    if (!args.checkCount(0, 1)) return QVString();
    if (args.nargs() == 0) return getClassName();
    constexpr std::string_view key = "MAINTYPE(";
    std::string_view question = args[0].getText().view();
    if (!question.starts_with(key) || !question.ends_with(')')) {
        qverr().set("objtype takes no argument or MAINTYPE(class name)\n");
        return QVString();
    }
    question = question.substr(key.size(), question.size() - key.size() - 1);
    return getClassInfo()->IsMainType(question) ? "1" : "0";
}

// Messages.

namespace {

bool isReceiver(const QVObject& object, std::string_view receivers) {
    if (receivers.empty()) return true;
    while (!receivers.empty()) {
        const std::size_t comma = std::min(receivers.find(','), receivers.size());
        if (object.getClassInfo()->IsKindOf(receivers.substr(0, comma))) return true;
        receivers.remove_prefix(std::min(comma + 1, receivers.size()));
    }
    return false;
}

/// What follows a key up to the next blank.
std::string_view keyValue(std::string_view text, std::string_view key) {
    const std::size_t start = text.find(key);
    if (start == text.npos) return {};
    text.remove_prefix(start + key.size());
    return text.substr(0, text.find(' '));
}

}  // namespace

void QVObject::sendMessage(QVMessage& message) {
    const std::string_view name = message.name ? message.name : "";
    const std::string_view mode = keyValue(name, "SEARCHMODE:");
    const bool keyed = !mode.empty() || name.find("RECEIVERS:") != name.npos;
    const std::string receivers(keyed ? keyValue(name, "RECEIVERS:") : name);
    sendMessage1(mode.empty()       ? 1
                 : mode.size() == 1 ? mode[0] - '0'
                                    : 0,
                 receivers.c_str(), message);
}

void QVObject::sendMessage(const char* name, int code, void* data1, void* data2) {
    QVMessage message(name, code, data1, data2);
    sendMessage(message);
}

void QVObject::sendMessage1(int mode, const char* receiver, QVMessage& message) {
    if (mode < 1 || mode > 3) return CodeError("QVObject::sendMessage1", "qvobject", __LINE__);
    if (mode != 2 && isReceiver(*this, receiver)) OnMessage(message);
    if (mode == 3) return;
    forEachDeclared([&](QVObject& child) { child.sendMessage1(1, receiver, message); });
}

bool QVObject::beginWalk() {
    if (walking_) {
        const QVString place = QVString(getClassName()) + "::appendEvent 1";
        CodeError(place, "qvobject", __LINE__);
        return false;
    }
    walking_ = true;
    return true;
}

// Watchers. Objects may die on any thread, so the list has a lock; a watcher lives and dies on the
// thread that owns the objects it watches. Both are never destroyed: objects with static storage
// may die after everything else.

namespace {

std::mutex& watcherLock() {
    static auto* const lock = new std::mutex;
    return *lock;
}

std::vector<qvObjectWatcher*>& watchers() {
    static auto* const all = new std::vector<qvObjectWatcher*>;
    return *all;
}

}  // namespace

qvObjectWatcher::qvObjectWatcher() {
    const std::lock_guard guard(watcherLock());
    watchers().push_back(this);
}

qvObjectWatcher::~qvObjectWatcher() {
    const std::lock_guard guard(watcherLock());
    std::erase(watchers(), this);
}

void qvObjectWatcher::objectDying(QVObject* object) {
    std::vector<qvObjectWatcher*> told;
    {
        const std::lock_guard guard(watcherLock());
        told = watchers();
    }
    for (qvObjectWatcher* watcher : told) watcher->OnObjectDying(object);
}
