// Both walks share one environment, freed when the walk ends; nothing of it outlives the call.
#include "driver_lists.h"

#include <algorithm>
#include <array>
#include <string>

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
    SQLRETURN code = SQL_ERROR;
    std::string first;
    std::string second;
};

// Fetches the next entry of a walk through the door; `function` is SQLDataSourcesW or SQLDriversW, which
// take the same arguments. A failure only ends the walk: the lists are a convenience of the logon dialog,
// and whatever was read so far is still offered.
template <typename Function>
Fetched FetchNext(const char* call, const EnvHandle& env, Function function) {
    std::array<SQLWCHAR, kTextCapacity> first{};
    std::array<SQLWCHAR, kTextCapacity> second{};
    SQLSMALLINT firstLength = 0;
    SQLSMALLINT secondLength = 0;
    const OdbcResult result =
        CallOdbc(call, env, function, SQLUSMALLINT{SQL_FETCH_NEXT}, first.data(), kTextCapacity, &firstLength,
                 second.data(), kTextCapacity, &secondLength);
    Fetched fetched;
    fetched.code = result.Code();
    if (result.Ok()) {
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
        const Fetched dsn = FetchNext("SQLDataSources", env, SQLDataSourcesW);
        if (dsn.code == SQL_SUCCESS || dsn.code == SQL_SUCCESS_WITH_INFO) {
            lists.dataSources.push_back({dsn.first, dsn.second});
        }
        if (dsn.code != SQL_SUCCESS) {
            break;
        }
    }
    for (;;) {
        const Fetched driver = FetchNext("SQLDrivers", env, SQLDriversW);
        if (driver.code == SQL_SUCCESS || driver.code == SQL_SUCCESS_WITH_INFO) {
            lists.drivers.push_back(driver.first);
        }
        if (driver.code != SQL_SUCCESS) {
            break;
        }
    }
    return lists;
}

}  // namespace tabvet
