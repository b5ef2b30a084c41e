#include "qvutils/common/variables/definition.h"

#include <algorithm>

#include "qvutils/common/variables/qvnamespace.h"
#include "qvutils/common/variables/references.h"

/// So many of a formula's unknown names are told.
static constexpr std::size_t mostUnknown = 20;

void qvDefinition::prepare(qvNamedVariable& owner) {
    owner_ = &owner;
    space_ = owner.space_;
    const std::uint64_t names = space_->clock_.names();
    if (!stale && namesTime_ == names) return;
    if (stale || !expression.IsOk() || !stillMeansTheSame()) compile(owner.expression_);
    stale = false;
    namesTime_ = names;
}

bool qvDefinition::stillMeansTheSame() const {
    return std::all_of(uses.begin(), uses.end(),
                       [&](const Use& u) { return space_->Find(u.name) == u.variable; });
}

void qvDefinition::compile(const QVString& formula) {
    uses.clear();
    unknown.clear();
    usesItself = false;
    error.reset();
    expression.setExpression(formula);
    expression.setNameSpace(this);
    if (!expression.Compile(error)) scan(formula);
}

void qvDefinition::scan(const QVString& formula) {
    uses.clear();
    qvForEachReference(formula, [&](QVText name) {
        if (qvNamedVariable* variable = space_->Find(name)) {
            use(name, variable);
        } else if (unknown.size() < mostUnknown &&
                   std::none_of(unknown.begin(), unknown.end(),
                                [&](const QVString& u) { return u.view() == name.view(); })) {
            unknown.emplace_back(name.view());
        }
    });
}

int qvDefinition::use(QVText name, qvNamedVariable* variable) {
    if (variable == owner_) usesItself = true;
    // Each variable notes where it was last put, so that a formula may use any number of them.
    auto place = static_cast<std::size_t>(variable->place_);
    if (place >= uses.size() || uses[place].variable != variable) {
        place = uses.size();
        variable->place_ = static_cast<int>(place);
        uses.push_back({QVString(name.view()), variable});
    }
    return static_cast<int>(place);
}

bool qvDefinition::findName(QVText name, QVNameHandle& handle) {
    qvNamedVariable* variable = space_->Find(name);
    if (!variable) return false;
    handle.key = static_cast<std::uint64_t>(use(name, variable));
    return true;
}

bool qvDefinition::readName(const QVNameHandle& handle, std::complex<double>& value) {
    value = uses[handle.key].variable->GetValue();
    return true;
}

void qvDefinition::listNames(std::vector<QVString>& names) {
    if (!space_->maySuggest()) return;
    space_->listNames(names);
    // Naming itself would not help.
    std::erase(names, owner_->name_);
}
