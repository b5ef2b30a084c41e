#pragma once
#include <complex>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "qvutils/common/events/qvevent.h"
#include "qvutils/common/formula/formulanames.h"
#include "qvutils/common/platform/qvexport.h"
#include "qvutils/common/tasks/qvlocks.h"
#include "qvutils/common/variables/nametable.h"
#include "qvutils/common/variables/qvnamedvariable.h"
#include "qvutils/common/variables/qvnamespaceevent.h"
#include "qvutils/common/variables/qvnamespacesnapshot.h"
#include "qvutils/common/variables/qvpagedarray.h"

/// The variables that a project and its objects share, in their order, each under a name of its
/// own. A formula also sees the variables of the namespace's parents, nearest first.
///
/// Threads: any thread may read and change the variables. A namespace must not be destroyed, nor
/// its parent replaced or destroyed, while another thread uses it. Locks are taken from a child to
/// its parents, and no event or warning is sent while one is held.
class QVCORE_API qvNameSpace : public qvEventHandler, public QVNameSource {
public:
    qvNameSpace() : qvNameSpace(nullptr) {}
    explicit qvNameSpace(qvNameSpace* parent);
    /// Copies the variables and refers to the same parent. Neither children nor temporary
    /// variables come along.
    qvNameSpace(const qvNameSpace& other);
    qvNameSpace& operator=(const qvNameSpace& other);
    /// Destroys the variables. Children lose their parent, temporary variables keep their values.
    ~qvNameSpace() override;

    /// Destroys all variables.
    void unalloc();
    int getSize() const { return size_; }
    /// An index outside the namespace ends the program.
    qvNamedVariable* GetVariable(int index);
    /// The index of the first variable of that name or -1. One found n parents up has n added in
    /// the upper 16 bits; an index above 65535 or more than 32767 parents are a code error.
    int FindVariable(const QVString& name, bool searchParents);

    /// The same for any number of variables: null when there is none. `level` receives how many
    /// parents up it is.
    qvNamedVariable* Find(QVText name, bool searchParents = true, int* level = nullptr);
    /// A new variable of that name at the end; null, and nothing changes, when the name is not
    /// valid or not unique.
    qvNamedVariable* Add(const QVString& name);
    /// Destroys a variable of this namespace. Any number may be removed in any order in linear
    /// time as long as no index is asked for in between.
    void Remove(qvNamedVariable* variable);

    /// Called before blocks that may define or use variables are read: what was computed before
    /// counts as out of date.
    void PrepareToLoad();

    /// Look-ups may fall through to the parent, which is referenced, not owned. One that is this
    /// namespace or one of its children's is refused: an error is posted and nothing changes.
    qvNameSpace* getParent() const { return parent_; }
    void setParent(qvNameSpace* parent);

    qvEventSource& GetEventSource() { return source_; }
    void OnEvent(qvEvent& event, int tag) override;

    /// The variable's formula with the formulas and values that it uses below it, indented, a line
    /// each; a line that says so when there is no such variable.
    QVString Explain(QVText name);
    struct Use {
        qvNamedVariable* variable;
        bool direct;  ///< its own formula has the name; else it uses another user
    };
    /// What would change with the variable, of this namespace and its children: variables in their
    /// order, then temporary ones.
    std::vector<Use> UsersOf(QVText name);
    /// Renames a variable of this namespace and rewrites every formula that refers to it, here and
    /// in the children, temporary ones included. Returns how many formulas, or -1: an error is
    /// posted and nothing changes when there is no such variable, when the new name is not valid or
    /// not unique, or when it would mean something else in one of the formulas.
    int RenameEverywhere(const QVString& from, const QVString& to);

    // For expressions of any kind that take their names from here (QVExpression::setNameSpace).
    // What a name means is looked up anew when names have changed; an expression outlives a
    // variable that it uses, but not the namespace.
    bool findName(QVText name, QVNameHandle& handle) override;
    bool readName(const QVNameHandle& handle, std::complex<double>& value) override;
    /// The names of the variables, parents included.
    void listNames(std::vector<QVString>& names) override;
    qvNameSpace* asNameSpace() override { return this; }

protected:
    /// Enters a variable that was made for this namespace, which owns it from then on. Returns its
    /// index.
    int AddVariable(qvNamedVariable* variable);
    /// Takes a variable out; the caller owns it then, as a temporary one.
    void RemoveVariable(int index);
    /// Announce a change of the variable (nothing for index -1); the second also raises the
    /// pseudo-time and stores it in `newTime` when given.
    void NotifyVariableWillChange(int index);
    void NotifyVariableChanged(int index, int* newTime);
    /// Rises with every change; a value computed at an earlier time is out of date.
    int GetPseudoTime() const {
        return static_cast<int>(clock_.own() + quietChanges_.load(std::memory_order_acquire));
    }

private:
    friend class qvEvaluation;
    friend class qvNamedVariable;
    friend class qvNameSpaceSnapshot;
    friend class qvNameSpaceLock;
    friend class qvReferences;
    friend class qvRestoration;
    friend struct qvDefinition;

    /// A name that an expression has looked up, and what it meant at a time.
    struct LookedUp {
        qvNamedVariable* variable;
        std::uint64_t namesTime;
    };
    using Handles = std::unordered_map<std::string, LookedUp>;

    void enter(qvNamedVariable* variable);
    void leave(qvNamedVariable* variable);
    void attach(qvNamedVariable* variable);
    void unattach(qvNamedVariable* variable);
    void compact();
    qvNamedVariable* findOwn(QVText name) const;
    void raise(int event, qvNamedVariable* variable);
    bool maySuggest();
    void noteChange(const qvNamedVariable& variable, bool ofName);
    void copyVariables(const qvNameSpace& other);
    void joinParent(qvNameSpace* parent);
    void leaveParent();
    std::vector<qvNameSpace*> descendants();

    qvPseudoClock clock_;
    std::atomic<std::uint64_t> quietChanges_ = 0;  ///< that made no other value out of date
    mutable qvCritSection lock_{"namespace"};
    qvNamedVariableArray variables_;  ///< null where one was removed since compact()
    std::atomic<int> size_ = 0;
    int holes_ = 0;
    qvNameTable names_;
    int suggestions_ = 0;  ///< of near names, made while names meant the same
    std::uint64_t suggestedAt_ = 0;
    Handles handles_;    ///< its entries stay where they are
    int computing_ = 0;  ///< readings under way; while there are any, no variable may leave
    qvNamedVariable* attached_ = nullptr;  ///< the first of the temporary and property variables
    qvNameSpace* parent_ = nullptr;
    // The children, guarded by one lock for all namespaces.
    qvNameSpace* children_ = nullptr;
    qvNameSpace* nextSibling_ = nullptr;
    std::shared_ptr<qvNameSpace> self_;  ///< owns nothing; tells snapshots that it lives
    qvEventSource source_;
};
