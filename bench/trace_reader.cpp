// The trace escapes only what would break its one-statement-per-line shape.
#include "trace_reader.h"

namespace tabvet::bench {

std::string UnescapeTraceLine(std::string_view line) {
    std::string out;
    out.reserve(line.size());
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] == '\\' && i + 1 < line.size()) {
            const char next = line[i + 1];
            if (next == '\\' || next == 'n' || next == 'r') {
                out.push_back(next == '\\' ? '\\' : (next == 'n' ? '\n' : '\r'));
                ++i;
                continue;
            }
        }
        out.push_back(line[i]);
    }
    return out;
}

bool TraceReader::Next(std::string& statement) {
    if (!std::getline(in_, statement)) {
        return false;
    }
    if (statement.find('\\') != std::string::npos) {  // most statements have nothing to undo
        statement = UnescapeTraceLine(statement);
    }
    return true;
}

}  // namespace tabvet::bench
