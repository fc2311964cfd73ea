// Cursor rules of the classic layer over fully read rows.
#include "recordset.h"

#include "runtime_error.h"

namespace tabvet {
namespace {

[[noreturn]] void RaiseNoCurrentRecord() {
    throw RuntimeError(
        errnum::kNoCurrentRecord,
        "Either BOF or EOF is True, or the current record has been deleted. Requested operation "
        "requires a current record.");
}

[[noreturn]] void RaiseItemNotFound() {
    throw RuntimeError(
        errnum::kItemNotFound,
        "Item cannot be found in the collection corresponding to the requested name or ordinal.");
}

}  // namespace

void Recordset::Open(const std::string& sql, Connection& conn) {
    if (!OpenSuppressed(sql, conn)) {
        const ErrorList& errors = conn.Errors();
        if (errors.Count() > 0) {
            throw RuntimeError(errors.Item(0).Number, errors.Item(0).Description);
        }
        throw RuntimeError(errnum::kConnectionNotUsable, "The statement could not be run.");
    }
}

bool Recordset::OpenSuppressed(const std::string& sql, Connection& conn) {
    if (open_) {
        throw RuntimeError(3705, "Operation is not allowed when the object is open.");
    }
    ResultTable table;
    if (!conn.Query(sql, table)) {
        return false;
    }
    table_ = std::move(table);
    const auto rows = static_cast<std::ptrdiff_t>(table_.RowCount());
    position_ = (table_.freshCursorAfterLast && rows > 0) ? rows : 0;
    open_ = true;
    return true;
}

void Recordset::Close() {
    RequireOpen();
    open_ = false;
    table_ = ResultTable{};
    position_ = 0;
}

void Recordset::CloseIfOpen() {
    if (State() == Connection::kStateOpen) {
        Close();
    }
}

void Recordset::RequireOpen() const {
    if (!open_) {
        throw RuntimeError(errnum::kObjectClosed, "Operation is not allowed when the object is closed.");
    }
}

bool Recordset::Bof() const {
    RequireOpen();
    return table_.RowCount() == 0 || position_ < 0;
}

bool Recordset::Eof() const {
    RequireOpen();
    return position_ >= static_cast<std::ptrdiff_t>(table_.RowCount());
}

void Recordset::MoveNext() {
    RequireOpen();
    if (Eof()) {
        RaiseNoCurrentRecord();
    }
    ++position_;
}

void Recordset::MoveFirst() {
    RequireOpen();
    position_ = 0;
}

void Recordset::MoveLast() {
    RequireOpen();
    if (table_.RowCount() == 0) {
        RaiseNoCurrentRecord();
    }
    position_ = static_cast<std::ptrdiff_t>(table_.RowCount()) - 1;
}

int Recordset::FieldCount() const {
    RequireOpen();
    return static_cast<int>(table_.columns);
}

const FieldValue& Recordset::Fields(int position) const {
    RequireOpen();
    if (Bof() || Eof()) {
        if (position < 0 || static_cast<std::size_t>(position) >= table_.columns) {
            RaiseItemNotFound();
        }
        RaiseNoCurrentRecord();
    }
    return FieldAt(static_cast<std::size_t>(position_), position);
}

std::size_t Recordset::RecordCount() const {
    RequireOpen();
    return table_.RowCount();
}

std::size_t Recordset::RowIndex() const {
    RequireOpen();
    return position_ < 0 ? 0 : static_cast<std::size_t>(position_);
}

const FieldValue& Recordset::FieldAt(std::size_t row, int position) const {
    RequireOpen();
    if (position < 0 || static_cast<std::size_t>(position) >= table_.columns) {
        RaiseItemNotFound();
    }
    if (row >= table_.RowCount()) {
        RaiseNoCurrentRecord();
    }
    return table_.cells[row * table_.columns + static_cast<std::size_t>(position)];
}

}  // namespace tabvet
