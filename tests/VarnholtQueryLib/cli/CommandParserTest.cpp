#include "cli/CommandParser.h"

#include <gtest/gtest.h>

#include "cli/CLIError.h"
#include "platform/LocalCalendar.h"
#include "MemoryFileSystem.h"
#include "ThrownCLIError.h"
#include "TestInstants.h"

using namespace VarnholtQueryLib;

namespace {

using VarnholtTestSupport::kNow;  // 2026-04-01T10:00:00Z

class CommandParserTest : public ::testing::Test {
protected:
    Command parse(std::vector<std::string> words) const {
        words.insert(words.begin(), "varnholt-query");
        return parseCommand(CommandArguments::fromProcessArguments(words), calendar_, kNow, files_);
    }

    template <typename Case>
    Case parseAs(const std::vector<std::string>& words) const {
        const Command command = parse(words);
        EXPECT_TRUE(std::holds_alternative<Case>(command.value));
        return std::holds_alternative<Case>(command.value) ? std::get<Case>(command.value) : Case{};
    }

    // "CODE: message" of the error that parsing `words` throws.
    std::string failure(const std::vector<std::string>& words) const {
        return VarnholtTestSupport::thrownCLIError([&] { parse(words); });
    }

    LocalCalendar calendar_{"UTC", "en_US"};
    VarnholtTestSupport::MemoryFileSystem files_;
};

}  // namespace

TEST_F(CommandParserTest, HelpWinsOverEverything) {
    parseAs<Command::Help>({"--help", "status"});
    parseAs<Command::Help>({"status", "-h"});
    parseAs<Command::Help>({"help"});
    parseAs<Command::Help>({"-h", "--version"});
    parseAs<Command::Help>({"search", "x", "--help"});
}

TEST_F(CommandParserTest, VersionComesSecond) {
    parseAs<Command::Version>({"status", "--version"});
    parseAs<Command::Version>({"-v"});
    parseAs<Command::Version>({"version"});
    parseAs<Command::Version>({"version", "today"});
}

TEST_F(CommandParserTest, NoCommandIsToday) {
    const auto recent = parseAs<Command::Recent>({});
    EXPECT_EQ(recent.preset, "today");
    EXPECT_FALSE(recent.since.has_value());
    EXPECT_FALSE(recent.limit.has_value());
    EXPECT_FALSE(recent.compact);

    const auto limited = parseAs<Command::Recent>({"--limit", "5"});
    EXPECT_EQ(limited.preset, "today");
    EXPECT_EQ(limited.limit, 5);
}

// The week's first day reaches this-week's range; every timeline command
// checks it, so that a caller passing the user's week is never refused.
TEST_F(CommandParserTest, TimelineCommandsTakeAWeekStart) {
    EXPECT_EQ(parseAs<Command::Recent>({"this-week", "--week-start", "monday"}).weekStart, "monday");
    EXPECT_EQ(parseAs<Command::Recent>({"--week-start", "Sunday", "this-week"}).weekStart, "Sunday");
    EXPECT_FALSE(parseAs<Command::Recent>({"this-week"}).weekStart.has_value());
    EXPECT_EQ(parseAs<Command::Recent>({"today", "--week-start", "friday"}).weekStart, "friday");
    EXPECT_EQ(parseAs<Command::Recent>({"recent", "--since", "2h", "--week-start", "friday"}).weekStart, "friday");
    EXPECT_EQ(parseAs<Command::Recent>({"--week-start", "friday"}).preset, "today");
    EXPECT_EQ(failure({"this-week", "--week-start"}), "UNKNOWN_ERROR: Missing value for --week-start.");
    EXPECT_EQ(failure({"this-week", "--week-start", "mon"}),
              "INVALID_TIME_RANGE: --week-start must be a day of the week: monday, tuesday, wednesday, thursday, "
              "friday, saturday or sunday, not 'mon'.");
    EXPECT_EQ(failure({"range", "--from", "2026-03-30", "--to", "2026-03-31", "--week-start", ""}),
              "INVALID_TIME_RANGE: --week-start must be a day of the week: monday, tuesday, wednesday, thursday, "
              "friday, saturday or sunday, not ''.");
}

