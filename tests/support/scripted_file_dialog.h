// A file dialog for tests: records what it was shown with and answers from a script.
#pragma once

#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "session/file_dialog.h"

namespace tabvet::testsupport {

class ScriptedFileDialog final : public IFileDialog {
  public:
    /// The next answer: a file name (possibly empty), or nothing for Cancel. Cancel when none is left.
    void Answer(std::optional<std::string> fileName) { answers_.push_back(std::move(fileName)); }

    std::optional<std::string> ShowSave(const std::string& title, const std::string& fileName) override {
        return Show("save: " + title + ": " + fileName);
    }
    std::optional<std::string> ShowOpen(const std::string& title, const std::string& fileName) override {
        return Show("open: " + title + ": " + fileName);
    }

    std::vector<std::string> shown;  ///< "save" or "open", the title and the file name offered

  private:
    std::optional<std::string> Show(std::string what) {
        shown.push_back(std::move(what));
        const std::optional<std::string> answer = answers_.empty() ? std::nullopt : answers_.front();
        answers_.erase(answers_.begin(), answers_.begin() + (answers_.empty() ? 0 : 1));
        return answer;
    }

    std::deque<std::optional<std::string>> answers_;
};

}  // namespace tabvet::testsupport
