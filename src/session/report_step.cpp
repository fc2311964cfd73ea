// Every stop on the way is silent or a box the user can act on; only a file that fails while being written
// escapes, because the report would otherwise look complete when it is not.
#include "report_step.h"

#include <filesystem>
#include <system_error>

#include "db/file_path.h"
#include "db/line_break.h"

namespace tabvet {
namespace {

bool IsExistingFile(const std::string& path) {
    std::error_code ec;
    const std::filesystem::file_status status = std::filesystem::status(FilePath(path), ec);
    return !ec && std::filesystem::exists(status) && !std::filesystem::is_directory(status);
}

}  // namespace

ReportContents ReportContentsOf(const MainState& state) {
    return {.catalogue = state.g_pTestCollection.get(),
            .target = TargetOf(state),
            .onlyFailures = state.chkOnlyReportFailures,
            .generated = state.now(),
            .stopReason = state.lastRun.stopReason};
}

void CreateNewReport(MainState& state, IFileDialog& dialog, IEditorLauncher& editor) {
    if (CountTestsRun(state) > 0) {
        SaveReportToChosenFile(state, dialog, editor);
    } else {
        // "test" in the singular is how this box has always read.
        state.Ui().Inform("No test have been run.", "No results available");
    }
}

std::int16_t CountTestsRun(const MainState& state) {
    if (!state.g_bTestsWereRun) {
        return 0;
    }
    const clsAdoTestCollection* catalogue = state.g_pTestCollection.get();
    if (catalogue == nullptr || catalogue->Count() < 1) {
        state.Ui().ShowMessage("No test classes have been loaded.  Cannot continue.", "Unexpected Condition",
                               MsgButtons::Ok, MsgIcon::Exclamation);
        return 0;
    }
    std::int16_t count = 0;
    for (std::int16_t i = 1; i <= catalogue->Count(); ++i) {
        if (catalogue->Item(i)->WasRun()) {
            ++count;  // at most Count, itself 16-bit
        }
        state.View().ProcessPendingEvents();
    }
    if (count <= 0) {
        state.Ui().ShowMessage("No tests have run. Please run tests first.", "No Results to Report",
                               MsgButtons::Ok, MsgIcon::Exclamation);
    }
    return count;
}

void SaveReportToChosenFile(MainState& state, IFileDialog& dialog, IEditorLauncher& editor) {
    const std::optional<std::string> chosen =
        dialog.ShowSave("Save Test Results To File", state.reportFileName);
    if (!chosen) {
        return;
    }
    state.reportFileName = *chosen;
    const std::string p = *chosen;
    if (p.empty()) {
        state.Ui().Inform("No file selected", "Cannot save results");
        return;
    }
    if (IsExistingFile(p)) {
        const MsgAnswer answer =
            state.Ui().ShowMessage(std::string("File already exists: ") + kCrLf + p + kCrLf + "Overwrite?",
                                   "File exists", MsgButtons::YesNo, MsgIcon::None);
        if (answer != MsgAnswer::Yes) {
            return;
        }
    }
    ReportFile file = OpenReportFile(state, p);
    if (!file) {
        return;
    }
    const bool written = CreateReportInFile(file, ReportContentsOf(state), state.Ui());
    file.Close();
    if (!written) {
        return;
    }
    const MsgAnswer view =
        state.Ui().ShowMessage(std::string("Report has been created.") + kCrLf + "File: " + p + kCrLf +
                                   "Would you like to view the report now?",
                               "Report Created", MsgButtons::YesNo, MsgIcon::None);
    if (view == MsgAnswer::Yes) {
        SendFileToEditor(state, editor, p);
    }
}

ReportFile OpenReportFile(const MainState& state, const std::string& path) {
    try {
        return ReportFile::Open(path);
    } catch (const ReportFileError&) {
        // The box carries no title of its own: the application's name stands there.
        state.Ui().Inform("File open error", "");
        return ReportFile();
    }
}

bool SendFileToEditor(const MainState& state, IEditorLauncher& editor, const std::string& fileName) {
    if (fileName.empty()) {
        state.Ui().ShowMessage("No file name passed to SendFileToEditor", "Unexpected error", MsgButtons::Ok,
                               MsgIcon::Critical);
        return false;
    }
    const std::string program = EditorProgram();
    if (!editor.Launch(program, fileName)) {
        state.Ui().ShowMessage("Cannot start editor " + program + " on file " + fileName + ".",
                               "Editor not available", MsgButtons::OkCancel, MsgIcon::Critical);
        return false;
    }
    return true;
}

void ViewReportClick(MainState& state, IFileDialog& dialog, IEditorLauncher& editor) {
    const std::optional<std::string> chosen =
        dialog.ShowOpen("Open Existing Report File", state.reportFileName);
    if (!chosen) {
        return;
    }
    state.reportFileName = *chosen;
    if (!chosen->empty()) {
        SendFileToEditor(state, editor, *chosen);
    }
}

}  // namespace tabvet