TEST_F(CommandParserTest, PresetWordsIgnoreImages) {
    for (const char* word : {"today", "yesterday", "this-week", "last-active-day"}) {
        const auto recent = parseAs<Command::Recent>({word, "--images", "--compact"});
        EXPECT_EQ(recent.preset, word);
        EXPECT_FALSE(recent.images);
        EXPECT_TRUE(recent.compact);
    }
}

TEST_F(CommandParserTest, FullWinsOverCompact) {
    EXPECT_FALSE(parseAs<Command::Recent>({"today", "--compact", "--full"}).compact);
    EXPECT_FALSE(parseAs<Command::Recent>({"today", "--full"}).compact);
}

TEST_F(CommandParserTest, RecentNeedsADuration) {
    const auto recent = parseAs<Command::Recent>({"recent", "--since", "2h", "--images", "--limit", "3"});
    EXPECT_FALSE(recent.preset.has_value());
    EXPECT_EQ(recent.since, "2h");
    EXPECT_TRUE(recent.images);
    EXPECT_EQ(recent.limit, 3);
    const std::string message =
        "INVALID_TIME_RANGE: 'recent' requires --since <duration>. Usage: recent --since 2h";
    EXPECT_EQ(failure({"recent"}), message);
    EXPECT_EQ(failure({"recent", "--since"}), message);
    EXPECT_EQ(failure({"recent", "--since", "--images"}), message);
}

TEST_F(CommandParserTest, RangeNeedsBothEnds) {
    const auto recent = parseAs<Command::Recent>({"range", "--from", "2026-04-01", "--to", "2026-04-07"});
    EXPECT_EQ(recent.preset, "range");
    EXPECT_EQ(recent.rangeFrom, "2026-04-01");
    EXPECT_EQ(recent.rangeTo, "2026-04-07");
    EXPECT_EQ(failure({"range"}),
              "INVALID_TIME_RANGE: 'range' requires --from and --to flags. Usage: range --from 2026-04-01 "
              "--to 2026-04-07");
    EXPECT_EQ(failure({"range", "--to", "2026-04-07"}),
              "INVALID_TIME_RANGE: 'range' requires --from flag. Usage: range --from 2026-04-01 --to 2026-04-07");
    EXPECT_EQ(failure({"range", "--from", "2026-04-01", "--to", "--json"}),
              "INVALID_TIME_RANGE: 'range' requires --to flag. Usage: range --from 2026-04-01 --to 2026-04-07");
}

TEST_F(CommandParserTest, OtherCommands) {
    parseAs<Command::SupportContext>({"support-context"});
    parseAs<Command::Top>({"top"});
    EXPECT_FALSE(parseAs<Command::Status>({"status"}).jsonFlag);
    EXPECT_TRUE(parseAs<Command::Status>({"status", "--json"}).jsonFlag);
}

TEST_F(CommandParserTest, EntitiesToleratesMissingValues) {
    const auto plain = parseAs<Command::Entities>({"entities"});
    EXPECT_FALSE(plain.since.has_value());
    EXPECT_FALSE(plain.kind.has_value());
    EXPECT_EQ(plain.limit, 100);
    EXPECT_FALSE(parseAs<Command::Entities>({"entities", "--kind"}).kind.has_value());
    const auto full = parseAs<Command::Entities>({"entities", "--since", "2h", "--kind", "app", "--limit", "9999"});
    EXPECT_EQ(full.since, "2h");
    EXPECT_EQ(full.kind, "app");
    EXPECT_EQ(full.limit, 9999);  // clamped at dispatch
}

TEST_F(CommandParserTest, UnknownCommandKeepsTheSharedCode) {
    EXPECT_EQ(failure({"frobnicate"}),
              "INVALID_TIME_RANGE: Unrecognized command 'frobnicate'. Use --help for usage.");
}

