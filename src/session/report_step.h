// The "Create Report" step: results check, file choice, overwrite guard, writing, and viewing in an editor.
#pragma once

#include <cstdint>
#include <string>

#include "editor_launcher.h"
#include "file_dialog.h"
#include "main_state.h"
#include "report/report_file.h"
#include "report/report_writer.h"

namespace tabvet {

/// What a report written now would hold: the catalogue, the boxes and options, the check box, the time.
ReportContents ReportContentsOf(const MainState& state);

/// "Write Test Results to Text File": when tests have run, lets the user choose a file and writes the
/// report; otherwise says there are no results. Throws ReportFileError when the chosen file cannot be
/// written after it was opened.
void CreateNewReport(MainState& state, IFileDialog& dialog, IEditorLauncher& editor);

/// The number of tests with WasRun true; 0, silently, when no run happened since the last reset.
/// Lets the view process pending events after each test.
std::int16_t CountTestsRun(const MainState& state);

/// Save dialog, overwrite question, writing and the offer to view. The chosen name stays in
/// state.reportFileName for the next use. Throws ReportFileError as CreateNewReport.
void SaveReportToChosenFile(MainState& state, IFileDialog& dialog, IEditorLauncher& editor);

/// Opens `path` for the report (created or truncated). A file that cannot be opened gives the
/// "File open error" box and a ReportFile that holds no file.
ReportFile OpenReportFile(const MainState& state, const std::string& path);

/// Starts the platform's editor on `fileName`; false after a box when the name is empty or the editor
/// cannot start.
bool SendFileToEditor(const MainState& state, IEditorLauncher& editor, const std::string& fileName);

/// "Open Existing Text File": choose any file and open it in the editor. Needs no connection or run.
void ViewReportClick(MainState& state, IFileDialog& dialog, IEditorLauncher& editor);

}  // namespace tabvet
