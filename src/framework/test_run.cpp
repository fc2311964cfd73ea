// The run catches nothing on purpose: a test that lets an error escape ends the run where it stands.
#include "test_run.h"

#include "db/value.h"

namespace tabvet {
namespace {

constexpr const char* kCrLf = "\r\n";
constexpr const char* kLogRule = "=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-=-";  // 42 characters

}  // namespace

bool WorksWithSelectedDbms(const IAdoTest& test, DbmsOption option) {
    switch (option) {
        case DbmsOption::DB2:
            return test.WorksWithDB2();
        case DbmsOption::Informix:
            return test.WorksWithInformix();
        case DbmsOption::Oracle:
            return test.WorksWithOracle();
        case DbmsOption::SqlServer:
            return test.WorksWithSqlServer();
        case DbmsOption::None:
            break;
    }
    return true;
}

std::int16_t VersionBoxNumber(const std::string& text) {
    return RoundToInt16(LeadingNumber(text));
}

bool IsReadyToRun(const MainState& state) {
    return state.g_pAdoConn != nullptr && state.g_pTestCollection != nullptr &&
           state.selectedDbms != DbmsOption::None && state.g_pTestCollection->Count() >= 1 &&
           VersionBoxNumber(state.txtMajorVersion) != 0;
}

bool ShouldRunTest(const MainState& state, const std::int16_t& i) {
    if (state.g_pTestCollection == nullptr) {
        return false;
    }
    const IAdoTest* test = state.g_pTestCollection->Item(i);
    if (test == nullptr || !test->Enabled()) {
        return false;
    }
    const std::int16_t major = VersionBoxNumber(state.txtMajorVersion);
    const std::int16_t minor = VersionBoxNumber(state.txtMinorVersion);
    const std::int16_t bugfix = VersionBoxNumber(state.txtBugfix);
    if (!test->WorksWithVersion(major, minor, bugfix)) {
        return false;
    }
    return WorksWithSelectedDbms(*test, state.selectedDbms);
}

void ProcessRunTests(MainState& state) {
    if (!IsReadyToRun(state)) {
        state.Ui().ShowMessage("Please Select Server Type (DBMS type and Tessel version)", "Need Server Type",
                               MsgButtons::Ok, MsgIcon::None);
        return;
    }
    const clsAdoTestCollection& catalogue = *state.g_pTestCollection;
    std::int16_t toRun = 0;
    for (std::int16_t i = 1; i <= catalogue.Count(); ++i) {
        if (ShouldRunTest(state, i)) {
            ++toRun;
        }
    }
    state.g_bTestsWereRun = true;
    SetStatusWindow(state, std::string(kCrLf) + "New Test Run started at " + state.now() + kCrLf, true);

    std::int16_t k = 0;
    for (std::int16_t i = 1; i <= catalogue.Count(); ++i) {
        if (!ShouldRunTest(state, i)) {
            continue;
        }
        IAdoTest& test = *catalogue.Item(i);
        ++k;
        SetRunStatusBarText(
            state, "Running test " + std::to_string(k) + " of " + std::to_string(toRun) + ": " + test.Name());
        test.Run(state.g_pAdoConn.get());
        if (!test.Pass()) {
            SetStatusWindow(state,
                            std::string(kCrLf) + kLogRule + kCrLf + "TEST FAILED: " + test.Name() + kCrLf +
                                "Details: " + test.ResultDetails() + kCrLf,
                            true);
        }
    }
    SetStatusWindow(state, std::string(kCrLf) + "Test run finished at " + state.now(), true);
    SetRunStatusBarText(state, "Testing complete.");
}

void SetStatusWindow(MainState& state, const std::string& message, bool keepOld) {
    if (keepOld) {
        state.rtbStatus += message;
    } else {
        state.rtbStatus = message;
    }
    state.View().StatusLogChanged();
}

void SetRunStatusBarText(MainState& state, const std::string& NewText) {
    state.stsRunFeedback = NewText;
    state.View().StatusBarChanged();
}

void ClearRunStatus(MainState& state) {
    SetStatusWindow(state, "");
}

}  // namespace tabvet
