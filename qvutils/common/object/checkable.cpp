#include "qvutils/common/object/checkable.h"

#include "qvutils/common/error/qverror.h"

const qvClassInfo Checkable::cinfo_Checkable("Checkable", QVObject::getStaticClassInfo(), nullptr,
                                             qvCreateObject<Checkable>);
const qvClassInfo Updatable::cinfo_Updatable("Updatable", Checkable::getStaticClassInfo(), nullptr,
                                             qvCreateObject<Updatable>);

namespace {

/// Adds what `visit` gives for each Checkable beneath an object; other objects are looked through.
template <class Visit>
void sumChildren(QVObject& parent, CheckSum& sum, const Visit& visit) {
    parent.forEachDeclared([&](QVObject& child) {
        if (auto* checkable = dynamic_cast<Checkable*>(&child)) {
            sum.Append(visit(*checkable));
        } else {
            sumChildren(child, sum, visit);
        }
    });
}

}  // namespace

CheckSum Checkable::getCurrCheckSum() {
    CheckSum sum;
    OnCheckSum(sum);
    sumChildren(*this, sum, [](Checkable& child) { return child.getCurrCheckSum(); });
    return sum;
}

bool Checkable::IsOutOfDate() {
    bool outOfDate = false;
    sendMessage("", QVMessage::isOutOfDate, &outOfDate);
    return outOfDate;
}

CheckSum Checkable::updated(const char* className) {
    CheckSum sum;
    OnCheckSum(sum);
    sumChildren(*this, sum, [&](Checkable& child) { return child.updated(className); });
    return sum;
}

CheckSum Updatable::Update(const char* className) {
    return updated(className);
}

CheckSum Updatable::updated(const char* className) {
    if (updating_) {
        CodeError("Updatable::Update", "qvobject", __LINE__);
        return checkSum_;
    }
    updating_ = true;
    const CheckSum sum = Checkable::updated(className);
    const bool chosen = !className || !*className || IsKindOf(className);
    if (!qverr() && chosen && !(evaluated_ && checkSum_ == sum)) {
        OnEvaluate();
        if (!qverr()) {
            SetCheckSum(sum);
            SetModified();
        }
    }
    updating_ = false;
    return sum;
}

void Updatable::SetCheckSum(const CheckSum& checkSum) {
    checkSum_ = checkSum;
    evaluated_ = true;
}

bool Updatable::SaveState() {
    return writeState(&checkSum_, sizeof checkSum_);
}

bool Updatable::LoadState() {
    CheckSum loaded;
    if (!readState(&loaded, sizeof loaded)) return false;
    SetCheckSum(loaded);
    return true;
}

void Updatable::ResetTop() {
    evaluated_ = false;
    Checkable::ResetTop();
}

void Updatable::OnMessage(QVMessage& message) {
    if (message.code != QVMessage::isOutOfDate || !message.data1) return;
    if (!evaluated_ || !(checkSum_ == getCurrCheckSum())) *static_cast<bool*>(message.data1) = true;
}
