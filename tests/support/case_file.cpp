// Reads case files, plays their actions through the registered words, compares and, when asked, rewrites
// the expected parts; the grammar is described in case_file.h.
#include "support/case_file.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <stdexcept>

#include "support/pg_cluster.h"
#include "support/temp_folder.h"

namespace tabvet::testsupport {
namespace {

std::string Escape(char c) {
    const std::string_view plain = "\\\n\r\t", shown = "\\nrt";
    if (const std::size_t at = plain.find(c); at != std::string_view::npos) {
        return std::string("\\") + shown[at];
    }
    char hex[8];
    std::snprintf(hex, sizeof hex, "\\x%02x", static_cast<unsigned char>(c));
    return (c >= 0 && c < 0x20) || c == 0x7f ? hex : std::string(1, c);
}

}  // namespace

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines = Split(text, "\n");
    if (lines.back().empty()) {
        lines.pop_back();  // after the last line break
    }
    return lines;
}

std::string Readable(std::string_view text) {
    std::string out;
    for (std::size_t i = 0, run; i < text.size(); i += run) {
        run = text.find_first_not_of(text[i], i);
        run = (run == std::string_view::npos ? text.size() : run) - i;
        const bool shorten = run >= 32 && text[i] >= 0;  // runs of ASCII only
        out += shorten ? "{'" + Escape(text[i]) + "' x " + std::to_string(run) + "}" : Escape(text[i]);
        run = shorten ? run : 1;
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
    return out + (at < text.size() ? Readable(text.substr(at)) + "\n(no line break at the end)\n" : "");
}

std::string FromReadable(std::string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::size_t times = text.find("' x ", i);
        const std::size_t close = text.find('}', times == std::string_view::npos ? i : times);
        if (text.substr(i, 2) == "{'" && close != std::string_view::npos) {
            const std::string_view count = text.substr(times + 4, close - times - 4);
            if (!count.empty() && count.find_first_not_of("0123456789") == std::string_view::npos) {
                const std::string piece = FromReadable(text.substr(i + 2, times - i - 2));
                for (unsigned long n = std::stoul(std::string(count)); n > 0; --n) {
                    out += piece;
                }
                i = close;
                continue;
            }
        }
        const std::size_t escape = i + 1 < text.size() && text[i] == '\\'
                                       ? std::string_view("\\nrt").find(text[i + 1])
                                       : std::string_view::npos;
        if (escape != std::string_view::npos) {
            out += "\\\n\r\t"[escape];
            ++i;
        } else if (text.substr(i, 2) == "\\x" && i + 3 < text.size()) {
            out += static_cast<char>(std::stoi(std::string(text.substr(i + 2, 2)), nullptr, 16));
            i += 3;
        } else {
            out += text[i];
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
    const std::vector<std::string> lines = Lines(ReadBytes(file));
    std::string mismatches, rewritten;
    std::size_t at = 0;
    for (; at < lines.size() && !lines[at].starts_with("== "); ++at) {
        rewritten += lines[at] + "\n";  // the comments before the first case
    }
    if (at == lines.size()) {
        return file + ": no cases";
    }
    while (at < lines.size()) {
        std::vector<std::string> head{lines[at]}, expected;
        while (++at < lines.size() && !lines[at].starts_with("== ") && lines[at] != "----") {
            head.push_back(lines[at]);
        }
        const bool dashes = at < lines.size() && lines[at] == "----";
        const std::size_t expectedLine = at + 2;
        while (dashes && ++at < lines.size() && !lines[at].starts_with("== ")) {
            expected.push_back(lines[at]);
        }
        if (!expected.empty() && expected.back().empty()) {
            expected.pop_back();  // the blank line before the next case
        }
#ifdef _WIN32
        const bool play = std::find(head.begin(), head.end(), "linux-only") == head.end();
#else
        const bool play = true;
#endif
        const std::vector<std::string> actual = play ? Actual(head) : expected;
        std::size_t n = 0;
        while (n < actual.size() && n < expected.size() && actual[n] == expected[n]) {
            ++n;
        }
        if (!dashes) {
            mismatches += file + ": no ---- line in " + head[0] + "\n";
        } else if (actual != expected) {
            mismatches += file + ":" + std::to_string(expectedLine + n) + ": " + head[0] +
                          "\n  expected: " + (n < expected.size() ? expected[n] : "<end>") +
                          "\n  actual:   " + (n < actual.size() ? actual[n] : "<end>") + "\n";
        }
        head.push_back("----");
        head.insert(head.end(), actual.begin(), actual.end());
        for (const std::string& written : head) {
            rewritten += written + "\n";
        }
        rewritten += "\n";
    }
    const char* update = std::getenv("TABVET_UPDATE_EXPECTED");
    if (update == nullptr || std::string(update) != "1") {
        return mismatches;
    }
    WriteBytes(file, rewritten);
    return "";
}

std::vector<std::string> CasePlayer::Actual(const std::vector<std::string>& head) const {
    std::ostringstream out;
    for (const std::string& action : std::vector(head.begin() + 1, head.end())) {
        const auto [word, argument] = FirstWord(action);
        if (action.empty() || action.starts_with("#") || action == "linux-only") {
            continue;
        }
        try {
            if (!actions_.contains(word)) {
                throw std::runtime_error("unknown action '" + word + "'");
            }
            actions_.at(word)(FromReadable(argument), out);
        } catch (const std::exception& e) {
            out << "(" << action.substr(0, 60) << ": " << e.what() << ")\n";
        }
    }
    std::vector<std::string> actual = Lines(mask_ ? mask_(out.str()) : out.str());
    for (std::string& line :
         actual) {  // blanks at the end of a line would be invisible, and editors drop them
        const std::size_t end = line.find_last_not_of(' ') + 1;
        line = line.substr(0, end) + Replaced(line.substr(end), " ", "\\x20");
    }
    return actual;
}

}  // namespace tabvet::testsupport
