// What the unit case files print in common: a value or the run-time error raised instead, the message boxes
// shown, and rows of cells written "a|b|~" (~ for NULL).
#pragma once

#include <ostream>
#include <string>
#include <type_traits>
#include <vector>

#include "db/runtime_error.h"
#include "db/value.h"
#include "session/main_state.h"
#include "support/case_file.h"
#include "support/recording_interaction.h"

namespace tabvet::testsupport {

/// What `step` returns, readable, or the run-time error it raises; "done" for a step without a value.
template <typename F>
std::string Outcome(F step) {
    try {
        if constexpr (std::is_void_v<decltype(step())>) {
            step();
            return "done";
        } else if constexpr (std::is_same_v<decltype(step()), bool>) {
            return step() ? "yes" : "no";
        } else if constexpr (std::is_convertible_v<decltype(step()), std::string>) {
            return Readable(step());
        } else {
            return std::to_string(step());
        }
    } catch (const RuntimeError& e) {
        return Readable(DescribeRuntimeError(e));
    }
}

/// Registers a word whose one line of output is the Outcome of `value` for its argument.
template <typename F>
void OnValue(CasePlayer& player, const std::string& word, F value) {
    player.On(word, [value](const std::string& a, std::ostream& out) {
        out << Outcome([&] { return value(a); }) << "\n";
    });
}

/// One line a message box shown since the last call ("box: title: text"), repeats counted.
inline void PrintBoxes(RecordingInteraction& ui, std::ostream& out) {
    const std::vector<std::string> lines = ui.Lines();
    for (std::size_t i = 0, j; i < lines.size(); i = j) {
        for (j = i + 1; j < lines.size() && lines[j] == lines[i];) {
            ++j;
        }
        out << "box" << (j - i > 1 ? " (" + std::to_string(j - i) + " times)" : "") << ": "
            << Readable(lines[i]) << "\n";
    }
    ui.shown.clear();
}

/// Types MAJOR.MINOR.BUGFIX (parts split at `separator`) into the three version boxes.
inline void SetVersionBoxes(MainState& state, const std::string& text, const std::string& separator = ".") {
    const std::vector<std::string> boxes = Split(text, separator);
    state.txtMajorVersion = boxes.at(0);
    state.txtMinorVersion = boxes.at(1);
    state.txtBugfix = boxes.at(2);
}

/// Rows separated by " / ", cells by '|'; "~" is NULL.
inline std::vector<std::vector<FieldValue>> Cells(const std::string& text) {
    std::vector<std::vector<FieldValue>> rows;
    for (const std::string& row : text.empty() ? std::vector<std::string>{} : Split(text, " / ")) {
        rows.emplace_back();
        for (const std::string& cell : Split(row, "|")) {
            rows.back().push_back(cell == "~" ? FieldValue{} : FieldValue{cell});
        }
    }
    return rows;
}

}  // namespace tabvet::testsupport
