#pragma once
#include <deque>
#include <set>
#include <string>
#include <vector>

#include "apps/qv/materialoptions.h"
#include "apps/qv/numbertable.h"

/// Works out what `qv material` shows of one material: a column for each argument and each quantity
/// asked for. What goes wrong is told on standard error, each message once.
class MaterialSheet {
public:
    MaterialSheet(const MaterB& material, const MaterialOptions& options)
        : material_(material), options_(options) {}

    /// The points where the material is asked. False when there are none.
    bool readPoints();
    /// Fills the columns; false when a number could not be had, which is then not a number.
    bool evaluate();

    /// lambda, mx, my and T, then N when it was given, then the quantities.
    const std::vector<TableColumn>& columns() const { return columns_; }
    /// There is nothing to show.
    bool empty() const { return columns_.size() == firstResult_; }
    /// The column that runs through values and the quantities to be drawn over it: of a tensor its
    /// elements alone.
    std::vector<TableColumn> curves() const;
    std::size_t rows() const { return rows_; }

private:
    struct Values {
        std::vector<double> real;
        std::vector<std::complex<double>> complex;
    };

    /// The points where a quantity could not be had, and why not at the first of them.
    struct Failures {
        std::string message;
        std::size_t count = 0;
        std::size_t firstRow = 0;
    };

    bool readArgument(const char* name, const char* unit, const std::string& text, double usual);
    void show(const qvMaterialQuantity& quantity);
    void add(const qvMaterialQuantity& quantity, Values&& values);
    Values valuesOf(const qvMaterialQuantity& quantity);
    void showElements(const qvMaterialQuantity& quantity);
    qvMaterialPoint point(std::size_t row) const;
    void tell(const Failures& failures);

    const MaterB& material_;
    const MaterialOptions& options_;
    std::deque<std::vector<double>> arguments_;
    std::deque<Values> values_;
    std::vector<TableColumn> columns_;
    /// Which columns have the elements of the same tensor after them.
    std::set<std::size_t> wholes_;
    std::set<std::string> told_;
    std::size_t firstResult_ = 0;
    std::size_t running_ = 0;
    std::size_t rows_ = 1;
    bool well_ = true;
};
