#include "apps/qv/numberchart.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "apps/qv/formulasheet.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/svg/svgchart.h"

namespace {

std::vector<double> valuesOf(const TableColumn& column, std::size_t rows) {
    std::vector<double> values(rows);
    for (std::size_t row = 0; row < rows; ++row) values[row] = column[row];
    return values;
}

// The curves of the columns with that unit.
qvSvgChart chartOf(const std::vector<TableColumn>& columns, std::size_t rows,
                   const std::string& unit) {
    qvSvgChart chart;
    chart.xAxis.title = columns[0].name.c_str();
    chart.xAxis.unit = columns[0].unit.c_str();
    chart.yAxis.unit = unit.c_str();
    const std::vector<double> x = valuesOf(columns[0], rows);
    std::vector<qvSvgCurve*> curves;
    const auto add = [&](const TableColumn& column, const char* colour, const char* dash) {
        curves.push_back(&chart.addCurve(column.name.c_str(), x, valuesOf(column, rows)));
        curves.back()->colour = colour;
        curves.back()->dash = dash;
    };
    for (std::size_t i = 1; i < columns.size(); ++i) {
        const TableColumn& column = columns[i];
        if (column.unit != unit) continue;
        const char* colour = qvSvgColour(static_cast<int>(i - 1));
        const std::vector<double> imaginary =
            column.complex ? valuesOf(column.part(1), rows) : std::vector<double>();
        const bool isReal = std::all_of(imaginary.begin(), imaginary.end(),
                                        [](double y) { return y == 0 || std::isnan(y); });
        TableColumn real = column.part(0);
        if (isReal) real.name = column.name;
        add(real, colour, "");
        if (!isReal) add(column.part(1), colour, "7 4");
    }
    // A curve that is alone gives its name to the axis.
    if (curves.size() == 1) std::swap(chart.yAxis.title, curves[0]->name);
    return chart;
}

}  // namespace

bool drawColumns(const std::string& path, const std::vector<TableColumn>& columns,
                 std::size_t rows) {
    std::vector<std::string> units;
    for (std::size_t i = 1; i < columns.size(); ++i) {
        if (std::find(units.begin(), units.end(), columns[i].unit) == units.end())
            units.push_back(columns[i].unit);
    }
    const qvSvgChart usual;
    qvSvgDocument drawing(usual.width, usual.height * static_cast<double>(units.size()));
    for (std::size_t i = 0; i < units.size(); ++i) {
        const qvSvgDocument chart = chartOf(columns, rows, units[i]).draw();
        if (units.size() == 1)
            drawing = chart;
        else
            drawing.add(chart, 0, usual.height * static_cast<double>(i));
    }
    if (drawing.save(path.c_str())) return true;
    tellError(qverr().chars_and_reset());
    return false;
}
