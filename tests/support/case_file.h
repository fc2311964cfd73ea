// Test cases as data: a case file under tests/fixtures holds what each case does and what must come of it,
// side by side, so that a reviewer reads a behaviour and its change in one place. The grammar:
//   # comment          before the first case or among a case's actions; kept by updates
//   == TITLE           starts a case
//   WORD ARGUMENT      an action, one a line; the words are those the playing test has registered
//   ----               the expected output follows, up to the next "== " line (one blank line before it
//                      only separates)
//   linux-only         among the actions: the expected output is what Linux answers ("/" in paths, UTF-8
//                      reports, permission bits, its error texts); the Windows build skips the case
// Actions and output write values readably: \n \r \t \\ and \xHH are escapes, and {'TEXT' x N} is TEXT N
// times; blanks at the end of an output line show as \x20. TABVET_UPDATE_EXPECTED=1 (that value only)
// rewrites the expected parts with what came out.
#pragma once

#include <functional>
#include <map>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tabvet::testsupport {

/// One line: control characters and backslashes escaped, a run of 32 or more equal characters shortened.
std::string Readable(std::string_view text);
/// Lines split at `lineBreak`, each made readable; a last line without the break is marked.
std::string ReadableLines(std::string_view text, std::string_view lineBreak);
/// The value a readable text stands for (the inverse of Readable).
std::string FromReadable(std::string_view text);

/// Small text helpers the case players share. Lines: without the empty one after the last line break.
std::vector<std::string> Lines(const std::string& text);
std::string Replaced(std::string text, const std::string& from, const std::string& to);
std::vector<std::string> Split(const std::string& text, const std::string& separator);
/// The first word (up to the first blank) and the rest.
std::pair<std::string, std::string> FirstWord(const std::string& text);

/// Plays case files: each action line goes to the function registered for its first word, which writes
/// the output the case expects.
class CasePlayer {
  public:
    using Action = std::function<void(const std::string& argument, std::ostream& out)>;

    /// `argument` is the rest of the line after the word and one blank, decoded by FromReadable.
    void On(const std::string& word, Action action) { actions_[word] = std::move(action); }
    /// Applied to each case's whole output before it is compared (times, ports, folders).
    void Mask(std::function<std::string(std::string)> mask) { mask_ = std::move(mask); }

    /// Plays tests/fixtures/<path> case by case; empty when every case gave its expected output, else where
    /// each differing case first differs.
    std::string Play(const std::string& path) const;

  private:
    std::vector<std::string> Actual(const std::vector<std::string>& head) const;  // a case's output, masked

    std::map<std::string, Action> actions_;
    std::function<std::string(std::string)> mask_;
};

}  // namespace tabvet::testsupport
