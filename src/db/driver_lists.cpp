// Both walks share one environment, freed when the walk ends; nothing of it outlives the call.
#include "driver_lists.h"

#include <algorithm>
#include <array>
#include <string>

#include "odbc_call.h"
#include "odbc_handles.h"
#include "utf16.h"

namespace tabvet {
namespace {

// Room for 1023 characters and the terminator in each of the two texts a call returns.
constexpr SQLSMALLINT kTextCapacity = 1024;

// The text a call returned, cut to its reported length and never beyond what the buffer holds.
std::string ReturnedText(const std::array<SQLWCHAR, kTextCapacity>& buffer, SQLSMALLINT length) {
    const std::size_t held =
        std::min<std::size_t>(length < 0 ? 0 : static_cast<std::size_t>(length), buffer.size() - 1);
    return FromOdbcWide(buffer.data(), held);
}

// One step of a walk: the two texts, when the call delivered an entry at all.
struct Fetched {
    SQLRETURN rc = SQL_ERROR;
    std::string first;
    std::string second;
};

template <typename Call>
Fetched FetchNext(Call call) {
    std::array<SQLWCHAR, kTextCapacity> first{};
    std::array<SQLWCHAR, kTextCapacity> second{};
    SQLSMALLINT firstLength = 0;
    SQLSMALLINT secondLength = 0;
    Fetched fetched;
    fetched.rc = call(first.data(), &firstLength, second.data(), &secondLength);
    if (OdbcOk(fetched.rc)) {
        fetched.first = ReturnedText(first, firstLength);
        fetched.second = ReturnedText(second, secondLength);
    }
    return fetched;
}

}  // namespace

DriverManagerLists ReadDriverManagerLists() {
    DriverManagerLists lists;
    const EnvHandle env = AllocateEnvironment();
    if (!env) {
        return lists;
    }
    lists.environmentAllocated = true;
    for (;;) {
        const Fetched dsn = FetchNext(
            [&](SQLWCHAR* name, SQLSMALLINT* nameLength, SQLWCHAR* driver, SQLSMALLINT* driverLength) {
                return SQLDataSourcesW(env.Get(), SQL_FETCH_NEXT, name, kTextCapacity, nameLength, driver,
                                       kTextCapacity, driverLength);
            });
        if (OdbcOk(dsn.rc)) {
            lists.dataSources.push_back({dsn.first, dsn.second});
        }
        if (dsn.rc != SQL_SUCCESS) {
            break;
        }
    }
    for (;;) {
        const Fetched driver = FetchNext([&](SQLWCHAR* description, SQLSMALLINT* descriptionLength,
                                             SQLWCHAR* attributes, SQLSMALLINT* attributesLength) {
            return SQLDriversW(env.Get(), SQL_FETCH_NEXT, description, kTextCapacity, descriptionLength,
                               attributes, kTextCapacity, attributesLength);
        });
        if (OdbcOk(driver.rc)) {
            lists.drivers.push_back(driver.first);
        }
        if (driver.rc != SQL_SUCCESS) {
            break;
        }
    }
    return lists;
}

}  // namespace tabvet