TEST_F(CommandParserTest, SearchDefaults) {
    const auto search = parseAs<Command::Search>({"search", "invoice"});
    EXPECT_EQ(search.keyword, "invoice");
    EXPECT_FALSE(search.appFilter.has_value());
    EXPECT_FALSE(search.from.has_value());
    EXPECT_FALSE(search.to.has_value());
    EXPECT_EQ(search.limit, 50);
    EXPECT_FALSE(search.latestOnly || search.compact || search.images || search.collapse || search.allWords);
}

TEST_F(CommandParserTest, SearchFlags) {
    const auto search = parseAs<Command::Search>(
        {"search", "invoice", "budget", "--app", "Mail", "--latest", "--images", "--collapse", "--compact"});
    EXPECT_EQ(search.keyword, "invoice");  // the first bare word only
    EXPECT_EQ(search.appFilter, "Mail");
    EXPECT_TRUE(search.latestOnly && search.images && search.collapse && search.compact);
    EXPECT_FALSE(search.allWords);
    EXPECT_EQ(search.limit, 1);  // --latest
}

TEST_F(CommandParserTest, SearchAllWordsBeforeOrAfterTheKeyword) {
    EXPECT_TRUE(parseAs<Command::Search>({"search", "swift generics", "--all-words"}).allWords);
    const auto before = parseAs<Command::Search>({"search", "--all-words", "swift generics", "--latest"});
    EXPECT_TRUE(before.allWords && before.latestOnly);
    EXPECT_EQ(before.keyword, "swift generics");
}

TEST_F(CommandParserTest, SearchLimitClamps) {
    EXPECT_EQ(parseAs<Command::Search>({"search", "kw", "--limit", "1000"}).limit, 200);
    EXPECT_EQ(parseAs<Command::Search>({"search", "kw", "--limit", "0"}).limit, 1);
    EXPECT_EQ(parseAs<Command::Search>({"search", "kw", "--limit", "-4"}).limit, 1);
    EXPECT_EQ(parseAs<Command::Search>({"search", "kw", "--limit", "abc"}).limit, 50);
    EXPECT_EQ(parseAs<Command::Search>({"search", "kw", "--limit", "7", "--limit", "9"}).limit, 9);
}

TEST_F(CommandParserTest, SearchDates) {
    const auto sameDay = parseAs<Command::Search>({"search", "kw", "--from", "2026-04-07", "--to", "2026-04-07"});
    EXPECT_EQ(sameDay.from, 1775520000);  // 2026-04-07T00:00:00Z
    EXPECT_EQ(sameDay.to, 1775606399);    // 2026-04-07T23:59:59Z
    const auto since = parseAs<Command::Search>({"search", "kw", "--since", "2h"});
    EXPECT_EQ(since.from, kNow - 7200);
    EXPECT_EQ(since.to, kNow);
    // Later flags overwrite earlier ones: the start of --from, the end of --since.
    const auto mixed = parseAs<Command::Search>({"search", "kw", "--since", "2h", "--from", "2026-04-01"});
    EXPECT_EQ(mixed.from, 1775001600);
    EXPECT_EQ(mixed.to, kNow);
}

TEST_F(CommandParserTest, SearchErrors) {
    const std::string missingKeyword =
        "INVALID_TIME_RANGE: Missing keyword. Usage: varnholt-query search <keyword> [--app <name>] "
        "[--since <duration>] [--from YYYY-MM-DD] [--to YYYY-MM-DD] [--latest] [--limit N] [--compact]";
    EXPECT_EQ(failure({"search"}), missingKeyword);
    EXPECT_EQ(failure({"search", "--latest"}), missingKeyword);
    EXPECT_EQ(failure({"search", "foo", "--app"}), "UNKNOWN_ERROR: Missing value for --app.");
    EXPECT_EQ(failure({"search", "foo", "--limit", "--latest"}), "UNKNOWN_ERROR: Missing value for --limit.");
    EXPECT_EQ(failure({"search", "foo", "--from", "2026-04-08", "--to", "2026-04-07"}),
              "INVALID_TIME_RANGE: --from must be before or equal to --to");
    EXPECT_EQ(failure({"search", "foo", "--from", "April"}),
              "INVALID_TIME_RANGE: Cannot parse --from date 'April'. Use ISO 8601 or yyyy-MM-dd format.");
    EXPECT_EQ(failure({"search", "foo", "--since", "2x"}),
              "INVALID_TIME_RANGE: Unknown duration unit 'x'. Use m, h, d, or w.");
    // Errors are raised in the order the flags come.
    EXPECT_EQ(failure({"search", "--since", "0h", "--app"}),
              "INVALID_TIME_RANGE: Invalid duration value in '0h'. Numeric prefix required.");
}

