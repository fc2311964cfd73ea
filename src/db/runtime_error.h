// The run-time errors the checks can raise outside their trapped regions, with the classic numbers.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace tabvet {

/// An error with a number and a description, as the data-access layer and the value conversions raise it.
class RuntimeError : public std::runtime_error {
  public:
    RuntimeError(std::int32_t number, const std::string& description)
        : std::runtime_error(description), number_(number) {}

    std::int32_t Number() const { return number_; }
    std::string Description() const { return what(); }

  private:
    std::int32_t number_;
};

namespace errnum {
inline constexpr std::int32_t kOverflow = 6;
inline constexpr std::int32_t kTypeMismatch = 13;
inline constexpr std::int32_t kInvalidUseOfNull = 94;
inline constexpr std::int32_t kNoCurrentRecord = 3021;
inline constexpr std::int32_t kItemNotFound = 3265;
inline constexpr std::int32_t kObjectClosed = 3704;
inline constexpr std::int32_t kConnectionNotUsable = 3709;
}  // namespace errnum

/// The text a person reads when such an error ends an operation: "Run-time error '94': Invalid use of Null".
std::string DescribeRuntimeError(const RuntimeError& e);

}  // namespace tabvet
