// What a slab node publishes, and what it answers.

#include <cmath>

#include "plugins/slabguide/qvslabnode.h"
#include "plugins/slabguide/slaboutput.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/tasks/qvtask.h"
#include "qvutils/common/tasks/runsignal.h"
#include "qvutils/ui/project/qvprojman.h"

void qvSlabNode::OnPublish() {
    PublishVar("wavelength", wavelength_, "um, in vacuum");
    PublishVar("temperature", temperature_, "K, of the materials");
    PublishVar("polarisation", polarisation_, "0 TE, 1 TM");
    PublishObj("layers", layers_, "from the substrate to the cover", true, nullptr, nullptr,
               qvKindObject);
    PublishFn("addlayer", &qvSlabNode::AddLayer,
              "( thickness, index ): add a layer on top; numbers or formulas");
    PublishFn("addmateriallayer", &qvSlabNode::AddMaterialLayer,
              "( thickness, file, material[, mx, my] ): add a layer of a material on top",
              qvRequiredArgs(3));
    PublishFn("insertlayer", &qvSlabNode::InsertLayer,
              "( idx, thickness, index ) or ( idx, thickness, file, material[, mx, my] ): insert a "
              "layer, which becomes layer idx");
    PublishFn("removelayer", &qvSlabNode::RemoveLayer, "( idx ): remove a layer");

    PublishFn("solve", &qvSlabNode::Solve, "(): find the guided modes; returns their number");
    PublishFn("nummodes", &qvSlabNode::NumModes, "(): number of guided modes");
    PublishFn("neff", &qvSlabNode::Neff, "( i ): effective index of mode i, from 1");
    PublishFn("loss", &qvSlabNode::Loss, "( i ): loss of mode i in dB/cm");
    PublishFn("ngroup", &qvSlabNode::GroupIndex, "( i ): group index of mode i");
    PublishFn("confinement", &qvSlabNode::Confinement,
              "( i, layer ): part of the power of mode i that flows in a layer");
    PublishFn("field", &qvSlabNode::Field,
              "( i, x ): field of mode i, Ey (TE) or Hy (TM), at x um above the substrate");
    PublishFn("layerindex", &qvSlabNode::LayerIndex, "( layer ): refractive index of a layer");

    PublishFn(
        "scan", &qvSlabNode::Scan,
        "( variable, from, to, steps ): solve at so many values of a variable of the project; "
        "returns their number");
    PublishFn("progress", &qvSlabNode::Progress, "(): percent of a running scan that is done");
    PublishFn(
        "numscanpoints", [](qvSlabNode& node) { return node.scan_.size(); },
        "(): number of points of the last scan");
    PublishFn(
        "scanvariable", [](qvSlabNode& node) { return node.scan_.variable(); },
        "(): variable of the last scan");
    PublishFn("scanvalue", &qvSlabNode::ScanValue, "( k ): its value at point k, from 1");
    PublishFn("scannummodes", &qvSlabNode::ScanNumModes, "( k ): number of modes at point k");
    PublishFn("scanneff", &qvSlabNode::ScanNeff, "( k, i ): effective index of mode i at point k");
    PublishFn("scanloss", &qvSlabNode::ScanLoss, "( k, i ): loss of mode i at point k in dB/cm");
    PublishFn("scanngroup", &qvSlabNode::ScanGroupIndex, "( k, i ): group index likewise");

    PublishFn("savecsv", &qvSlabNode::SaveCsv,
              "( filename[, what] ): save a table; what=modes,profile,scan", qvRequiredArgs(1));
    PublishFn("savesvg", &qvSlabNode::SaveSvg,
              "( filename[, what] ): save a picture; what=profile,scan", qvRequiredArgs(1));
    qvProjectNode::OnPublish();
}

/// Puts the node's name before a pending error.
void qvSlabNode::tellWhere() {
    if (!qverr()) return;
    const std::string why = qverr().chars_and_reset();
    qverr().setf("%s: %s", getName().Chars(), why.c_str());
}

