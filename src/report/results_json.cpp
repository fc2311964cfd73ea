// Reasons for a test that did not run are asked in the order the run itself asks them, so the reason
// given is the one that kept the test out.
#include "results_json.h"

#include <cstdio>
#include <ctime>

#include "framework/test_run.h"
#include "json_text.h"
#include "report_file.h"

namespace tabvet {
namespace {

const char* DbmsName(DbmsOption option) {
    switch (option) {
        case DbmsOption::Oracle:
            return "oracle";
        case DbmsOption::SqlServer:
            return "sqlserver";
        case DbmsOption::DB2:
            return "db2";
        case DbmsOption::Informix:
            return "informix";
        case DbmsOption::None:
            break;
    }
    return nullptr;
}

std::string JsonOrNull(const char* text) {
    return text != nullptr ? JsonString(text) : "null";
}

const char* NotRunReason(const MainState& state, const IAdoTest& test) {
    if (!test.Enabled()) {
        return "disabled";
    }
    if (!test.WorksWithVersion(VersionBoxNumber(state.txtMajorVersion),
                               VersionBoxNumber(state.txtMinorVersion), VersionBoxNumber(state.txtBugfix))) {
        return "version";
    }
    if (!WorksWithSelectedDbms(test, state.selectedDbms)) {
        return "dbms";
    }
    return "aborted";  // it applied, but an earlier test ended the run
}

const char* Verdict(const IAdoTest& test, const TestTiming& timing) {
    if (timing.endedRun) {
        return "error";
    }
    return test.Pass() ? "passed" : "failed";
}

std::string Milliseconds(double ms) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f", ms);
    return text;
}

std::string TestEntry(const MainState& state, std::int16_t position, const IAdoTest& test,
                      const TestTiming& timing) {
    const bool ran = timing.entered;
    return std::string("    {\n") + "      \"position\": " + std::to_string(position) + ",\n" +
           "      \"name\": " + JsonString(test.Name()) + ",\n" +
           "      \"category\": " + JsonString(test.Category()) + ",\n" +
           "      \"ran\": " + (ran ? "true" : "false") + ",\n" +
           "      \"notRunReason\": " + (ran ? "null" : JsonString(NotRunReason(state, test))) + ",\n" +
           "      \"verdict\": " + (ran ? JsonString(Verdict(test, timing)) : "null") + ",\n" +
           "      \"resultDetails\": " + JsonString(test.ResultDetails()) + ",\n" +
           "      \"durationMs\": " + (ran ? Milliseconds(timing.durationMs) : "null") + "\n" + "    }";
}

const char* Outcome(const MainState& state, const RunRecord& record) {
    if (record.error) {
        return "error";
    }
    const clsAdoTestCollection* catalogue = state.g_pTestCollection.get();
    for (std::int16_t i = 1; catalogue != nullptr && i <= catalogue->Count(); ++i) {
        const bool entered =
            static_cast<std::size_t>(i) <= record.tests.size() && record.tests[i - 1].entered;
        if (entered && !catalogue->Item(i)->Pass()) {
            return "failed";
        }
    }
    return "passed";
}

}  // namespace

std::string IsoLocalTime(std::chrono::system_clock::time_point time) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    const auto millis = std::chrono::duration_cast<std::chrono::milliseconds>(
                            time - std::chrono::system_clock::from_time_t(seconds))
                            .count();
    std::tm local{};
#ifdef _WIN32
    localtime_s(&local, &seconds);
#else
    localtime_r(&seconds, &local);
#endif
    char date[32];
    char offset[8];
    std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &local);
    std::strftime(offset, sizeof offset, "%z", &local);  // +hhmm; ISO 8601 wants +hh:mm
    char text[64];
    std::snprintf(text, sizeof text, "%s.%03lld%.3s:%.2s", date, static_cast<long long>(millis), offset,
                  offset + 3);
    return text;
}

std::string ResultsJson(const MainState& state, const RunRecord& record) {
    std::string json = "{\n";
    json += "  \"started\": " + JsonString(record.started) + ",\n";
    json += "  \"finished\": " + JsonString(record.finished) + ",\n";
    json += std::string("  \"outcome\": ") + JsonString(Outcome(state, record)) + ",\n";
    json += "  \"error\": " + (record.error ? JsonString(*record.error) : std::string("null")) + ",\n";
    json += "  \"target\": {\n";
    json += "    \"dbms\": " + JsonOrNull(DbmsName(state.selectedDbms)) + ",\n";
    json += "    \"tesselVersion\": " +
            JsonString(state.txtMajorVersion + "." + state.txtMinorVersion + "." + state.txtBugfix) + ",\n";
    json += "    \"database\": " +
            (state.g_sTslSystemTableDatabase.empty() ? std::string("null")
                                                     : JsonString(state.g_sTslSystemTableDatabase)) +
            "\n";
    json += "  },\n";
    json += "  \"tests\": [";
    const clsAdoTestCollection* catalogue = state.g_pTestCollection.get();
    const std::int16_t count = catalogue != nullptr ? catalogue->Count() : 0;
    for (std::int16_t i = 1; i <= count; ++i) {
        const TestTiming timing =
            static_cast<std::size_t>(i) <= record.tests.size() ? record.tests[i - 1] : TestTiming{};
        json += (i == 1 ? "\n" : ",\n") + TestEntry(state, i, *catalogue->Item(i), timing);
    }
    json += count > 0 ? "\n  ]\n}\n" : "]\n}\n";
    return json;
}

void WriteResultsJson(const MainState& state, const RunRecord& record, const std::string& path) {
    ReportFile file = ReportFile::Open(path);
    file.Write(ResultsJson(state, record));
    file.Close();
}

}  // namespace tabvet
