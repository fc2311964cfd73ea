// The rows of one statement, read completely when it runs, so that the statement can be released at once.
#pragma once

#include <cstddef>
#include <vector>

#include "value.h"

namespace tabvet {

/// Rows of a statement, stored row after row in one flat vector of cells.
struct ResultTable {
    std::size_t columns = 0;
    std::vector<FieldValue> cells;
    /// Real drivers always start a fresh cursor on its first row. A scripted connection may instead report
    /// a fresh cursor that sits past its last row (end-of-file without begin-of-file), a state that old
    /// providers produced; the checks have rules for it.
    bool freshCursorAfterLast = false;

    std::size_t RowCount() const { return columns == 0 ? 0 : cells.size() / columns; }
};

}  // namespace tabvet