TEST_F(CommandParserTest, SearchEqualInstantsPass) {
    const auto search =
        parseAs<Command::Search>({"search", "kw", "--from", "2026-04-01T10:00:00Z", "--to", "2026-04-01T10:00:00Z"});
    EXPECT_EQ(search.from, search.to);
}

TEST_F(CommandParserTest, SearchUnknownFlagEndsTheProcess) {
    EXPECT_EXIT(parse({"search", "foo", "--bogus"}), ::testing::ExitedWithCode(1), "");
    EXPECT_EXIT(parse({"search", "foo", "--json"}), ::testing::ExitedWithCode(1), "");
}

TEST_F(CommandParserTest, SummaryTakesAPresetAndItsFlags) {
    EXPECT_EQ(parseAs<Command::Summary>({"summary"}).preset, "today");
    const auto week = parseAs<Command::Summary>(
        {"summary", "this-week", "--idle", "10m", "--kind", "app", "--limit", "5", "--max-chars", "8000", "--json"});
    EXPECT_EQ(week.preset, "this-week");
    EXPECT_EQ(week.idleSeconds, 600);
    EXPECT_EQ(week.kind, "app");
    EXPECT_EQ(week.limit, 5);
    EXPECT_EQ(week.maxChars, 8000);
    const auto since = parseAs<Command::Summary>({"summary", "--since", "3d"});
    EXPECT_EQ(since.since, "3d");
    EXPECT_FALSE(since.preset.has_value());
    const auto range = parseAs<Command::Summary>({"summary", "--from", "2026-04-01", "--to", "2026-04-07"});
    EXPECT_EQ(range.preset, "range");
    EXPECT_EQ(range.rangeFrom, "2026-04-01");
    EXPECT_EQ(range.rangeTo, "2026-04-07");
}

TEST_F(CommandParserTest, SummaryTakesItsSelectionFlagsEachOftenAndItsSections) {
    const auto selected = parseAs<Command::Summary>({"summary", "--match", "invoice exporter", "--app", "Xcode",
                                                     "--match", "NEAR", "--entity", "app=Xcode", "--week-start",
                                                     "monday", "--only", "days,entities", "this-week"});
    EXPECT_EQ(selected.match, (std::vector<std::string>{"invoice exporter", "NEAR"}));
    EXPECT_EQ(selected.app, (std::vector<std::string>{"Xcode"}));
    EXPECT_EQ(selected.entity, (std::vector<std::string>{"app=Xcode"}));
    EXPECT_EQ(selected.weekStart, "monday");
    EXPECT_EQ(selected.only, (std::vector<std::string>{"days", "entities"}));
    EXPECT_EQ(selected.preset, "this-week");
    // A value that looks like a command word is a value.
    const auto before = parseAs<Command::Summary>({"--match", "today", "summary"});
    EXPECT_EQ(before.match, (std::vector<std::string>{"today"}));
    EXPECT_EQ(before.preset, "today");
}

TEST_F(CommandParserTest, SummaryReadsFlagsBeforeItsWordToo) {
    const auto summary = parseAs<Command::Summary>({"--limit", "3", "summary", "yesterday"});
    EXPECT_EQ(summary.limit, 3);
    EXPECT_EQ(summary.preset, "yesterday");
}

