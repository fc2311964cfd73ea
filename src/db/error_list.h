// The error list of a connection: every diagnostic record of the last failed connect or open.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tabvet {

/// One entry of a connection's error list.
struct AdoError {
    AdoError() = default;
    AdoError(std::int32_t number, std::string description, std::string state = {})
        : Number(number), Description(std::move(description)), sqlState(std::move(state)) {}

    std::int32_t Number = 0;  ///< the record's native error code
    std::string Description;  ///< the record's message text exactly as the driver gave it
    std::string sqlState;     ///< the record's SQLSTATE; empty for entries tabvet makes itself
};

/// Errors of a connection, indexed from 0.
class ErrorList {
  public:
    std::int32_t Count() const { return static_cast<std::int32_t>(items_.size()); }
    /// Entry i (0-based); outside the list raises "Item cannot be found ...".
    const AdoError& Item(std::int32_t i) const;
    void Clear() { items_.clear(); }
    void Add(AdoError error) { items_.push_back(std::move(error)); }

  private:
    std::vector<AdoError> items_;
};

}  // namespace tabvet
