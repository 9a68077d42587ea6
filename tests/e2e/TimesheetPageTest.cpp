// `timesheet --format html`: the time view with the answer embedded, the
// same value as the JSON answer within the same budget; failures stay the
// JSON envelope.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "ErrorEnvelope.h"
#include "FixtureDatabase.h"
#include "TemporaryHome.h"
#include "view/TimeView.h"
#include "view/TimeViewPage.h"

namespace timesheet_page_test {

using namespace VarnholtTestSupport;
using JSON = nlohmann::json;

namespace {

// A morning in Berlin, times UTC: an invoice, a call, and a span whose
// description would be markup if anything read it as such.
constexpr const char* kMorning = R"SQL(
    INSERT INTO frames (id, display_id, captured_at, timestamp, image_path, analyzed) VALUES
        ('F-A', 'main', 'x', 1775030400.0, '/f/a.png', 1),
        ('F-B', 'main', 'x', 1775030520.0, '/f/b.png', 1),
        ('F-C', 'main', 'x', 1775034000.0, '/f/c.png', 1);
    INSERT INTO observations (id, recording_id, frame_id, type, timestamp, vlm_description, apps, created_at) VALUES
        ('A', NULL, 'F-A', 'visual', 1775030400.0, 'Writing the invoice exporter', '["VS Code"]', 'x'),
        ('B', NULL, 'F-B', 'visual', 1775030520.0, 'Call in Zoom', '["Zoom"]', 'x'),
        ('C', NULL, 'F-C', 'visual', 1775034000.0, 'Reading </script><script>alert(1)</script> in <b>a</b> diff',
         '["Safari"]', 'x');
)SQL";

const std::vector<std::string> kCategories = {"--category", "Invoicing=text:invoice exporter", "--category",
                                              "Calls <&>=app:Zoom"};

std::size_t occurrences(std::string_view text, std::string_view part) {
    std::size_t found = 0;
    for (auto at = text.find(part); at != std::string_view::npos; at = text.find(part, at + 1)) ++found;
    return found;
}

std::vector<std::string> timesheet(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "timesheet");
    arguments.insert(arguments.end(), kCategories.begin(), kCategories.end());
    return arguments;
}

class TimesheetPageTest : public ::testing::Test {
protected:
    void createDatabase() {
        home_.varnholtDirectory();
        createFixtureDatabase(home_.databasePath(), kMorning);
    }

    ProcessResult run(const std::vector<std::string>& arguments) const {
        InvocationOptions options;
        options.timeZone = "Europe/Berlin";
        options.language = "en_US.UTF-8";
        options.frozenTime = "2026-04-01 10:00:00";
        return home_.run(arguments, options);
    }

    TemporaryHome home_;
};

}  // namespace

TEST_F(TimesheetPageTest, ThePageIsTheViewWithTheJSONAnswerInIt) {
    createDatabase();
    for (const std::vector<std::string>& question :
         {timesheet({}), timesheet({"--since", "2h", "--idle", "10m"}),
          timesheet({"--from", "2026-03-30", "--to", "2026-04-01", "--max-chars", "4000"})}) {
        const ProcessResult answer = run(question);
        ASSERT_EQ(answer.exitStatus, 0) << answer.standardOutput;
        std::vector<std::string> asPage = question;
        asPage.insert(asPage.end(), {"--format", "html"});
        const ProcessResult page = run(asPage);
        EXPECT_EQ(page.exitStatus, 0);
        EXPECT_EQ(page.standardError, "");
        EXPECT_EQ(page.standardOutput, *VarnholtQueryLib::timeViewPage(JSON::parse(answer.standardOutput)))
            << question[1];
        EXPECT_EQ(page.standardOutput.substr(0, 15), "<!DOCTYPE html>");
    }
}

