#include "qvutils/common/variables/qvnamespace.h"

#include <utility>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/variables/definition.h"
#include "qvutils/common/variables/namespacelock.h"

namespace {

/// Guards the lists of children of all namespaces. Taken last and held for a moment.
qvSpinLock& treeLock() {
    static qvSpinLock lock("namespace children");
    return lock;
}

}  // namespace

qvNameSpace::qvNameSpace(qvNameSpace* parent) : self_(this, [](qvNameSpace*) {}) {
    joinParent(parent);
}

qvNameSpace::qvNameSpace(const qvNameSpace& other) : qvNameSpace(other.parent_) {
    copyVariables(other);
}

qvNameSpace& qvNameSpace::operator=(const qvNameSpace& other) {
    if (&other == this) return *this;
    unalloc();
    if (parent_ != other.parent_) setParent(other.parent_);
    copyVariables(other);
    return *this;
}

qvNameSpace::~qvNameSpace() {
    self_.reset();
    unalloc();
    while (children_) children_->setParent(nullptr);
    leaveParent();
    while (qvNamedVariable* variable = attached_) {
        unattach(variable);
        variable->detach();
    }
}

void qvNameSpace::unalloc() {
    // From the end, so that no index changes.
    while (size_) {
        compact();
        delete variables_[variables_.Size() - 1];
    }
}

void qvNameSpace::copyVariables(const qvNameSpace& other) {
    const qvNameSpaceSnapshot state(&other);
    for (int i = 0; i < state.Size(); ++i) {
        const qvNamedVariableSnapshot& record = state[i];
        auto* copy = new qvNamedVariable(this, 0, -1);
        copy->SetName(record.name);
        if (record.plain) {
            copy->SetValue(record.value);
        } else {
            copy->SetExpression(record.expression);
        }
    }
}

qvNamedVariable* qvNameSpace::GetVariable(int index) {
    const qvAutoLock lock(lock_);
    compact();
    return variables_[index];
}

qvNamedVariable* qvNameSpace::findOwn(QVText name) const {
    if (name.Length()) return names_.find(name.view());
    for (int i = 0; i < variables_.Size(); ++i) {
        if (variables_[i] && variables_[i]->name_.Empty()) return variables_[i];
    }
    return nullptr;
}

qvNamedVariable* qvNameSpace::Find(QVText name, bool searchParents, int* level) {
    int up = 0;
    for (qvNameSpace* space = this; space; space = space->parent_, ++up) {
        const qvAutoLock lock(space->lock_);
        if (qvNamedVariable* found = space->findOwn(name)) {
            if (level) *level = up;
            return found;
        }
        if (!searchParents) break;
    }
    return nullptr;
}

int qvNameSpace::FindVariable(const QVString& name, bool searchParents) {
    int level = 0;
    const qvNamedVariable* found = Find(name, searchParents, &level);
    if (!found) return -1;
    const int index = found->GetNameSpaceIndex();
    if (index > 0xFFFF || level > 0x7FFF) {
        CodeError("qvNameSpace::FindVariable", "qvnamespace", __LINE__);
        return -1;
    }
    return (level << 16) + index;
}

bool qvNameSpace::findName(QVText name, QVNameHandle& handle) {
    const qvAutoLock lock(lock_);
    qvNamedVariable* found = Find(name);
    if (!found) return false;
    const auto entry =
        handles_.insert_or_assign(std::string(name.view()), LookedUp{found, clock_.names()});
    handle.object = &*entry.first;
    return true;
}

bool qvNameSpace::readName(const QVNameHandle& handle, std::complex<double>& value) {
    const qvNameSpaceLock lock(*this);
    // Only a name of this namespace, which is not constant, was given out as a handle.
    auto& entry = *static_cast<Handles::value_type*>(const_cast<void*>(handle.object));
    const std::uint64_t names = clock_.names();
    if (entry.second.namesTime != names) entry.second = {Find(QVText(entry.first)), names};
    if (!entry.second.variable) return false;
    value = entry.second.variable->GetValue();
    return true;
}

void qvNameSpace::listNames(std::vector<QVString>& names) {
    const qvNameSpaceLock lock(*this);
    for (const qvNameSpace* space = this; space; space = space->parent_) {
        for (int i = 0; i < space->variables_.Size(); ++i) {
            const qvNamedVariable* variable = space->variables_[i];
            if (variable && !variable->name_.Empty()) names.push_back(variable->name_);
        }
    }
}

qvNamedVariable* qvNameSpace::Add(const QVString& name) {
    auto* variable = new qvNamedVariable(this, 0, -1);
    if (!name.Empty() && variable->SetName(name)) return variable;
    delete variable;
    return nullptr;
}

void qvNameSpace::Remove(qvNamedVariable* variable) {
    delete variable;
}

void qvNameSpace::PrepareToLoad() {
    clock_.tickNames();
}

void qvNameSpace::OnEvent(qvEvent&, int) {}

