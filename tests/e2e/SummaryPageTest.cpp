// `summary --format html`: the time view with the answer embedded, the same
// value as the JSON answer; failures stay the JSON envelope.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

#include "ErrorEnvelope.h"
#include "FixtureDatabase.h"
#include "TemporaryHome.h"
#include "view/TimeView.h"
#include "view/TimeViewPage.h"

namespace summary_page_test {

using namespace VarnholtTestSupport;
using JSON = nlohmann::json;

namespace {

// A morning in Berlin, times UTC: two sessions, one of them with texts that
// would be markup if anything read them as such, and right-to-left text.
constexpr const char* kMorning = R"SQL(
    INSERT INTO frames (id, display_id, captured_at, timestamp, image_path, analyzed) VALUES
        ('F-A', 'main', 'x', 1775030400.0, '/f/a.png', 1),
        ('F-B', 'main', 'x', 1775030520.0, '/f/b.png', 1),
        ('F-C', 'main', 'x', 1775034000.0, '/f/c.png', 1);
    INSERT INTO observations (id, recording_id, frame_id, type, timestamp, vlm_description, apps, created_at) VALUES
        ('A', NULL, 'F-A', 'visual', 1775030400.0, 'Reading </script><script>alert(1)</script> in a diff', '["VS Code"]', 'x'),
        ('B', NULL, 'F-B', 'visual', 1775030520.0, 'Styling <b>bold</b> & <!-- not a comment -->', '["<i>Safari</i>"]', 'x'),
        ('C', NULL, 'F-C', 'visual', 1775034000.0, 'קורא את הדוח על התקציב', '["Pages"]', 'x');
)SQL";

std::size_t occurrences(std::string_view text, std::string_view part) {
    std::size_t found = 0;
    for (auto at = text.find(part); at != std::string_view::npos; at = text.find(part, at + 1)) ++found;
    return found;
}

class SummaryPageTest : public ::testing::Test {
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

TEST_F(SummaryPageTest, ThePageIsTheViewWithTheJSONAnswerInIt) {
    createDatabase();
    for (const std::vector<std::string>& question :
         {std::vector<std::string>{"summary"}, {"summary", "--since", "2h", "--kind", "app"},
          {"summary", "--from", "2026-03-30", "--to", "2026-04-01", "--idle", "10m", "--limit", "2"}}) {
        const ProcessResult answer = run(question);
        ASSERT_EQ(answer.exitStatus, 0) << answer.standardOutput;
        std::vector<std::string> asPage = question;
        asPage.insert(asPage.end(), {"--format", "html"});
        const ProcessResult page = run(asPage);
        EXPECT_EQ(page.exitStatus, 0);
        EXPECT_EQ(page.standardError, "");
        EXPECT_EQ(page.standardOutput, *VarnholtQueryLib::timeViewPage(JSON::parse(answer.standardOutput)))
            << question.back();
        EXPECT_EQ(page.standardOutput.substr(0, 15), "<!DOCTYPE html>");
    }
}

TEST_F(SummaryPageTest, JSONStaysTheDefault) {
    createDatabase();
    const ProcessResult answer = run({"summary"});
    EXPECT_EQ(run({"summary", "--format", "json"}).standardOutput, answer.standardOutput);
    EXPECT_EQ(run({"summary", "--format", "html", "--format", "json"}).standardOutput, answer.standardOutput);
    EXPECT_EQ(answer.standardOutput.substr(0, 1), "{");
}

TEST_F(SummaryPageTest, NoDescriptionLeavesTheAnswersElement) {
    createDatabase();
    const ProcessResult page = run({"summary", "--format", "html"});
    ASSERT_EQ(page.exitStatus, 0);
    const std::string_view view = VarnholtQueryLib::timeViewHTML();
    EXPECT_EQ(occurrences(page.standardOutput, "</script"), occurrences(view, "</script"));
    EXPECT_EQ(occurrences(page.standardOutput, "<script"), occurrences(view, "<script"));
    EXPECT_EQ(occurrences(page.standardOutput, "<!--"), occurrences(view, "<!--"));
    EXPECT_EQ(page.standardOutput.find("<b>"), std::string::npos);
    EXPECT_EQ(page.standardOutput.find("<i>Safari"), std::string::npos);
    // The texts are all there, escaped.
    EXPECT_NE(page.standardOutput.find(R"(\u003c\/script\u003e\u003cscript\u003ealert(1))"), std::string::npos);
    EXPECT_NE(page.standardOutput.find("קורא את הדוח על התקציב"), std::string::npos);
}

TEST_F(SummaryPageTest, TheBudgetBoundsTheJSONTheViewIsAdded) {
    createDatabase();
    const ProcessResult answer = run({"summary", "--max-chars", "1200"});
    ASSERT_EQ(answer.exitStatus, 0) << answer.standardOutput;
    EXPECT_EQ(JSON::parse(answer.standardOutput)["meta"]["truncated"], true);
    const ProcessResult page = run({"summary", "--max-chars", "1200", "--format", "html"});
    EXPECT_EQ(page.standardOutput, *VarnholtQueryLib::timeViewPage(JSON::parse(answer.standardOutput)));
    EXPECT_GT(page.standardOutput.size(), 1200u);
}

TEST_F(SummaryPageTest, FailuresAreTheJSONEnvelopeAsEver) {
    // No database.
    ProcessResult result = run({"summary", "--format", "html"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(JSON::parse(result.standardOutput)["error"]["code"], "DB_NOT_FOUND");
    EXPECT_EQ(result.standardError, "");

    createDatabase();
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"summary", "--format", "html", "--idle", "2h"},
         errorEnvelope("INVALID_TIME_RANGE", "--idle must be between 1m and 1h, not '2h'.")},
        {{"summary", "--format", "xml"}, errorEnvelope("INVALID_TIME_RANGE", "--format must be json or html, not 'xml'.")},
        {{"summary", "--format"}, errorEnvelope("UNKNOWN_ERROR", "Missing value for --format.")},
        {{"summary", "--format", "html", "--max-chars", "10"},
         errorEnvelope("INVALID_TIME_RANGE", "--max-chars 10 is too small for this summary: its totals alone need ")},
    };
    for (const auto& [arguments, envelope] : cases) {
        result = run(arguments);
        EXPECT_EQ(result.exitStatus, 1) << arguments.back();
        EXPECT_EQ(result.standardError, "");
        if (arguments.back() == "10") {
            EXPECT_EQ(result.standardOutput.substr(0, 150), envelope.substr(0, 150));
        } else {
            EXPECT_EQ(result.standardOutput, envelope) << arguments.back();
        }
    }
}

}  // namespace summary_page_test
