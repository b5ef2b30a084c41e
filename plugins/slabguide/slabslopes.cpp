#include "plugins/slabguide/slabslopes.h"

#include <algorithm>
#include <cmath>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/formula/formulanames.h"

SlabSlopes::SlabSlopes(qvNameSpace& names, qvNamedVariable& independent) : names_(names) {
    Part part;
    part.variable = &independent;
    part.slope = 1;
    parts_.push_back(std::move(part));
    known_[&independent] = 0;
}

/// Each variable once.
std::vector<qvNamedVariable*> SlabSlopes::usedBy(const QVString& formula, qvNameSpace& names) {
    std::vector<qvNamedVariable*> used;
    qvForEachName(formula, [&](QVText name, int, int) {
        const bool isConstant = QVFuncParserC::TheFuncParser.IsConstantRegistered(name);
        qvNamedVariable* found = isConstant ? nullptr : names.Find(name);
        if (found && std::find(used.begin(), used.end(), found) == used.end())
            used.push_back(found);
    });
    return used;
}

qvNamedVariable* SlabSlopes::rootOf(const QVString& formula, qvNameSpace& names) {
    constexpr int deepest = 10000;  // a variable that uses itself has no root
    qvNamedVariable* root = nullptr;
    std::vector<qvNamedVariable*> used = usedBy(formula, names);
    for (int depth = 0; used.size() == 1 && depth < deepest; ++depth) {
        root = used[0];
        if (root->IsValue()) break;
        used = usedBy(root->GetExpression(), *root->GetNameSpace());
    }
    return root;
}

/// Depth first, without recursion: chains of variables may be long.
void SlabSlopes::look(qvNamedVariable* variable) {
    std::vector<Open> open;
    const auto begin = [&](qvNamedVariable* one) {
        if (!known_.emplace(one, constant).second || one->IsValue()) return;
        open.push_back({one, usedBy(one->GetExpression(), *one->GetNameSpace())});
    };
    begin(variable);
    while (!open.empty()) {
        Open& top = open.back();
        if (top.next < top.uses.size()) {
            begin(top.uses[top.next++]);
            continue;
        }
        qvNamedVariable* done = top.variable;
        const bool depends = std::any_of(top.uses.begin(), top.uses.end(),
                                         [&](auto* used) { return known_[used] != constant; });
        open.pop_back();
        if (depends) known_[done] = enter(done, done->GetExpression(), *done->GetNameSpace());
    }
}

std::size_t SlabSlopes::enter(qvNamedVariable* variable, const QVString& formula,
                              qvNameSpace& names) {
    Part part;
    part.variable = variable;
    part.expression.setExpression(formula);
    part.expression.setNameSpace(&names);
    for (qvNamedVariable* used : usedBy(formula, names)) {
        const std::size_t number = known_[used];
        if (number == constant) continue;
        part.uses.push_back(number);
        part.expression.DeclareParam(used->GetName(), "");
    }
    if (!qverr()) part.expression.Compile(qverr());
    parts_.push_back(std::move(part));
    return parts_.size() - 1;
}

std::size_t SlabSlopes::add(const QVString& formula) {
    for (qvNamedVariable* used : usedBy(formula, names_)) look(used);
    return enter(nullptr, formula, names_);
}

void SlabSlopes::update() {
    for (Part& part : parts_) {
        if (qverr()) return;
        if (part.variable) part.value = part.variable->GetValue();
        if (!part.uses.empty()) derive(part);
    }
}

void SlabSlopes::derive(Part& part) {
    std::vector<slab::Complex> slopes;
    for (std::size_t i = 0; i < part.uses.size(); ++i) {
        const Part& used = parts_[part.uses[i]];
        *part.expression.getNameSpace()[static_cast<int>(i) + 1].value.begin() = used.value;
        slopes.push_back(used.slope);
    }
    Error error;
    part.expression.EvaluateAlong(slopes, part.slope, error);
    if (!error) return;
    error.reset();
    part.slope = difference(part, slopes, error);
    if (error) error.transferto(qverr());
}

/// Along the direction of the slopes.
slab::Complex SlabSlopes::difference(Part& part, const std::vector<slab::Complex>& slopes,
                                     Error& error) {
    constexpr struct {
        int steps;
        double weight;
    } stencil[] = {{-2, 1. / 12}, {-1, -8. / 12}, {1, 8. / 12}, {2, -1. / 12}};
    const double size = std::abs(parts_[0].value), step = 1e-3 * (size > 0 ? size : 1);
    slab::Complex sum = 0;
    for (const auto& point : stencil) {
        for (std::size_t i = 0; i < part.uses.size(); ++i) {
            *part.expression.getNameSpace()[static_cast<int>(i) + 1].value.begin() =
                parts_[part.uses[i]].value + point.steps * step * slopes[i];
        }
        sum += point.weight / step * part.expression.Evaluate(error);
    }
    return sum;
}
