// The probe under the wrong naming style fails quietly, which is what lets the probing find the right one;
// the description, not the style that worked, decides the type.
#include "server_type_detection.h"

#include <array>
#include <string>

#include "db/recordset.h"
#include "db/value.h"
#include "server_type_selection.h"

namespace tabvet {
namespace {

// Naming styles in the order they are tried.
constexpr std::array<std::int32_t, 4> kProbeOrder{dbtype::kDb2, dbtype::kInformix, dbtype::kOracle,
                                                  dbtype::kSqlServer};

// Columns of the statement below, by position.
constexpr int kMajorColumn = 0;
constexpr int kMinorColumn = 1;
constexpr int kBugfixColumn = 2;
constexpr int kDescriptionColumn = 4;

void ClassifyDescription(MainState& state, const Recordset& rs) {
    const std::string description = UpperCaseAscii(TextOrEmpty(rs.Fields(kDescriptionColumn)));  // NULL: ""
    for (const DbmsOptionRow& dbms : DbmsOptions()) {
        if (description.find(dbms.descriptionMark) != std::string::npos) {
            OptionClick(state, dbms.option);
            return;
        }
    }
    state.View().ControlsChanged();  // the filled boxes show behind the message
    state.Ui().Inform("Cannot determine DBMS type.  Please select it manually.",
                      "Cannot parse DBMS description");
    // Setup refuses code 1; a fresh namer is the one way back to "not set up".
    state.g_QDON = std::make_unique<clsQualDbObjName>(state.Ui());
}

}  // namespace

bool ReadServerTypeFromVersionTable(MainState& state, std::int32_t typeCode) {
    state.g_QDON->Setup(typeCode, state.g_sTslSystemTableDatabase);
    const std::string table = state.g_QDON->TslSystemTable("VERSION");
    if (table.empty()) {
        return false;
    }
    Connection& conn = *state.g_pAdoConn;
    Recordset rs;
    (void)rs.OpenSuppressed("SELECT major, minor, bugfix, release, description FROM " + table, conn);
    if (conn.Errors().Count() >= 1) {
        return false;  // not shown: under every naming style but one the probe is expected to fail
    }
    // A table without rows, or a row without its three numbers, gives no version to run against. Reading
    // on would either fail mid-detection or fill the boxes with a version the run would misjudge, so the
    // row does not count: the boxes stay empty and, when no other naming style reads a complete row,
    // the user is told the type could not be determined.
    const bool complete = !rs.Eof() && rs.Fields(kMajorColumn).has_value() &&
                          rs.Fields(kMinorColumn).has_value() && rs.Fields(kBugfixColumn).has_value();
    if (complete) {
        state.txtMajorVersion = ToText(rs.Fields(kMajorColumn));
        state.txtMinorVersion = ToText(rs.Fields(kMinorColumn));
        state.txtBugfix = ToText(rs.Fields(kBugfixColumn));
        ClassifyDescription(state, rs);
    }
    rs.CloseIfOpen();
    return complete;
}

void QueryDbmsType(MainState& state) {
    if (state.g_pAdoConn == nullptr) {
        state.Ui().Inform("Please connect to DBMS first.", "Query DBMS");
        return;
    }
    const BusyPointer busy(state.View());
    UnselectDbmsOptions(state);
    state.txtMajorVersion.clear();
    state.txtMinorVersion.clear();
    state.txtBugfix.clear();
    bool found = false;
    for (const std::int32_t typeCode : kProbeOrder) {
        if (ReadServerTypeFromVersionTable(state, typeCode)) {
            found = true;
            break;
        }
    }
    state.View().ControlsChanged();
    if (!found) {
        state.Ui().Inform("Unable to determine type of database. Sorry.", "Unexpected Condition");
    }
}

}  // namespace tabvet
