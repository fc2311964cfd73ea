// Finds or starts the test server and hands statements to its client through the server script.
#include "support/mariadb_server.h"

#include "support/pg_cluster.h"
#include "support/temp_folder.h"

namespace tabvet::testsupport {

MariaDbServer& MariaDbServer::Shared() {
    static MariaDbServer server;
    return server;
}

MariaDbServer::MariaDbServer() : server_(TABVET_MARIADB_CLUSTER_SCRIPT, "TABVET_MARIADB_STATE", "MYPORT") {}

std::string MariaDbServer::ConnectionString(const std::string& database) const {
    return "Driver=MariaDB Unicode;Server=127.0.0.1;Port=" + std::to_string(server_.Port()) +
           ";Database=" + database + ";UID=tabvet;PWD=;";
}

void MariaDbServer::Execute(const std::string& sql) const {
    // Through a file: a whole copied database is longer than one command-line argument may be.
    const TempFolder folder;
    WriteBytes(folder.File("statements.sql"), sql);
    server_.Run("sql", {}, folder.File("statements.sql"));
}

void MariaDbServer::ExecuteFile(const std::string& database, const std::string& fixtureFile) const {
    server_.Run("sql", {database}, FixturePath(fixtureFile));
}

std::string MariaDbServer::Query(const std::string& sql) const {
    return server_.Run("sql", {"-e", sql});
}

std::string MariaDbServer::Fingerprint() const {
    const std::string objects = Query(
        "SELECT TABLE_SCHEMA, TABLE_NAME, TABLE_TYPE FROM information_schema.TABLES "
        "WHERE TABLE_SCHEMA NOT IN ('information_schema', 'performance_schema') ORDER BY 1, 2; "
        "SELECT ROUTINE_SCHEMA, ROUTINE_NAME, ROUTINE_TYPE, MD5(ROUTINE_DEFINITION) FROM "
        "information_schema.ROUTINES ORDER BY 1, 2");
    const std::string tables = Query(
        "SELECT GROUP_CONCAT(CONCAT('\"', TABLE_SCHEMA, '\".\"', TABLE_NAME, '\"') ORDER BY 1 SEPARATOR ', "
        "') "
        "FROM information_schema.TABLES WHERE TABLE_TYPE IN ('BASE TABLE', 'SEQUENCE') AND "
        "TABLE_SCHEMA <> 'performance_schema' AND NOT (TABLE_SCHEMA = 'mysql' AND TABLE_NAME IN "
        "('innodb_table_stats', 'innodb_index_stats', 'general_log', 'slow_log'))");
    return objects +
           Query("CHECKSUM TABLE " + tables.substr(0, tables.find_last_not_of('\n') + 1) + " EXTENDED");
}

}  // namespace tabvet::testsupport