int qvNameSpace::AddVariable(qvNamedVariable* variable) {
    if (variable->space_ != this || !(variable->flags_ & qvNamedVariable::temporary)) {
        CodeError("qvNameSpace::AddVariable", "qvnamespace", __LINE__);
        return -1;
    }
    if (!variable->name_.Empty() && !variable->IsNameUnique(variable->name_)) return -1;
    unattach(variable);
    variable->flags_ &= ~qvNamedVariable::temporary;
    enter(variable);
    return variable->GetNameSpaceIndex();
}

void qvNameSpace::enter(qvNamedVariable* variable) {
    {
        const qvAutoLock lock(lock_);
        compact();
        variable->index_ = variables_.Add(variable);
        ++size_;
        if (!variable->name_.Empty()) names_.add(variable->name_.view(), variable);
        clock_.tickNames();
    }
    raise(qvNameSpaceEvent::added, variable);
}

void qvNameSpace::RemoveVariable(int index) {
    qvNamedVariable* variable = GetVariable(index);
    raise(qvNameSpaceEvent::removing, variable);
    leave(variable);
    variable->flags_ |= qvNamedVariable::temporary;
    attach(variable);
}

void qvNameSpace::leave(qvNamedVariable* variable) {
    const qvAutoLock lock(lock_);
    if (computing_) {
        exitfn("Variable \"%s\" was removed by a function that a formula calls\n",
               variable->name_.Chars());
    }
    if (!variable->name_.Empty()) names_.remove(variable->name_.view());
    const int index = std::exchange(variable->index_, -1);
    --size_;
    // The last ones go at once; what is removed before them is closed up when an index is needed.
    variables_[index] = nullptr;
    ++holes_;
    int end = variables_.Size();
    for (; end > 0 && !variables_[end - 1]; --end) --holes_;
    variables_.Truncate(end);
    clock_.tickNames();
}

void qvNameSpace::compact() {
    if (!holes_) return;
    int kept = 0;
    for (int i = 0; i < variables_.Size(); ++i) {
        qvNamedVariable* variable = variables_[i];
        if (!variable) continue;
        variables_[kept] = variable;
        variable->index_ = kept++;
    }
    variables_.Truncate(kept);
    holes_ = 0;
}

void qvNameSpace::attach(qvNamedVariable* variable) {
    const qvAutoLock lock(lock_);
    variable->previous_ = nullptr;
    variable->next_ = attached_;
    if (attached_) attached_->previous_ = variable;
    attached_ = variable;
}

void qvNameSpace::unattach(qvNamedVariable* variable) {
    const qvAutoLock lock(lock_);
    if (variable->next_) variable->next_->previous_ = variable->previous_;
    (variable->previous_ ? variable->previous_->next_ : attached_) = variable->next_;
    variable->next_ = variable->previous_ = nullptr;
}

void qvNameSpace::raise(int event, qvNamedVariable* variable) {
    source_.RaiseEvent(event, variable, this);
}

/// Looking for near names takes a walk over all names. When thousands of formulas fail at once, the
/// first ones are enough.
bool qvNameSpace::maySuggest() {
    constexpr int most = 50;
    const std::uint64_t names = clock_.names();
    if (suggestedAt_ != names) suggestions_ = 0;
    suggestedAt_ = names;
    return suggestions_++ < most;
}

void qvNameSpace::noteChange(const qvNamedVariable& variable, bool ofName) {
    if (variable.IsTemporary()) {
        ++quietChanges_;
    } else if (ofName) {
        clock_.tickNames();
    } else {
        clock_.tick();
    }
}

void qvNameSpace::NotifyVariableWillChange(int index) {
    if (index != -1) raise(qvNameSpaceEvent::willChange, GetVariable(index));
}

void qvNameSpace::NotifyVariableChanged(int index, int* newTime) {
    clock_.tick();
    if (newTime) *newTime = GetPseudoTime();
    if (index != -1) raise(qvNameSpaceEvent::changed, GetVariable(index));
}

void qvNameSpace::setParent(qvNameSpace* parent) {
    for (const qvNameSpace* space = parent; space; space = space->parent_) {
        if (space != this) continue;
        qverr().set("a namespace cannot be a parent of its own parents\n");
        return;
    }
    const qvAutoLock lock(lock_);
    if (computing_) exitfn("A function that a formula calls has moved the formula's namespace\n");
    leaveParent();
    joinParent(parent);
}

void qvNameSpace::joinParent(qvNameSpace* parent) {
    parent_ = parent;
    clock_.follow(parent ? &parent->clock_ : nullptr);
    if (!parent) return;
    const qvAutoLock lock(treeLock());
    nextSibling_ = parent->children_;
    parent->children_ = this;
}

void qvNameSpace::leaveParent() {
    if (!parent_) return;
    const qvAutoLock lock(treeLock());
    qvNameSpace** place = &parent_->children_;
    while (*place != this) place = &(*place)->nextSibling_;
    *place = nextSibling_;
    parent_ = nullptr;
}

std::vector<qvNameSpace*> qvNameSpace::descendants() {
    const qvAutoLock lock(treeLock());
    std::vector<qvNameSpace*> found;
    for (std::size_t next = 0;; ++next) {
        const qvNameSpace* space = next ? found[next - 1] : this;
        for (qvNameSpace* child = space->children_; child; child = child->nextSibling_) {
            found.push_back(child);
        }
        if (next == found.size()) return found;
    }
}
