#include "qvutils/ui/project/qvnodeinfo.h"

#include <algorithm>
#include <cstring>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/ui/project/qvprojman.h"

namespace {

bool isUsable(const qvProjectNodeInfo& record) {
    const char* type = record.signature.type;
    if (!record.classInfo || !type || !*type) {
        qverr().set("a node type needs a class and a block type\n");
        return false;
    }
    return true;
}

template <class Records, class Test>
const qvProjectNodeInfo* findRecord(const Records& records, Test test) {
    for (const auto& record : records) {
        if (test(*record)) return record.get();
    }
    return nullptr;
}

bool listsAsChild(const qvProjectNodeInfo& parent, const qvClassInfo* child) {
    const qvClassInfo* const* const entries = parent.allowedChildren;
    for (int i = 0; entries && i < qvProjectNodeInfo::maxChildren && entries[i]; ++i) {
        if (entries[i] == child) return true;
    }
    return false;
}

/// Never destroyed, like the list of registrations.
std::string& currentOwner() {
    static auto* owner = new std::string;
    return *owner;
}

}  // namespace

bool qvMetaDataTable::AddNode(const qvProjectNodeInfo& record) {
    if (!isUsable(record)) return false;
    if (const auto* existing = FindMetaDataByBlockType(record.signature.type)) {
        wlwrite(QVString().sprintf("registration of duplicate node:\n\"%s\"\nignored\n",
                                   existing->displayName.Chars()));
        return false;
    }
    records_.push_back(std::make_unique<const qvProjectNodeInfo>(record));
    return true;
}

bool qvMetaDataTable::RemoveNode(const char* blockType) {
    return std::erase_if(records_, [&](const auto& record) {
               return std::strcmp(record->signature.type, blockType) == 0;
           }) > 0;
}

void qvMetaDataTable::Clear() {
    records_.clear();
}

const qvProjectNodeInfo* qvMetaDataTable::getMetaData(int position) const {
    return position >= 1 && position <= size() ? records_[position - 1].get() : nullptr;
}

const qvProjectNodeInfo* qvMetaDataTable::FindMetaDataByBlockType(const char* blockType) const {
    return findRecord(records_, [&](const qvProjectNodeInfo& record) {
        return std::strcmp(record.signature.type, blockType) == 0;
    });
}

const qvProjectNodeInfo* qvMetaDataTable::FindMetaDataByClass(const char* className) const {
    return findRecord(records_, [&](const qvProjectNodeInfo& record) {
        return std::strcmp(record.classInfo->getClassName(), className) == 0;
    });
}

const qvProjectNodeInfo* qvMetaDataTable::FindMetaDataByClassInfo(
    const qvClassInfo* classInfo) const {
    return findRecord(
        records_, [&](const qvProjectNodeInfo& record) { return record.classInfo == classInfo; });
}

const qvProjectNodeInfo* qvMetaDataTable::FindMetaDataByName(const char* displayName) const {
    return findRecord(records_, [&](const qvProjectNodeInfo& record) {
        return record.displayName == displayName;
    });
}

const qvProjectNodeInfo* qvMetaDataTable::FindMetaDataBySuffix(const char* suffix) const {
    return findRecord(records_, [&](const qvProjectNodeInfo& record) {
        return !record.fileSuffix.Empty() && record.fileSuffix == suffix;
    });
}

int qvMetaDataTable::FindMetaDataFlags(const qvClassInfo* classInfo) const {
    const auto* record = FindMetaDataByClassInfo(classInfo);
    return record ? record->flags : 0;
}

List<const qvClassInfo*> qvMetaDataTable::FindChildren(const qvClassInfo* classInfo) const {
    List<const qvClassInfo*> children;
    if (const auto* parent = FindMetaDataByClassInfo(classInfo)) {
        for (const auto& record : records_) {
            if (Accepts(*parent, *record)) children.append(record->classInfo);
        }
    }
    return children;
}

List<QVString> qvMetaDataTable::FindChildNames(const qvClassInfo* classInfo) const {
    List<QVString> names;
    for (const qvClassInfo* child : FindChildren(classInfo)) {
        names.append(FindMetaDataByClassInfo(child)->signature.type);
    }
    return names;
}

bool qvMetaDataTable::Accepts(const qvProjectNodeInfo& parent,
                              const qvProjectNodeInfo& child) const {
    const auto& parents = child.parentTypes;
    return listsAsChild(parent, child.classInfo) ||
           std::find(parents.begin(), parents.end(), parent.signature.type) != parents.end();
}

qvProjectNodeInfoClass::qvProjectNodeInfoClass(qvProjectNodeInfo record)
    : record_(std::move(record)), owner_(currentOwner()) {
    TheInfoList().append(this);
}

qvProjectNodeInfoClass::~qvProjectNodeInfoClass() {
    List<qvProjectNodeInfoClass*>& all = TheInfoList();
    for (int i = all.size(); i >= 1; --i) {
        if (all[i] == this) all.erase(i);
    }
    withdraw();
}

void qvProjectNodeInfoClass::withdraw() {
    if (registered_) getProjectManager().getMetaDataTable().RemoveNode(record_.signature.type);
    tried_ = registered_ = false;
}

void qvProjectNodeInfoClass::SetOwner(const std::string& owner) {
    currentOwner() = owner;
}

bool qvProjectNodeInfoClass::Register() {
    return Register("", "");
}

bool qvProjectNodeInfoClass::Register(const std::string& owner, const std::string& plugin) {
    bool allRegistered = true;
    for (qvProjectNodeInfoClass* info : TheInfoList()) {
        if (info->tried_ || info->owner_ != owner) continue;
        info->tried_ = true;
        info->record_.plugin = plugin;
        info->registered_ = getProjectManager().getMetaDataTable().AddNode(info->record_);
        if (!info->registered_) {
            wlwrite(QVString().sprintf("failure in registering node type \"%s\"\n",
                                       info->record_.signature.type));
            allRegistered = false;
        }
    }
    return allRegistered;
}

void qvProjectNodeInfoClass::Withdraw(const std::string& owner) {
    for (qvProjectNodeInfoClass* info : TheInfoList()) {
        if (info->owner_ == owner) info->withdraw();
    }
}

void qvProjectNodeInfoClass::Forget(int count) {
    List<qvProjectNodeInfoClass*>& all = TheInfoList();
    while (all.size() > count) all.erase(all.size());
}

List<qvProjectNodeInfoClass*>& qvProjectNodeInfoClass::TheInfoList() {
    // Never destroyed: registrations in plug-ins may outlive everything else that is static.
    static auto* list = new List<qvProjectNodeInfoClass*>;
    return *list;
}
