// Qualified names of Tessel system tables and user tables for each DBMS, and the cheap probe statements.
#pragma once

#include <cstdint>
#include <string>

#include "user_interaction.h"

namespace tabvet {

/// DBMS type codes held by the namer.
namespace dbtype {
inline constexpr std::int32_t kNotSetUp = 1;
inline constexpr std::int32_t kDb2 = 2;
inline constexpr std::int32_t kOracle = 3;
inline constexpr std::int32_t kInformix = 4;
inline constexpr std::int32_t kSqlServer = 5;
}  // namespace dbtype

/// The text that stands for "no database name given" wherever a database name is optional.
inline constexpr const char* kNoDatabaseName = "12345";

/// The system-table namer. Holds the chosen server type and builds names and probe statements for it.
class clsQualDbObjName {
  public:
    explicit clsQualDbObjName(IUserInteraction& ui) : ui_(ui) {}

    /// Chooses the server type; a code outside 2..5 raises "Invalid database type" and changes nothing.
    /// A database name other than "12345" becomes the system database name, unchanged.
    void Setup(const std::int32_t& dbtype, const std::string& DatabaseName = kNoDatabaseName);

    std::string UserTable(const std::string& TableName, const std::string& OwnerName,
                          const std::string& DatabaseNameFromCaller = kNoDatabaseName) const;
    std::string TslSystemTable(const std::string& TableName) const;
    bool UsesDatabaseName() const { return usesDatabaseName_; }
    std::string DatabaseSeparator() const { return separator_; }
    std::string SqlToFindTable(const std::string& QualifiedTableName) const;
    std::string SqlToFindColumn(const std::string& ColumnName, const std::string& QualifiedTableName) const;

    std::int32_t DbmsTypeCode() const { return dbmsTypeCode_; }
    const std::string& SystemDatabaseName() const { return systemDatabaseName_; }
    const std::string& SystemTablePrefix() const { return systemTablePrefix_; }

  private:
    /// The probe statement for the stored server type, or an empty text after the matching message.
    std::string ProbeFor(const std::string& oracleForm, const std::string& otherForm) const;
    void CallOutOfSequence() const;
    void UnknownDbType() const;

    IUserInteraction& ui_;
    std::string systemTablePrefix_;
    std::string separator_;
    std::int32_t dbmsTypeCode_ = dbtype::kNotSetUp;
    bool usesDatabaseName_ = false;
    std::string systemDatabaseName_ = "TSL";
};

}  // namespace tabvet
