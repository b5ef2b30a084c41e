#include "qvutils/common/variables/evaluation.h"

#include <algorithm>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/tasks/runsignal.h"
#include "qvutils/common/text/qvnumber.h"
#include "qvutils/common/variables/definition.h"
#include "qvutils/common/variables/namespacelock.h"

namespace {

/// A circle longer than this is reported in part.
constexpr std::size_t longestCircle = 20;

/// A shortest way through the members from the first one back to it. Each member's order_ is its
/// position among them.
template <class Uses, class Position>
std::vector<int> shortestCircle(int size, Uses uses, Position position) {
    std::vector<int> from(static_cast<std::size_t>(size), -1);
    std::vector<int> reached = {0};
    for (std::size_t next = 0; next < reached.size(); ++next) {
        const int member = reached[next];
        for (const auto& use : uses(member)) {
            const int used = position(use);
            if (used == 0) {
                std::vector<int> way;
                for (int m = member; m != -1; m = m ? from[static_cast<std::size_t>(m)] : -1) {
                    way.push_back(m);
                }
                std::reverse(way.begin(), way.end());
                return way;
            }
            if (used < 0 || from[static_cast<std::size_t>(used)] != -1) continue;
            from[static_cast<std::size_t>(used)] = member;
            reached.push_back(used);
        }
    }
    return {0};
}

}  // namespace

std::complex<double> qvEvaluation::read(qvNamedVariable& variable) {
    std::complex<double> value;
    QVString warnings;
    {
        const qvNameSpaceLock lock(*variable.space_);
        // Another thread may have computed it meanwhile.
        if (variable.plain_) return variable.published();
        if (variable.readPublished(value)) return value;
        qvEvaluation evaluation;
        if (variable.evaluation_) {
            evaluation.warnCircular(variable);
        } else {
            evaluation.run(variable);
            value = variable.published();
        }
        warnings = std::move(evaluation.warnings_);
    }
    if (!warnings.Empty()) wlwrite(warnings);
    return value;
}

void qvEvaluation::run(qvNamedVariable& variable) {
    for (qvNameSpace* s = variable.space_; s; s = s->parent_) ++s->computing_;
    enter(variable);
    while (!path_.empty()) {
        Frame& frame = path_.back();
        const std::vector<qvDefinition::Use>& uses = frame.variable->definition_->uses;
        if (frame.next < uses.size()) {
            look(frame, *uses[frame.next++].variable);
            continue;
        }
        const Frame done = frame;
        path_.pop_back();
        if (!path_.empty()) path_.back().low = std::min(path_.back().low, done.low);
        finish(done);
    }
    for (qvNamedVariable* v : stopped_) {
        if (!v->plain_) v->stamp_.store(0, std::memory_order_release);
    }
    for (qvNameSpace* s = variable.space_; s; s = s->parent_) --s->computing_;
}

void qvEvaluation::enter(qvNamedVariable& variable) {
    if (!variable.definition_) variable.definition_ = std::make_unique<qvDefinition>();
    variable.evaluation_ = this;
    variable.order_ = entered_++;
    variable.definition_->prepare(variable);
    pending_.push_back(&variable);
    path_.push_back({&variable, variable.clock_->now(), 0, variable.order_});
}

void qvEvaluation::look(Frame& frame, qvNamedVariable& used) {
    if (used.evaluation_ == this) {
        frame.low = std::min(frame.low, used.order_);
        return;
    }
    // What an outer reading is computing shows as circular when the formula reads it.
    std::complex<double> value;
    if (!used.plain_ && !used.evaluation_ && !used.readPublished(value)) enter(used);
}

void qvEvaluation::finish(const Frame& frame) {
    if (frame.low != frame.variable->order_) return;
    if (pending_.back() == frame.variable) {
        pending_.pop_back();
        store(*frame.variable, evaluate(*frame.variable), frame.time);
        return;
    }
    const auto first = std::find(pending_.rbegin(), pending_.rend(), frame.variable).base() - 1;
    const std::vector<qvNamedVariable*> members(first, pending_.end());
    pending_.erase(first, pending_.end());
    closeCircle(members);
    for (qvNamedVariable* member : members) store(*member, 0, member->clock_->now());
}

