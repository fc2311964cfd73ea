// Defaults of the model: a view that shows nothing and the real clock.
#include "main_state.h"

#include <ctime>

#include "db/odbc_connection.h"

namespace tabvet {
namespace {

MainView& SilentView() {
    static MainView view;
    return view;
}

}  // namespace

std::int32_t DbmsTypeCodeOf(DbmsOption option) {
    switch (option) {
        case DbmsOption::DB2:
            return dbtype::kDb2;
        case DbmsOption::Oracle:
            return dbtype::kOracle;
        case DbmsOption::Informix:
            return dbtype::kInformix;
        case DbmsOption::SqlServer:
            return dbtype::kSqlServer;
        case DbmsOption::None:
            break;
    }
    return dbtype::kNotSetUp;
}

MainState::MainState(IUserInteraction& ui)
    : now(GeneralDateTimeText),
      newConnection([] { return std::make_unique<OdbcConnection>(); }),
      ui_(ui),
      view_(&SilentView()) {}

MainState::~MainState() = default;

void MainState::DetachView(const MainView& view) {
    if (view_ == &view) {
        view_ = &SilentView();
    }
}

std::string GeneralDateTimeText() {
    const std::time_t t = std::time(nullptr);
    std::tm local{};
#ifdef _WIN32
    localtime_s(&local, &t);
#else
    localtime_r(&t, &local);
#endif
    char buffer[128];
    const std::size_t n = std::strftime(buffer, sizeof buffer, "%x %X", &local);
    return std::string(buffer, n);
}

}  // namespace tabvet
