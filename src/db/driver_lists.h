// What the ODBC driver manager knows: its data sources with their drivers, and its installed drivers.
#pragma once

#include <string>
#include <vector>

namespace tabvet {

/// One data source as the driver manager lists it.
struct DataSourceEntry {
    std::string name;
    std::string driver;  ///< the description the driver manager returns: the driver the data source uses
};

/// The driver manager's lists, in the order it returned them.
struct DriverManagerLists {
    bool environmentAllocated = false;  ///< false: no environment, so both lists are empty
    std::vector<DataSourceEntry> dataSources;
    std::vector<std::string> drivers;  ///< driver descriptions; their attributes are not read
};

/// Walks SQLDataSources and then SQLDrivers with SQL_FETCH_NEXT. Each walk stops at the first call that
/// does not return SQL_SUCCESS; an entry delivered with a warning (a cut name) is still taken.
DriverManagerLists ReadDriverManagerLists();

}  // namespace tabvet
