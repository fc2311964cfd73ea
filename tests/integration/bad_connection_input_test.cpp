// Connection strings as people paste them, broken ones included, through the connect button and the real
// driver manager: every bad one gives the "Error connecting to DBMS" box with a message that says what is
// wrong, never a crash, and the same model connects with the next good string. Also what bounds the wait for
// a server that accepts connections but never answers.
#include <gtest/gtest.h>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "db/connection_handling.h"
#include "startup.h"
#include "support/pg_cluster.h"
#include "support/recording_interaction.h"

namespace tabvet {
namespace {

using testsupport::PgCluster;

constexpr const char* kDatabase = "bad_input";

const PgCluster& Cluster() {
    static const bool built = [] {
        PgCluster::Shared().CreateDatabase(kDatabase, {"tessel_schema.sql", "healthy_version.sql"});
        return true;
    }();
    static_cast<void>(built);
    return PgCluster::Shared();
}

struct BadString {
    const char* label;
    std::string connectionString;
    std::string messagePart;  // found in the box's text
};

TEST(BadConnectionInput, EveryBadStringIsOneClearBoxAndTheModelStaysUsable) {
    const std::string good = Cluster().ConnectionString(kDatabase);
    const std::string padding(40000, 'x');
    const BadString cases[] = {
        {"unbalanced opening brace", "Driver={PostgreSQL Unicode;Servername=127.0.0.1;",
         "Can't open lib 'PostgreSQL Unicode;Servername=127.0.0.1;'"},
        {"closing brace first", "Driver=}PostgreSQL Unicode{;", "Can't open lib '}PostgreSQL Unicode{'"},
        {"empty pairs only", ";;;", "Data source name not found"},
        {"keys without values", "=;=;Driver=;", "Err#101: connection to server"},
        {"provider alone", "Provider=MSDASQL;", "Data source name not found"},
        {"unknown driver", "Driver=No Such Driver 9;Server=x;", "Can't open lib 'No Such Driver 9'"},
        {"unknown data source", "DSN=no_such_source;", "Data source name not found"},
        {"control characters", std::string("Driver=PostgreSQL\x01\x7f Unicode;"), "Can't open lib"},
        // Longer than SQLDriverConnect's 16-bit length: said so, not cut short or refused without a reason.
        {"40,000 characters", good + "X=" + padding, "ODBC accepts at most 32767"},
        {"64 KB", std::string(65536, ';'), "The connection string is 65536 characters long"},
        {"64 KB after a good string", good + std::string(65536 - good.size(), 'y'),
         "The connection string is 65536 characters long"},
    };
    testsupport::RecordingInteraction ui;
    MainState state(ui);
    ASSERT_TRUE(StartUp(state));
    for (const BadString& c : cases) {
        SCOPED_TRACE(c.label);
        ui.shown.clear();
        ConnectionStringChanged(state, c.connectionString);
        ConnectButtonClick(state);
        EXPECT_EQ(state.g_pAdoConn, nullptr);
        EXPECT_EQ(state.cmdConnectCaption, "Connect");
        ASSERT_EQ(ui.shown.size(), 1u);
        EXPECT_EQ(ui.shown[0].title, "Error connecting to DBMS");
        EXPECT_EQ(ui.shown[0].text.rfind("Errors:\r\n\r\n>>>> Err#", 0), 0u) << ui.shown[0].text;
        EXPECT_NE(ui.shown[0].text.find(c.messagePart), std::string::npos) << ui.shown[0].text.substr(0, 300);

        ConnectionStringChanged(state, good);
        ConnectButtonClick(state);
        ASSERT_NE(state.g_pAdoConn, nullptr) << testing::PrintToString(ui.Lines());
        ConnectButtonClick(state);
        EXPECT_EQ(state.g_pAdoConn, nullptr);
    }
}

TEST(BadConnectionInput, AStringJustWithinTheLimitStillConnects) {
    // The driver ignores keys it does not know; the whole string reaches it.
    const std::string good = Cluster().ConnectionString(kDatabase);
    testsupport::RecordingInteraction ui;
    MainState state(ui);
    ASSERT_TRUE(StartUp(state));
    ConnectionStringChanged(state, good + "X=" + std::string(32767 - good.size() - 2, 'z'));
    ConnectButtonClick(state);
    EXPECT_NE(state.g_pAdoConn, nullptr) << testing::PrintToString(ui.Lines());
    EXPECT_TRUE(DisconnectFromDbms(state));
}

// A listener that completes the TCP handshake and then says nothing, like a server whose process hangs.
class SilentServer {
  public:
    SilentServer() {
        socket_ = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = 0;
        EXPECT_EQ(::bind(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(::listen(socket_, 8), 0);
        socklen_t length = sizeof address;
        ::getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &length);
        port_ = ntohs(address.sin_port);
    }
    ~SilentServer() { ::close(socket_); }
    SilentServer(const SilentServer&) = delete;
    SilentServer& operator=(const SilentServer&) = delete;

    int Port() const { return port_; }

  private:
    int socket_ = -1;
    int port_ = 0;
};

// With the driver's defaults such a server is waited for without end (see docs/reliability.md); the
// connection string carries the driver's own timeout through untouched, and it ends the wait with a box.
TEST(BadConnectionInput, TheDriversConnectTimeoutInTheStringEndsTheWaitForASilentServer) {
    SilentServer server;
    testsupport::RecordingInteraction ui;
    MainState state(ui);
    ASSERT_TRUE(StartUp(state));
    ConnectionStringChanged(
        state, "Driver=PostgreSQL Unicode;Servername=127.0.0.1;Port=" + std::to_string(server.Port()) +
                   ";Database=x;UID=tabvet;PWD=;pqopt={connect_timeout=2};");
    const auto started = std::chrono::steady_clock::now();
    ConnectButtonClick(state);
    const auto took = std::chrono::steady_clock::now() - started;
    EXPECT_GE(took, std::chrono::seconds(1));
    EXPECT_LT(took, std::chrono::seconds(20));
    EXPECT_EQ(state.g_pAdoConn, nullptr);
    ASSERT_EQ(ui.shown.size(), 1u);
    EXPECT_EQ(ui.shown[0].title, "Error connecting to DBMS");
    EXPECT_NE(ui.shown[0].text.find("timeout expired"), std::string::npos) << ui.shown[0].text;
}

}  // namespace
}  // namespace tabvet
