// Every place that maps a DBMS option to something else reads this table.
#include "dbms_options.h"

#include <array>
#include <cctype>

#include "db/qual_db_obj_name.h"

namespace tabvet {
namespace {

constexpr std::array kDbmsOptions{
    DbmsOptionRow{.option = DbmsOption::Oracle,
                  .typeCode = dbtype::kOracle,
                  .word = "oracle",
                  .caption = "Oracle 8i / 9i",
                  .reportLine = "for Oracle",
                  .descriptionMark = "ORA",
                  .worksWith = &IAdoTest::WorksWithOracle},
    DbmsOptionRow{.option = DbmsOption::Informix,
                  .typeCode = dbtype::kInformix,
                  .word = "informix",
                  .caption = "Informix",
                  .reportLine = "for Informix",
                  .descriptionMark = "INFOR",
                  .worksWith = &IAdoTest::WorksWithInformix},
    DbmsOptionRow{.option = DbmsOption::DB2,
                  .typeCode = dbtype::kDb2,
                  .word = "db2",
                  .caption = "IBM DB2",
                  .reportLine = "for IBM DB2",
                  .descriptionMark = "DB2",
                  .worksWith = &IAdoTest::WorksWithDB2},
    DbmsOptionRow{.option = DbmsOption::SqlServer,
                  .typeCode = dbtype::kSqlServer,
                  .word = "sqlserver",
                  .caption = "Microsoft SQL Server",
                  .reportLine = "for Microsoft SQL Server",
                  .descriptionMark = "SQL",
                  .worksWith = &IAdoTest::WorksWithSqlServer},
};

bool SameWord(std::string_view word, std::string_view lowerCase) {
    if (word.size() != lowerCase.size()) {
        return false;
    }
    for (std::size_t i = 0; i < word.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(word[i])) != lowerCase[i]) {
            return false;
        }
    }
    return true;
}

}  // namespace

std::span<const DbmsOptionRow> DbmsOptions() {
    return kDbmsOptions;
}

const DbmsOptionRow* FindDbmsOption(DbmsOption option) {
    for (const DbmsOptionRow& row : kDbmsOptions) {
        if (row.option == option) {
            return &row;
        }
    }
    return nullptr;
}

std::optional<DbmsOption> DbmsOptionNamed(std::string_view word) {
    for (const DbmsOptionRow& row : kDbmsOptions) {
        if (SameWord(word, row.word)) {
            return row.option;
        }
    }
    return std::nullopt;
}

std::int32_t DbmsTypeCodeOf(DbmsOption option) {
    const DbmsOptionRow* row = FindDbmsOption(option);
    return row != nullptr ? row->typeCode : dbtype::kNotSetUp;
}

bool WorksWithDbms(const IAdoTest& test, DbmsOption option) {
    const DbmsOptionRow* row = FindDbmsOption(option);
    return row == nullptr || (test.*row->worksWith)();
}

}  // namespace tabvet
