// The three naming layouts that PostgreSQL can stand in for, as test parameters.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "db/qual_db_obj_name.h"

namespace tabvet::testsupport {

enum class Layout { Oracle, Db2, SqlServer };

inline const char* LayoutName(Layout layout) {
    return layout == Layout::Oracle ? "oracle" : layout == Layout::Db2 ? "db2" : "sqlserver";
}

inline std::int32_t LayoutTypeCode(Layout layout) {
    return layout == Layout::Oracle ? dbtype::kOracle
           : layout == Layout::Db2  ? dbtype::kDb2
                                    : dbtype::kSqlServer;
}

/// Fixture files for a database in `layout`: the empty system tables, the situation, and the renaming
/// that the SQL Server layout needs last.
inline std::vector<std::string> LayoutFixtures(Layout layout, const std::vector<std::string>& situation) {
    std::vector<std::string> files{"tessel_schema.sql"};
    files.insert(files.end(), situation.begin(), situation.end());
    if (layout == Layout::SqlServer) {
        files.push_back("layout_sqlserver.sql");
    }
    return files;
}

/// Sets the namer up for `layout` on `database` (the connected one): DB2 and SQL Server names carry it.
inline void SetUpNamer(clsQualDbObjName& namer, Layout layout, const std::string& database) {
    namer.Setup(LayoutTypeCode(layout), database);
}

}  // namespace tabvet::testsupport