TEST_F(TimesheetPageTest, JSONStaysTheDefault) {
    createDatabase();
    const ProcessResult answer = run(timesheet({}));
    EXPECT_EQ(run(timesheet({"--format", "json"})).standardOutput, answer.standardOutput);
    EXPECT_EQ(run(timesheet({"--format", "html", "--format", "json"})).standardOutput, answer.standardOutput);
    EXPECT_EQ(answer.standardOutput.substr(0, 1), "{");
}

TEST_F(TimesheetPageTest, NoDescriptionOrNameLeavesTheAnswersElement) {
    createDatabase();
    const ProcessResult page = run(timesheet({"--format", "html"}));
    ASSERT_EQ(page.exitStatus, 0);
    const std::string_view view = VarnholtQueryLib::timeViewHTML();
    EXPECT_EQ(occurrences(page.standardOutput, "</script"), occurrences(view, "</script"));
    EXPECT_EQ(occurrences(page.standardOutput, "<script"), occurrences(view, "<script"));
    EXPECT_EQ(page.standardOutput.find("<b>"), std::string::npos);
    EXPECT_EQ(page.standardOutput.find("Calls <&>"), std::string::npos);
    // The texts are all there, escaped.
    EXPECT_NE(page.standardOutput.find(R"(\u003c\/script\u003e\u003cscript\u003ealert(1))"), std::string::npos);
    EXPECT_NE(page.standardOutput.find(R"(Calls \u003c\u0026\u003e)"), std::string::npos);
}

TEST_F(TimesheetPageTest, TheBudgetBoundsTheJSONTheViewIsAdded) {
    createDatabase();
    // A little less than the whole answer: a span must go.
    const std::string budget = std::to_string(run(timesheet({})).standardOutput.size() - 100);
    const ProcessResult answer = run(timesheet({"--max-chars", budget}));
    ASSERT_EQ(answer.exitStatus, 0) << answer.standardOutput;
    EXPECT_EQ(JSON::parse(answer.standardOutput)["meta"]["truncated"], true);
    const ProcessResult page = run(timesheet({"--max-chars", budget, "--format", "html"}));
    EXPECT_EQ(page.standardOutput, *VarnholtQueryLib::timeViewPage(JSON::parse(answer.standardOutput)));
    EXPECT_GT(page.standardOutput.size(), std::stoul(budget));
}

TEST_F(TimesheetPageTest, FailuresAreTheJSONEnvelopeAsEver) {
    // No database.
    ProcessResult result = run(timesheet({"--format", "html"}));
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(JSON::parse(result.standardOutput)["error"]["code"], "DB_NOT_FOUND");
    EXPECT_EQ(result.standardError, "");

    createDatabase();
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {timesheet({"--format", "html", "--idle", "2h"}),
         errorEnvelope("INVALID_TIME_RANGE", "--idle must be between 1m and 1h, not '2h'.")},
        {timesheet({"--format", "xml"}),
         errorEnvelope("INVALID_TIME_RANGE", "--format must be json, csv or html, not 'xml'.")},
        {{"timesheet", "--format", "html", "--category", "A=nothing:x"},
         errorEnvelope("INVALID_TIME_RANGE", "Rule 'nothing:x' of category 'A' has no known prefix: use text:WORDS, "
                                             "app:NAME or entity:[KIND=]VALUE.")},
        {timesheet({"--format", "html", "--max-chars", "10"}),
         errorEnvelope("INVALID_TIME_RANGE",
                       "--max-chars 10 is too small for this timesheet: its totals and days alone need ")},
    };
    for (const auto& [arguments, envelope] : cases) {
        result = run(arguments);
        EXPECT_EQ(result.exitStatus, 1) << arguments[1];
        EXPECT_EQ(result.standardError, "");
        // The least budget that fits follows in the message.
        if (std::find(arguments.begin(), arguments.end(), "--max-chars") != arguments.end()) {
            EXPECT_EQ(result.standardOutput.substr(0, 150), envelope.substr(0, 150));
        } else {
            EXPECT_EQ(result.standardOutput, envelope) << arguments[2];
        }
    }
}

}  // namespace timesheet_page_test
