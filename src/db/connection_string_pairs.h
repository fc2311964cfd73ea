// A connection string cut into its "key=value;" pairs, and the rules that read or hide values by key: the
// password kept out of sight and out of storage, the server and database named for the user.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tabvet {

/// One piece of a connection string, up to and including its semicolon.
struct ConnectionStringPair {
    std::string_view text;   ///< the piece exactly as written
    bool isPair;             ///< false for an empty piece or one without "="
    std::string key;         ///< lower-cased, blanks around it removed
    std::size_t valueStart;  ///< offset of the value (after "=") in `text`
    std::size_t valueEnd;    ///< offset just past the value (its semicolon, or the end of `text`)
};

/// The pairs of a connection string in order; joined, their texts give the string back byte for byte. A
/// value that begins with "{" runs to the matching "}" ("}}" inside braces stands for one "}"), so a
/// semicolon there does not end the pair; a last pair without a closing semicolon is still a pair.
std::vector<ConnectionStringPair> SplitConnectionString(std::string_view connectionString);

/// The string with every character of a password value (PWD, Password) shown as "*", one per character,
/// so that the shown text and the string keep the same length in characters.
std::string MaskPasswords(std::string_view connectionString);

/// The string without its password pairs (PWD, Password), for storing it.
std::string WithoutPasswords(std::string_view connectionString);

/// The value of the first pair whose key is one of `keys` (lower-case), braces removed; empty when none.
std::string ConnectionStringValue(std::string_view connectionString, const std::vector<std::string>& keys);

}  // namespace tabvet
