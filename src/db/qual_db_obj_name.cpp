// Naming rules per DBMS. The owner of every Tessel system table is TSL; SQL Server prefixes table names.
#include "qual_db_obj_name.h"

#include <algorithm>
#include <cctype>

#include "runtime_error.h"
#include "value.h"

namespace tabvet {
namespace {

constexpr const char* kSystemOwner = "TSL";
constexpr std::int32_t kInvalidDatabaseTypeNumber = -2147189392;  // 80047D70 hex

}  // namespace

void clsQualDbObjName::Setup(const std::int32_t& dbtype, const std::string& DatabaseName) {
    struct Rule {
        const char* separator;
        bool usesDatabaseName;
        const char* prefix;
    };
    Rule rule{};
    switch (dbtype) {
        case dbtype::kDb2:
            rule = {".", true, ""};
            break;
        case dbtype::kOracle:
            rule = {"", false, ""};
            break;
        case dbtype::kInformix:
            rule = {":", true, ""};
            break;
        case dbtype::kSqlServer:
            rule = {".", true, "TSL_"};
            break;
        default:
            throw RuntimeError(kInvalidDatabaseTypeNumber, "Invalid database type");
    }
    if (DatabaseName != kNoDatabaseName) {
        systemDatabaseName_ = DatabaseName;
    }
    separator_ = rule.separator;
    usesDatabaseName_ = rule.usesDatabaseName;
    systemTablePrefix_ = rule.prefix;
    dbmsTypeCode_ = dbtype;
}

void clsQualDbObjName::CallOutOfSequence() const {
    ui_.Inform("Must call clsQualDbObjName.Setup first", "Call Out Of Sequence");
}

void clsQualDbObjName::UnknownDbType() const {
    ui_.Inform("Unknown dbType stored inside clsQualDbObjName", "Unexpected Condition");
}

std::string clsQualDbObjName::UserTable(const std::string& TableName, const std::string& OwnerName,
                                        const std::string& DatabaseNameFromCaller) const {
    const std::string& database =
        DatabaseNameFromCaller != kNoDatabaseName ? DatabaseNameFromCaller : systemDatabaseName_;
    switch (dbmsTypeCode_) {
        case dbtype::kNotSetUp:
            CallOutOfSequence();
            return {};
        case dbtype::kDb2:
        case dbtype::kInformix:
        case dbtype::kSqlServer:
            return TrimBlanks(database) + separator_ + TrimBlanks(OwnerName) + "." + TrimBlanks(TableName);
        case dbtype::kOracle:
            return TrimBlanks(OwnerName) + "." + TrimBlanks(TableName);
        default:
            UnknownDbType();
            return {};
    }
}

std::string clsQualDbObjName::TslSystemTable(const std::string& TableName) const {
    std::string tail = TableName.size() >= 3 ? TableName.substr(TableName.size() - 3) : TableName;
    std::transform(tail.begin(), tail.end(), tail.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    // The end of the untrimmed name decides, so only names really ending in GDB keep their bare name.
    const std::string table = (dbmsTypeCode_ == dbtype::kSqlServer && tail != "GDB")
                                  ? "tsl_" + TrimBlanks(TableName)
                                  : TrimBlanks(TableName);
    return UserTable(table, kSystemOwner, systemDatabaseName_);
}

std::string clsQualDbObjName::ProbeFor(const std::string& oracleForm, const std::string& otherForm) const {
    switch (dbmsTypeCode_) {
        case dbtype::kNotSetUp:
            CallOutOfSequence();
            return {};
        case dbtype::kDb2:
        case dbtype::kInformix:
        case dbtype::kSqlServer:
            return otherForm;
        case dbtype::kOracle:
            return oracleForm;
        default:
            UnknownDbType();
            return {};
    }
}

std::string clsQualDbObjName::SqlToFindTable(const std::string& QualifiedTableName) const {
    if (QualifiedTableName.empty()) {
        return {};
    }
    // Oracle gets an aggregate, which answers with one row; either way no row of the table is read.
    return ProbeFor("SELECT COUNT(*) FROM " + QualifiedTableName + " WHERE 1 = 2",
                    "SELECT * FROM " + QualifiedTableName + " WHERE 1 = 2");
}

std::string clsQualDbObjName::SqlToFindColumn(const std::string& ColumnName,
                                              const std::string& QualifiedTableName) const {
    if (ColumnName.empty() || QualifiedTableName.empty()) {
        return {};
    }
    return ProbeFor("SELECT COUNT(A." + ColumnName + ") FROM " + QualifiedTableName + " A WHERE 1 = 2",
                    "SELECT A." + ColumnName + " FROM " + QualifiedTableName + " A WHERE 1 = 2");
}

}  // namespace tabvet
