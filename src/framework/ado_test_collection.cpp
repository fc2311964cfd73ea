// Positions are 16-bit and 1-based: every caller walks 1..Count.
#include "ado_test_collection.h"

namespace tabvet {

clsAdoTestCollection::clsAdoTestCollection(std::vector<std::unique_ptr<IAdoTest>> tests)
    : tests_(std::move(tests)) {}

std::int16_t clsAdoTestCollection::Count() const {
    return static_cast<std::int16_t>(tests_.size());
}

IAdoTest* clsAdoTestCollection::Item(const std::int16_t& i) const {
    if (i < 1 || i > Count()) {
        return nullptr;
    }
    return tests_[static_cast<std::size_t>(i - 1)].get();
}

}  // namespace tabvet
