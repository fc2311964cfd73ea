// A forward-only, read-only result set with begin-of-file and end-of-file flags, read by field position.
#pragma once

#include <cstddef>
#include <string>

#include "connection.h"
#include "result_table.h"
#include "value.h"

namespace tabvet {

/// A result set in the shape the checks are written against. Its rows are read completely when it opens,
/// so any number of result sets can be open on one connection, and none depends on the connection later.
class Recordset {
  public:
    /// Opens on `conn`; a failure raises a RuntimeError carrying the first entry of the connection's
    /// error list, after the list has been filled.
    void Open(const std::string& sql, Connection& conn);
    /// Opens on `conn` with errors suppressed: a failure leaves the result set closed and the caller looks
    /// at the connection's error list. Returns whether it opened.
    bool OpenSuppressed(const std::string& sql, Connection& conn);

    /// 0 closed, 1 open.
    int State() const { return open_ ? Connection::kStateOpen : Connection::kStateClosed; }
    /// Closing a closed result set is an error, as in the classic layer; callers test State first.
    void Close();
    /// The clean-up every user ends with: closes the result set when it is open.
    void CloseIfOpen();

    bool Bof() const;
    bool Eof() const;
    void MoveNext();
    void MoveFirst();
    void MoveLast();

    int FieldCount() const;
    /// The field at a 0-based position of the current row.
    const FieldValue& Fields(int position) const;

    /// How many rows the result set holds.
    std::size_t RecordCount() const;
    /// The 0-based index of the current row (RecordCount past the last).
    std::size_t RowIndex() const;
    /// A field of any row, the cursor left where it is: for looking ahead of the current row.
    const FieldValue& FieldAt(std::size_t row, int position) const;

  private:
    void RequireOpen() const;

    bool open_ = false;
    ResultTable table_;
    // Row index of the cursor; -1 is before the first row, RowCount() is past the last.
    std::ptrdiff_t position_ = 0;
};

}  // namespace tabvet
