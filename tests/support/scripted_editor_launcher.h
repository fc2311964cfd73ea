// An editor launcher for tests: records each launch as "program path" and starts nothing.
#pragma once

#include <string>
#include <vector>

#include "session/editor_launcher.h"

namespace tabvet::testsupport {

struct ScriptedEditorLauncher final : IEditorLauncher {
    bool Launch(const std::string& program, const std::string& path) override {
        launched.push_back(program + " " + path);
        return starts;
    }

    bool starts = true;  ///< what every launch answers
    std::vector<std::string> launched;
};

}  // namespace tabvet::testsupport