TEST_F(CommandParserTest, SummaryRefusesWhatItDoesNotKnow) {
    EXPECT_EQ(failure({"summary", "--compact"}), "UNKNOWN_ERROR: Unknown flag '--compact'.");
    EXPECT_EQ(failure({"summary", "--idle"}), "UNKNOWN_ERROR: Missing value for --idle.");
    EXPECT_EQ(failure({"summary", "--since", "--idle", "5m"}), "UNKNOWN_ERROR: Missing value for --since.");
    EXPECT_EQ(failure({"summary", "lastweek"}), "INVALID_TIME_RANGE: Unknown preset 'lastweek'.");
    EXPECT_EQ(failure({"summary", "today", "yesterday"}),
              "INVALID_TIME_RANGE: Unexpected argument 'yesterday'. Usage: summary "
              "[today|yesterday|this-week|last-week|this-month|last-month|last-active-day] [--since <duration>] "
              "[--from <date> --to <date>] [--week-start <day>] [--match <words>] [--app <name>] "
              "[--entity [<kind>=]<value>] [--only <sections>] [--idle <duration>] [--kind <kind>] [--limit N] "
              "[--max-chars N] [--format json|html]");
    EXPECT_EQ(failure({"last-week"}), "INVALID_TIME_RANGE: Unrecognized command 'last-week'. Use --help for usage.");
    EXPECT_EQ(failure({"summary", "today", "--since", "2h"}),
              "INVALID_TIME_RANGE: Use only one of a preset, --since, or --from and --to.");
    EXPECT_EQ(failure({"summary", "--limit", "abc"}),
              "INVALID_TIME_RANGE: --limit must be a whole number from 1 to 100, not 'abc'.");
    EXPECT_EQ(failure({"summary", "--idle", "2h"}), "INVALID_TIME_RANGE: --idle must be between 1m and 1h, not '2h'.");
    EXPECT_EQ(failure({"summary", "--format", "csv"}), "INVALID_TIME_RANGE: --format must be json or html, not 'csv'.");
    EXPECT_EQ(failure({"summary", "--format", "HTML"}), "INVALID_TIME_RANGE: --format must be json or html, not 'HTML'.");
    EXPECT_EQ(failure({"summary", "--format"}), "UNKNOWN_ERROR: Missing value for --format.");
}

TEST_F(CommandParserTest, SummaryPrintsJSONUnlessAPageIsAskedFor) {
    EXPECT_EQ(parseAs<Command::Summary>({"summary"}).format, AnswerFormat::json);
    EXPECT_EQ(parseAs<Command::Summary>({"summary", "--format", "html"}).format, AnswerFormat::html);
    // The last word counts, as for every flag of summary.
    EXPECT_EQ(parseAs<Command::Summary>({"summary", "--format", "html", "--format", "json"}).format,
              AnswerFormat::json);
    // The format is not part of the question.
    auto page = parseAs<Command::Summary>({"summary", "this-week", "--format", "html"});
    page.format = AnswerFormat::json;
    EXPECT_EQ(page, parseAs<Command::Summary>({"summary", "this-week"}));
}

TEST_F(CommandParserTest, TimesheetTakesItsCategoriesInOrder) {
    const auto timesheet = parseAs<Command::Timesheet>(
        {"timesheet", "this-week", "--category", "Invoicing=text:invoice exporter|app:QuickBooks", "--category",
         "People=entity:person=Jane", "--week-start", "monday", "--idle", "10m", "--format", "csv"});
    EXPECT_EQ(timesheet.preset, "this-week");
    EXPECT_EQ(timesheet.categories,
              (std::vector<TimesheetCategory>{{"Invoicing", {"text:invoice exporter", "app:QuickBooks"}},
                                              {"People", {"entity:person=Jane"}}}));
    EXPECT_EQ(timesheet.weekStart, "monday");
    EXPECT_EQ(timesheet.idleSeconds, 600);
    EXPECT_EQ(timesheet.format, AnswerFormat::csv);
    EXPECT_FALSE(timesheet.maxChars.has_value());
    EXPECT_TRUE(files_.read.empty());
    // Without a period: today, in JSON.
    const auto today = parseAs<Command::Timesheet>({"timesheet", "--category", "A=app:X", "--max-chars", "900"});
    EXPECT_EQ(today.preset, "today");
    EXPECT_EQ(today.format, AnswerFormat::json);
    EXPECT_EQ(today.maxChars, 900);
    // A page for a browser, with the same budget as the JSON answer.
    const auto page = parseAs<Command::Timesheet>(
        {"timesheet", "--category", "A=app:X", "--max-chars", "900", "--format", "html"});
    EXPECT_EQ(page.format, AnswerFormat::html);
    EXPECT_EQ(page.maxChars, 900);
}

