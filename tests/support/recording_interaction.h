// A user-interaction double for tests: records every message box and answers from a script.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "db/user_interaction.h"

namespace tabvet::testsupport {

struct ShownMessage {
    std::string text, title;
    MsgButtons buttons;
    MsgIcon icon;
};

/// Records message boxes; answers with the next scripted answer, or with OK / Yes when none is left.
class RecordingInteraction : public IUserInteraction {
  public:
    MsgAnswer ShowMessage(const std::string& text, const std::string& title, MsgButtons buttons,
                          MsgIcon icon) override {
        shown.push_back({text, title, buttons, icon});
        const MsgAnswer fallback = buttons == MsgButtons::YesNo ? MsgAnswer::Yes : MsgAnswer::Ok;
        const MsgAnswer answer = answers.empty() ? fallback : answers.front();
        answers.erase(answers.begin(), answers.begin() + (answers.empty() ? 0 : 1));
        return answer;
    }

    /// "title: text" of every box shown, in order: compact to compare in tests.
    std::vector<std::string> Lines() const {
        std::vector<std::string> lines;
        for (const ShownMessage& m : shown) {
            lines.push_back(m.title + ": " + m.text);
        }
        return lines;
    }

    std::vector<ShownMessage> shown;
    std::deque<MsgAnswer> answers;
};

}  // namespace tabvet::testsupport
