// Entries are matched against the catalogue itself, so that a name or category is spelt as the report
// spells it.
#include "check_selection.h"

#include <algorithm>
#include <cctype>
#include <vector>

namespace tabvet {
namespace {

std::string Folded(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

std::string Trimmed(const std::string& text) {
    const auto begin = text.find_first_not_of(" \t");
    if (begin == std::string::npos) {
        return {};
    }
    return text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
}

// The positions one entry names; none when it names no test.
std::set<std::int16_t> Named(const clsAdoTestCollection& catalogue, const std::string& entry) {
    std::set<std::int16_t> positions;
    const bool digits =
        !entry.empty() && entry.size() <= 5 &&
        std::all_of(entry.begin(), entry.end(), [](unsigned char c) { return std::isdigit(c); });
    const std::string folded = Folded(entry);
    for (std::int16_t i = 1; i <= catalogue.Count(); ++i) {
        const IAdoTest& test = *catalogue.Item(i);
        if ((digits && std::stoi(entry) == i) || folded == Folded(test.Name()) ||
            folded == Folded(test.Category())) {
            positions.insert(i);
        }
    }
    return positions;
}

// Every position the comma-separated list names; false with `unknown` set at the first entry naming none.
bool NamedByList(const clsAdoTestCollection& catalogue, const std::string& list, std::set<std::int16_t>& out,
                 std::string& unknown) {
    std::size_t start = 0;
    for (;;) {
        const std::size_t comma = list.find(',', start);
        const std::string entry = Trimmed(list.substr(start, comma - start));
        const std::set<std::int16_t> named = Named(catalogue, entry);
        if (named.empty()) {
            unknown = entry;
            return false;
        }
        out.insert(named.begin(), named.end());
        if (comma == std::string::npos) {
            return true;
        }
        start = comma + 1;
    }
}

}  // namespace

ChosenChecks ChooseChecks(const clsAdoTestCollection& catalogue, const std::optional<std::string>& keep,
                          const std::optional<std::string>& skip) {
    std::set<std::int16_t> kept;
    std::set<std::int16_t> skipped;
    std::string unknown;
    if (keep && !NamedByList(catalogue, *keep, kept, unknown)) {
        return {std::nullopt, unknown};
    }
    if (skip && !NamedByList(catalogue, *skip, skipped, unknown)) {
        return {std::nullopt, unknown};
    }
    CheckSelection selection;
    for (std::int16_t i = 1; i <= catalogue.Count(); ++i) {
        if ((keep && kept.count(i) == 0) || skipped.count(i) != 0) {
            selection.leftOut.insert(i);
        }
    }
    return {selection, {}};
}

std::string AcceptedVersionsText(const IAdoTest& test) {
    // Releases are probed rather than read from a rule, so the text is whatever the test itself accepts.
    constexpr std::int16_t kHighest = 99;
    std::string text;
    for (std::int16_t major = 0; major <= kHighest; ++major) {
        std::vector<std::int16_t> minors;
        for (std::int16_t minor = 0; minor <= kHighest; ++minor) {
            if (test.WorksWithVersion(major, minor, 0)) {
                minors.push_back(minor);
            }
        }
        if (minors.empty()) {
            continue;
        }
        const std::string m = std::to_string(major);
        std::string part;
        const bool toTheEnd =
            minors.back() == kHighest && minors.size() == std::size_t(kHighest - minors[0] + 1);
        if (toTheEnd && minors[0] == 0) {
            part = m + ".x";
        } else if (toTheEnd) {
            part = m + ".x from " + m + "." + std::to_string(minors[0]);
        } else {
            for (const std::int16_t minor : minors) {
                part += (part.empty() ? "" : ", ") + m + "." + std::to_string(minor);
            }
        }
        text += (text.empty() ? "" : ", ") + part;
    }
    return text.empty() ? "none" : text;
}

}  // namespace tabvet