TEST_F(CommandParserTest, TimesheetReadsItsCategoriesFileOnlyWhenNamed) {
    files_.files["/work/c.json"] = R"([{"name": "A=B", "rules": ["text:a|b"]}])";
    const auto timesheet = parseAs<Command::Timesheet>({"timesheet", "--categories", "/work/c.json"});
    EXPECT_EQ(timesheet.categories, (std::vector<TimesheetCategory>{{"A=B", {"text:a|b"}}}));
    EXPECT_EQ(files_.read, std::vector<std::string>{"/work/c.json"});
    EXPECT_EQ(failure({"timesheet", "--categories", "/work/none.json"}),
              "INVALID_TIME_RANGE: Cannot read the categories file '/work/none.json'.");
    files_.files["/work/bad.json"] = "[{\"name\": \"A\" \"rules\": []}]";
    EXPECT_EQ(failure({"timesheet", "--categories", "/work/bad.json"}),
              "INVALID_TIME_RANGE: The categories file '/work/bad.json' is not valid JSON: parse error at line 1, "
              "column 21: syntax error while parsing object - unexpected string literal; expected '}'.");
}

TEST_F(CommandParserTest, TimesheetRefusesWhatItDoesNotKnow) {
    EXPECT_EQ(failure({"timesheet", "--category", "A=app:X", "--limit", "3"}), "UNKNOWN_ERROR: Unknown flag '--limit'.");
    EXPECT_EQ(failure({"timesheet", "--category"}), "UNKNOWN_ERROR: Missing value for --category.");
    EXPECT_EQ(failure({"timesheet", "--category", "Invoicing"}),
              "INVALID_TIME_RANGE: --category 'Invoicing' must be NAME=RULE[|RULE...]: a name, '=', then rules such "
              "as text:WORDS, app:NAME or entity:[KIND=]VALUE, separated by '|'.");
    EXPECT_EQ(failure({"timesheet", "--category", "A=app:X", "--categories", "/work/c.json"}),
              "INVALID_TIME_RANGE: Use either --category or --categories, not both.");
    EXPECT_TRUE(files_.read.empty());
    EXPECT_EQ(failure({"timesheet", "--category", "A=app:X", "--format", "xml"}),
              "INVALID_TIME_RANGE: --format must be json, csv or html, not 'xml'.");
    EXPECT_EQ(failure({"timesheet", "--category", "A=app:X", "--format", "csv", "--max-chars", "100"}),
              "INVALID_TIME_RANGE: --max-chars does not apply to --format csv, which prints every day; leave one "
              "of them out.");
    EXPECT_EQ(failure({"timesheet", "--category", "A=app:X", "--from", "2026-04-01"}),
              "INVALID_TIME_RANGE: 'timesheet' requires --to with --from. Usage: timesheet --from 2026-04-01 --to "
              "2026-04-07");
    EXPECT_EQ(failure({"timesheet", "--category", "A=", "--category", "B=app:X"}),
              "INVALID_TIME_RANGE: Category 'A' has no rule: give text:WORDS, app:NAME or entity:[KIND=]VALUE.");
    EXPECT_EQ(failure({"timesheet", "--category", "A=app:X||app:Y"}),
              "INVALID_TIME_RANGE: Rule '' of category 'A' has no known prefix: use text:WORDS, app:NAME or "
              "entity:[KIND=]VALUE.");
}
