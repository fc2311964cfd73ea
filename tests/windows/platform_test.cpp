// What tabvet.exe does differently on Windows, checked on Windows itself (under Wine here): the default
// report path from TEMP, the report's ANSI code page, Notepad's command line and the registry's
// system-information program.
#include <windows.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "db/file_path.h"
#include "report/report_encoding.h"
#include "report/report_paths.h"
#include "session/about_box.h"
#include "session/editor_launcher.h"
#include "support/recording_interaction.h"
#include "support/temp_folder.h"

namespace tabvet {
namespace {

namespace fs = std::filesystem;

// Sets or removes an environment variable for the rest of the process.
void SetEnvironment(const char* name, const std::optional<std::string>& value) {
    _putenv_s(name, value.value_or("").c_str());  // an empty value removes it
}

TEST(DefaultReportPath, IsTempAndTheFileNameEvenWithoutTemp) {
    const char* saved = std::getenv("TEMP");
    const std::optional<std::string> earlier =
        saved != nullptr ? std::optional<std::string>(saved) : std::nullopt;
    const struct {
        std::optional<std::string> temp;
        std::string expected;
    } cases[] = {
        {"C:\\Users\\dba\\AppData\\Local\\Temp", "C:\\Users\\dba\\AppData\\Local\\Temp\\Tessel_Diag.txt"},
        {"C:\\temp folder\\", "C:\\temp folder\\\\Tessel_Diag.txt"},  // kept as it is, doubled separator too
        {std::nullopt, "\\Tessel_Diag.txt"},                          // the root of the current drive
    };
    for (const auto& c : cases) {
        SetEnvironment("TEMP", c.temp);
        EXPECT_EQ(GetDefaultReportFileName(), c.expected) << c.temp.value_or("(unset)");
    }
    SetEnvironment("TEMP", earlier);
}

// The tests run in the code pages 1252 (western) and 1251 (Cyrillic): TABVET_EXPECTED_CODE_PAGE says which
// one the system was given (Wine takes it from LC_ALL).
TEST(ReportEncoding, IsTheAnsiCodePageWithQuestionMarksForTheRest) {
    const char* expected = std::getenv("TABVET_EXPECTED_CODE_PAGE");
    const UINT codePage = GetACP();
    ASSERT_EQ(codePage, expected != nullptr ? std::stoul(expected) : 1252UL);
    const struct {
        std::string utf8;
        std::string cp1252;
        std::string cp1251;
    } cases[] = {
        {"GIS.WELLS\r\n", "GIS.WELLS\r\n", "GIS.WELLS\r\n"},
        {"CAF\xC3\x89", "CAF\xC9", "CAF?"},                      // É
        {"\xD0\x96", "?", "\xC6"},                               // Ж
        {"\xC5\x81\xC3\xB3\x64\xC5\xBA", "?\xF3\x64?", "??d?"},  // Łódź: no look-alikes
        {"\xE2\x82\xAC 5", "\x80 5", "\x88 5"},                  // €
        {"bad \xFF byte", "bad ? byte", "bad ? byte"},           // not UTF-8 at all
        {"", "", ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ReportFileText(c.utf8), codePage == 1252 ? c.cp1252 : c.cp1251) << c.utf8;
    }
}

// The recorder built beside this executable as Notepad.exe, found before the system's own Notepad.
fs::path RecorderPath() {
    wchar_t self[MAX_PATH];
    GetModuleFileNameW(nullptr, self, MAX_PATH);
    return fs::path(self).parent_path() / "Notepad.exe";
}

// Starts what `launch` starts with the recorder's file set, and returns the command line it recorded.
template <typename Launch>
std::optional<std::string> RecordedCommandLine(const testsupport::TempFolder& folder, Launch launch) {
    const std::string record = folder.File("command_line.txt");
    SetEnvironment("TABVET_RECORD_FILE", record);
    if (!launch()) {
        return std::nullopt;
    }
    for (int wait = 0; wait < 300 && !fs::exists(record); ++wait) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(100));  // the recorder closes its file
    std::optional<std::string> text = testsupport::ReadBytes(record);
    fs::remove(record);
    return text;
}

TEST(Editor, IsNotepadWithThePathUnquotedAfterOneBlank) {
    ASSERT_TRUE(fs::exists(RecorderPath()));
    EXPECT_STREQ(EditorProgram(), "Notepad.exe");
    const testsupport::TempFolder folder;
    for (const std::string path : {"C:\\reports\\Tessel_Diag.txt", "C:\\my reports\\Tessel Diag.txt",
                                   "C:\\Berichte\\Pr\xC3\xBC"
                                   "fung \xD0\x96.txt"}) {
        SpawnEditorLauncher launcher;
        EXPECT_EQ(RecordedCommandLine(folder, [&] { return launcher.Launch(EditorProgram(), path); }),
                  "Notepad.exe " + path);
    }
}

TEST(Editor, ThatCannotStartIsReported) {
    SpawnEditorLauncher launcher;
    EXPECT_FALSE(launcher.Launch("NoSuchEditor.exe", "C:\\reports\\Tessel_Diag.txt"));
}

// Writes a value under HKEY_LOCAL_MACHINE, key included, or removes it; the prefix is the tests' own.
void SetRegistryValue(const wchar_t* key, const wchar_t* name, const std::optional<fs::path>& value) {
    if (!value) {
        RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, key, name);
        return;
    }
    const std::wstring text = value->wstring();
    EXPECT_EQ(RegSetKeyValueW(HKEY_LOCAL_MACHINE, key, name, REG_SZ, text.c_str(),
                              static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))),
              ERROR_SUCCESS);
}

constexpr const wchar_t* kPathKey = L"SOFTWARE\\Microsoft\\Shared Tools\\MSINFO";
constexpr const wchar_t* kFolderKey = L"SOFTWARE\\Microsoft\\Shared Tools Location";
constexpr const char* kUnavailable = ": System Information Is Unavailable At This Time";

TEST(SysInfo, IsFoundThroughTheRegistry) {
    const testsupport::TempFolder folder;
    const fs::path tools = fs::path(folder.Path()) / "Shared Tools";
    fs::create_directories(tools);
    fs::copy_file(RecorderPath(), tools / "MSINFO32.EXE");
    const fs::path empty = fs::path(folder.Path()) / "empty";
    fs::create_directories(empty);

    const struct {
        const char* what;
        std::optional<fs::path> pathValue;
        std::optional<fs::path> folderValue;
        bool starts;
    } cases[] = {
        {"the program's path", RecorderPath(), std::nullopt, true},
        {"the path before the folder", RecorderPath(), empty, true},
        {"the folder that holds MSINFO32.EXE", std::nullopt, tools, true},
        {"a folder without it", std::nullopt, empty, false},
        {"neither value (Wine's own registry)", std::nullopt, std::nullopt, false},
    };
    for (const auto& c : cases) {  // the last case leaves neither value behind
        SetRegistryValue(kPathKey, L"PATH", c.pathValue);
        SetRegistryValue(kFolderKey, L"MSINFO", c.folderValue);
        testsupport::RecordingInteraction ui;
        const std::optional<std::string> recorded = RecordedCommandLine(folder, [&] {
            StartSysInfo(PlatformSysInfoLocator(), ui);
            return ui.shown.empty();
        });
        EXPECT_EQ(recorded.has_value(), c.starts) << c.what;
        EXPECT_EQ(ui.Lines(), c.starts ? std::vector<std::string>{} : std::vector<std::string>{kUnavailable})
            << c.what;
    }
}

}  // namespace
}  // namespace tabvet
