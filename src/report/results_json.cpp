// Every field says what the run recorded; nothing is worked out again here.
#include "results_json.h"

#include <cstdio>

#include "finding_key.h"
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

std::string DriverErrors(const std::vector<AdoError>& errors) {
    std::string json = "[";
    for (const AdoError& error : errors) {
        json += (json.size() > 1 ? ", " : "") + std::string("{\"number\": ") + std::to_string(error.Number) +
                ", \"sqlState\": " + JsonString(error.sqlState) +
                ", \"text\": " + JsonString(error.Description) + "}";
    }
    return json + "]";
}

// One finding, with its standing against the baseline when there is one.
std::string FindingEntry(std::int16_t position, const IAdoTest& test, const Finding& finding,
                         const FindingStatus* status) {
    std::string json =
        std::string("        {\n") + "          \"position\": " + std::to_string(position) + ",\n" +
        "          \"name\": " + JsonString(test.Name()) + ",\n" +
        "          \"kind\": " + JsonString(FindingKindWord(finding.kind)) + ",\n" +
        "          \"identity\": " + IdentityObject(finding.identity, false, StrayByte::Replaced) + ",\n" +
        "          \"driverErrors\": " + DriverErrors(finding.driverErrors) + ",\n" +
        "          \"key\": " + JsonString(FindingKey(finding));
    if (status != nullptr) {
        json += std::string(",\n          \"baseline\": ") + (status->known ? "\"known\"" : "\"new\"");
        if (status->reason) {
            json += ",\n          \"reason\": " + JsonString(*status->reason);
        }
    }
    return json + "\n        }";
}

std::string TestEntry(std::int16_t position, const IAdoTest& test, const TestOutcome& outcome,
                      const std::vector<FindingStatus>* statuses) {
    const bool ran = outcome.Ran();
    std::string findings;
    for (std::size_t i = 0; i < outcome.findings.size(); ++i) {
        findings += (i == 0 ? "\n" : ",\n") +
                    FindingEntry(position, test, outcome.findings[i], statuses ? &statuses->at(i) : nullptr);
    }
    return std::string("    {\n") + "      \"position\": " + std::to_string(position) + ",\n" +
           "      \"name\": " + JsonString(test.Name()) + ",\n" +
           "      \"category\": " + JsonString(test.Category()) + ",\n" +
           "      \"ran\": " + (ran ? "true" : "false") + ",\n" +
           "      \"notRunReason\": " + (ran ? "null" : JsonString(ReasonWord(*outcome.notRunReason))) +
           ",\n" + "      \"verdict\": " + (ran ? JsonString(VerdictWord(outcome.verdict)) : "null") + ",\n" +
           "      \"resultDetails\": " + JsonString(test.ResultDetails()) + ",\n" +
           "      \"durationMs\": " + (ran ? Milliseconds(outcome.durationMs) : "null") + ",\n" +
           "      \"truncated\": " + (outcome.truncated ? "true" : "false") + ",\n" +
           "      \"findings\": [" + findings + (findings.empty() ? "]" : "\n      ]") + "\n" + "    }";
}

// The counts of a run against a baseline, and the accepted findings it no longer has.
std::string BaselineEntry(const BaselineComparison& comparison) {
    std::string resolved;
    for (const BaselineFinding& finding : comparison.resolved) {
        resolved += std::string(resolved.empty() ? "\n" : ",\n") +
                    "      {\"position\": " + std::to_string(finding.position) +
                    ", \"key\": " + JsonString(finding.key) +
                    ", \"kind\": " + (finding.kind ? JsonString(*finding.kind) : "null") +
                    ", \"reason\": " + (finding.reason ? JsonString(*finding.reason) : "null") + "}";
    }
    return std::string("  \"baseline\": {\n") + "    \"new\": " + std::to_string(comparison.newFindings) +
           ",\n" + "    \"known\": " + std::to_string(comparison.knownFindings) + ",\n" +
           "    \"resolved\": " + std::to_string(comparison.resolved.size()) + ",\n" +
           "    \"resolvedFindings\": [" + resolved + (resolved.empty() ? "]" : "\n    ]") + "\n  }\n";
}

}  // namespace

std::string ResultsJson(const RunTarget& target, const clsAdoTestCollection& catalogue,
                        const RunRecord& record, const BaselineComparison* comparison) {
    const DbmsOptionRow* dbms = FindDbmsOption(target.dbms);
    std::string json = "{\n";
    json += "  \"schemaVersion\": " + std::to_string(kResultsSchemaVersion) + ",\n";
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
        const auto index = static_cast<std::size_t>(i - 1);
        json += (i == 1 ? "\n" : ",\n") + TestEntry(i, *catalogue.Item(i), record.tests.at(index),
                                                    comparison ? &comparison->tests.at(index) : nullptr);
    }
    json += count > 0 ? "\n  ]" : "]";
    json += comparison ? ",\n" + BaselineEntry(*comparison) : "\n";
    return json + "}\n";
}

void WriteResultsJson(const std::string& path, const RunTarget& target, const clsAdoTestCollection& catalogue,
                      const RunRecord& record, const BaselineComparison* comparison) {
    ReportFile file = ReportFile::Open(path);
    file.Write(ResultsJson(target, catalogue, record, comparison));
    file.Close();
}

}  // namespace tabvet
