#include "qvutils/common/object/qvpublish.h"

#include "qvutils/common/object/qvcommandelt.h"

namespace {

bool contains(const PublishContainer::Range& range, int index) {
    return index >= range.first && index <= range.last;
}

}  // namespace

bool PublishContainer::GetPtrArray(Array2d<void*>& entries, int& kind, int i, int j, int nIndices) {
    kind = getEntryKind();
    const int ndims = getNdims();
    Range rows = ndims == 2 ? getRange(1) : Range{1, 1};
    Range columns = ndims == 0 ? Range{1, 1} : getRange(ndims);
    if (nIndices > 0) {
        const int column = ndims == 2 ? j : i;
        if (nIndices != ndims || !contains(columns, column)) return false;
        columns = {column, column};
        if (ndims == 2 && !contains(rows, i)) return false;
        if (ndims == 2) rows = {i, i};
    }
    if (rows.last < rows.first || columns.last < columns.first) return false;
    if (ndims == 0 && !getEntry(1, 1)) return false;
    entries.alloc(rows.first, rows.last, columns.first, columns.last);
    for (int row = rows.first; row <= rows.last; ++row) {
        for (int column = columns.first; column <= columns.last; ++column) {
            entries[row][column] = ndims == 2 ? getEntry(row, column) : getEntry(column, 0);
        }
    }
    return true;
}

QVCommandElt& qvPublishRequest::place() {
    if (!all_) {
        found_ = true;
        return *result_;
    }
    all_->append(QVCommandElt());
    return all_->last_cpt();
}
