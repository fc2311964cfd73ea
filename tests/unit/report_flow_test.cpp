// The "Create Report" step with a scripted dialog and editor: every way out of it, and what stays on disk.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "app/startup.h"
#include "report/report_flow.h"
#include "report/report_paths.h"
#include "report/report_writer.h"
#include "support/fake_test.h"
#include "support/recording_interaction.h"
#include "support/scripted_editor_launcher.h"
#include "support/scripted_file_dialog.h"
#include "support/temp_folder.h"

namespace tabvet {
namespace {

using testsupport::FakeTest;
using testsupport::ReadBytes;
using testsupport::WriteBytes;

class CountingView final : public MainView {
  public:
    void ProcessPendingEvents() override { ++pendingEventRounds; }
    int pendingEventRounds = 0;
};

// Sets or unsets an environment variable for one test and puts the old value back afterwards.
class EnvironmentVariable {
  public:
    EnvironmentVariable(const char* name, const std::optional<std::string>& value) : name_(name) {
        if (const char* old = std::getenv(name)) {
            old_ = old;
        }
        Set(value);
    }
    ~EnvironmentVariable() { Set(old_); }

  private:
    void Set(const std::optional<std::string>& value) {
        value ? setenv(name_, value->c_str(), 1) : unsetenv(name_);
    }
    const char* name_;
    std::optional<std::string> old_;
};

FakeTest::State Ran(const char* name, bool pass) {
    return {.name = name, .resultDetails = pass ? "fine" : "broken", .pass = pass, .wasRun = true};
}

FakeTest::State NotRun(const char* name) {
    return {.name = name};
}

class ReportFlowTest : public ::testing::Test {
  protected:
    ReportFlowTest() {
        state.now = [] { return std::string("01/02/2025 13:04:05"); };
        state.AttachView(view);
        state.g_pTestCollection = testsupport::FakeCatalogue({Ran("first", true), Ran("second", false)});
        state.g_bTestsWereRun = true;
        state.reportFileName = folder.File("Tessel_Diag.txt");
    }

    // The report the writer makes of the current state, to compare a file written by the flow against.
    std::string ExpectedReport() {
        const std::string path = folder.File("expected.out");
        ReportFile file = ReportFile::Open(path);
        CreateReportInFile(state, file);
        file.Close();
        return ReadBytes(path);
    }

    void CreateReport() { CreateNewReport(state, dialog, editor); }

