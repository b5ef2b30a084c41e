#include "plugins/slabguide/qvslabnode.h"

#include <utility>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/ui/project/qvnodeinfo.h"
#include "qvutils/ui/project/qvproject.h"

const qvClassInfo qvSlabNode::cinfo_qvSlabNode("qvSlabNode", qvProjectNode::getStaticClassInfo(),
                                               nullptr, qvCreateObject<qvSlabNode>);

qvProjectNodeInfo slabNodeInfo() {
    qvProjectNodeInfo info;
    info.classInfo = qvSlabNode::getStaticClassInfo();
    info.signature = {"slabTB", 1, 0};
    info.displayName = "Slab waveguide";
    info.parentTypes = {"projectTB"};
    return info;
}

qvSlabNode::qvSlabNode() {
    setSFHandle(sideFiles_, "scan");
}

bool qvSlabNode::canBeKept(std::string_view text) {
    if (text.find("//") != text.npos)
        qverr().set("\"//\" begins a comment in the project file and cannot be kept\n");
    else if (text.find_first_of("\r\n") != text.npos)
        qverr().set("a line break cannot be kept\n");
    return !qverr();
}

void qvSlabNode::SetParam(QVCommandElt& element, const char* value, const char* name) {
    if (qvIsParameterKind(element.getKind()) && !canBeKept(value)) return;
    qvProjectNode::SetParam(element, value, name);
}

/// The formulas are those of the project that the node is in.
void qvSlabNode::OnAncestryChanged() {
    qvProjectNode::OnAncestryChanged();
    const auto enter = [this](auto& parameter) {
        if (parameter.IsValue()) return;
        parameter.SetExpression(GetNameSpace(), parameter.GetMyExpression());
    };
    enter(wavelength_);
    enter(temperature_);
    enter(polarisation_);
    for (const auto& layer : layers_.all) layer->enterNameSpace(GetNameSpace());
}

// Layers.

std::unique_ptr<qvSlabLayer> qvSlabNode::newLayer(const QVString& thickness,
                                                  const QVString& index) {
    if (qverr() || !canBeKept(thickness.view()) || !canBeKept(index.view())) return nullptr;
    auto layer = std::make_unique<qvSlabLayer>(*this);
    layer->thickness.SetValueOrExpression(GetNameSpace(), thickness);
    layer->index.SetValueOrExpression(GetNameSpace(), index);
    return qverr() ? nullptr : std::move(layer);
}

std::unique_ptr<qvSlabLayer> qvSlabNode::newMaterialLayer(const QVString& thickness,
                                                          const QVString& file,
                                                          const QVString& material,
                                                          const QVString& mx, const QVString& my) {
    for (const QVString* text : {&file, &material, &mx, &my}) {
        if (qverr() || !canBeKept(text->view())) return nullptr;
    }
    if (material.Empty() || (file + material).view().find('"') != std::string_view::npos) {
        qverr().set("a material has a name, without double quotes\n");
        return nullptr;
    }
    std::unique_ptr<qvSlabLayer> layer = newLayer(thickness, "1");
    if (!layer) return nullptr;
    layer->file = file;
    layer->material = material;
    if (!mx.Empty()) layer->mx.SetValueOrExpression(GetNameSpace(), mx);
    if (!my.Empty()) layer->my.SetValueOrExpression(GetNameSpace(), my);
    return qverr() ? nullptr : std::move(layer);
}

void qvSlabNode::put(int idx, std::unique_ptr<qvSlabLayer> layer) {
    if (!layer) return;
    const int size = static_cast<int>(layers_.all.size());
    if (idx < 1 || idx > size + 1) {
        qverr().setf("a layer can be put at 1 to %d, not at %d\n", size + 1, idx);
    } else if (size >= slab::maxLayers) {
        qverr().setf("there are %d layers, and cannot be more\n", size);
    } else {
        layers_.all.insert(layers_.all.begin() + (idx - 1), std::move(layer));
        NotifyChanged();
    }
}

