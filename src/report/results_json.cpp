// Every field says what the run recorded; nothing is worked out again here.
#include "results_json.h"

#include <cstdio>

#include "json_text.h"
#include "report_file.h"

namespace tabvet {
namespace {

const char* ReasonWord(NotRunReason reason) {
    switch (reason) {
        case NotRunReason::Disabled:
            return "disabled";
        case NotRunReason::Version:
            return "version";
        case NotRunReason::Dbms:
            return "dbms";
        case NotRunReason::Aborted:
            return "aborted";
        case NotRunReason::Deselected:
            return "deselected";
        case NotRunReason::Stopped:
            return "stopped";
    }
    return "";
}

const char* VerdictWord(Verdict verdict) {
    switch (verdict) {
        case Verdict::Passed:
            return "passed";
        case Verdict::Failed:
            return "failed";
        case Verdict::Error:
            return "error";
    }
    return "";
}

const char* OutcomeWord(RunOutcome outcome) {
    switch (outcome) {
        case RunOutcome::Passed:
            return "passed";
        case RunOutcome::Failed:
            return "failed";
        case RunOutcome::Error:
            return "error";
        case RunOutcome::Stopped:
            return "stopped";
    }
    return "";
}

std::string Milliseconds(double ms) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f", ms);
    return text;
}

std::string TestEntry(std::int16_t position, const IAdoTest& test, const TestOutcome& outcome) {
    const bool ran = outcome.Ran();
    return std::string("    {\n") + "      \"position\": " + std::to_string(position) + ",\n" +
           "      \"name\": " + JsonString(test.Name()) + ",\n" +
           "      \"category\": " + JsonString(test.Category()) + ",\n" +
           "      \"ran\": " + (ran ? "true" : "false") + ",\n" +
           "      \"notRunReason\": " + (ran ? "null" : JsonString(ReasonWord(*outcome.notRunReason))) +
           ",\n" + "      \"verdict\": " + (ran ? JsonString(VerdictWord(outcome.verdict)) : "null") + ",\n" +
           "      \"resultDetails\": " + JsonString(test.ResultDetails()) + ",\n" +
           "      \"durationMs\": " + (ran ? Milliseconds(outcome.durationMs) : "null") + "\n" + "    }";
}

}  // namespace

std::string ResultsJson(const RunTarget& target, const clsAdoTestCollection& catalogue,
                        const RunRecord& record) {
    const DbmsOptionRow* dbms = FindDbmsOption(target.dbms);
    std::string json = "{\n";
    json += "  \"started\": " + JsonString(record.started) + ",\n";
    json += "  \"finished\": " + JsonString(record.finished) + ",\n";
    json += std::string("  \"outcome\": ") + JsonString(OutcomeWord(OutcomeOf(record))) + ",\n";
    json += "  \"error\": " + (record.error ? JsonString(*record.error) : std::string("null")) + ",\n";
    if (record.stopReason) {
        // Only a stopped run has the field, so the results of every other run keep their form.
        json += "  \"stopReason\": " + JsonString(*record.stopReason) + ",\n";
    }
    json += "  \"target\": {\n";
    json += "    \"dbms\": " + (dbms != nullptr ? JsonString(dbms->word) : std::string("null")) + ",\n";
    json += "    \"tesselVersion\": " + JsonString(target.VersionText()) + ",\n";
    json +=
        "    \"database\": " + (target.database.empty() ? std::string("null") : JsonString(target.database)) +
        "\n";
    json += "  },\n";
    json += "  \"tests\": [";
    const std::int16_t count = catalogue.Count();
    for (std::int16_t i = 1; i <= count; ++i) {
        json += (i == 1 ? "\n" : ",\n") +
                TestEntry(i, *catalogue.Item(i), record.tests.at(static_cast<std::size_t>(i - 1)));
    }
    json += count > 0 ? "\n  ]\n}\n" : "]\n}\n";
    return json;
}

void WriteResultsJson(const std::string& path, const RunTarget& target, const clsAdoTestCollection& catalogue,
                      const RunRecord& record) {
    ReportFile file = ReportFile::Open(path);
    file.Write(ResultsJson(target, catalogue, record));
    file.Close();
}

}  // namespace tabvet
