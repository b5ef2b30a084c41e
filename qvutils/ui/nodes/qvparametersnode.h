#pragma once
#include <memory>
#include <string_view>
#include <unordered_map>
#include <variant>
#include <vector>

#include "qvutils/common/parameters/qvparameter.h"
#include "qvutils/ui/project/qvprojnode.h"

struct DefinitionLine;

/// A node that holds parameters of the user's own: a record of a waveguide section, a setup, a
/// material's constants. Each has a type and is published under its name; it takes a number or a
/// formula over the project's variables.
class QVCORE_API qvParametersNode : public qvProjectNode {
public:
    QV_CLASS_INFO(qvParametersNode)

    void OnPublish() override;
    void SetParam(QVCommandElt& element, const char* value, const char* name) override;
    bool PreloadVariables(TextBlock&) override { return true; }
    /// A line that defines no parameter is a syntax error and kept.
    bool ReadTB(TextBlock& block) override;
    bool WriteTB(TextBlock& block) const override;
    void OnAncestryChanged() override;

    int getNumParameters() const { return static_cast<int>(entries_.size()); }

    // What the commands do. Each posts an error and changes nothing when it cannot.

    /// Types: int, float, double, complex. The parameter is undefined, and reads as 0, until it is
    /// set. The description is a comment in the block and the help text of the parameter.
    void AddParameter(const QVString& name, const QVString& type, const QVString& description);
    void RemoveParameter(const QVString& name);
    void RenameParameter(const QVString& oldname, const QVString& newname);

private:
    using Value = std::variant<qvParameter<int>, qvParameter<float>, qvParameter<double>,
                               qvParameter<std::complex<double>>>;
    struct Entry {
        QVString name;
        QVString lead;     ///< the lines between the parameter before it and its own
        QVString comment;  ///< with its "//" and the blanks before it
        Value value;

        const char* description() const;
    };

    static bool makeValue(std::string_view type, Value& value);
    const char* flawOf(std::string_view name) const;
    std::unique_ptr<Entry> readEntry(const DefinitionLine& line);
    Entry* find(const QVString& name);
    void append(std::unique_ptr<Entry> entry);

    std::vector<std::unique_ptr<Entry>> entries_;
    std::unordered_map<std::string_view, Entry*> names_;  ///< the texts are in the entries
    QVString closing_;                                    ///< the lines after the last parameter
};

/// Registers the block type "parametersTB" (1.0), displayed as "Parameters", allowed in projects.
QVCORE_API void registerParametersNode();
