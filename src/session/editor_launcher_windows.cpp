// Notepad takes the rest of its command line as the file name, blanks included, so the path follows the
// program's name after one blank, unquoted. Nothing is left to reap: the process handles are closed at once.
#include <windows.h>

#include "db/utf16.h"
#include "editor_launcher.h"

namespace tabvet {

const char* EditorProgram() {
    return "Notepad.exe";
}

SpawnEditorLauncher::~SpawnEditorLauncher() = default;

bool SpawnEditorLauncher::Launch(const std::string& program, const std::string& path) {
    OdbcWideString commandLine = ToOdbcWide(program + " " + path);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESHOWWINDOW;
    startup.wShowWindow = SW_SHOWNORMAL;
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(nullptr, reinterpret_cast<wchar_t*>(commandLine.data()), nullptr, nullptr, FALSE, 0,
                        nullptr, nullptr, &startup, &process)) {
        return false;
    }
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return true;
}

void SpawnEditorLauncher::ReapFinished() {}

}  // namespace tabvet