    testsupport::RecordingInteraction ui;
    CountingView view;
    MainState state{ui};
    testsupport::ScriptedFileDialog dialog;
    testsupport::ScriptedEditorLauncher editor;
    testsupport::TempFolder folder;
};

TEST_F(ReportFlowTest, CountTestsRunSaysWhyThereAreNoResultsAndNoDialogIsShownThen) {
    struct Case {
        const char* what;
        bool runFlag;
        std::optional<std::vector<FakeTest::State>> catalogue;  // nothing: no catalogue at all
        int expected;
        std::vector<std::string> boxes;
        int pendingEventRounds;
    };
    const std::string noClasses = "Unexpected Condition: No test classes have been loaded.  Cannot continue.";
    const std::string noneRan = "No Results to Report: No tests have run. Please run tests first.";
    const std::vector<Case> cases = {
        {"no run since connect", false, std::vector{Ran("a", true)}, 0, {}, 0},
        {"no catalogue", true, std::nullopt, 0, {noClasses}, 0},
        {"empty catalogue", true, std::vector<FakeTest::State>{}, 0, {noClasses}, 0},
        {"run flag but nothing ran", true, std::vector{NotRun("a"), NotRun("b")}, 0, {noneRan}, 2},
        {"some ran", true, std::vector{Ran("a", true), NotRun("b"), Ran("c", false)}, 2, {}, 3},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        ui.shown.clear();
        view.pendingEventRounds = 0;
        state.g_bTestsWereRun = c.runFlag;
        state.g_pTestCollection = c.catalogue ? testsupport::FakeCatalogue(*c.catalogue) : nullptr;
        EXPECT_EQ(CountTestsRun(state), c.expected);
        EXPECT_EQ(ui.Lines(), c.boxes);
        EXPECT_EQ(view.pendingEventRounds, c.pendingEventRounds);
        for (const auto& shown : ui.shown) {
            EXPECT_EQ(shown.icon, MsgIcon::Exclamation);
        }
        if (c.expected == 0) {
            ui.shown.clear();
            dialog.Answer(state.reportFileName);
            CreateReport();
            std::vector<std::string> boxes = c.boxes;
            boxes.push_back("No results available: No test have been run.");
            EXPECT_EQ(ui.Lines(), boxes);
            EXPECT_TRUE(dialog.shown.empty());
            EXPECT_FALSE(std::filesystem::exists(state.reportFileName));
        }
    }
}

TEST_F(ReportFlowTest, CancelEndsSilentlyAndAnEmptyNameIsRefused) {
    const std::string offered = state.reportFileName;
    dialog.Answer(std::nullopt);
    CreateReport();
    ASSERT_EQ(dialog.shown.size(), 1u);
    EXPECT_EQ(dialog.shown[0].kind + ": " + dialog.shown[0].title + ": " + dialog.shown[0].offeredFileName,
              "save: Save Test Results To File: " + offered);
    EXPECT_TRUE(ui.shown.empty());
    EXPECT_EQ(state.reportFileName, offered);

    dialog.Answer("");
    CreateReport();
    EXPECT_EQ(ui.Lines(), std::vector<std::string>{"Cannot save results: No file selected"});
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
}

TEST_F(ReportFlowTest, AnExistingFileIsOnlyReplacedWhenTheUserSaysYes) {
    const std::string path = folder.File("old report.txt");
    const std::string question = "File exists: File already exists: \r\n" + path + "\r\nOverwrite?";
    // Longer than the new report, so a missing truncation would leave its tail behind.
    const std::string oldContent = std::string(20000, 'x') + "\r\nend of the old report\r\n";

    WriteBytes(path, oldContent);
    dialog.Answer(path);
    ui.answers = {MsgAnswer::No};
    CreateReport();
    EXPECT_EQ(ui.Lines(), std::vector<std::string>{question});
    EXPECT_EQ(ui.shown[0].buttons, MsgButtons::YesNo);
    EXPECT_EQ(ReadBytes(path), oldContent);

    ui.shown.clear();
    dialog.Answer(path);
    ui.answers = {MsgAnswer::Yes, MsgAnswer::No};
    CreateReport();
    EXPECT_EQ(ui.Lines(),
              (std::vector<std::string>{question, "Report Created: Report has been created.\r\nFile: " +
                                                      path + "\r\nWould you like to view the report now?"}));
    EXPECT_EQ(ReadBytes(path), ExpectedReport());
    EXPECT_TRUE(editor.launched.empty());
}

TEST_F(ReportFlowTest, AFileThatCannotBeOpenedGivesTheUntitledOpenErrorBox) {
    const std::string path = folder.File("no such folder/report.txt");
    dialog.Answer(path);
    CreateReport();
    EXPECT_EQ(ui.Lines(), std::vector<std::string>{": File open error"});
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_TRUE(editor.launched.empty());
}

TEST_F(ReportFlowTest, YesToViewingStartsTheEditorAndTheNextReportOffersTheSamePath) {
    std::filesystem::create_directory(folder.File("my reports"));
    const std::string path = folder.File("my reports/Tessel Diag; today.txt");
    dialog.Answer(path);
    ui.answers = {MsgAnswer::Yes};
    CreateReport();
    ASSERT_EQ(editor.launched.size(), 1u);
    EXPECT_EQ(editor.launched[0].program, EditorProgram());
    EXPECT_EQ(editor.launched[0].path, path);
    EXPECT_EQ(ReadBytes(path), ExpectedReport());
    EXPECT_EQ(ui.shown.size(), 1u);
    dialog.Answer(std::nullopt);
    CreateReport();
    ASSERT_EQ(dialog.shown.size(), 2u);
    EXPECT_EQ(dialog.shown[1].offeredFileName, path);
}

TEST_F(ReportFlowTest, AnEditorThatCannotStartIsSaidAndTheReportStays) {
    const std::string path = folder.File("report.txt");
    editor.starts = false;
    dialog.Answer(path);
    ui.answers = {MsgAnswer::Yes};
    CreateReport();
    ASSERT_EQ(ui.shown.size(), 2u);
    EXPECT_EQ(ui.shown[1].title, "Editor not available");
    EXPECT_EQ(ui.shown[1].text,
              std::string("Cannot start editor ") + EditorProgram() + " on file " + path + ".");
    EXPECT_EQ(ui.shown[1].buttons, MsgButtons::OkCancel);
    EXPECT_EQ(ui.shown[1].icon, MsgIcon::Critical);
    EXPECT_EQ(ReadBytes(path), ExpectedReport());
}

TEST_F(ReportFlowTest, ViewingAReportNeedsNoRunAndCancelIsSilent) {
    state.g_pTestCollection.reset();
    state.g_bTestsWereRun = false;
    const std::string offered = state.reportFileName;
    const std::string other = folder.File("older report.txt");
    for (const auto& answer : {std::optional<std::string>{}, std::optional<std::string>{other}}) {
        dialog.Answer(answer);
        ViewReportClick(state, dialog, editor);
    }
    ASSERT_EQ(dialog.shown.size(), 2u);
    EXPECT_EQ(dialog.shown[0].kind + ": " + dialog.shown[0].title + ": " + dialog.shown[0].offeredFileName,
              "open: Open Existing Report File: " + offered);
    ASSERT_EQ(editor.launched.size(), 1u);
    EXPECT_EQ(editor.launched[0].path, other);
    EXPECT_EQ(state.reportFileName, other);
    EXPECT_TRUE(ui.shown.empty());
}

TEST(DefaultReportPath, StartUpOffersTheFirstTemporaryFolderThatIsSet) {
    struct Case {
        std::optional<std::string> temp;
        std::optional<std::string> tmpdir;
        std::string expected;
    };
    const std::vector<Case> cases = {
        {"/data/temp", "/other", "/data/temp/Tessel_Diag.txt"},
        {"", "/other", "/other/Tessel_Diag.txt"},
        {std::nullopt, std::nullopt, "/tmp/Tessel_Diag.txt"},
        {"", "", "/tmp/Tessel_Diag.txt"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.expected);
        EnvironmentVariable temp("TEMP", c.temp);
        EnvironmentVariable tmpdir("TMPDIR", c.tmpdir);
        EXPECT_EQ(GetDefaultReportFileName(), c.expected);

        testsupport::RecordingInteraction ui;
        MainState state(ui);
        ASSERT_TRUE(StartUp(state));
        state.g_bTestsWereRun = true;
        state.g_pTestCollection->Item(1)->WasRun(true);
        testsupport::ScriptedFileDialog dialog;
        testsupport::ScriptedEditorLauncher editor;
        CreateNewReport(state, dialog, editor);  // cancelled: the dialog answers nothing
        ASSERT_EQ(dialog.shown.size(), 1u);
        EXPECT_EQ(dialog.shown[0].offeredFileName, c.expected);
    }
}

// The real launcher: no shell in between, and a program that is not there is a failed start.
TEST(SpawnEditorLauncher, StartsTheProgramWithThePathAsOneArgumentAndReportsAMissingProgram) {
    testsupport::TempFolder folder;
    SpawnEditorLauncher launcher;
    EXPECT_FALSE(launcher.Launch("tabvet-no-such-editor", folder.File("x.txt")));

    const std::string path = folder.File("a b; touch injected.txt");
    ASSERT_TRUE(launcher.Launch("touch", path));
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!std::filesystem::exists(path) && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    EXPECT_TRUE(std::filesystem::exists(path));
    // Split by a shell, it would have made "a" here and "injected.txt" elsewhere.
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 1);
}

}  // namespace
}  // namespace tabvet
