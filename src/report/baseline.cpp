// A baseline is checked whole before anything connects: a wrong file is a bad argument, never a run judged
// against half of what was meant.
#include "baseline.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <set>

#include "finding_key.h"
#include "json_reader.h"

namespace tabvet {
namespace {

BaselineRead Refused(std::string why) {
    return {std::nullopt, std::move(why)};
}

// An optional string member: absent and null give nothing; anything else that is no string is an error.
bool OptionalText(const JsonValue& object, const char* name, std::optional<std::string>& out) {
    const JsonValue* value = object.Member(name);
    if (value == nullptr || value->type == JsonValue::Type::Null) {
        return true;
    }
    if (value->type != JsonValue::Type::String) {
        return false;
    }
    out = value->text;
    return true;
}

// A failure that recorded nothing says nothing about what the test would have found.
bool FailedWithoutFinding(const TestOutcome& test) {
    return test.Ran() && test.verdict == Verdict::Failed && test.findings.empty();
}

// The tests whose findings of this run are complete: they ran to their end, read the system tables and
// looked at every entry.
std::vector<bool> CompleteTests(const RunRecord& record) {
    std::vector<bool> complete;
    for (const TestOutcome& test : record.tests) {
        complete.push_back(test.Ran() && test.verdict != Verdict::Error && test.examined && !test.truncated &&
                           !FailedWithoutFinding(test));
    }
    if (record.end == RunEnd::Stopped) {
        // The test running when the stop came lost its statements to the stop.
        for (std::size_t i = complete.size(); i-- > 0;) {
            if (record.tests[i].Ran()) {
                complete[i] = false;
                break;
            }
        }
    }
    return complete;
}

}  // namespace

BaselineRead ReadBaseline(std::string_view text) {
    const JsonParse parsed = ReadJson(text);
    if (!parsed.value) {
        return Refused("not JSON: " + parsed.error);
    }
    const JsonValue& document = *parsed.value;
    if (document.type != JsonValue::Type::Object) {
        return Refused("not a results document: the top level is not an object");
    }
    const JsonValue* version = document.Member("schemaVersion");
    if (version == nullptr) {
        return Refused("it has no schemaVersion (results written before findings existed cannot serve)");
    }
    if (version->WholeNumber() != kResultsSchemaVersion) {
        const std::string written = version->type == JsonValue::Type::Number ? version->text : "not a number";
        return Refused("schemaVersion " + written + " is not " + std::to_string(kResultsSchemaVersion) +
                       ", the one this tabvet reads");
    }
    const JsonValue* tests = document.Member("tests");
    if (tests == nullptr || tests->type != JsonValue::Type::Array) {
        return Refused("it has no tests array");
    }
    Baseline baseline;
    for (std::size_t i = 0; i < tests->items.size(); ++i) {
        const JsonValue& test = tests->items[i];
        const std::string where = "tests[" + std::to_string(i) + "]";
        const JsonValue* position = test.Member("position");
        const std::optional<std::int32_t> number =
            position != nullptr ? position->WholeNumber() : std::nullopt;
        if (test.type != JsonValue::Type::Object || !number || *number < 1 || *number > 32767) {
            return Refused(where + " is not an object with a position from 1");
        }
        const JsonValue* findings = test.Member("findings");
        if (findings == nullptr) {
            continue;
        }
        if (findings->type != JsonValue::Type::Array) {
            return Refused(where + ".findings is not an array");
        }
        for (std::size_t k = 0; k < findings->items.size(); ++k) {
            const JsonValue& finding = findings->items[k];
            const std::string at = where + ".findings[" + std::to_string(k) + "]";
            const JsonValue* key = finding.Member("key");
            if (key == nullptr || key->type != JsonValue::Type::String) {
                return Refused(at + " has no key string");
            }
            BaselineFinding accepted{.position = static_cast<std::int16_t>(*number), .key = key->text};
            if (!OptionalText(finding, "kind", accepted.kind) ||
                !OptionalText(finding, "reason", accepted.reason)) {
                return Refused(at + " has a kind or reason that is not a string");
            }
            baseline.findings.push_back(std::move(accepted));
        }
    }
    return {std::move(baseline), {}};
}

BaselineRead ReadBaselineFile(const std::string& path) {
    errno = 0;
    std::ifstream in(path, std::ios::binary);
    if (!in.is_open()) {
        return Refused(errno != 0 ? std::strerror(errno) : "cannot be opened");
    }
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad()) {
        return Refused("cannot be read");
    }
    return ReadBaseline(text);
}

BaselineComparison CompareWithBaseline(const Baseline& baseline, const RunRecord& record) {
    BaselineComparison comparison;
    std::map<std::string, const BaselineFinding*> accepted;  // the first entry of each key gives the reason
    for (const BaselineFinding& finding : baseline.findings) {
        accepted.emplace(finding.key, &finding);
    }
    std::set<std::string> found;
    for (const TestOutcome& test : record.tests) {
        comparison.tests.emplace_back();
        for (const Finding& finding : test.findings) {
            const std::string key = FindingKey(finding);
            found.insert(key);
            FindingStatus status;
            if (const auto it = accepted.find(key); it != accepted.end()) {
                status = {.known = true, .reason = it->second->reason};
            }
            (status.known ? comparison.knownFindings : comparison.newFindings) += 1;
            comparison.tests.back().push_back(std::move(status));
        }
        comparison.failedWithoutFinding = comparison.failedWithoutFinding || FailedWithoutFinding(test);
    }
    const std::vector<bool> complete = CompleteTests(record);
    for (const BaselineFinding& finding : baseline.findings) {
        const auto index = static_cast<std::size_t>(finding.position - 1);
        if (found.count(finding.key) == 0 && index < complete.size() && complete[index]) {
            comparison.resolved.push_back(finding);
        }
    }
    return comparison;
}

std::string BaselineSummary(const BaselineComparison& comparison) {
    return std::to_string(comparison.newFindings) + " new, " + std::to_string(comparison.knownFindings) +
           " known, " + std::to_string(comparison.resolved.size()) + " resolved";
}

}  // namespace tabvet
