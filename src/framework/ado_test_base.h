// The state every test carries, the accessors of the contract, and the common shape of Run, written once
// for every check family: each family supplies only its statement and how it reads the result.
#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "findings.h"
#include "iado_test.h"
#include "test_definition.h"
#include "test_environment.h"

namespace tabvet {

class Recordset;

/// How the main statement of a family is opened, and how its failure is noticed.
enum class OpenStyle {
    Trapped,           ///< an error raised by the open, or a non-empty error list after it
    ErrorsSuppressed,  ///< only a non-empty error list after an open that never raises
};

/// The parts of Run's common shape in which the families differ.
struct RunShape {
    /// WasRun true and Pass false before the connection is looked at, so that a test without a connection
    /// still counts as run; otherwise a missing connection leaves WasRun as it was.
    bool countsRunWithoutConnection = false;
    const char* startText = "";  ///< ResultDetails once there is a connection: "Running", or empty
    bool startsPassing = false;  ///< Pass once there is a connection: a family that lists only ever lowers it
    OpenStyle open = OpenStyle::Trapped;
    std::string openFailurePrefix;             ///< before the error-list text when the main statement fails
    bool clearsErrorsAfterFailedOpen = false;  ///< leaves nothing of that failure in the connection's list
};

/// Common test state: constructed with "Not Run", Pass false, WasRun false, Enabled true; and the findings
/// of the last Run.
class AdoTestBase : public IAdoTest, public FindingSource {
  public:
    AdoTestBase(const TestDefinition& definition, RunShape shape, const TestEnvironment& environment);

    /// The common shape of every test's Run: WasRun, the connection, the start values, the family's
    /// statement, the trapped open, the family's reading of the result, and the clean-up. Errors outside the
    /// trapped region leave Run. A failed main statement is a finding about the system tables it reads.
    void Run(Connection* conn) final;

    const std::string& Name() const override { return name_; }
    const std::string& Category() const override { return category_; }
    const std::string& Description() const override { return description_; }
    const std::string& ResultDetails() const override { return resultDetails_; }
    bool Pass() const override { return pass_; }
    bool Fatal() const override { return definition_.fatal; }
    bool WorksWithVersion(const std::int16_t& major, const std::int16_t& minor,
                          const std::int16_t& bugfix) const override;
    bool WorksWithOracle() const override { return definition_.oracle; }
    bool WorksWithInformix() const override { return definition_.informix; }
    bool WorksWithDB2() const override { return definition_.db2; }
    bool WorksWithSqlServer() const override { return definition_.sqlServer; }
    bool WasRun() const override { return wasRun_; }
    void WasRun(bool vSetting) override { wasRun_ = vSetting; }
    bool Enabled() const override { return enabled_; }
    void Enable(bool vSetting) override { enabled_ = vSetting; }

    const TestFindings& Findings() const override { return findings_; }

  protected:
    /// The family's main statement; nothing when a system-table name could not be had (QualifiedNames has
    /// then given the verdict).
    virtual std::optional<std::string> Statement() = 0;
    /// Reads the opened main result set and decides; `rs` is closed afterwards when still open.
    virtual void Read(Recordset& rs, Connection& conn) = 0;

    /// The namer's names for `tables`, all asked before any is looked at. When one comes back empty: Pass
    /// false, ResultDetails `failureText`, and nothing. The tables are those a failure of the main statement
    /// is recorded against, in the order asked.
    std::optional<std::vector<std::string>> QualifiedNames(std::initializer_list<const char*> tables,
                                                           const char* failureText);
    /// The text of the connection's error list, from a fresh formatter.
    std::string ErrorListText(const Connection& conn) const;

    const TestEnvironment& Environment() const { return environment_; }

    /// Records a problem found now, after its entry is in the result text.
    void RecordFinding(FindingKind kind, FindingIdentity identity, std::vector<AdoError> driverErrors = {});
    /// Marks this run's findings as incomplete: a report limit stopped the check before the end.
    void MarkTruncated() { findings_.truncated = true; }

    // Run state, in the order the contract lists it.
    std::string resultDetails_ = "Not Run";
    bool pass_ = false;
    bool wasRun_ = false;

  private:
    /// Opens the main statement in the family's way; false after a failure, whose verdict and text are set.
    bool OpenStatement(Recordset& rs, const std::string& sql, Connection& conn);

    const TestDefinition& definition_;
    const std::string category_;
    const std::string description_;
    const std::string name_;
    const RunShape shape_;
    const TestEnvironment& environment_;
    bool enabled_ = true;
    TestFindings findings_;
    std::vector<const char*> statementTables_;  ///< the system tables the main statement reads
};

/// The texts shared by every test.
namespace common_text {
inline constexpr const char* kNoConnection = "No ADO connection passed to test";
inline constexpr const char* kCannotTranslateName = "Cannot translate system table name";
inline constexpr const char* kCannotTranslateNames = "Cannot translate system table names";
inline constexpr const char* kRunning = "Running";
}  // namespace common_text

}  // namespace tabvet
