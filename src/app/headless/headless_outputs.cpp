// The probe opens for appending so that an existing file keeps its content until the run is over, and a
// file it had to create is removed again.
#include "headless_outputs.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "db/file_path.h"
#include "report/report_file.h"
#include "report/report_writer.h"
#include "report/results_json.h"
#include "session/report_step.h"

namespace tabvet {
namespace {

std::optional<std::string> WhyNotWritable(const std::string& name) {
    const std::filesystem::path path = FilePath(name);
    std::error_code ec;
    const bool existed = std::filesystem::exists(path, ec);
    if (existed && std::filesystem::is_directory(path, ec)) {
        return std::string(std::strerror(EISDIR));
    }
    errno = 0;
    std::ofstream probe(path, std::ios::out | std::ios::app | std::ios::binary);
    if (!probe.is_open()) {
        return std::string(errno != 0 ? std::strerror(errno) : "cannot be opened for writing");
    }
    probe.close();
    if (!existed) {
        std::filesystem::remove(path, ec);
    }
    return std::nullopt;
}

bool Check(const std::optional<std::string>& path, const char* what, std::ostream& err) {
    if (!path) {
        return true;
    }
    if (const std::optional<std::string> why = WhyNotWritable(*path)) {
        err << "tabvet: cannot write the " << what << " to " << SaidBack(*path) << ": " << *why << std::endl;
        return false;
    }
    return true;
}

// The report step without questions: the file is replaced, and every failure is a ReportFileError.
void WriteReport(const MainState& state, const std::string& path) {
    ReportFile file = ReportFile::Open(path);
    CreateReportInFile(file, ReportContentsOf(state), state.Ui());
    file.Close();
}

template <typename Write>
bool Attempt(const char* what, Write write, std::ostream& err) {
    try {
        write();
        return true;
    } catch (const ReportFileError& e) {
        err << "tabvet: the " << what << " was not written: " << e.what() << std::endl;
        return false;
    }
}

}  // namespace

bool CheckOutputFiles(const HeadlessOptions& options, std::ostream& err) {
    const bool reportOk = Check(options.report, "report", err);
    const bool jsonOk = Check(options.json, "JSON results", err);
    return reportOk && jsonOk;
}

bool WriteOutputFiles(const MainState& state, const HeadlessOptions& options,
                      const BaselineComparison* comparison, std::ostream& err) {
    bool ok = true;
    if (options.report) {
        ok = Attempt(
                 "report", [&] { WriteReport(state, *options.report); }, err) &&
             ok;
    }
    if (options.json) {
        ok = Attempt(
                 "JSON results",
                 [&] {
                     WriteResultsJson(*options.json, TargetOf(state), *state.g_pTestCollection, state.lastRun,
                                      comparison);
                 },
                 err) &&
             ok;
    }
    return ok;
}

}  // namespace tabvet
