// The catalogue: the fixed, ordered list of test objects, 1-based. Its order is the run and report order.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "iado_test.h"

namespace tabvet {

class clsAdoTestCollection {
  public:
    /// Takes the tests in catalogue order; the list never changes afterwards.
    explicit clsAdoTestCollection(std::vector<std::unique_ptr<IAdoTest>> tests);

    std::int16_t Count() const;
    /// The test at 1-based position i, or null outside 1..Count.
    IAdoTest* Item(const std::int16_t& i) const;

  private:
    std::vector<std::unique_ptr<IAdoTest>> tests_;
};

}  // namespace tabvet
