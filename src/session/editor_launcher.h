// Starting the text editor on a report, as a separate process the program does not wait for.
#pragma once

#include <string>
#include <vector>

namespace tabvet {

/// The editor this platform opens reports with: "Notepad.exe" on Windows, "open" on macOS, "xdg-open"
/// elsewhere.
const char* EditorProgram();

/// Starts an editor process. The real one spawns it; tests script the answer.
class IEditorLauncher {
  public:
    virtual ~IEditorLauncher() = default;
    /// Starts `program` on `path` (one argument, never split or quoted) without waiting for it. True when
    /// the process started.
    virtual bool Launch(const std::string& program, const std::string& path) = 0;
};

/// Spawns the program directly, without a shell, so a path with blanks or shell characters stays one
/// argument. Finished editors are reaped at the next launch and when the launcher goes away.
class SpawnEditorLauncher final : public IEditorLauncher {
  public:
    SpawnEditorLauncher() = default;
    SpawnEditorLauncher(const SpawnEditorLauncher&) = delete;
    SpawnEditorLauncher& operator=(const SpawnEditorLauncher&) = delete;
    ~SpawnEditorLauncher() override;

    bool Launch(const std::string& program, const std::string& path) override;

  private:
    void ReapFinished();

    std::vector<long> running_;  // process ids not yet reaped
};

}  // namespace tabvet
