// The rules live here, the storing in the window: the settings store itself can show nothing wrong.
#include "remembered_settings.h"

#include <filesystem>
#include <system_error>

#include "connection_handling.h"
#include "db/connection_string_pairs.h"
#include "report/report_paths.h"

namespace tabvet {

RememberedSettings SettingsToRemember(const MainState& state) {
    RememberedSettings remembered;
    if (state.g_pAdoConn != nullptr) {
        remembered.connectionString = WithoutPasswords(state.txtConnString);
    }
    if (state.reportFileName != GetDefaultReportFileName()) {
        const std::filesystem::path folder = std::filesystem::path(state.reportFileName).parent_path();
        if (!folder.empty()) {
            remembered.reportFolder = folder.string();
        }
    }
    return remembered;
}

void RestoreSettings(MainState& state, const RememberedSettings& stored) {
    if (stored.connectionString && !stored.connectionString->empty()) {
        ConnectionStringChanged(state, *stored.connectionString);
    }
    std::error_code ec;
    if (stored.reportFolder && std::filesystem::is_directory(*stored.reportFolder, ec)) {
        const std::filesystem::path name = std::filesystem::path(GetDefaultReportFileName()).filename();
        state.reportFileName = (std::filesystem::path(*stored.reportFolder) / name).string();
    }
}

}  // namespace tabvet
