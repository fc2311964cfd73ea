// The layout is fixed line by line: readers and scripts compare reports, so every blank and rule counts.
#include "report_writer.h"

#include <cstdint>
#include <limits>
#include <string>

#include "db/line_break.h"
#include "db/runtime_error.h"
#include "report_encoding.h"

namespace tabvet {
namespace {

constexpr const char* kTitle = "Tessel System Table Diagnostics:  Test Results Report";
constexpr const char* kRule = "-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=";  // 48 characters
constexpr const char* kBangLine = "!!!!!!!!!!!!";
constexpr const char* kIndent = "      ";

// Counters are 16-bit, as the window keeps them; passing the limit is the classic overflow.
std::int16_t Add16(std::int16_t a, std::int16_t b) {
    const int sum = a + b;
    if (sum > std::numeric_limits<std::int16_t>::max()) {
        throw RuntimeError(errnum::kOverflow, "Overflow");
    }
    return static_cast<std::int16_t>(sum);
}

// Every line goes through here, in the characters of the report file.
void PrintLine(ReportFile& file, const std::string& text) {
    file.PrintLine(ReportFileText(text));
}

// One line on disk that shows as an empty line, the rule and another empty line.
void PrintSeparatorBlock(ReportFile& file) {
    PrintLine(file, kCrLf + std::string(kRule) + kCrLf);
}

}  // namespace

bool CreateReportInFile(ReportFile& file, const ReportContents& contents, IUserInteraction& ui) {
    if (!file) {
        ui.ShowMessage("No file number passed to CreateReportInFile", "Unexpected error", MsgButtons::Ok,
                       MsgIcon::Critical);
        return false;
    }
    std::int16_t passed = 0;
    std::int16_t failed = 0;

    PrintLine(file, kTitle);
    PrintLine(file, "Generated: " + contents.generated);
    PrintSeparatorBlock(file);

    const std::int16_t count = contents.catalogue != nullptr ? contents.catalogue->Count() : 0;
    for (std::int16_t i = 1; i <= count; ++i) {
        const IAdoTest& test = *contents.catalogue->Item(i);
        if (!test.WasRun()) {
            continue;
        }
        if (test.Pass()) {
            passed = Add16(passed, 1);
            if (!contents.onlyFailures) {
                PrintLine(file, "Test Passed: " + test.Name());
            }
        } else {
            failed = Add16(failed, 1);
            PrintLine(file, kBangLine);
            PrintLine(file, "TEST FAILED >>>> " + test.Name());
            PrintLine(file, kBangLine);
        }
        if (!contents.onlyFailures || !test.Pass()) {
            PrintLine(file, "-- Test Category: " + test.Category());
            PrintLine(file, "-- Test Description: " + test.Description());
            PrintLine(file, "-- Result Details: " + test.ResultDetails());
            PrintSeparatorBlock(file);
        }
    }

    PrintSeparatorBlock(file);
    PrintLine(file, "Test Summary");
    PrintLine(file, "-- Total tests run: " + std::to_string(Add16(failed, passed)));
    PrintLine(file, "-- Total passed: " + std::to_string(passed));
    PrintLine(file, "-- Total failed: " + std::to_string(failed));
    if (contents.stopReason) {
        PrintLine(file, "-- Run stopped before its end: " + *contents.stopReason);
    }
    PrintLine(file, "-- Test target: ");
    PrintLine(file, std::string(kIndent) + "Tessel Version " + contents.target.VersionText());
    if (const DbmsOptionRow* dbms = FindDbmsOption(contents.target.dbms)) {
        PrintLine(file, std::string(kIndent) + dbms->reportLine);
    }
    PrintSeparatorBlock(file);
    return true;
}

}  // namespace tabvet
