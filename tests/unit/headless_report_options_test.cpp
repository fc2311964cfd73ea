// The report options of the headless mode: parsing, and output files checked before anything runs.
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "app/headless_options.h"
#include "app/headless_run.h"
#include "support/temp_folder.h"

namespace tabvet {
namespace {

using testsupport::ReadBytes;
using testsupport::WriteBytes;

const std::vector<std::string> kTarget = {"--connect",        "DSN=x", "--dbms", "oracle",
                                          "--tessel-version", "9.1.0"};

std::vector<std::string> With(std::vector<std::string> extra) {
    std::vector<std::string> args = kTarget;
    args.insert(args.end(), extra.begin(), extra.end());
    return args;
}

TEST(HeadlessOptions, HelpAndVersionAnswerWithoutRunning) {
    for (const char* option : {"--help", "--version"}) {
        std::ostringstream out;
        std::ostringstream err;
        EXPECT_EQ(RunHeadless({option}, out, err), exit_code::kAllPassed) << option;
        EXPECT_TRUE(err.str().empty()) << option;
        EXPECT_EQ(out.str().rfind(
                      std::string(option) == "--help" ? "usage: tabvet --connect STRING" : "tabvet ", 0),
                  0u)
            << out.str();
    }
}

TEST(HeadlessReportOptions, AreParsed) {
    const ParsedArguments none = ParseHeadlessArguments(kTarget);
    ASSERT_TRUE(none.options);
    EXPECT_FALSE(none.options->report);
    EXPECT_FALSE(none.options->json);
    EXPECT_FALSE(none.options->onlyFailures);

    const ParsedArguments all =
        ParseHeadlessArguments(With({"--report", "/r/a b.txt", "--only-failures", "--json=/r/out.json"}));
    ASSERT_TRUE(all.options) << all.error;
    EXPECT_EQ(all.options->report, "/r/a b.txt");
    EXPECT_EQ(all.options->json, "/r/out.json");
    EXPECT_TRUE(all.options->onlyFailures);
}

TEST(HeadlessReportOptions, MistakesAreOneLineErrors) {
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {With({"--report"}), "option --report needs a value"},
        {With({"--report="}), "option --report needs a file name"},
        {With({"--only-failures=yes"}), "option --only-failures takes no value"},
        {With({"--only-failures", "--only-failures"}), "option --only-failures given more than once"},
        {With({"--report", "same.txt", "--json", "same.txt"}),
         "--report and --json must name different files"},
    };
    for (const auto& [args, error] : cases) {
        SCOPED_TRACE(error);
        const ParsedArguments parsed = ParseHeadlessArguments(args);
        EXPECT_FALSE(parsed.options);
        EXPECT_EQ(parsed.error, error);
    }
}

// An output that cannot be written stops the run before it connects: the connection string here would
// fail with a driver message, which must not appear.
TEST(HeadlessReportOptions, AnUnwritableOutputStopsBeforeConnecting) {
    testsupport::TempFolder folder;
    WriteBytes(folder.File("a file"), "x");
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"--report", folder.File("missing/r.txt")},
         "tabvet: cannot write the report to '" + folder.File("missing/r.txt") +
             "': No such file or directory\n"},
        {{"--json", folder.File("a file/r.json")},
         "tabvet: cannot write the JSON results to '" + folder.File("a file/r.json") +
             "': Not a directory\n"},
        {{"--report", folder.Path().string()},
         "tabvet: cannot write the report to '" + folder.Path().string() + "': Is a directory\n"},
    };
    for (const auto& [extra, message] : cases) {
        SCOPED_TRACE(message);
        std::vector<std::string> args = With(extra);
        args[1] = "Driver=tabvet-no-such-driver;";
        std::ostringstream out;
        std::ostringstream err;
        EXPECT_EQ(RunHeadless(args, out, err), exit_code::kCannotStart);
        EXPECT_EQ(err.str(), message);
        EXPECT_EQ(out.str(), "");
    }
}

// When the run cannot start, neither file is touched: an existing one keeps its content, a new one is
// not left behind by the check.
TEST(HeadlessReportOptions, ARunThatCannotStartLeavesTheFilesAlone) {
    testsupport::TempFolder folder;
    const std::string report = folder.File("report.txt");
    WriteBytes(report, "yesterday's report");
    std::ostringstream out;
    std::ostringstream err;
    EXPECT_EQ(RunHeadless(With({"--report", report, "--json", folder.File("new.json")}), out, err),
              exit_code::kCannotStart);
    EXPECT_EQ(ReadBytes(report), "yesterday's report");
    EXPECT_FALSE(std::filesystem::exists(folder.File("new.json")));
}

}  // namespace
}  // namespace tabvet
