// Only the open of the main statement is trapped here; whatever a family's reading raises leaves Run, as
// each family's own rules want.
#include "ado_test_base.h"

#include "db/conn_error_string.h"
#include "db/recordset.h"
#include "db/runtime_error.h"

namespace tabvet {

AdoTestBase::AdoTestBase(const TestDefinition& definition, RunShape shape, const TestEnvironment& environment)
    : definition_(definition),
      category_(definition.category),
      description_(definition.description),
      name_(definition.name),
      shape_(std::move(shape)),
      environment_(environment) {}

bool AdoTestBase::WorksWithVersion(const std::int16_t& major, const std::int16_t& minor,
                                   const std::int16_t& bugfix) const {
    return AcceptsVersion(definition_.versionRule, major, minor, bugfix);
}

void AdoTestBase::Run(Connection* conn) {
    findings_ = {};
    statementTables_.clear();
    if (shape_.countsRunWithoutConnection) {
        wasRun_ = true;
        pass_ = false;
    }
    if (conn == nullptr) {
        pass_ = false;
        resultDetails_ = common_text::kNoConnection;
        return;
    }
    wasRun_ = true;
    resultDetails_ = shape_.startText;
    pass_ = shape_.startsPassing;

    const std::optional<std::string> sql = Statement();
    if (!sql) {
        return;
    }
    Recordset rs;
    if (OpenStatement(rs, *sql, *conn)) {
        findings_.examined = true;
        Read(rs, *conn);
    }
    rs.CloseIfOpen();
}

std::optional<std::vector<std::string>> AdoTestBase::QualifiedNames(std::initializer_list<const char*> tables,
                                                                    const char* failureText) {
    std::vector<std::string> names;
    for (const char* table : tables) {
        names.push_back(environment_.Namer().TslSystemTable(table));
        statementTables_.push_back(table);
    }
    for (const std::string& name : names) {
        if (name.empty()) {
            pass_ = false;
            resultDetails_ = failureText;
            return std::nullopt;
        }
    }
    return names;
}

std::string AdoTestBase::ErrorListText(const Connection& conn) const {
    clsConnErrorString formatter(environment_.Ui());
    return formatter.Build(&conn);
}

void AdoTestBase::RecordFinding(FindingKind kind, FindingIdentity identity,
                                std::vector<AdoError> driverErrors) {
    findings_.findings.push_back({kind, std::move(identity), std::move(driverErrors)});
}

bool AdoTestBase::OpenStatement(Recordset& rs, const std::string& sql, Connection& conn) {
    bool failed = false;
    if (shape_.open == OpenStyle::ErrorsSuppressed) {
        rs.OpenSuppressed(sql, conn);
        failed = conn.Errors().Count() > 0;
    } else {
        try {
            rs.Open(sql, conn);
            failed = conn.Errors().Count() != 0;
        } catch (const RuntimeError&) {
            failed = true;
        }
    }
    if (!failed) {
        return true;
    }
    // Not guarded: an error while building the text escapes, as an error inside an error handler does.
    pass_ = false;
    resultDetails_ = shape_.openFailurePrefix + ErrorListText(conn);
    FindingIdentity identity;
    identity.Set(IdentityField::SystemTable, statementTables_.at(0));
    if (statementTables_.size() > 1) {
        identity.Set(IdentityField::PartnerTable, statementTables_[1]);
    }
    RecordFinding(KindOfFailure(conn.Errors(), FailedObject::SystemTable), std::move(identity),
                  ErrorsOf(conn.Errors()));
    if (shape_.clearsErrorsAfterFailedOpen) {
        conn.Errors().Clear();
    }
    return false;
}

}  // namespace tabvet
