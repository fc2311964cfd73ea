// Input a person gets wrong, as data: headless arguments (tests/fixtures/unit/headless_arguments.txt) and
// version texts pasted into the boxes (version_texts.txt). Each case is the heading of its section there;
// each gives a clear outcome, leaves files and the model as they were, and never crashes.
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>

#include "app/headless_options.h"
#include "app/headless_run.h"
#include "db/runtime_error.h"
#include "db/server_type_selection.h"
#include "framework/test_run.h"
#include "startup.h"
#include "support/recording_interaction.h"
#include "support/scripted_connection.h"
#include "transcript.h"

namespace tabvet {
namespace {

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
        text.replace(at, from.size(), to);
    }
    return text;
}

// Headings are the arguments, each in double quotes; "parse" first only parses them. <folder> stands for
// a folder that holds "a file" and "report.txt".
TEST(HeadlessArguments, EachMistakeIsOneLineThenTheUsageAndExitTwoAndNoFileIsTouched) {
    const std::vector<std::string> headings = testsupport::CaseHeadings("headless_arguments");
    ASSERT_FALSE(headings.empty());
    testsupport::Transcript t("headless_arguments");
    for (const std::string& heading : headings) {
        testsupport::TempFolder folder;
        testsupport::WriteBytes(folder.File("a file"), "x");
        testsupport::WriteBytes(folder.File("report.txt"), "yesterday's report");
        std::vector<std::string> args;
        const std::regex quoted("\"([^\"]*)\"");
        for (auto it = std::sregex_iterator(heading.begin(), heading.end(), quoted);
             it != std::sregex_iterator(); ++it) {
            args.push_back(Replaced((*it)[1].str(), "<folder>", folder.Path().string()));
        }
        t.Case(heading);
        if (heading.starts_with("parse")) {
            const ParsedArguments parsed = ParseHeadlessArguments(args);
            t.Line("error", parsed.error);
            if (parsed.options) {
                const HeadlessOptions& o = *parsed.options;
                t.Line("options", o.connect + " | " + o.database.value_or("-") + " | " +
                                      o.report.value_or("-") + " | " + o.json.value_or("-") + " | " +
                                      std::to_string(o.onlyFailures));
            }
            continue;
        }
        std::ostringstream out, err;
        t.Line("exit", std::to_string(RunHeadless(args, out, err)));
        t.Line("out", out.str().substr(0, out.str().find('\n')));
        t.Line("err",
               Replaced(Replaced(err.str(), HeadlessUsage(), "<usage>"), folder.Path().string(), "<folder>"));
        std::string files;
        for (const auto& entry : std::filesystem::directory_iterator(folder.Path())) {
            files += entry.path().filename().string() + "; ";
        }
        t.Line("files", files + testsupport::ReadBytes(folder.File("report.txt")));
    }
}

// Headings are the three boxes separated by '|', typed into a window that is connected to a server that
// answers nothing, so a run goes through every applicable test without a database.
TEST(VersionTexts, RunTellWhyNotOrRaiseOverflowWithoutChangingAnythingAndTheCorrectedBoxesRun) {
    testsupport::Transcript t("version_texts");
    for (const std::string& heading : testsupport::CaseHeadings("version_texts")) {
        testsupport::RecordingInteraction ui;
        MainState state(ui);
        ASSERT_TRUE(StartUp(state));
        auto conn = std::make_unique<testsupport::ScriptedConnection>();
        conn->Open("");
        state.g_pAdoConn = std::move(conn);
        OptionClick(state, DbmsOption::Oracle);
        state.now = [] { return std::string("<now>"); };
        state.rtbStatus = "earlier log";
        state.stsRunFeedback = "earlier progress";
        const std::size_t bar = heading.find('|'), bar2 = heading.find('|', bar + 1);
        t.Case(heading);
        for (const auto& [major, minor, bugfix] :
             {std::tuple{heading.substr(0, bar), heading.substr(bar + 1, bar2 - bar - 1),
                         heading.substr(bar2 + 1)},
              std::tuple{std::string("9"), std::string("0"), std::string("0")}}) {
            state.txtMajorVersion = major;
            state.txtMinorVersion = minor;
            state.txtBugfix = bugfix;
            try {
                ProcessRunTests(state);
            } catch (const RuntimeError& e) {
                t.Line("raised", DescribeRuntimeError(e));
            }
            int ran = 0;
            for (std::int16_t i = 1; i <= state.g_pTestCollection->Count(); ++i) {
                ran += state.g_pTestCollection->Item(i)->WasRun() ? 1 : 0;
            }
            t.Line(major + "." + minor + "." + bugfix,
                   state.stsRunFeedback + " | tests run: " + std::to_string(ran) +
                       " | log kept: " + std::to_string(state.rtbStatus == "earlier log"));
            for (const std::string& box : ui.Lines()) {
                t.Line("box", box);
            }
            ui.shown.clear();
        }
    }
}

}  // namespace
}  // namespace tabvet
