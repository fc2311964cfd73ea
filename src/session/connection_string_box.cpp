// Masking keeps one "*" per character, so the shown text and the real string line up character for
// character and an edit of the one can be replayed on the other.
#include "connection_string_box.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "connection_handling.h"
#include "db/connection_string.h"
#include "db/connection_string_pairs.h"

namespace tabvet {
namespace {

// The text cut into its UTF-8 characters.
std::vector<std::string_view> Characters(std::string_view text) {
    std::vector<std::string_view> characters;
    for (std::size_t i = 0; i < text.size();) {
        std::size_t next = i + 1;
        while (next < text.size() && (static_cast<unsigned char>(text[next]) & 0xC0U) == 0x80U) {
            ++next;
        }
        characters.push_back(text.substr(i, next - i));
        i = next;
    }
    return characters;
}

std::string Joined(const std::vector<std::string_view>& characters, std::size_t from, std::size_t to) {
    std::string text;
    for (std::size_t i = from; i < to; ++i) {
        text += characters[i];
    }
    return text;
}

}  // namespace

std::string ShownConnectionString(const MainState& state) {
    return MaskPasswords(state.txtConnString);
}

void ShownConnectionStringEdited(MainState& state, const std::string& shown, std::size_t cursor) {
    const std::string realText = state.txtConnString;
    const std::string shownBefore = ShownConnectionString(state);
    const std::vector<std::string_view> real = Characters(realText);
    const std::vector<std::string_view> before = Characters(shownBefore);
    const std::vector<std::string_view> after = Characters(shown);
    cursor = std::min(cursor, after.size());
    // The edit changed one stretch: what lies after the cursor and still matches is the untouched tail,
    // what matches before it is the untouched head. The cursor settles a run of equal "*" either way.
    std::size_t tail = 0;
    while (tail < after.size() - cursor && tail < before.size() &&
           after[after.size() - 1 - tail] == before[before.size() - 1 - tail]) {
        ++tail;
    }
    std::size_t head = 0;
    while (head < after.size() - tail && head < before.size() - tail && after[head] == before[head]) {
        ++head;
    }
    ConnectionStringChanged(state, Joined(real, 0, head) + Joined(after, head, after.size() - tail) +
                                       Joined(real, real.size() - tail, real.size()));
}

std::string ConnectedTargetText(const MainState& state) {
    if (state.g_pAdoConn == nullptr) {
        return {};
    }
    const std::string odbc = TranslateConnectionString(state.txtConnString);
    const std::string server = ConnectionStringValue(odbc, {"server", "servername", "host", "hostname"});
    const std::string source = ConnectionStringValue(odbc, {"dsn"});
    const std::string database = ConnectionStringValue(odbc, {"database", "dbname", "initial catalog"});
    std::string text = !server.empty()   ? "Server: " + server
                       : !source.empty() ? "Data source: " + source
                                         : "";
    if (!database.empty()) {
        text += (text.empty() ? "" : "   ") + std::string("Database: ") + database;
    }
    return text;
}

}  // namespace tabvet
