// An editor launcher for tests: records each launch and starts nothing.
#pragma once

#include <string>
#include <vector>

#include "report/editor_launcher.h"

namespace tabvet::testsupport {

class ScriptedEditorLauncher final : public IEditorLauncher {
  public:
    struct Launched {
        std::string program;
        std::string path;
    };

    bool Launch(const std::string& program, const std::string& path) override {
        launched.push_back({program, path});
        return starts;
    }

    bool starts = true;  ///< what every launch answers
    std::vector<Launched> launched;
};

}  // namespace tabvet::testsupport
