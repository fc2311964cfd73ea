// Bounds of the error list follow the classic collection: a bad index is an error, not a default entry.
#include "error_list.h"

#include "runtime_error.h"

namespace tabvet {

const AdoError& ErrorList::Item(std::int32_t i) const {
    if (i < 0 || i >= Count()) {
        throw RuntimeError(
            errnum::kItemNotFound,
            "Item cannot be found in the collection corresponding to the requested name or ordinal.");
    }
    return items_[static_cast<std::size_t>(i)];
}

}  // namespace tabvet