void qvSlabNode::AddLayer(const QVString& thickness, const QVString& index) {
    put(static_cast<int>(layers_.all.size()) + 1, newLayer(thickness, index));
}

void qvSlabNode::AddMaterialLayer(const QVString& thickness, const QVString& file,
                                  const QVString& material, const QVString& mx,
                                  const QVString& my) {
    put(static_cast<int>(layers_.all.size()) + 1,
        newMaterialLayer(thickness, file, material, mx, my));
}

void qvSlabNode::InsertLayer(const QVCommandArgList& args) {
    constexpr int ofIndex = 3;
    if (!args.checkCount(ofIndex, 6)) return;
    const int idx = args[0];
    if (args.nargs() == ofIndex) return put(idx, newLayer(args[1].getText(), args[2].getText()));
    put(idx, newMaterialLayer(args[1].getText(), args[2].getText(), args[3].getText(),
                              args.optional(4).getText(), args.optional(5).getText()));
}

void qvSlabNode::RemoveLayer(int idx) {
    if (qverr()) return;
    const int size = static_cast<int>(layers_.all.size());
    if (idx < 1 || idx > size) {
        qverr().setf("there is no layer %d: there are %d\n", idx, size);
        return;
    }
    layers_.all.erase(layers_.all.begin() + (idx - 1));
    NotifyChanged();
}

std::vector<std::string> qvSlabNode::materialDirectories() {
    const qvProject* project = getRootProject();
    std::string directory = project ? project->getFilename().Chars() : "";
    while (!directory.empty() && !qvplatform::isPathSeparator(directory.back()))
        directory.pop_back();
    if (directory.empty()) return {};
    return {directory};
}

// The block. Each line is
//     setting "=" value
//     "layer" "=" thickness index
//     "materiallayer" "=" thickness file material mx my

namespace {

constexpr std::string_view blanks = " \t\r\n";
constexpr std::string_view settingNames[] = {"wavelength", "temperature", "polarisation"};

std::string_view trimmed(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    return text.substr(0, text.find_last_not_of(blanks) + 1);
}

/// Takes a text in double quotes off the front.
bool readQuoted(QVString& from, QVString& text) {
    const std::string_view all = from.view();
    const std::size_t end = all.empty() || all[0] != '"' ? all.npos : all.find('"', 1);
    if (end == all.npos) return false;
    text = QVString(all.substr(1, end - 1));
    from = QVString(trimmed(all.substr(end + 1)));
    return true;
}

QVString quoted(const QVString& text) {
    return "\"" + text + "\"";
}

/// Without the imaginary part where there is no loss.
QVString indexText(const qvParameter<slab::Complex>& index) {
    const bool plain = index.IsValue() && !index.IsUndefined() && index.GetValue().imag() == 0;
    return plain ? qvShortestText(index.GetValue().real()) : index.Write();
}

}  // namespace

bool qvSlabNode::readSetting(const std::string& key, QVString& text, const Kept& kept) {
    bool well = false;
    int place = 0;
    if (key == settingNames[0]) well = wavelength_.Read(GetNameSpace(), text);
    if (key == settingNames[1]) well = temperature_.Read(GetNameSpace(), text), place = 1;
    if (key == settingNames[2]) well = polarisation_.Read(GetNameSpace(), text), place = 2;
    // Of a setting that stands twice the second counts; what stood before the first is not lost.
    if (well) kept_[place] = {kept_[place].lead + kept.lead, kept.comment};
    return well;
}

std::unique_ptr<qvSlabLayer> qvSlabNode::readLayer(const std::string& key, QVString& text) {
    auto layer = std::make_unique<qvSlabLayer>(*this);
    qvNameSpace* names = GetNameSpace();
    if (layers_.all.size() >= slab::maxLayers || !layer->thickness.Read(names, text))
        return nullptr;
    const bool well = key == "layer"
                          ? layer->index.Read(names, text)
                          : readQuoted(text, layer->file) && readQuoted(text, layer->material) &&
                                layer->hasMaterial() && layer->mx.Read(names, text) &&
                                layer->my.Read(names, text);
    return well ? std::move(layer) : nullptr;
}

