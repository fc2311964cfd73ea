// The driver list behaves as a sorted list box: names go in at their sorted place, and repeats are then
// removed by comparing neighbours exactly.
#include "odbc_logon.h"

#include <algorithm>
#include <cctype>

namespace tabvet {
namespace {

bool IsBlank(const std::string& text) {
    return text.find_first_not_of(' ') == std::string::npos;
}

// Letter case ignored first, as a sorted list box orders names; names that differ only in case then
// follow each other in a fixed order, so equal names always end up next to each other.
bool SortsBefore(const std::string& a, const std::string& b) {
    const auto folded = [](const std::string& text) {
        std::string lower = text;
        for (char& c : lower) {
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        }
        return lower;
    };
    const std::string foldedA = folded(a);
    const std::string foldedB = folded(b);
    return foldedA != foldedB ? foldedA < foldedB : a < b;
}

}  // namespace

frmODBCLogon::frmODBCLogon(std::function<DriverManagerLists()> readLists)
    : readLists_(std::move(readLists)) {}

void frmODBCLogon::Show(const std::string& systemTableDatabase) {
    if (!loaded_) {
        Load(systemTableDatabase);
    }
    visible_ = true;
}

void frmODBCLogon::Load(const std::string& systemTableDatabase) {
    loaded_ = true;
    txtDatabase = systemTableDatabase;
    connectionString_.clear();
    GetDSNsAndDrivers();
}

void frmODBCLogon::GetDSNsAndDrivers() {
    cboDSNList.push_back(kNoDsn);
    const DriverManagerLists lists = readLists_();
    for (const DataSourceEntry& dsn : lists.dataSources) {
        if (!IsBlank(dsn.name)) {
            cboDSNList.push_back(dsn.name);
            AddDriver(dsn.driver);
        }
    }
    for (const std::string& driver : lists.drivers) {
        if (!IsBlank(driver)) {
            AddDriver(driver);
        }
    }
    RemoveDuplicateDrivers();
    DsnChoice(0);
}

void frmODBCLogon::AddDriver(const std::string& name) {
    cboDrivers.insert(std::upper_bound(cboDrivers.begin(), cboDrivers.end(), name, SortsBefore), name);
}

void frmODBCLogon::RemoveDuplicateDrivers() {
    if (cboDrivers.size() <= 1) {
        return;
    }
    std::size_t i = 0;
    while (i + 1 < cboDrivers.size()) {
        if (cboDrivers[i] == cboDrivers[i + 1]) {
            cboDrivers.erase(cboDrivers.begin() + static_cast<std::ptrdiff_t>(i));
        } else {
            ++i;
        }
    }
}

void frmODBCLogon::DsnChoice(int index) {
    cboDSNListIndex = index;
    const bool noDsn = index >= 0 && static_cast<std::size_t>(index) < cboDSNList.size() &&
                       cboDSNList[static_cast<std::size_t>(index)] == kNoDsn;
    txtServerEnabled = noDsn;
    cboDriversEnabled = noDsn;
}

void frmODBCLogon::OkClick() {
    std::string source;
    if (cboDSNListIndex >= 1 && static_cast<std::size_t>(cboDSNListIndex) < cboDSNList.size()) {
        source = "DSN=" + cboDSNList[static_cast<std::size_t>(cboDSNListIndex)] + ";";
    } else {
        source = "Driver=" + cboDriversText + ";" + "Server=" + txtServer + ";";
    }
    source += "UID=" + txtUID + ";" + "PWD=" + txtPWD + ";";
    if (!txtDatabase.empty()) {
        source += "Database=" + txtDatabase + ";";
    }
    connectionString_ = "PROVIDER=MSDASQL;" + source;
    visible_ = false;
}

void frmODBCLogon::CancelClick() {
    connectionString_.clear();
    visible_ = false;
}

}  // namespace tabvet
