#include "qvutils/common/variables/references.h"

#include "qvutils/common/formula/qvfnparserComm.h"

void qvForEachReference(const QVString& formula, const std::function<void(QVText name)>& callback) {
    const QVFuncParserC& registry = QVFuncParserC::TheFuncParser;
    qvForEachName(formula, [&](QVText name, int, int) {
        if (!registry.IsConstantRegistered(name) && !registry.IsFunctionRegistered(name)) {
            callback(name);
        }
    });
}

qvReferences::qvReferences(qvNameSpace& space) {
    std::vector<qvNameSpace*> below = space.descendants();
    locked_.assign(below.rbegin(), below.rend());
    for (qvNameSpace* s = &space; s; s = s->parent_) locked_.push_back(s);
    for (qvNameSpace* s : locked_) s->lock_.Enter();

    below.insert(below.begin(), &space);
    for (qvNameSpace* s : below) {
        for (int i = 0; i < s->variables_.Size(); ++i) {
            qvNamedVariable* variable = s->variables_[i];
            if (variable && !variable->plain_) formulas_.push_back(variable);
        }
    }
    for (qvNameSpace* s : below) {
        for (qvNamedVariable* variable = s->attached_; variable; variable = variable->next_) {
            if (!variable->plain_) formulas_.push_back(variable);
        }
    }
}

qvReferences::~qvReferences() {
    for (qvNameSpace* s : locked_) s->lock_.Exit();
}

std::vector<qvNamedVariable*> qvReferences::usedBy(const qvNamedVariable& variable) {
    std::vector<qvNamedVariable*> used;
    if (variable.plain_ || !variable.space_) return used;
    qvForEachReference(variable.expression_, [&](QVText name) {
        if (qvNamedVariable* found = variable.space_->Find(name)) used.push_back(found);
    });
    return used;
}

std::vector<qvNameSpace::Use> qvReferences::usersOf(qvNamedVariable* variable) const {
    std::unordered_map<const qvNamedVariable*, std::vector<qvNamedVariable*>> users;
    for (qvNamedVariable* user : formulas_) {
        for (const qvNamedVariable* used : usedBy(*user)) users[used].push_back(user);
    }
    std::unordered_map<const qvNamedVariable*, bool> reached;  // with: directly
    for (const qvNamedVariable* user : users[variable]) reached.emplace(user, true);
    std::vector<qvNamedVariable*> open = users[variable];
    while (!open.empty()) {
        const qvNamedVariable* next = open.back();
        open.pop_back();
        const auto found = users.find(next);
        if (found == users.end()) continue;
        for (qvNamedVariable* user : found->second) {
            if (reached.emplace(user, false).second) open.push_back(user);
        }
    }
    std::vector<qvNameSpace::Use> result;
    for (qvNamedVariable* user : formulas_) {
        const auto found = reached.find(user);
        if (found != reached.end()) result.push_back({user, found->second});
    }
    return result;
}

int qvReferences::count(const QVString& formula, const QVString& name) {
    int times = 0;
    qvForEachReference(formula, [&](QVText found) { times += found.view() == name.view(); });
    return times;
}

bool qvReferences::planRename(qvNamedVariable* variable, const QVString& to,
                              std::vector<Rewrite>& rewrites) const {
    for (qvNamedVariable* user : formulas_) {
        qvNameSpace& space = *user->space_;
        const int before = count(user->expression_, to);
        int renamed = 0;
        QVString formula = user->expression_;
        if (space.Find(variable->name_) == variable) {
            formula = qvRenameInFormula(formula, variable->name_, to, renamed);
        }
        // A formula that has the new name already would come to mean this variable, unless the
        // name is taken on the way; one that gets the new name must not find it taken on the way,
        // by a variable in between or by a loop.
        int level = 0, ownLevel = 0;
        const qvNamedVariable* taken = space.Find(to, true, &level);
        for (const qvNameSpace* s = &space; s != variable->space_; s = s->parent_) ++ownLevel;
        const bool hidden = taken && level < ownLevel;
        if (renamed ? hidden || before : before && !hidden) return false;
        if (!renamed) continue;
        if (count(formula, to) != renamed) return false;
        rewrites.push_back({user, formula});
    }
    return true;
}
