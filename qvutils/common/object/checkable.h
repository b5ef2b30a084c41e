#pragma once
#include "qvutils/common/object/qvobject.h"
#include "qvutils/common/text/checksum.h"

/// An object whose definition can be summed up, so that a change of it can be seen.
class QVCORE_API Checkable : public QVObject {
public:
    QV_CLASS_INFO(Checkable)

    QVObject* Clone() const override { return new Checkable(*this); }
    /// The sum over this object's definition and those of the Checkables that it declares.
    CheckSum getCurrCheckSum();
    /// Asks by a message (code QVMessage::isOutOfDate) and reads the flag back.
    bool IsOutOfDate();
    /// Adds this object's own definition, without its children.
    virtual void OnCheckSum(CheckSum&) {}

protected:
    /// Updates what is beneath this object, then the object; returns the sum of its definition.
    virtual CheckSum updated(const char* className);
};

/// A Checkable with results that depend on its definition and on its children's.
class QVCORE_API Updatable : public Checkable {
public:
    QV_CLASS_INFO(Updatable)

    QVObject* Clone() const override { return new Updatable(*this); }
    /// The state holds the check sum before the body, so that loaded results count as up to date
    /// when the definition is still the same.
    bool LoadState() override;
    bool SaveState() override;
    /// Resets, and forgets that the results were ever up to date.
    void ResetTop() override;
    /// Sets the flag of QVMessage::isOutOfDate when the results do not match the definition.
    void OnMessage(QVMessage& message) override;
    /// Computes the results; posts to qverr() when it fails.
    virtual void OnEvaluate() {}

    /// Brings the declared Updatables and then this object up to date; those whose class is not
    /// the one named (null or empty: any) are left alone. Each object is evaluated at most once,
    /// and only when its definition or a child has changed. Returns the sum of the definition.
    CheckSum Update(const char* className = nullptr);
    /// The sum of the definition for which the results were computed.
    const CheckSum& GetCheckSum() const { return checkSum_; }
    void SetCheckSum(const CheckSum& checkSum);

protected:
    CheckSum updated(const char* className) override;

private:
    CheckSum checkSum_;
    bool evaluated_ = false;
    bool updating_ = false;
};
