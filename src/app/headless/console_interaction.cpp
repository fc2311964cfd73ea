// The log only grows during a run; when it is replaced (cleared), printing starts afresh.
#include "console_interaction.h"

namespace tabvet {

std::string ConsoleText(const std::string& text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') {
            continue;
        }
        out.push_back(text[i]);
    }
    return out;
}

MsgAnswer ConsoleInteraction::ShowMessage(const std::string& text, const std::string& title,
                                          MsgButtons buttons, MsgIcon /*icon*/) {
    err_ << (title.empty() ? std::string("tabvet") : title) << ": " << ConsoleText(text) << std::endl;
    return buttons == MsgButtons::YesNo ? MsgAnswer::Yes : MsgAnswer::Ok;
}

void ConsoleView::StatusLogChanged() {
    const std::string& log = state_.rtbStatus;
    std::string text =
        ConsoleText(log.compare(0, printed_.size(), printed_) == 0 ? log.substr(printed_.size()) : log);
    if (brokeLine_ && !text.empty() && text.front() == '\n') {
        text.erase(0, 1);  // the line was already ended before a progress line
    }
    if (!text.empty()) {
        brokeLine_ = false;
        lineOpen_ = text.back() != '\n';
    }
    out_ << text;
    out_.flush();
    printed_ = log;
}

void ConsoleView::StatusBarChanged() {
    // On a terminal both streams share the screen: end the log's open line before a progress line.
    EndOpenLine();
    err_ << ConsoleText(state_.stsRunFeedback) << std::endl;
}

void ConsoleView::RowCountChanged() {
    if (!showsRowCount_) {
        return;
    }
    // Back to the line's start, the new count, and blanks over what is left of a longer one.
    const std::string& count = state_.stsRunRows;
    const std::size_t drawn = rowCountWidth_;
    if (count.empty() && drawn == 0) {
        return;
    }
    err_ << '\r' << count << std::string(drawn > count.size() ? drawn - count.size() : 0, ' ');
    if (count.empty()) {
        err_ << '\r';
    }
    err_.flush();
    rowCountWidth_ = count.size();
}

void ConsoleView::FinishLog() {
    EndOpenLine();
}

void ConsoleView::EndOpenLine() {
    if (lineOpen_) {
        out_ << '\n';
        out_.flush();
        lineOpen_ = false;
        brokeLine_ = true;
    }
}

}  // namespace tabvet