std::complex<double> qvEvaluation::evaluate(qvNamedVariable& variable) {
    qvDefinition& definition = *variable.definition_;
    const int before = warnings_.Length();
    const std::complex<double> value = calculate(variable);
    definition.flaw = warningsSince(before);
    for (const qvDefinition::Use& use : definition.uses) {
        const qvNamedVariable& used = *use.variable;
        if (definition.flaw) break;
        if (!used.plain_ && used.definition_) definition.flaw = used.definition_->flaw;
    }
    return value;
}

/// Null when there are none.
std::shared_ptr<const QVString> qvEvaluation::warningsSince(int before) const {
    if (warnings_.Length() == before) return nullptr;
    return std::make_shared<const QVString>(warnings_.From(before));
}

/// Warns when there is no value.
std::complex<double> qvEvaluation::calculate(qvNamedVariable& variable) {
    const qvDefinition& definition = *variable.definition_;
    if (definition.usesItself) {
        warnUsesItself(variable);
        return 0;
    }
    for (const QVString& name : definition.unknown) {
        warnings_ += (variable.name_.Empty() ? "Expression \"" + variable.expression_
                                             : "Variable \"" + variable.name_) +
                     "\" refers to undefined variable \"" + name + "\"\n";
    }
    if (!definition.expression.IsOk()) {
        warnFailure(variable, definition.error.chars());
        return 0;
    }
    Error error;
    const std::complex<double> value = definition.expression.Evaluate(error);
    if (!error) return value;
    warnFailure(variable, error.chars());
    return 0;
}

void qvEvaluation::store(qvNamedVariable& variable, const std::complex<double>& value,
                         std::uint64_t time) {
    variable.evaluation_ = nullptr;
    // A function that the formula calls may have made it a plain value.
    if (variable.plain_) return;
    variable.publish(value, 2 * time);
    // A formula that was stopped, or uses one that was, has no value yet.
    if (qvRunSignal::killRequested()) stopped_.push_back(&variable);
}

void qvEvaluation::closeCircle(const std::vector<qvNamedVariable*>& members) {
    for (std::size_t i = 0; i < members.size(); ++i) members[i]->order_ = static_cast<int>(i);
    const auto uses = [&](int member) -> const std::vector<qvDefinition::Use>& {
        return members[static_cast<std::size_t>(member)]->definition_->uses;
    };
    const auto position = [&](const qvDefinition::Use& use) {
        const auto order = static_cast<std::size_t>(use.variable->order_);
        return order < members.size() && members[order] == use.variable ? use.variable->order_ : -1;
    };
    const std::vector<int> way = shortestCircle(static_cast<int>(members.size()), uses, position);

    const int before = warnings_.Length();
    if (members.front()->definition_->usesItself) {
        warnUsesItself(*members.front());
    } else {
        warnCircular(*members.front());
    }
    QVString path, formulas;
    for (std::size_t i = 0; i < std::min(way.size(), longestCircle); ++i) {
        const qvNamedVariable& member = *members[static_cast<std::size_t>(way[i])];
        path += member.name_ + " -> ";
        formulas += "   " + member.name_ + " = " + member.expression_ + "\n";
    }
    if (way.size() > longestCircle) {
        path += "... -> ";
        formulas += "   and ";
        formulas += numtoA(way.size() - longestCircle) + " more\n";
    }
    warnings_ += "Circular definition: " + path + members.front()->name_ + "\n" + formulas;
    const std::shared_ptr<const QVString> flaw = warningsSince(before);
    for (qvNamedVariable* member : members) member->definition_->flaw = flaw;
}

void qvEvaluation::warnUsesItself(const qvNamedVariable& variable) {
    warnings_ += "Variable \"" + variable.name_ + "\" has circular reference\n";
}

void qvEvaluation::warnCircular(const qvNamedVariable& variable) {
    warnings_ +=
        (variable.name_.Empty() ? "Expression " + variable.expression_
                                : "Variable " + variable.name_ + " = " + variable.expression_) +
        " is directly or indirectly circular\n";
}

void qvEvaluation::warnFailure(qvNamedVariable& variable, const char* message) {
    warnings_ +=
        (variable.name_.Empty() ? "Expression \"" : "Variable \"" + variable.name_ + "\" = \"") +
        variable.expression_ + "\" could not be evaluated: " + message;
    if (warnings_.Lastchar() != '\n') warnings_ += '\n';
    warnings_ += qvShowFault(variable.expression_, variable.definition_->expression.getFault());
}
