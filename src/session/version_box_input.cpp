// The boxes are checked as a whole after each edit rather than key by key, so a paste cannot slip past.
#include "version_box_input.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

namespace tabvet {
namespace {

std::string& BoxText(MainState& state, VersionBox box) {
    const std::array<std::string MainState::*, 3> fields{&MainState::txtMajorVersion,
                                                         &MainState::txtMinorVersion, &MainState::txtBugfix};
    return state.*fields.at(static_cast<std::size_t>(box));
}

// True when `after` is `before` with one stretch of characters taken out.
bool OnlyDeletes(const std::string& before, const std::string& after) {
    if (after.size() >= before.size()) {
        return false;
    }
    const auto head = std::mismatch(after.begin(), after.end(), before.begin()).first - after.begin();
    return std::equal(after.begin() + head, after.end(), before.end() - (after.end() - after.begin() - head));
}

std::vector<std::string> DotParts(const std::string& text) {
    std::vector<std::string> parts(1);
    for (const char c : text) {
        if (c == '.') {
            parts.emplace_back();
        } else {
            parts.back().push_back(c);
        }
    }
    return parts;
}

std::optional<VersionBox> NextVersionBox(VersionBox box) {
    switch (box) {
        case VersionBox::Major:
            return VersionBox::Minor;
        case VersionBox::Minor:
            return VersionBox::Bugfix;
        case VersionBox::Bugfix:
            break;
    }
    return std::nullopt;
}

}  // namespace

bool VersionBoxTextFits(const std::string& text) {
    long value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') {
            return false;
        }
        value = std::min<long>(value * 10 + (c - '0'), std::numeric_limits<std::int16_t>::max() + 1L);
    }
    return value <= std::numeric_limits<std::int16_t>::max();
}

bool VersionBoxEdited(MainState& state, VersionBox box, const std::string& text) {
    const std::vector<std::string> parts = DotParts(text);
    const auto boxesLeft = static_cast<std::size_t>(3 - static_cast<int>(box));
    const bool fits =
        parts.size() <= boxesLeft && std::all_of(parts.begin(), parts.end(), [&](const std::string& part) {
            return VersionBoxTextFits(part) && (parts.size() == 1 || !part.empty());
        });
    const bool accepted = fits || OnlyDeletes(BoxText(state, box), text);
    if (accepted && fits) {
        std::optional<VersionBox> next = box;
        for (const std::string& part : parts) {
            BoxText(state, *next) = part;
            next = NextVersionBox(*next);
        }
    } else if (accepted) {
        BoxText(state, box) = text;
    }
    state.View().ControlsChanged();
    return accepted;
}

}  // namespace tabvet
