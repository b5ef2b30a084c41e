#pragma once
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "plugins/slabguide/qvslablayer.h"
#include "plugins/slabguide/slabmode.h"
#include "plugins/slabguide/slabscan.h"
#include "qvutils/common/statefiles/sfhandler.h"
#include "qvutils/ui/nodes/definitionlines.h"
#include "qvutils/ui/project/qvnodeinfo.h"
#include "qvutils/ui/project/qvprojnode.h"

/// A planar waveguide: layers from the substrate to the cover, and its guided modes. What depends
/// on the modes solves for them when the numbers that the guide is made of have changed since.
///
/// The last scan is kept as a side file of the project.
class qvSlabNode : public qvProjectNode {
public:
    QV_CLASS_INFO(qvSlabNode)

    qvSlabNode();

    void OnPublish() override;
    void SetParam(QVCommandElt& element, const char* value, const char* name) override;
    bool PreloadVariables(TextBlock&) override { return true; }
    bool ReadTB(TextBlock& block) override;
    bool WriteTB(TextBlock& block) const override;
    void OnAncestryChanged() override;
    bool ExtractSFiles(FILE* file) override;
    bool StoreSFiles(FILE* file) override;
    void OnSaveState(FILE* file) override;
    bool OnLoadState(FILE* file, int version) override;

    // What the commands do. Modes and layers count from 1. Each posts an error, and gives a neutral
    // value or changes nothing, when it cannot.
    void AddLayer(const QVString& thickness, const QVString& index);
    void AddMaterialLayer(const QVString& thickness, const QVString& file, const QVString& material,
                          const QVString& mx, const QVString& my);
    void InsertLayer(const QVCommandArgList& args);
    void RemoveLayer(int idx);
    /// The number of guided modes; loads material files again that have changed on disk.
    int Solve();
    int NumModes();
    slab::Complex Neff(int mode);
    double Loss(int mode);
    double GroupIndex(int mode);
    double Confinement(int mode, int layer);
    slab::Complex Field(int mode, double x);
    /// With its loss as the imaginary part; across the guide, where it depends on the direction.
    slab::Complex LayerIndex(int layer);

    /// See slabScan. The results of the scan before are kept when it fails. Returns the points.
    int Scan(const QVString& variable, double from, double to, int steps);
    /// Percent of the scan that is running; 100 when there is none.
    double Progress() const;
    const SlabScan& scanned() const { return scan_; }
    double ScanValue(int point);
    int ScanNumModes(int point);
    slab::Complex ScanNeff(int point, int mode);
    double ScanLoss(int point, int mode);
    double ScanGroupIndex(int point, int mode);

    /// Write a file whole: "modes", "profile" or "scan"; by default the scan, when there is one,
    /// and else "modes" of a table, "profile" of a picture.
    void SaveCsv(const QVString& filename, const QVString& what);
    void SaveSvg(const QVString& filename, const QVString& what);

    /// The guide as it is now and its modes; null with an error posted.
    struct Solved {
        slab::Stack stack;
        slab::Solution solution;
    };
    const Solved* solved(bool afresh = false);

    /// Posts an error for a text that the lines of a block cannot hold.
    static bool canBeKept(std::string_view text);
    /// The directories in which material files are looked for first: that of the project.
    std::vector<std::string> materialDirectories();

private:
    /// Publishes the layers.
    class LayerList : public PublishContainer {
    public:
        int getNdims() const override { return 1; }
        Range getRange(int) const override { return {1, static_cast<int>(all.size())}; }
        int getEntryKind() const override { return qvKindObject; }
        const qvClassInfo* getEntryClass() const override {
            return qvSlabLayer::getStaticClassInfo();
        }
        void* getEntry(int i, int) const override {
            return static_cast<QVObject*>(all[static_cast<std::size_t>(i - 1)].get());
        }
        std::vector<std::unique_ptr<qvSlabLayer>> all;
    };
    /// A setting's line in the block: what stands before it, and the comment in it.
    struct Kept {
        QVString lead, comment;
    };
    static constexpr int settings = 3;

    SlabDescription describe(bool afresh);
    void solve(slab::Stack stack);
    void put(int idx, std::unique_ptr<qvSlabLayer> layer);
    std::unique_ptr<qvSlabLayer> newLayer(const QVString& thickness, const QVString& index);
    std::unique_ptr<qvSlabLayer> newMaterialLayer(const QVString& thickness, const QVString& file,
                                                  const QVString& material, const QVString& mx,
                                                  const QVString& my);
    const slab::Mode* modeAt(int mode);
    const SlabScan::Mode* scannedAt(int point, int mode);
    bool hasPoint(int point);
    bool readSetting(const std::string& key, QVString& text, const Kept& kept);
    std::unique_ptr<qvSlabLayer> readLayer(const std::string& key, QVString& text);
    bool readLine(const DefinitionLine& line, const QVString& lead);
    void dropScan();
    void tellWhere();
    bool mayShow(const QVString& what, std::initializer_list<const char*> known);

    qvParameter<double> wavelength_ = 1.55;
    qvParameter<double> temperature_ = 300;
    qvParameter<int> polarisation_ = 0;
    LayerList layers_;
    Kept kept_[settings];
    QVString closing_;  ///< the lines after the last layer

    std::unique_ptr<Solved> solved_;
    SFHandler sideFiles_;
    SlabScan scan_;
    SlabScanProgress progress_;
};

/// The block type "slabTB" (1.0), displayed as "Slab waveguide", allowed in projects.
qvProjectNodeInfo slabNodeInfo();