SlabDescription qvSlabNode::describe(bool afresh) {
    SlabDescription description;
    description.wavelength = wavelength_;
    description.temperature = temperature_;
    description.polarisation = polarisation_;
    for (const auto& layer : layers_.all) {
        const std::string where = "layer " + std::to_string(description.layers.size() + 1) + ": ";
        description.layers.push_back(layer->describe(where, afresh));
    }
    return description;
}

const qvSlabNode::Solved* qvSlabNode::solved(bool afresh) {
    if (qverr()) return nullptr;
    const SlabDescription description = describe(afresh);
    if (!qverr()) solve(SlabModel(description, *GetNameSpace()).stack());
    tellWhere();
    return qverr() ? nullptr : solved_.get();
}

void qvSlabNode::solve(slab::Stack stack) {
    if (!qverr() && (!solved_ || !(solved_->stack == stack))) {
        const qvRunSignal running;
        slab::Solution solution = slab::solve(stack, [] { return qvTask::CancelRequested(); });
        if (solution.stopped) {
            qverr().set("the search for modes was stopped\n");
            return;
        }
        solved_ = std::make_unique<Solved>(Solved{std::move(stack), std::move(solution)});
    }
    if (!qverr() && !solved_->solution.error.empty())
        qverr().setf("%s\n", solved_->solution.error.c_str());
}

int qvSlabNode::Solve() {
    const Solved* now = solved(true);
    return now ? static_cast<int>(now->solution.modes.size()) : 0;
}

int qvSlabNode::NumModes() {
    const Solved* now = solved();
    return now ? static_cast<int>(now->solution.modes.size()) : 0;
}

namespace {

/// Posts that there is no mode of that number.
bool hasMode(int mode, int count) {
    if (mode >= 1 && mode <= count) return true;
    if (count == 0)
        qverr().set("there is no guided mode\n");
    else
        qverr().setf("there is no mode %d: there are %d guided modes\n", mode, count);
    return false;
}

bool hasLayer(int layer, std::size_t count) {
    if (layer >= 1 && layer <= static_cast<int>(count)) return true;
    qverr().setf("there is no layer %d: there are %zu\n", layer, count);
    return false;
}

}  // namespace

const slab::Mode* qvSlabNode::modeAt(int mode) {
    const Solved* now = solved();
    if (!now) return nullptr;
    const std::vector<slab::Mode>& modes = now->solution.modes;
    if (hasMode(mode, static_cast<int>(modes.size())))
        return &modes[static_cast<std::size_t>(mode - 1)];
    tellWhere();
    return nullptr;
}

slab::Complex qvSlabNode::Neff(int mode) {
    const slab::Mode* found = modeAt(mode);
    return found ? found->neff() : 0;
}

double qvSlabNode::Loss(int mode) {
    const slab::Mode* found = modeAt(mode);
    return found ? found->loss() : 0;
}

double qvSlabNode::GroupIndex(int mode) {
    const slab::Mode* found = modeAt(mode);
    return found ? found->groupIndex() : 0;
}

double qvSlabNode::Confinement(int mode, int layer) {
    const slab::Mode* found = modeAt(mode);
    if (found && hasLayer(layer, found->layers()))
        return found->confinement(static_cast<std::size_t>(layer - 1));
    if (found) tellWhere();
    return 0;
}

slab::Complex qvSlabNode::Field(int mode, double x) {
    const slab::Mode* found = modeAt(mode);
    if (found && !std::isfinite(x))
        qverr().setf("%s: there is no field at %g um\n", getName().Chars(), x);
    return found && !qverr() ? found->field(x) : 0;
}

slab::Complex qvSlabNode::LayerIndex(int layer) {
    const Solved* now = solved();
    if (now && hasLayer(layer, now->stack.layers.size()))
        return std::sqrt(now->stack.layers[static_cast<std::size_t>(layer - 1)].eps);
    if (now) tellWhere();
    return 0;
}

// Scans.

