// Each value is written at once and synced, so a program that is killed keeps what it learnt.
#include "window_settings.h"

#include <QSettings>
#include <QWidget>

#include "session/remembered_settings.h"

namespace tabvet {
namespace {

constexpr const char* kConnectionStringKey = "connection/string";
constexpr const char* kReportFolderKey = "report/folder";
constexpr const char* kGeometryKey = "window/geometry";

std::optional<std::string> Stored(const QSettings& store, const char* key) {
    return store.contains(key) ? std::optional(store.value(key).toString().toStdString()) : std::nullopt;
}

void Store(QSettings& store, const char* key, const std::optional<std::string>& value) {
    if (value && Stored(store, key) != value) {
        store.setValue(key, QString::fromStdString(*value));
        store.sync();
    }
}

}  // namespace

void RestoreWindowSettings(QSettings& store, MainState& state, QWidget& window) {
    RestoreSettings(state, {.connectionString = Stored(store, kConnectionStringKey),
                            .reportFolder = Stored(store, kReportFolderKey)});
    window.restoreGeometry(store.value(kGeometryKey).toByteArray());
}

void StoreSessionSettings(QSettings& store, const MainState& state) {
    const RememberedSettings remembered = SettingsToRemember(state);
    Store(store, kConnectionStringKey, remembered.connectionString);
    Store(store, kReportFolderKey, remembered.reportFolder);
}

void StoreWindowGeometry(QSettings& store, const QWidget& window) {
    store.setValue(kGeometryKey, window.saveGeometry());
    store.sync();
}

}  // namespace tabvet
