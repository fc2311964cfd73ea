// Reads case files, plays their actions through the registered words, compares and, when asked, rewrites
// the expected parts; the grammar is described in case_file.h.
#include "support/case_file.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "support/pg_cluster.h"
#include "support/temp_folder.h"

namespace tabvet::testsupport {
namespace {

constexpr std::size_t kShortestRun = 32;

struct Case {
    std::vector<std::string> head;  // the title line, then the actions and comments as written
    int firstLine = 0;              // of the title
    int expectedLine = 0;           // of the first expected line
    std::vector<std::string> expected;
    bool hasExpected = false;
};

struct Parsed {
    std::vector<std::string> preamble;
    std::vector<Case> cases;
};

// The lines of a text, without the empty one after its last line break.
std::vector<std::string> SplitLines(const std::string& text) {
    std::vector<std::string> lines = Split(text, "\n");
    if (lines.back().empty()) {
        lines.pop_back();
    }
    return lines;
}

Parsed Parse(const std::string& text) {
    Parsed parsed;
    int number = 0;
    for (const std::string& line : SplitLines(text)) {
        ++number;
        if (line.starts_with("== ")) {
            parsed.cases.push_back({.head = {line}, .firstLine = number, .expectedLine = 0, .expected = {}});
        } else if (parsed.cases.empty()) {
            parsed.preamble.push_back(line);
        } else if (Case& c = parsed.cases.back(); c.hasExpected) {
            c.expected.push_back(line);
        } else if (line == "----") {
            c.hasExpected = true;
            c.expectedLine = number + 1;
        } else {
            c.head.push_back(line);
        }
    }
    for (Case& c : parsed.cases) {
        if (!c.expected.empty() && c.expected.back().empty()) {
            c.expected.pop_back();  // the blank line before the next case
        }
    }
    return parsed;
}

std::string Escape(unsigned char c) {
    for (const auto& [from, to] : {std::pair{'\\', "\\\\"}, {'\n', "\\n"}, {'\r', "\\r"}, {'\t', "\\t"}}) {
        if (c == static_cast<unsigned char>(from)) {
            return to;
        }
    }
    char hex[8];
    std::snprintf(hex, sizeof hex, "\\x%02x", c);
    return c < 0x20 || c == 0x7f ? hex : std::string(1, static_cast<char>(c));
}

}  // namespace

std::string Readable(std::string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size();) {
        std::size_t run = 1;
        while (i + run < text.size() && text[i + run] == text[i]) {
            ++run;
        }
        const auto c = static_cast<unsigned char>(text[i]);
        if (run >= kShortestRun && c < 0x80) {
            out += "{'" + Escape(c) + "' x " + std::to_string(run) + "}";
            i += run;
        } else {
            out += Escape(c);
            ++i;
        }
    }
    return out;
}

std::string ReadableLines(std::string_view text, std::string_view lineBreak) {
    std::string out;
    std::size_t at = 0;
    for (std::size_t next; (next = text.find(lineBreak, at)) != std::string_view::npos;
         at = next + lineBreak.size()) {
        out += Readable(text.substr(at, next - at)) + "\n";
    }
    if (at < text.size()) {
        out += Readable(text.substr(at)) + "\n(no line break at the end)\n";
    }
    return out;
}

std::string FromReadable(std::string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text.substr(i).starts_with("{'")) {
            const std::size_t times = text.find("' x ", i + 2);
            const std::size_t close = times == std::string_view::npos ? times : text.find('}', times);
            const std::string count =
                close == std::string_view::npos ? "" : std::string(text.substr(times + 4, close - times - 4));
            if (!count.empty() && count.find_first_not_of("0123456789") == std::string::npos) {
                const std::string piece = FromReadable(text.substr(i + 2, times - i - 2));
                for (unsigned long n = std::stoul(count); n > 0; --n) {
                    out += piece;
                }
                i = close;
                continue;
            }
        }
        if (text[i] != '\\' || i + 1 == text.size()) {
            out += text[i];
            continue;
        }
        const char next = text[++i];
        if (next == 'x' && i + 2 < text.size()) {
            out += static_cast<char>(std::stoi(std::string(text.substr(i + 1, 2)), nullptr, 16));
            i += 2;
        } else {
            const char* from = "\\nrt";
            const char* to = "\\\n\r\t";
            const char* found = std::strchr(from, next);
            out += found != nullptr ? std::string(1, to[found - from]) : std::string("\\") + next;
        }
    }
    return out;
}

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = 0; !from.empty() && (at = text.find(from, at)) != std::string::npos;
         at += to.size()) {
        text.replace(at, from.size(), to);
    }
    return text;
}

