// The rules live here, the storing in the window: the settings store itself can show nothing wrong.
#include "remembered_settings.h"

#include <filesystem>
#include <system_error>

#include "connection_handling.h"
#include "db/connection_string_pairs.h"
#include "db/file_path.h"
#include "report/report_paths.h"

namespace tabvet {

RememberedSettings SettingsToRemember(const MainState& state) {
    RememberedSettings remembered;
    if (state.g_pAdoConn != nullptr) {
        remembered.connectionString = WithoutPasswords(state.txtConnString);
    }
    if (state.reportFileName != GetDefaultReportFileName()) {
        const std::filesystem::path folder = FilePath(state.reportFileName).parent_path();
        if (!folder.empty()) {
            remembered.reportFolder = PathText(folder);
        }
    }
    return remembered;
}

void RestoreSettings(MainState& state, const RememberedSettings& stored) {
    if (stored.connectionString && !stored.connectionString->empty()) {
        ConnectionStringChanged(state, *stored.connectionString);
    }
    std::error_code ec;
    if (stored.reportFolder && std::filesystem::is_directory(FilePath(*stored.reportFolder), ec)) {
        const std::filesystem::path name = FilePath(GetDefaultReportFileName()).filename();
        state.reportFileName = PathText(FilePath(*stored.reportFolder) / name);
    }
}

}  // namespace tabvet
