#pragma once
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "plugins/slabguide/slabslopes.h"
#include "plugins/slabguide/slabstack.h"
#include "qvutils/common/formula/qvfnparserComm.h"
#include "qvutils/common/materialobject/materialref.h"
#include "qvutils/common/parameters/qvparameter.h"
#include "qvutils/common/variables/qvnamespace.h"

/// A number or a formula, copied from a parameter.
struct SlabTerm {
    SlabTerm() = default;
    template <class T>
    SlabTerm(const qvParameter<T>& parameter)
        : formula(parameter.GetVariable() ? parameter.GetMyExpression() : QVString()),
          value(parameter.GetVariable() ? slab::Complex() : slab::Complex(parameter.GetValue())) {}

    bool isFormula() const { return !formula.Empty(); }

    QVString formula;
    slab::Complex value;
};

/// What a guide is made of, apart from the node that says so: other threads may read it.
struct SlabDescription {
    struct Layer {
        SlabTerm thickness, index, mx, my;
        const MaterB* material = nullptr;  ///< in place of the index
        /// Keeps the material.
        std::shared_ptr<Materbase> file;
    };
    SlabTerm wavelength, temperature, polarisation;
    std::vector<Layer> layers;
};

/// Works out the numbers of a guide over the variables of a namespace.
class SlabModel {
public:
    /// Over `names`, which must outlive this. What is wrong with a formula is posted to qverr(),
    /// with the layer and the name of the parameter.
    SlabModel(const SlabDescription& description, qvNameSpace& names);
    /// Over a copy of the variables, which may then be changed.
    static std::unique_ptr<SlabModel> withCopy(const SlabDescription& description,
                                               const qvNameSpace& names);

    /// Sets a variable of the copy; false when there is none of that name.
    bool set(const QVString& variable, double value);
    /// The guide now. A number that cannot be used is posted to qverr().
    slab::Stack stack();

private:
    struct Value {
        QVExpressionC expression;
        slab::Complex value;
        bool isFormula = false;
    };
    struct LayerValues {
        Value thickness, index, mx, my;
        const SlabDescription::Layer* from;
        std::size_t slope = 0;
    };

    Value compile(const SlabTerm& term, const std::string& where, const char* what);
    slab::Complex read(const Value& value, const std::string& where, const char* what) const;
    /// Where the materials are asked.
    struct Point {
        double wavelength, temperature;
        bool tm;
    };
    Point point() const;
    void permittivity(std::size_t number, slab::Layer& layer, const Point& at) const;
    void askMaterial(std::size_t number, slab::Layer& layer, const Point& at) const;
    bool followsFormula(const LayerValues& layer) const;
    void prepareSlopes();
    void addDispersion(slab::Stack& stack);

    std::unique_ptr<qvNameSpace> copy_;
    qvNameSpace& names_;
    /// How the indices that are formulas change with the variable that the wavelength hangs on, and
    /// the wavelength itself first: made when they are first asked for.
    std::optional<SlabSlopes> slopes_;
    std::size_t wavelengthSlope_ = 0;
    bool knowsSlopes_ = false;
    Value wavelength_, temperature_, polarisation_;
    std::vector<LayerValues> layers_;
};
