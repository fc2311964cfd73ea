// Finds or starts the test server and hands statements to its client through the server script.
#include "support/mariadb_server.h"

#include <stdexcept>
#include <utility>

#include "support/cluster_script.h"
#include "support/pg_cluster.h"
#include "support/temp_folder.h"

namespace tabvet::testsupport {

MariaDbServer& MariaDbServer::Shared() {
    static MariaDbServer server = [] {
        bool owns = false;
        std::string stateFile = StateFileOf("TABVET_MARIADB_STATE", "tabvet-mariadb-state", owns);
        return MariaDbServer(std::move(stateFile), owns);
    }();
    return server;
}

MariaDbServer::MariaDbServer(std::string stateFile, bool ownsServer)
    : stateFile_(std::move(stateFile)), ownsServer_(ownsServer) {
    if (ownsServer_) {
        StopWhenProcessEnds(TABVET_MARIADB_CLUSTER_SCRIPT, stateFile_);
        RunScript({"start", stateFile_}, "/dev/null");
    }
    port_ = std::stoi(StateValue(stateFile_, "MYPORT"));
}

MariaDbServer::~MariaDbServer() {
    if (ownsServer_) {
        try {
            RunScript({"stop", stateFile_}, "/dev/null");
        } catch (const std::exception&) {
            // The watchdog stops it when this process is gone.
        }
    }
}

std::string MariaDbServer::RunScript(const std::vector<std::string>& arguments,
                                     const std::string& input) const {
    return testsupport::RunScript(TABVET_MARIADB_CLUSTER_SCRIPT, arguments, input);
}

std::string MariaDbServer::ConnectionString(const std::string& database) const {
    return "Driver=MariaDB Unicode;Server=127.0.0.1;Port=" + std::to_string(port_) + ";Database=" + database +
           ";UID=tabvet;PWD=;";
}

void MariaDbServer::Execute(const std::string& sql) const {
    // Through a file: a whole copied database is longer than one command-line argument may be.
    const TempFolder folder;
    WriteBytes(folder.File("statements.sql"), sql);
    RunScript({"sql", stateFile_}, folder.File("statements.sql"));
}

void MariaDbServer::ExecuteFile(const std::string& database, const std::string& fixtureFile) const {
    RunScript({"sql", stateFile_, database}, FixturePath(fixtureFile));
}

std::string MariaDbServer::Query(const std::string& sql) const {
    return RunScript({"sql", stateFile_, "-e", sql}, "/dev/null");
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
