// The options of unattended runs: where the connection string comes from and the warnings on the way, the
// timeouts, and choosing checks by position, name or category.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <sstream>

#include "app/headless/connect_source.h"
#include "app/headless/headless_options.h"
#include "app/headless/headless_run.h"
#include "support/temp_folder.h"

namespace tabvet {
namespace {

using testsupport::TempFolder;
using testsupport::WriteBytes;

// Arguments, whether the environment holds a string, and the options read back or the error.
TEST(UnattendedOptions, ConnectionSourcesTimeoutsAndMistakes) {
    struct Case {
        std::vector<std::string> args;
        bool inEnvironment;
        std::string expected;
    };
    const Case cases[] = {
        {{"--connect", "-"}, false, "source 1 | - | 15/30 limit 0"},
        {{"--connect-file", "c.txt", "--login-timeout", "0", "--time-limit=90"},
         false,
         "source 2 | c.txt | 0/30 limit 90"},
        {{"--statement-timeout", "5"}, true, "source 3 |  | 15/5 limit 0"},
        {{"--statement-timeout", "5"}, false, "--connect is required"},
        {{"--connect", "x", "--connect-file", "c.txt"},
         false,
         "give the connection string with one of --connect and --connect-file"},
        {{"--connect", "x", "--time-limit", "-1"},
         false,
         "--time-limit must be a whole number of seconds, 0 for no limit (got '-1')"},
        {{"--connect", "x", "--login-timeout", "1234567890"},
         false,
         "--login-timeout must be a whole number of seconds, 0 for no limit (got '1234567890')"},
        {{"--connect", "x", "Driver=y;Password=secret"},
         false,
         "unknown argument (a connection string with a password, not shown here)"},
        {{"--list-checks"}, false, "source 0 |  | 15/30 limit 0"},
    };
    for (const Case& c : cases) {
        const ParsedArguments parsed = ParseHeadlessArguments(c.args, c.inEnvironment);
        std::string got = parsed.error;
        if (parsed.options) {
            const HeadlessOptions& o = *parsed.options;
            got = "source " + std::to_string(static_cast<int>(o.connectSource)) + " | " +
                  (o.connectSource == ConnectSource::File ? o.connectFile : o.connect.substr(0, 1)) + " | " +
                  std::to_string(o.loginTimeout.value_or(15)) + "/" +
                  std::to_string(o.statementTimeout.value_or(30)) + " limit " + std::to_string(o.timeLimit);
        }
        EXPECT_EQ(got, c.expected) << testing::PrintToString(c.args);
    }
}

// The string as resolved and everything said on standard error; the password never among it.
TEST(UnattendedOptions, TheStringComesWithoutItsLineBreakAndExposedPasswordsAreWarnedOf) {
    const TempFolder folder;
    WriteBytes(folder.File("private"), "DSN=gis;PWD=pw1\r\n");
    chmod(folder.File("private").c_str(), 0600);
    WriteBytes(folder.File("shared"), "DSN=gis;PWD=pw1\n");
    chmod(folder.File("shared").c_str(), 0644);
    WriteBytes(folder.File("empty"), "\n");
    chmod(folder.File("empty").c_str(), 0600);
    struct Case {
        ConnectSource source;
        std::string value;  // the argument, the file's name, or what standard input and the environment hold
        std::string expected;
    };
    const Case cases[] = {
        {ConnectSource::Argument, "DSN=gis;UID=a;PWD=;", "DSN=gis;UID=a;PWD=; | "},
        {ConnectSource::Argument, "DSN=gis;Password={pw1}",
         "DSN=gis;Password={pw1} | tabvet: warning: a password on the command line can be read by every "
         "local "
         "user; use --connect-file FILE, --connect - (standard input) or TABVET_CONNECT instead\n"},
        {ConnectSource::File, "private", "DSN=gis;PWD=pw1 | "},
        {ConnectSource::File, "shared",
         "DSN=gis;PWD=pw1 | tabvet: warning: the connection file '<folder>/shared' can be read by other "
         "users; "
         "make it private (chmod 600)\n"},
        {ConnectSource::File, "missing",
         "failed | tabvet: cannot read the connection file '<folder>/missing': No such file or directory\n"},
        {ConnectSource::File, "empty",
         "failed | tabvet: the connection string from the connection file "
         "'<folder>/empty' is empty\n"},
        {ConnectSource::StandardInput, "DSN=gis;PWD=pw1\n", "DSN=gis;PWD=pw1 | "},
        {ConnectSource::Environment, "DSN=gis;PWD=pw1", "DSN=gis;PWD=pw1 | "},
    };
    for (const Case& c : cases) {
        HeadlessOptions options;
        options.connectSource = c.source;
        options.connect = c.source == ConnectSource::Argument ? c.value : "";
        options.connectFile = folder.File(c.value);
        std::istringstream in(c.value);
        std::ostringstream err;
        const bool ok = ResolveConnectionString(options, in, c.value, err);
        std::string said = err.str();
        for (std::size_t at; (at = said.find(folder.Path().string())) != std::string::npos;) {
            said.replace(at, folder.Path().string().size(), "<folder>");
        }
        EXPECT_EQ((ok ? options.connect : "failed") + " | " + said, c.expected);
        EXPECT_EQ(said.find("pw1"), std::string::npos);
    }
}

// A connection string given where a file name, a word or a number belongs is refused without being said
// back, whichever message refuses it.
TEST(UnattendedOptions, AConnectionStringInTheWrongPlaceIsNeverSaidBack) {
    const std::string secret = "DSN=gis;PWD=pw1";
    const std::vector<std::string> misplaced[] = {
        {"--connect-file", secret},
        {"--connect", "x", secret},
        {"--connect", "x", "--dbms", secret},
        {"--connect", "x", "--tessel-version", secret},
        {"--connect", "x", "--time-limit", secret},
        {"--connect", "x", "--report", "/no/such/folder/" + secret},
        {"--connect", "x", "--dbms", "oracle", "--tessel-version", "9.0.0", "--skip", "1," + secret},
    };
    for (const std::vector<std::string>& args : misplaced) {
        std::ostringstream out, err;
        EXPECT_EQ(RunHeadless(args, out, err), exit_code::kCannotStart) << testing::PrintToString(args);
        const std::string firstLine = err.str().substr(0, err.str().find('\n'));
        EXPECT_NE(firstLine.find("(a connection string with a password, not shown here)"), std::string::npos)
            << firstLine;
        EXPECT_EQ(err.str().find("pw1"), std::string::npos) << err.str();
    }
}

TEST(UnattendedOptions, ChecksAreChosenByPositionNameOrCategoryAndTheCatalogueIsListed) {
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"--check", "MISSING SYSTEM TABLES, 16", "--skip", "16"}, "tabvet: no connection"},
        {{"--check", "1,17"},
         "tabvet: --check: '17' is no position, name or category of a test (see --list-checks)"},
        {{"--check", "1", "--skip", "layers"},
         "tabvet: --skip: 'layers' is no position, name or category of a test (see --list-checks)"},
        {{"--skip", "1,,2"},
         "tabvet: --skip: '' is no position, name or category of a test (see --list-checks)"},
    };
    for (const auto& [choice, expected] : cases) {
        std::vector<std::string> args{
            "--connect", "Driver=tabvet-no-such-driver;", "--dbms", "oracle", "--tessel-version", "9.0.0"};
        args.insert(args.end(), choice.begin(), choice.end());
        std::ostringstream out, err;
        const int status = RunHeadless(args, out, err);
        EXPECT_EQ(status, exit_code::kCannotStart);
        const std::string firstLine = err.str().substr(0, err.str().find('\n'));
        // A valid choice gets as far as connecting.
        EXPECT_EQ(firstLine.starts_with("Error connecting") ? "tabvet: no connection" : firstLine, expected);
    }
    std::ostringstream out, err;
    EXPECT_EQ(RunHeadless({"--list-checks"}, out, err), exit_code::kAllPassed);
    const std::string list = out.str();
    EXPECT_EQ(std::count(list.begin(), list.end(), '\n'), 17);
    EXPECT_NE(
        list.find("\n7\tLAYERS.SRID in SPATIAL_REFERENCES\tReferential Integrity\toracle,informix,sqlserver\t"
                  "3.x, 8.x, 9.x\n"),
        std::string::npos);
    EXPECT_NE(list.find("\n16\tTessel for Oracle Compressed Binary format complete\tIndex Analysis\toracle\t"
                        "8.x from 8.2, 9.0\n"),
              std::string::npos);
}

}  // namespace
}  // namespace tabvet
