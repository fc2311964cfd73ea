// A fresh cursor is listed only when it reports end-of-file without begin-of-file. That is the rule these
// checks have always applied, and it is kept although a cursor with rows therefore passes.
#include "membership_check.h"

#include <cstdint>

#include "db/line_break.h"
#include "db/recordset.h"
#include "listing_limit.h"

namespace tabvet {
namespace {

constexpr std::int16_t kReportLimit = 5;
constexpr const char* kLimitReachedLine = ">>>> (Report limit reached. There may be others...)";

class MembershipCheck final : public AdoTestBase {
  public:
    MembershipCheck(const TestDefinition& definition, const MembershipCheckRow& row,
                    const TestEnvironment& environment)
        : AdoTestBase(
              definition,
              {.startText = "", .startsPassing = false, .open = row.open, .openFailurePrefix = "Errors: "},
              environment),
          row_(row) {}

  private:
    std::optional<std::string> Statement() override {
        const auto tables =
            QualifiedNames({row_.outerTable, row_.innerTable}, common_text::kCannotTranslateNames);
        if (!tables) {
            return std::nullopt;
        }
        const bool usesDatabaseName = Environment().Namer().UsesDatabaseName();
        return std::string(usesDatabaseName ? row_.selectListWithDatabase : row_.selectListWithoutDatabase) +
               "FROM " + (*tables)[0] + row_.outerAlias + "WHERE NOT EXISTS " + "(SELECT 'x' FROM " +
               (*tables)[1] + row_.innerAlias +
               (usesDatabaseName ? row_.joinWithDatabase : row_.joinWithoutDatabase);
    }

    void Read(Recordset& rs, Connection& /*conn*/) override {
        const bool bof = rs.Bof();
        const bool eof = rs.Eof();
        if (!bof && eof) {
            List(rs);
        } else {
            pass_ = true;
            resultDetails_ = row_.passText;
        }
    }

    void List(Recordset& rs) {
        resultDetails_ = row_.headerText + std::string(kCrLf);
        std::int16_t count = 0;
        rs.MoveFirst();
        while (true) {
            if (rs.Eof()) {
                rs.Close();
                return;
            }
            if (row_.loop == MembershipLoop::CountBeforeEntry) {
                count = RoundToInt16(count + 1);  // a 16-bit counter: overflow raises
                resultDetails_ += Entry(rs);
                RecordRow(rs);
                if (count >= kReportLimit) {
                    // The cursor stays open for the clean-up to close.
                    resultDetails_ += std::string(kCrLf) + ReportLimitReached(kReportLimit);
                    rs.MoveNext();
                    RecordUnlistedRows(rs);
                    return;
                }
                rs.MoveNext();
            } else {
                resultDetails_ += Entry(rs);
                RecordRow(rs);
                rs.MoveNext();
                count = RoundToInt16(count + 1);
                if (count >= kReportLimit) {
                    // Written even when the limit row was the last; the two moves end the loop at
                    // end-of-file.
                    resultDetails_ += kLimitReachedLine + std::string(kCrLf);
                    RecordUnlistedRows(rs);
                    rs.MoveLast();
                    rs.MoveNext();
                }
            }
        }
    }

    std::string Entry(const Recordset& rs) const {
        const clsQualDbObjName& namer = Environment().Namer();
        switch (row_.entry) {
            case MembershipEntry::QualifiedName: {
                const std::string table = ToText(rs.Fields(0));
                const std::string owner = ToText(rs.Fields(1));
                const std::string database = ToText(rs.Fields(2));
                return row_.entryPrefix + namer.UserTable(table, owner, database) + kCrLf;
            }
            case MembershipEntry::RegisteredName: {
                const std::string table = ToText(rs.Fields(0));
                const std::string owner = ToText(rs.Fields(1));
                const std::string database =
                    namer.UsesDatabaseName() ? ToText(rs.Fields(2)) : kNoDatabaseName;
                return row_.entryPrefix + namer.UserTable(table, owner, database) + kCrLf;
            }
            case MembershipEntry::Srid:
                return row_.entryPrefix + TextOrEmpty(rs.Fields(3)) + row_.idText +
                       TextOrEmpty(rs.Fields(0)) + " : " + TextOrEmpty(rs.Fields(1)) + "." +
                       TextOrEmpty(rs.Fields(2)) + kCrLf;
            case MembershipEntry::Keyword: {
                const std::string table = ToText(rs.Fields(2));
                const std::string owner = ToText(rs.Fields(3));
                const std::string database = ToText(rs.Fields(4));
                const std::string userTable = namer.UserTable(table, owner, database);
                return row_.entryPrefix + TextOrEmpty(rs.Fields(1)) + row_.idText +
                       TextOrEmpty(rs.Fields(0)) + " : " + userTable + kCrLf;
            }
        }
        return {};
    }

    // A listed row as a finding: its values as the outer table states them, NULLs kept.
    void RecordRow(const Recordset& rs) {
        FindingIdentity identity;
        identity.Set(IdentityField::SystemTable, row_.outerTable)
            .Set(IdentityField::PartnerTable, row_.innerTable);
        const bool usesDatabaseName = Environment().Namer().UsesDatabaseName();
        for (const IdentityColumn& column : row_.identity) {
            if (column.field != IdentityField::Database || usesDatabaseName) {
                identity.Set(column.field, rs.Fields(column.position));
            }
        }
        RecordFinding(row_.listedKind, std::move(identity));
    }

    // The rows from the current one on that the limit keeps out of the text: found all the same. Their
    // values are not converted, so a NULL among them raises nothing.
    void RecordUnlistedRows(Recordset& rs) {
        for (; !rs.Eof(); rs.MoveNext()) {
            RecordRow(rs);
        }
    }

    const MembershipCheckRow& row_;
};

}  // namespace

std::unique_ptr<IAdoTest> MakeCheck(const TestDefinition& definition, const MembershipCheckRow& row,
                                    const TestEnvironment& environment) {
    return std::make_unique<MembershipCheck>(definition, row, environment);
}

}  // namespace tabvet