int qvSlabNode::Scan(const QVString& variable, double from, double to, int steps) {
    if (qverr()) return 0;
    const SlabDescription description = describe(true);
    getProjectManager().services().setBusy(true);
    const bool well = !qverr() && slabScan(description, *GetNameSpace(), variable, from, to, steps,
                                           progress_, scan_);
    getProjectManager().services().setBusy(false);
    if (!well) {
        tellWhere();
        return 0;
    }
    // Without a place for side files the scan lives as long as the node.
    if (!SFHandler::getCacheDir().Empty()) SaveState();
    NotifyChanged();
    return scan_.size();
}

double qvSlabNode::Progress() const {
    const int total = progress_.total;
    return total > 0 ? 100. * progress_.done / total : 100;
}

bool qvSlabNode::hasPoint(int point) {
    if (qverr()) return false;
    if (point >= 1 && point <= scan_.size()) return true;
    if (scan_.empty())
        qverr().setf("%s: there is no scan\n", getName().Chars());
    else
        qverr().setf("%s: there is no point %d: the scan has %d\n", getName().Chars(), point,
                     scan_.size());
    return false;
}

const SlabScan::Mode* qvSlabNode::scannedAt(int point, int mode) {
    if (!hasPoint(point)) return nullptr;
    if (hasMode(mode, scan_.modes(point - 1))) return &scan_.mode(point - 1, mode - 1);
    tellWhere();
    return nullptr;
}

double qvSlabNode::ScanValue(int point) {
    return hasPoint(point) ? scan_.value(point - 1) : 0;
}

int qvSlabNode::ScanNumModes(int point) {
    return hasPoint(point) ? scan_.modes(point - 1) : 0;
}

slab::Complex qvSlabNode::ScanNeff(int point, int mode) {
    const SlabScan::Mode* found = scannedAt(point, mode);
    return found ? slab::Complex(found->re, found->im) : 0;
}

double qvSlabNode::ScanLoss(int point, int mode) {
    const SlabScan::Mode* found = scannedAt(point, mode);
    return found ? found->loss : 0;
}

double qvSlabNode::ScanGroupIndex(int point, int mode) {
    const SlabScan::Mode* found = scannedAt(point, mode);
    return found ? found->groupIndex : 0;
}

// Tables and pictures.

bool qvSlabNode::mayShow(const QVString& what, std::initializer_list<const char*> known) {
    if (qverr()) return false;
    if (what == "scan") return hasPoint(1);
    std::string names;
    for (const char* name : known) {
        if (what == name) return true;
        names += (names.empty() ? "" : ", ") + std::string(name);
    }
    qverr().setf("%s: there is no \"%s\" to save: %s\n", getName().Chars(), what.Chars(),
                 names.c_str());
    return false;
}

void qvSlabNode::SaveCsv(const QVString& filename, const QVString& what) {
    const QVString shown = !what.Empty() ? what : QVString(scan_.empty() ? "modes" : "scan");
    if (!mayShow(shown, {"modes", "profile", "scan"})) return;
    std::string text;
    if (shown == "scan") {
        text = slab::scanTable(scan_);
    } else if (const Solved* now = solved()) {
        text = shown == "modes" ? slab::modesTable(now->stack, now->solution)
                                : slab::profileTable(now->stack, now->solution);
    }
    if (qverr()) return;
    qvplatform::SafeFile file;
    if (!file.open(filename.Chars()) || !file.write(text) || !file.commit())
        qverr().setf("%s\n", file.error().c_str());
}

void qvSlabNode::SaveSvg(const QVString& filename, const QVString& what) {
    const QVString shown = !what.Empty() ? what : QVString(scan_.empty() ? "profile" : "scan");
    if (!mayShow(shown, {"profile", "scan"})) return;
    if (shown == "scan") {
        slab::scanPicture(scan_).save(filename);
    } else if (const Solved* now = solved()) {
        slab::profilePicture(now->stack, now->solution).save(filename);
    }
}
