// What tabvet.exe does differently on Windows, checked on Windows itself (under Wine here): the report's ANSI
// code page, and, played from tests/fixtures/windows/platform.txt, the default report path from TEMP,
// Notepad's command line and the registry's system-information program.
#include <windows.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <thread>

#include "report/report_encoding.h"
#include "report/report_paths.h"
#include "session/about_box.h"
#include "session/editor_launcher.h"
#include "support/case_file.h"
#include "support/recording_interaction.h"
#include "support/temp_folder.h"

namespace tabvet {
namespace {

namespace fs = std::filesystem;

// Sets or removes an environment variable for the rest of the process.
void SetEnvironment(const char* name, const std::optional<std::string>& value) {
    _putenv_s(name, value.value_or("").c_str());  // an empty value removes it
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

TEST(Platform, DefaultReportPathEditorAndSysInfo) {
    ASSERT_TRUE(fs::exists(RecorderPath()));
    EXPECT_STREQ(EditorProgram(), "Notepad.exe");
    const testsupport::TempFolder folder;
    const fs::path tools = fs::path(folder.Path()) / "Shared Tools";
    fs::create_directories(tools);
    fs::copy_file(RecorderPath(), tools / "MSINFO32.EXE");
    fs::create_directories(fs::path(folder.Path()) / "empty");
    const std::map<std::string, std::optional<fs::path>> values{{"program", RecorderPath()},
                                                                {"tools", tools},
                                                                {"empty", fs::path(folder.Path()) / "empty"},
                                                                {"-", {}}};
    const char* temp = std::getenv("TEMP");
    const std::optional<std::string> earlierTemp =
        temp != nullptr ? std::optional<std::string>(temp) : std::nullopt;

    testsupport::CasePlayer player;
    // temp VALUE: the default report path with TEMP set to VALUE, or without TEMP when VALUE is empty
    player.On("temp", [&](const std::string& a, std::ostream& out) {
        SetEnvironment("TEMP", a);
        out << GetDefaultReportFileName() << "\n";
    });
    // launch PROGRAM PATH: the command line the editor launcher started, or "not started"
    player.On("launch", [&](const std::string& a, std::ostream& out) {
        const auto [program, path] = testsupport::FirstWord(a);
        SpawnEditorLauncher launcher;
        out << RecordedCommandLine(folder, [&] { return launcher.Launch(program, path); })
                   .value_or("not started")
            << "\n";
    });
    // sysinfo PATH FOLDER: the registry's two values (program, tools, empty, or - for none); "started", or
    // the boxes shown
    player.On("sysinfo", [&](const std::string& a, std::ostream& out) {
        SetRegistryValue(kPathKey, L"PATH", values.at(testsupport::FirstWord(a).first));
        SetRegistryValue(kFolderKey, L"MSINFO", values.at(testsupport::FirstWord(a).second));
        testsupport::RecordingInteraction ui;
        const std::optional<std::string> started = RecordedCommandLine(folder, [&] {
            StartSysInfo(PlatformSysInfoLocator(), ui);
            return ui.shown.empty();
        });
        out << (started ? "started\n" : "");
        for (const std::string& line : ui.Lines()) {
            out << "box: " << line << "\n";
        }
    });
    EXPECT_EQ(player.Play("windows/platform.txt"), "");
    SetEnvironment("TEMP", earlierTemp);
}

}  // namespace
}  // namespace tabvet
