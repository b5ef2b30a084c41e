#pragma once
#include <memory>
#include <string>
#include <vector>

#include "qvutils/common/blocks/tblocksig.h"
#include "qvutils/common/containers/list.h"
#include "qvutils/common/object/qvclassinfo.h"
#include "qvutils/common/platform/qvexport.h"
#include "qvutils/common/text/qvstring.h"

/// One registered type of project node.
struct QVCORE_API qvProjectNodeInfo {
    static constexpr int maxChildren = 20;
    /// A flag: blocks of this type neither define variables nor hold child blocks, so the first of
    /// the two reading passes steps over them.
    static constexpr int plainText = 1;

    const qvClassInfo* classInfo = nullptr;
    /// The classes of the nodes that this type may contain: null-terminated, entries past
    /// maxChildren do not count; null for none.
    const qvClassInfo* const* allowedChildren = nullptr;
    /// Type and version of the block under which the node is written.
    TBlockSig signature{"", 0, 0};
    QVString displayName;
    int flags = 0;
    /// The extension of a type that is opened as a file; empty for the others.
    QVString fileSuffix;
    /// Block types of nodes that accept this type in addition to those they list themselves: a
    /// plug-in's way to get its nodes under types that it does not own.
    std::vector<std::string> parentTypes;
    /// Name and version of the plug-in that brought the type, a blank between; empty for the
    /// program's own. Set by the application.
    std::string plugin;
};

/// The registered node types, in the order of their registration.
class QVCORE_API qvMetaDataTable {
public:
    /// Keeps a copy of the record; what it points to (class records, type name) must outlive the
    /// registration. False, with a warning, when the block type is taken; false, with an error,
    /// when it has no class or type.
    bool AddNode(const qvProjectNodeInfo& record);
    /// Takes a registration back.
    bool RemoveNode(const char* blockType);
    void Clear();

    int size() const { return static_cast<int>(records_.size()); }
    /// Positions from 1; null outside.
    const qvProjectNodeInfo* getMetaData(int position) const;
    const qvProjectNodeInfo* FindMetaDataByBlockType(const char* blockType) const;
    /// By the name of the node's class.
    const qvProjectNodeInfo* FindMetaDataByClass(const char* className) const;
    const qvProjectNodeInfo* FindMetaDataByClassInfo(const qvClassInfo* classInfo) const;
    const qvProjectNodeInfo* FindMetaDataByName(const char* displayName) const;
    const qvProjectNodeInfo* FindMetaDataBySuffix(const char* suffix) const;
    /// The flags of a class; 0 for one that is not registered.
    int FindMetaDataFlags(const qvClassInfo* classInfo) const;

    /// The classes that nodes of a class may contain, and their block types.
    List<const qvClassInfo*> FindChildren(const qvClassInfo* classInfo) const;
    List<QVString> FindChildNames(const qvClassInfo* classInfo) const;
    /// Whether `parent` may contain `child`; both are records of this table.
    bool Accepts(const qvProjectNodeInfo& parent, const qvProjectNodeInfo& child) const;

    const QVString& getRootName() const { return root_name_; }
    void setRootName(const QVString& name) { root_name_ = name; }

private:
    std::vector<std::unique_ptr<const qvProjectNodeInfo>> records_;
    QVString root_name_;
};

/// A registration that lasts as long as this object: make it static in a program or a plug-in and
/// call Register() once the program runs (after loading a plug-in: again). When a plug-in is
/// unloaded, the destructor of its static object takes the registration back; nodes of the type
/// must be gone by then.
class QVCORE_API qvProjectNodeInfoClass {
public:
    explicit qvProjectNodeInfoClass(qvProjectNodeInfo record);
    ~qvProjectNodeInfoClass();
    qvProjectNodeInfoClass(const qvProjectNodeInfoClass&) = delete;
    qvProjectNodeInfoClass& operator=(const qvProjectNodeInfoClass&) = delete;

    /// Hands each record that was not handed over before to the manager's table, but for those of
    /// plug-ins. False when one was refused.
    static bool Register();

    /// Objects made from now on belong to a plug-in, told apart by `owner`; an empty text: to the
    /// program.
    static void SetOwner(const std::string& owner);
    /// Registers what belongs to a plug-in, as that of `plugin`; and takes it back. It can be
    /// registered again, for a library may stay in memory after it was unloaded.
    static bool Register(const std::string& owner, const std::string& plugin);
    static void Withdraw(const std::string& owner);
    /// Strikes all but the first `count` objects off the list without touching them: the library
    /// that they were in is gone, and they with it.
    static void Forget(int count);

    const qvProjectNodeInfo& record() const { return record_; }

    /// All that exist, in the order of their creation.
    static List<qvProjectNodeInfoClass*>& TheInfoList();

private:
    void withdraw();

    qvProjectNodeInfo record_;
    std::string owner_;
    bool tried_ = false;
    bool registered_ = false;
};
