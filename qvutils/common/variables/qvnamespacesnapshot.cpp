#include "qvutils/common/variables/qvnamespacesnapshot.h"

#include <unordered_map>
#include <utility>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/variables/qvnamespace.h"

/// Puts back what a list of records says about the variables that are still there.
class qvRestoration {
public:
    qvRestoration(qvNameSpace& space, const qvNamedVariableSnapshotArray& records)
        : space_(space), records_(records) {}

    void run() {
        {
            const qvAutoLock lock(space_.lock_);
            findWhatDiffers();
        }
        for (const Pair& p : differing_) announce(qvNameSpaceEvent::willChange, p);
        QVString warnings;
        {
            // Listeners may have changed more.
            const qvAutoLock lock(space_.lock_);
            findWhatDiffers();
            putNamesBack(warnings);
            for (const Pair& p : differing_) putDefinitionBack(p);
        }
        if (!warnings.Empty()) wlwrite(warnings);
        for (const Pair& p : differing_) announce(qvNameSpaceEvent::changed, p);
    }

private:
    struct Pair {
        qvNamedVariable* variable;
        const qvNamedVariableSnapshot* record;
    };

    void findWhatDiffers() {
        differing_.clear();
        std::unordered_map<std::uint64_t, const qvNamedVariableSnapshot*> bySerial;
        for (int i = 0; i < records_.Size(); ++i) bySerial[records_[i]->serial] = records_[i];
        for (int i = 0; i < space_.variables_.Size(); ++i) {
            qvNamedVariable* variable = space_.variables_[i];
            const auto found = variable ? bySerial.find(variable->serial_) : bySerial.end();
            if (found == bySerial.end() || isAsRecorded(*variable, *found->second)) continue;
            differing_.push_back({variable, found->second});
        }
    }

    static bool isAsRecorded(const qvNamedVariable& variable,
                             const qvNamedVariableSnapshot& record) {
        if (variable.name_ != record.name || variable.plain_ != record.plain) return false;
        return record.plain ? variable.published() == record.value
                            : variable.expression_ == record.expression;
    }

    /// All names are given up before any is taken, so that names may have been exchanged.
    void putNamesBack(QVString& warnings) {
        std::vector<QVString> names;
        for (const Pair& p : differing_) {
            names.push_back(p.variable->name_);
            p.variable->storeName("");
        }
        for (std::size_t i = 0; i < differing_.size(); ++i) {
            const Pair& p = differing_[i];
            if (take(p, p.record->name)) continue;
            const bool kept = take(p, names[i]);
            warnings += "The variable name \"" + p.record->name + "\" is in use and was not " +
                        (kept ? "given back to \"" + names[i] + "\"\n" : "given back\n");
        }
    }

    static bool take(const Pair& p, const QVString& name) {
        if (!name.Empty() && !p.variable->IsNameUnique(name)) return false;
        p.variable->storeName(name);
        return true;
    }

    static void putDefinitionBack(const Pair& p) {
        if (p.record->plain) {
            p.variable->storeValue(p.record->value);
        } else {
            p.variable->storeExpression(p.record->expression);
        }
    }

    void announce(int event, const Pair& p) { space_.raise(event, p.variable); }

    qvNameSpace& space_;
    const qvNamedVariableSnapshotArray& records_;
    std::vector<Pair> differing_;
};

qvNameSpaceSnapshot::qvNameSpaceSnapshot(const qvNameSpace* space)
    : space_(space->self_), records_(record()) {}

qvNameSpaceSnapshot::~qvNameSpaceSnapshot() = default;

qvNameSpaceSnapshot::Records qvNameSpaceSnapshot::record() const {
    Records records;
    const std::shared_ptr<qvNameSpace> space = space_.lock();
    if (!space) return records;
    const qvAutoLock lock(space->lock_);
    for (int i = 0; i < space->variables_.Size(); ++i) {
        const qvNamedVariable* v = space->variables_[i];
        if (!v) continue;
        const auto valueTime = static_cast<int>(v->plain_ ? 0 : v->stamp_ / 2);
        records.owned.push_back(std::make_unique<qvNamedVariableSnapshot>(qvNamedVariableSnapshot{
            v->name_, v->plain_, v->expression_, v->published(), v->nameTime_, v->definitionTime_,
            v->plain_ ? v->definitionTime_ : valueTime, v->serial_}));
        records.list.Add(records.owned.back().get());
    }
    return records;
}

void qvNameSpaceSnapshot::Restore() {
    replaced_ = record();
    putBack(records_);
}

void qvNameSpaceSnapshot::Unrestore() {
    putBack(std::exchange(replaced_, {}));
}

void qvNameSpaceSnapshot::putBack(const Records& records) {
    const std::shared_ptr<qvNameSpace> space = space_.lock();
    if (space && records.list.Size()) qvRestoration(*space, records.list).run();
}