/// False for a line that is kept as it stands.
bool qvSlabNode::readLine(const DefinitionLine& line, const QVString& lead) {
    if (line.kind == DefinitionLine::other) return false;
    const std::string key(line.left);  // empty without a "="
    QVString text(line.definition.c_str());
    const Kept kept{lead, QVString(line.comment)};
    if (key == "layer" || key == "materiallayer") {
        std::unique_ptr<qvSlabLayer> layer = readLayer(key, text);
        if (layer && text.Empty()) {
            layer->lead = kept.lead;
            layer->comment = kept.comment;
            layers_.all.push_back(std::move(layer));
            return true;
        }
    } else if (readSetting(key, text, kept)) {
        return true;
    }
    SyntaxErr("%s: cannot read the line: %s", getName().Chars(), line.told().c_str());
    return false;
}

bool qvSlabNode::ReadTB(TextBlock& block) {
    if (!block.CheckStartRead(slabNodeInfo().signature, true)) return false;
    layers_.all.clear();
    for (Kept& kept : kept_) kept = {};
    dropScan();
    RememberBlock(block, true);
    closing_ = "";
    forEachDefinitionLine(block, [&](const DefinitionLine& line) {
        if (readLine(line, closing_)) {
            closing_ = "";
        } else {
            closing_ += withLineEnd(line.whole).c_str();
        }
    });
    return true;
}

bool qvSlabNode::WriteTB(TextBlock& block) const {
    StartNodeBlock(block);
    if (qverr()) return false;
    block.setBlockIndent(0);
    const auto write = [&](const QVString& lead, std::string_view key, const QVString& text,
                           const QVString& comment) {
        block.Append(lead.view());
        block.Append("  " + std::string(key) + " = " + text.Chars() + comment.Chars() + "\n");
    };
    const QVString values[] = {wavelength_.Write(), temperature_.Write(), polarisation_.Write()};
    for (int i = 0; i < settings; ++i)
        write(kept_[i].lead, settingNames[i], values[i], kept_[i].comment);
    for (const auto& layer : layers_.all) {
        QVString text = layer->thickness.Write() + " ";
        if (layer->hasMaterial()) {
            text += quoted(layer->file) + " " + quoted(layer->material) + " " + layer->mx.Write() +
                    " " + layer->my.Write();
        } else {
            text += indexText(layer->index);
        }
        write(layer->lead, layer->hasMaterial() ? "materiallayer" : "layer", text, layer->comment);
    }
    block.Append(closing_.view());
    block.EndWrite();
    return !qverr();
}

// The scan's side file.

void qvSlabNode::dropScan() {
    scan_ = {};
    sideFiles_.DeleteAll();
}

bool qvSlabNode::StoreSFiles(FILE* file) {
    return sideFiles_.StoreSFiles(file, stateKey()) && qvProjectNode::StoreSFiles(file);
}

/// A scan that cannot be read costs the scan, not the project.
bool qvSlabNode::ExtractSFiles(FILE* file) {
    if (!sideFiles_.ExtractSFiles(file, stateKey())) return false;
    if (!sideFiles_.getSFile("scan").empty() && !LoadState()) {
        const std::string why = qverr().chars_and_reset();
        wlprintf("%s: the scan is lost. %s\n", getName().Chars(), why.c_str());
        dropScan();
    }
    return qvProjectNode::ExtractSFiles(file);
}

void qvSlabNode::OnSaveState(FILE* file) {
    if (!scan_.write(file)) qverr().set("the scan could not be written\n");
}

bool qvSlabNode::OnLoadState(FILE* file, int version) {
    if (version == getObjectVersion() && scan_.read(file)) return true;
    qverr().set("its side file is damaged\n");
    return false;
}
