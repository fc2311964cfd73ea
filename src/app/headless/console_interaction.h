// The headless mode's user interaction and view: boxes and progress on standard error, the log on
// standard output.
#pragma once

#include <cstddef>
#include <ostream>
#include <string>

#include "db/user_interaction.h"
#include "session/main_state.h"

namespace tabvet {

/// Text with CR LF line breaks as a console wants it (LF only).
std::string ConsoleText(const std::string& text);

/// Prints every message box as "title: text" on the error stream and answers OK or Yes.
class ConsoleInteraction final : public IUserInteraction {
  public:
    explicit ConsoleInteraction(std::ostream& err) : err_(err) {}
    MsgAnswer ShowMessage(const std::string& text, const std::string& title, MsgButtons buttons,
                          MsgIcon icon) override;

  private:
    std::ostream& err_;
};

/// Mirrors the model on the console: what the status log gains goes to `out` as it is written; each
/// progress text goes to `err` on a line of its own. When `err` is a terminal, the count of rows a check has
/// walked is drawn over and over on the line below and cleared when its walk ends.
class ConsoleView final : public MainView {
  public:
    ConsoleView(const MainState& state, std::ostream& out, std::ostream& err, bool errIsTerminal = false)
        : state_(state), out_(out), err_(err), showsRowCount_(errIsTerminal) {}
    void StatusLogChanged() override;
    void StatusBarChanged() override;
    void RowCountChanged() override;
    /// Ends the printed log with a line break if it does not end with one.
    void FinishLog();

  private:
    const MainState& state_;
    std::ostream& out_;
    std::ostream& err_;
    void EndOpenLine();

    std::string printed_;     // the log as printed so far
    bool lineOpen_ = false;   // the output does not end with a line break yet
    bool brokeLine_ = false;  // a line break was added that the log itself will also bring
    const bool showsRowCount_;
    std::size_t rowCountWidth_ = 0;  // characters of the count now drawn; 0: none
};

}  // namespace tabvet
