// The ODBC logon dialog without its display: lists of data sources and drivers, the fields, and the
// connection string it assembles.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "db/driver_lists.h"

namespace tabvet {

/// The dialog's model. It stays loaded between openings: lists and fields keep what they held, and only
/// Cancel empties the connection string. The window's dialog mirrors the public fields and forwards its
/// clicks; closing it by any other means counts as Cancel.
class frmODBCLogon {
  public:
    /// The first entry of the data-source list: no data source, a driver and server instead.
    static constexpr const char* kNoDsn = "(None)";

    /// `readLists` gives the driver manager's lists; tests may replace it for states no real driver
    /// manager produces.
    explicit frmODBCLogon(std::function<DriverManagerLists()> readLists = ReadDriverManagerLists);

    /// Shows the dialog; the first showing loads it with the main window's system-table database.
    void Show(const std::string& systemTableDatabase);
    bool Loaded() const { return loaded_; }
    bool Visible() const { return visible_; }

    /// The assembled string; empty unless OK was pressed (and empty again after Cancel).
    const std::string& ConnectionString() const { return connectionString_; }

    /// Fills both lists from the driver manager and selects "(None)".
    void GetDSNsAndDrivers();
    /// A choice in the data-source list (0-based index): a real data source brings its own driver and
    /// server, so those fields are disabled.
    void DsnChoice(int index);
    /// Assembles the connection string from the fields and hides the dialog.
    void OkClick();
    /// Empties the connection string and hides the dialog.
    void CancelClick();

    // Controls.
    std::vector<std::string> cboDSNList;
    int cboDSNListIndex = -1;             ///< selected entry, -1 for none
    std::vector<std::string> cboDrivers;  ///< sorted, each name once
    std::string cboDriversText;           ///< the driver field; may hold a name typed by the user
    bool cboDriversEnabled = true;
    std::string txtServer;
    bool txtServerEnabled = true;
    std::string txtUID;
    std::string txtPWD;
    std::string txtDatabase;

  private:
    void Load(const std::string& systemTableDatabase);
    void AddDriver(const std::string& name);
    void RemoveDuplicateDrivers();

    std::function<DriverManagerLists()> readLists_;
    std::string connectionString_;
    bool loaded_ = false;
    bool visible_ = false;
};

/// Shows the logon dialog modally: returns once OK or Cancel has hidden it. The window implements it.
class LogonDialogPresenter {
  public:
    virtual ~LogonDialogPresenter() = default;
    virtual void ShowModal(frmODBCLogon& dialog) = 0;
};

}  // namespace tabvet