std::vector<std::string> Split(const std::string& text, const std::string& separator) {
    std::vector<std::string> parts;
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t end = std::min(text.find(separator, at), text.size());
        parts.push_back(text.substr(at, end - at));
        at = end + separator.size();
    }
    return parts;
}

std::pair<std::string, std::string> FirstWord(const std::string& text) {
    const std::size_t blank = text.find(' ');
    return {text.substr(0, blank), blank == std::string::npos ? "" : text.substr(blank + 1)};
}

std::string CasePlayer::Play(const std::string& path) const {
    const std::string file = FixturePath(path);
    Parsed parsed = Parse(ReadBytes(file));
    if (parsed.cases.empty()) {
        return file + ": no cases";
    }
    std::string mismatches;
    for (Case& c : parsed.cases) {
#ifdef _WIN32
        if (std::find(c.head.begin(), c.head.end(), "linux-only") != c.head.end()) {
            continue;
        }
#endif
        std::ostringstream out;
        for (std::size_t i = 1; i < c.head.size(); ++i) {
            const std::string& line = c.head[i];
            if (line.empty() || line.starts_with("#") || line == "linux-only") {
                continue;
            }
            const std::string word = line.substr(0, line.find(' '));
            const auto action = actions_.find(word);
            try {
                if (action == actions_.end()) {
                    throw std::runtime_error("unknown action '" + word + "'");
                }
                action->second(FromReadable(line.size() > word.size() ? line.substr(word.size() + 1) : ""),
                               out);
            } catch (const std::exception& e) {
                out << "(" << line.substr(0, 60) << ": " << e.what() << ")\n";
            }
        }
        std::vector<std::string> actual = SplitLines(mask_ ? mask_(out.str()) : out.str());
        for (std::string& line :
             actual) {  // blanks at the end of a line would be invisible, and editors drop them
            const std::size_t end = line.find_last_not_of(' ') + 1;
            line = line.substr(0, end) + Replaced(line.substr(end), " ", "\\x20");
        }
        if (!c.hasExpected) {
            mismatches += file + ":" + std::to_string(c.firstLine) + ": no ---- line in " + c.head[0] + "\n";
        } else if (actual != c.expected) {
            std::size_t n = 0;
            while (n < actual.size() && n < c.expected.size() && actual[n] == c.expected[n]) {
                ++n;
            }
            mismatches += file + ":" + std::to_string(c.expectedLine + static_cast<int>(n)) + ": " +
                          c.head[0] + "\n  expected: " + (n < c.expected.size() ? c.expected[n] : "<end>") +
                          "\n  actual:   " + (n < actual.size() ? actual[n] : "<end>") + "\n";
        }
        c.expected = actual;
        c.hasExpected = true;
    }
    const char* update = std::getenv("TABVET_UPDATE_EXPECTED");
    if (update == nullptr || std::strcmp(update, "1") != 0) {
        return mismatches;
    }
    std::string text;
    for (const std::string& line : parsed.preamble) {
        text += line + "\n";
    }
    for (const Case& c : parsed.cases) {
        for (const std::string& line : c.head) {
            text += line + "\n";
        }
        text += "----\n";
        for (const std::string& line : c.expected) {
            text += line + "\n";
        }
        text += "\n";
    }
    WriteBytes(file, text);
    return "";
}

}  // namespace tabvet::testsupport
