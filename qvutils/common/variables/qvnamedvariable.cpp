#include "qvutils/common/variables/qvnamedvariable.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/text/qvnumber.h"
#include "qvutils/common/variables/definition.h"
#include "qvutils/common/variables/evaluation.h"
#include "qvutils/common/variables/namespacelock.h"

namespace {

std::atomic<std::uint64_t> lastSerial = 0;

/// What formulas read as a number although it looks like a name.
bool readsAsNumber(const QVString& name) {
    const char* numbers[] = {"inf", "infinity", "nan"};
    return std::any_of(std::begin(numbers), std::end(numbers), [&](const char* number) {
        return name.CompareTo(number, QVString::ignoreCase) == 0;
    });
}

bool sameBits(const std::complex<double>& a, const std::complex<double>& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

QVString withoutLineBreaks(QVString text) {
    text.GSub("\r\n", " ");
    text.GSub('\n', " ");
    text.GSub('\r', " ");
    return text;
}

/// A value without an imaginary part is written as a real number.
QVString valueText(const std::complex<double>& value) {
    return value.imag() == 0 ? qvShortestText(value.real()) : qvShortestText(value);
}

}  // namespace

/// Holds the lock of the variable's namespace while there is one.
struct qvNamedVariable::Locked : qvVariableLock {
    explicit Locked(const qvNamedVariable& v)
        : qvVariableLock(v.space_ ? &v.space_->lock_ : nullptr) {}
};

qvNamedVariable::qvNamedVariable(qvNameSpace* space, int flags, int index)
    : stamp_(1),
      clock_(space ? &space->clock_ : nullptr),
      space_(space),
      flags_(flags & temporary ? flags & ~property : flags),
      index_(flags_ & property ? index : -1),
      serial_(++lastSerial),
      nameTime_(space ? space->GetPseudoTime() : 0),
      definitionTime_(nameTime_) {
    if (!space) return;
    if (flags_ & (temporary | property)) {
        space->attach(this);
    } else {
        space->enter(this);
    }
}

qvNamedVariable::~qvNamedVariable() {
    if (!space_) return;
    if (flags_ & (temporary | property)) {
        space_->unattach(this);
        return;
    }
    space_->raise(qvNameSpaceEvent::removing, this);
    space_->leave(this);
}

void qvNamedVariable::detach() {
    publishPlain(published());
    space_ = nullptr;
    clock_ = nullptr;
    if (!plain_) definition_.reset();
}

void qvNamedVariable::publish(const std::complex<double>& value, std::uint64_t stamp) {
    stamp_.store(0, std::memory_order_relaxed);
    real_.store(value.real(), std::memory_order_release);
    imag_.store(value.imag(), std::memory_order_release);
    stamp_.store(stamp, std::memory_order_release);
}

void qvNamedVariable::publishPlain(const std::complex<double>& value) {
    publish(value, 2 * ++plainChanges_ + 1);
}

std::complex<double> qvNamedVariable::published() const {
    return {real_.load(std::memory_order_relaxed), imag_.load(std::memory_order_relaxed)};
}

std::complex<double> qvNamedVariable::compute() {
    return space_ ? qvEvaluation::read(*this) : published();
}

/// Lets `store` make a change under the lock and announces it before and after.
template <class Change>
void qvNamedVariable::change(Change store) {
    if (!space_) {
        store();
        return;
    }
    if (announcesBefore()) space_->raise(qvNameSpaceEvent::willChange, this);
    {
        const qvAutoLock lock(space_->lock_);
        store();
    }
    if (announcesAfter()) space_->raise(qvNameSpaceEvent::changed, this);
}

bool qvNamedVariable::IsNameValid(const QVString& name) {
    const std::string_view text = name.view();
    if (text.empty() || !IsStartCharacter(text.front())) return false;
    for (const char c : text) {
        if (!IsContinuationCharacter(c)) return false;
    }
    const QVFuncParserC& registry = QVFuncParserC::TheFuncParser;
    return !registry.IsFunctionRegistered(name) && !registry.IsConstantRegistered(name);
}

bool qvNamedVariable::IsNameUnique(const QVString& name) const {
    if (!space_) return true;
    const qvNamedVariable* found = space_->Find(name, false);
    return !found || found == this;
}

bool qvNamedVariable::SetName(const QVString& name) {
    {
        const Locked lock(*this);
        if (name_ == name) return true;
        if (!name.Empty() && !(IsNameValid(name) && IsNameUnique(name))) return false;
    }
    bool stored = false;
    change([&] {
        // A listener or another thread may have taken the name.
        stored = name.Empty() || IsNameUnique(name);
        if (stored) storeName(name);
    });
    if (stored && readsAsNumber(name)) {
        wlprintf("Formulas read the variable name \"%s\" as a number\n", name.Chars());
    }
    return stored;
}

void qvNamedVariable::storeName(const QVString& name) {
    const bool entered = space_ && !(flags_ & (temporary | property));
    if (entered && !name_.Empty()) space_->names_.remove(name_.view());
    name_ = name;
    if (!space_) return;
    if (entered && !name_.Empty()) space_->names_.add(name_.view(), this);
    space_->noteChange(*this, true);
    nameTime_ = space_->GetPseudoTime();
}

void qvNamedVariable::SetValue(const std::complex<double>& value) {
    {
        const Locked lock(*this);
        if (plain_ && sameBits(value, published())) return;
    }
    change([&] { storeValue(value); });
}

bool qvNamedVariable::SetValue(const QVString& text) {
    std::complex<double> value;
    if (!qvStringToNumber(text, value)) return false;
    SetValue(value);
    return true;
}

void qvNamedVariable::storeValue(const std::complex<double>& value) {
    plain_ = true;
    publishPlain(value);
    noteNewDefinition();
}

bool qvNamedVariable::SetExpression(const QVString& text) {
    if (text.Contains('"')) {
        qverr().setf("an expression cannot contain a double quote: %s\n", text.Chars());
        return false;
    }
    const QVString expression = withoutLineBreaks(text);
    {
        const Locked lock(*this);
        if (!plain_ && expression_ == expression) return true;
    }
    change([&] { storeExpression(expression); });
    return true;
}

bool qvNamedVariable::SetValueOrExpression(const QVString& text) {
    return SetValue(text) || SetExpression(text);
}

void qvNamedVariable::storeExpression(const QVString& text) {
    expression_ = text;
    plain_ = false;
    if (space_) {
        stamp_.store(0, std::memory_order_release);
    } else {
        publishPlain(0);
    }
    noteNewDefinition();
}

void qvNamedVariable::noteNewDefinition() {
    // Kept for the reading that may be using it at this moment.
    if (definition_) definition_->stale = true;
    if (!space_) return;
    space_->noteChange(*this, false);
    definitionTime_ = space_->GetPseudoTime();
}

QVString qvNamedVariable::GetFlaw() {
    GetValue();
    const Locked lock(*this);
    return plain_ || !definition_ || !definition_->flaw ? QVString() : *definition_->flaw;
}

QVString qvNamedVariable::GetValueString() {
    return valueText(GetValue());
}

QVString qvNamedVariable::GetExpression() const {
    const Locked lock(*this);
    return definitionText();
}

QVString qvNamedVariable::definitionText() const {
    return plain_ ? valueText(published()) : expression_;
}

QVString qvNamedVariable::GetName() const {
    const Locked lock(*this);
    return name_;
}

bool qvNamedVariable::IsValue() const {
    const Locked lock(*this);
    return plain_;
}

int qvNamedVariable::GetNameSpaceIndex() const {
    const Locked lock(*this);
    if (space_ && !(flags_ & (temporary | property))) space_->compact();
    return index_;
}

void qvNamedVariable::AppendCheckSum(CheckSum& sum, int withValue) {
    {
        const Locked lock(*this);
        sum.Append(name_).Append(definitionText());
    }
    if (withValue) sum.Append(GetValue());
}
