// Cases as data: a group of cases prints what users would see into a transcript, compared byte for byte
// with tests/fixtures/unit/<name>.txt. TABVET_UPDATE_EXPECTED=1 rewrites the file (a tool, not a verdict).
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "db/runtime_error.h"
#include "support/pg_cluster.h"
#include "support/recording_interaction.h"
#include "support/temp_folder.h"

namespace tabvet::testsupport {

/// One line per value: line breaks and other control characters are shown as escapes, so that a bare line
/// feed inside a driver message stays distinguishable from CR LF.
inline std::string Escaped(const std::string& text) {
    std::string out;
    for (const unsigned char c : text) {
        char hex[8];
        std::snprintf(hex, sizeof hex, "\\x%02x", c);
        out += c == '\\'               ? "\\\\"
               : c == '\r'             ? "\\r"
               : c == '\n'             ? "\\n"
               : c < 0x20 || c == 0x7f ? hex
                                       : std::string(1, static_cast<char>(c));
    }
    return out;
}

/// The fields of a data line, split at '|', with \r and \n unescaped.
inline std::vector<std::string> Fields(const std::string& line) {
    std::vector<std::string> fields(1);
    for (std::size_t i = 0; i < line.size(); ++i) {
        const bool escape =
            line[i] == '\\' && i + 1 < line.size() && (line[i + 1] == 'r' || line[i + 1] == 'n');
        if (line[i] == '|') {
            fields.emplace_back();
        } else {
            fields.back() += escape ? (line[++i] == 'r' ? '\r' : '\n') : line[i];
        }
    }
    return fields;
}

/// The sections of a file under tests/fixtures/unit: each "== " heading with the fields of the non-empty
/// lines under it; lines starting with '#' are comments.
struct Section {
    std::string heading;
    std::vector<std::vector<std::string>> rows;
};
inline std::vector<Section> Sections(const std::string& name) {
    std::vector<Section> sections;
    std::istringstream in(ReadBytes(FixturePath("unit/" + name + ".txt")));
    for (std::string line; std::getline(in, line);) {
        if (line.starts_with("== ")) {
            sections.push_back({line.substr(3), {}});
        } else if (!sections.empty() && !line.empty() && !line.starts_with("#")) {
            sections.back().rows.push_back(Fields(line));
        }
    }
    return sections;
}

/// The headings of the cases in an expected file: for groups whose cases are defined by the data alone.
inline std::vector<std::string> CaseHeadings(const std::string& name) {
    std::vector<std::string> headings;
    for (const Section& section : Sections(name)) {
        headings.push_back(section.heading);
    }
    return headings;
}

class Transcript {
  public:
    explicit Transcript(std::string name) : name_(std::move(name)) {}
    ~Transcript() {
        if (const std::string mismatch = checked_ ? "" : Mismatch(); !mismatch.empty()) {
            ADD_FAILURE() << mismatch;
        }
    }

    /// Starts the section of one case.
    void Case(const std::string& label) { text_ << "\n== " << label << "\n"; }
    /// One value, escaped onto one line.
    void Line(const std::string& key, const std::string& value) {
        text_ << Escaped(key) << ": " << Escaped(value) << "\n";
    }

    /// Runs `step` and prints what it returns (when it returns text), or the run-time error it raises.
    template <typename F>
    void Try(const std::string& label, F step) {
        try {
            if constexpr (std::is_void_v<decltype(step())>) {
                step();
            } else {
                Line(label, step());
            }
        } catch (const RuntimeError& e) {
            Line(label, DescribeRuntimeError(e));
        }
    }
    /// The message boxes shown since the last call.
    void Boxes(RecordingInteraction& ui) {
        for (const std::string& box : ui.Lines()) {
            Line("box", box);
        }
        ui.shown.clear();
    }

    /// Empty when the transcript matches its expected file; else where it first differs.
    std::string Mismatch() {
        checked_ = true;
        const std::string path = FixturePath("unit/" + name_ + ".txt");
        const std::string actual = text_.str();
        if (std::getenv("TABVET_UPDATE_EXPECTED") != nullptr) {
            WriteBytes(path, actual);
        }
        std::istringstream a(actual), e(ReadBytes(path));
        std::string al, el;
        for (int line = 1;; ++line) {
            const bool moreA = static_cast<bool>(std::getline(a, al)),
                       moreE = static_cast<bool>(std::getline(e, el));
            if (!moreA && !moreE) {
                return "";
            }
            if (al != el || moreA != moreE) {
                return path + ":" + std::to_string(line) + " differs\n  expected: " + (moreE ? el : "<end>") +
                       "\n  actual:   " + (moreA ? al : "<end>");
            }
        }
    }

  private:
    std::string name_;
    std::ostringstream text_;
    bool checked_ = false;
};

}  // namespace tabvet::testsupport
