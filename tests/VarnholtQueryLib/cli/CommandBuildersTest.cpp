#include "cli/CommandBuilders.h"

#include <gtest/gtest.h>

#include "platform/LocalCalendar.h"
#include "ThrownCLIError.h"
#include "TestInstants.h"

using namespace VarnholtQueryLib;
using VarnholtTestSupport::thrownCLIError;

namespace {

using VarnholtTestSupport::kNow;  // 2026-04-01T10:00:00Z

class CommandBuildersTest : public ::testing::Test {
protected:
    LocalCalendar calendar_{"UTC", "en_US"};
};

}  // namespace

TEST_F(CommandBuildersTest, OnlyTheFourNamedPresetsArePresets) {
    for (const char* preset : {"today", "yesterday", "this-week", "last-active-day"}) {
        EXPECT_TRUE(isTimelinePreset(preset)) << preset;
        const Command::Recent recent = timelinePresetCommand(preset, true, 4);
        EXPECT_EQ(recent.preset, preset);
        EXPECT_TRUE(recent.compact);
        EXPECT_EQ(recent.limit, 4);
        EXPECT_FALSE(recent.images);
    }
    for (const char* word : {"recent", "range", "Today", "", "tomorrow"}) {
        EXPECT_FALSE(isTimelinePreset(word)) << word;
        EXPECT_EQ(thrownCLIError([&] { timelinePresetCommand(word, false, std::nullopt); }),
                  std::string("INVALID_TIME_RANGE: Unknown preset '") + word + "'.");
    }
}

TEST_F(CommandBuildersTest, SinceKeepsItsTextForTheRun) {
    const Command::Recent recent = timelineSinceCommand("", true, false, std::nullopt);
    EXPECT_FALSE(recent.preset.has_value());
    EXPECT_EQ(recent.since, "");
    EXPECT_TRUE(recent.images);
}

TEST_F(CommandBuildersTest, RangeNamesTheMissingEnds) {
    const std::string usage = " Usage: range --from 2026-04-01 --to 2026-04-07";
    EXPECT_EQ(thrownCLIError([] { timelineRangeCommand(std::nullopt, std::nullopt, false, std::nullopt); }),
              "INVALID_TIME_RANGE: 'range' requires --from and --to flags." + usage);
    EXPECT_EQ(thrownCLIError([] { timelineRangeCommand(std::nullopt, "x", false, std::nullopt); }),
              "INVALID_TIME_RANGE: 'range' requires --from flag." + usage);
    EXPECT_EQ(thrownCLIError([] { timelineRangeCommand("x", std::nullopt, false, std::nullopt); }),
              "INVALID_TIME_RANGE: 'range' requires --to flag." + usage);
    const Command::Recent recent = timelineRangeCommand("a", "b", false, 2);
    EXPECT_EQ(recent.preset, "range");
    EXPECT_EQ(recent.rangeFrom, "a");
    EXPECT_EQ(recent.rangeTo, "b");
}

TEST_F(CommandBuildersTest, EntitiesDefaultToOneHundred) {
    EXPECT_EQ(entitiesCommand(std::nullopt, std::nullopt, std::nullopt).limit, 100);
    const Command::Entities entities = entitiesCommand("2h", "app", 7);
    EXPECT_EQ(entities.since, "2h");
    EXPECT_EQ(entities.kind, "app");
    EXPECT_EQ(entities.limit, 7);
}

TEST_F(CommandBuildersTest, SearchTakesAnyKeywordAsIs) {
    for (const char* keyword : {"--help", "-h", "", "today"}) {
        SearchCommandBuilder builder(calendar_, kNow);
        builder.keyword(keyword);
        EXPECT_EQ(builder.build().keyword, keyword);
    }
}

TEST_F(CommandBuildersTest, SearchKeywordIsAtMostOneHundredThousandBytes) {
    const auto built = [&](const std::string& keyword) {
        SearchCommandBuilder builder(calendar_, kNow);
        builder.keyword(keyword);
        return builder.build();
    };
    const std::string longest(100000, 'a');
    EXPECT_EQ(built(longest).keyword, longest);
    // Bytes, not characters: 33,334 characters of three bytes each are too many.
    std::string wide;
    for (int i = 0; i < 33334; ++i) wide += "\u20ac";
    EXPECT_EQ(thrownCLIError([&] { built(wide); }),
              "INVALID_TIME_RANGE: The keyword is 100002 bytes long; at most 100000 are allowed. Search for "
              "a shorter excerpt.");
    EXPECT_EQ(thrownCLIError([&] { built(std::string(4 << 20, ' ')); }),
              "INVALID_TIME_RANGE: The keyword is 4194304 bytes long; at most 100000 are allowed. Search for "
              "a shorter excerpt.");
}

TEST_F(CommandBuildersTest, SearchTimeArgumentsApplyInTheOrderGiven) {
    SearchCommandBuilder sinceFirst(calendar_, kNow);
    sinceFirst.keyword("kw");
    sinceFirst.since("2h");
    sinceFirst.from("2026-04-01");
    const Command::Search search = sinceFirst.build();
    EXPECT_EQ(search.from, 1775001600);  // midnight of the bare date
    EXPECT_EQ(search.to, kNow);          // the end that --since set

    SearchCommandBuilder toLast(calendar_, kNow);
    toLast.keyword("kw");
    toLast.to("2026-04-07");
    EXPECT_EQ(toLast.build().to, 1775606399);  // 23:59:59 of the bare date
}

TEST_F(CommandBuildersTest, SearchLimitIsSettledAtTheEnd) {
    const auto limitOf = [&](std::optional<std::int64_t> limit, bool latest) {
        SearchCommandBuilder builder(calendar_, kNow);
        builder.keyword("kw");
        builder.limit(limit);
        if (latest) builder.latest();
        return builder.build().limit;
    };
    EXPECT_EQ(limitOf(std::nullopt, false), 50);
    EXPECT_EQ(limitOf(0, false), 1);
    EXPECT_EQ(limitOf(1000, false), 200);
    EXPECT_EQ(limitOf(30, true), 1);
}

TEST_F(CommandBuildersTest, SearchChecksTheWholeWhenBuilt) {
    EXPECT_EQ(thrownCLIError([&] { SearchCommandBuilder(calendar_, kNow).build(); }),
              "INVALID_TIME_RANGE: Missing keyword. Usage: varnholt-query search <keyword> [--app <name>] "
              "[--since <duration>] [--from YYYY-MM-DD] [--to YYYY-MM-DD] [--latest] [--limit N] [--compact]");
    EXPECT_EQ(thrownCLIError([&] {
                  SearchCommandBuilder builder(calendar_, kNow);
                  builder.keyword("kw");
                  builder.from("2026-04-08");
                  builder.to("2026-04-07");
                  builder.build();
              }),
              "INVALID_TIME_RANGE: --from must be before or equal to --to");
}

TEST_F(CommandBuildersTest, SearchTimeErrorsAreThrownAtOnce) {
    SearchCommandBuilder builder(calendar_, kNow);
    EXPECT_EQ(thrownCLIError([&] { builder.since("5x"); }),
              "INVALID_TIME_RANGE: Unknown duration unit 'x'. Use m, h, d, or w.");
    EXPECT_EQ(thrownCLIError([&] { builder.from("--x"); }),
              "INVALID_TIME_RANGE: Cannot parse --from date '--x'. Use ISO 8601 or yyyy-MM-dd format.");
    EXPECT_EQ(thrownCLIError([&] { builder.to(""); }),
              "INVALID_TIME_RANGE: Cannot parse --to date ''. Use ISO 8601 or yyyy-MM-dd format.");
}

TEST_F(CommandBuildersTest, ASummaryWithoutAPeriodIsTodays) {
    const Command::Summary summary = SummaryCommandBuilder().build();
    EXPECT_EQ(summary.preset, "today");
    EXPECT_FALSE(summary.since.has_value());
    EXPECT_EQ(summary.idleSeconds, 300);
    EXPECT_EQ(summary.limit, 10);
    EXPECT_FALSE(summary.kind.has_value());
    EXPECT_FALSE(summary.maxChars.has_value());
}

TEST_F(CommandBuildersTest, ASummaryNamesOnePeriod) {
    SummaryCommandBuilder preset;
    preset.preset("this-week");
    EXPECT_EQ(preset.build().preset, "this-week");

    SummaryCommandBuilder since;
    since.since("3d");
    EXPECT_FALSE(since.build().preset.has_value());
    EXPECT_EQ(since.build().since, "3d");

    SummaryCommandBuilder range;
    range.from("2026-04-01");
    range.to("2026-04-07");
    const Command::Summary summary = range.build();
    EXPECT_EQ(summary.preset, "range");
    EXPECT_EQ(summary.rangeFrom, "2026-04-01");
    EXPECT_EQ(summary.rangeTo, "2026-04-07");
}

TEST_F(CommandBuildersTest, ASummaryRefusesTwoPeriodsAndHalfARange) {
    SummaryCommandBuilder two;
    two.preset("yesterday");
    two.since("2h");
    EXPECT_EQ(thrownCLIError([&] { two.build(); }),
              "INVALID_TIME_RANGE: Use only one of a preset, --since, or --from and --to.");
    SummaryCommandBuilder sinceAndRange;
    sinceAndRange.since("2h");
    sinceAndRange.to("2026-04-07");
    EXPECT_EQ(thrownCLIError([&] { sinceAndRange.build(); }),
              "INVALID_TIME_RANGE: Use only one of a preset, --since, or --from and --to.");
    SummaryCommandBuilder fromOnly;
    fromOnly.from("2026-04-01");
    EXPECT_EQ(thrownCLIError([&] { fromOnly.build(); }),
              "INVALID_TIME_RANGE: 'summary' requires --to with --from. Usage: summary --from 2026-04-01 --to "
              "2026-04-07");
    SummaryCommandBuilder toOnly;
    toOnly.to("2026-04-07");
    EXPECT_EQ(thrownCLIError([&] { toOnly.build(); }),
              "INVALID_TIME_RANGE: 'summary' requires --from with --to. Usage: summary --from 2026-04-01 --to "
              "2026-04-07");
    SummaryCommandBuilder unknown;
    EXPECT_EQ(thrownCLIError([&] { unknown.preset("next-week"); }), "INVALID_TIME_RANGE: Unknown preset 'next-week'.");
    EXPECT_EQ(thrownCLIError([&] { unknown.preset("range"); }), "INVALID_TIME_RANGE: Unknown preset 'range'.");
}

TEST_F(CommandBuildersTest, ASummaryAlsoNamesWholeWeeksAndMonths) {
    for (const char* word : {"last-week", "this-month", "last-month"}) {
        SummaryCommandBuilder summary;
        summary.preset(word);
        EXPECT_EQ(summary.build().preset, word);
        // The timeline keeps its words.
        EXPECT_EQ(thrownCLIError([&] { timelinePresetCommand(word, false, std::nullopt); }),
                  std::string("INVALID_TIME_RANGE: Unknown preset '") + word + "'.");
    }
}

TEST_F(CommandBuildersTest, TheIdleGapIsADurationFromOneMinuteToOneHour) {
    SummaryCommandBuilder summary;
    summary.idle("1m");
    EXPECT_EQ(summary.build().idleSeconds, 60);
    summary.idle("1h");
    EXPECT_EQ(summary.build().idleSeconds, 3600);
    summary.idle("2.5m");
    EXPECT_EQ(summary.build().idleSeconds, 150);
    EXPECT_EQ(thrownCLIError([&] { summary.idle("59s"); }),
              "INVALID_TIME_RANGE: Unknown duration unit 's'. Use m, h, d, or w.");
    EXPECT_EQ(thrownCLIError([&] { summary.idle("0.9m"); }),
              "INVALID_TIME_RANGE: --idle must be between 1m and 1h, not '0.9m'.");
    EXPECT_EQ(thrownCLIError([&] { summary.idle("61m"); }),
              "INVALID_TIME_RANGE: --idle must be between 1m and 1h, not '61m'.");
    EXPECT_EQ(thrownCLIError([&] { summary.idle("1d"); }),
              "INVALID_TIME_RANGE: --idle must be between 1m and 1h, not '1d'.");
    EXPECT_EQ(thrownCLIError([&] { summary.idle("-5m"); }),
              "INVALID_TIME_RANGE: Invalid duration value in '-5m'. Numeric prefix required.");
    EXPECT_EQ(summary.build().idleSeconds, 150);
}

TEST_F(CommandBuildersTest, ASummaryListsOneToAHundredEntries) {
    SummaryCommandBuilder summary;
    summary.limit("1");
    EXPECT_EQ(summary.build().limit, 1);
    summary.limit(std::int64_t{100});
    EXPECT_EQ(summary.build().limit, 100);
    for (const char* text : {"0", "101", "abc", "", "5.5", "-3"}) {
        EXPECT_EQ(thrownCLIError([&] { summary.limit(text); }),
                  std::string("INVALID_TIME_RANGE: --limit must be a whole number from 1 to 100, not '") + text +
                      "'.");
    }
    EXPECT_EQ(thrownCLIError([&] { summary.limit(std::int64_t{500}); }),
              "INVALID_TIME_RANGE: --limit must be a whole number from 1 to 100, not '500'.");
}

TEST_F(CommandBuildersTest, ASummaryBudgetIsAPositiveNumberOfCharacters) {
    SummaryCommandBuilder summary;
    summary.maxChars("24000");
    EXPECT_EQ(summary.build().maxChars, 24000);
    summary.maxChars(std::int64_t{1});
    EXPECT_EQ(summary.build().maxChars, 1);
    for (const char* text : {"0", "-1", "lots", ""}) {
        EXPECT_EQ(thrownCLIError([&] { summary.maxChars(text); }),
                  std::string("INVALID_TIME_RANGE: --max-chars must be a whole number above 0, not '") + text +
                      "'.");
    }
}

TEST_F(CommandBuildersTest, ASummarySelectsRowsByTextApplicationAndEntity) {
    SummaryCommandBuilder summary;
    EXPECT_TRUE(summary.build().match.empty());
    summary.match("invoice exporter");
    summary.match("\"graphql resolver\"");
    summary.app("Xcode");
    summary.entity("programming_language=Swift");
    summary.entity("Go");
    const Command::Summary selected = summary.build();
    EXPECT_EQ(selected.match, (std::vector<std::string>{"invoice exporter", "\"graphql resolver\""}));
    EXPECT_EQ(selected.app, (std::vector<std::string>{"Xcode"}));
    EXPECT_EQ(selected.entity, (std::vector<std::string>{"programming_language=Swift", "Go"}));
}

TEST_F(CommandBuildersTest, ASelectionRuleThatCannotBeUsedIsRefused) {
    SummaryCommandBuilder summary;
    for (const char* words : {"", "  ", "\"\"", "\""}) {
        EXPECT_EQ(thrownCLIError([&] { summary.match(words); }),
                  std::string("INVALID_TIME_RANGE: --match '") + words +
                      "' holds no word to look for. Give words or a \"quoted phrase\" of letters or digits, such as "
                      "--match \"invoice exporter\".");
    }
    EXPECT_EQ(thrownCLIError([&] { summary.match(std::string(100001, 'a')); }),
              "INVALID_TIME_RANGE: --match is 100001 bytes long; at most 100000 are allowed.");
    EXPECT_EQ(thrownCLIError([&] { summary.app(""); }),
              "INVALID_TIME_RANGE: --app needs an application name, such as --app Xcode.");
    for (const char* entity : {"", "kind=", "=Swift"}) {
        EXPECT_EQ(thrownCLIError([&] { summary.entity(entity); }),
                  std::string("INVALID_TIME_RANGE: --entity needs a value, or a kind and a value, such as --entity "
                              "Swift or --entity programming_language=Swift, not '") +
                      entity + "'.");
    }
    EXPECT_TRUE(summary.build().match.empty());
}

TEST_F(CommandBuildersTest, ASummaryAnswersWithTheSectionsAskedFor) {
    SummaryCommandBuilder summary;
    EXPECT_FALSE(summary.build().only.has_value());
    summary.only("days,sessions");
    EXPECT_EQ(summary.build().only, (std::vector<std::string>{"days", "sessions"}));
    summary.only(std::vector<std::string>{"coverage"});
    EXPECT_EQ(summary.build().only, (std::vector<std::string>{"coverage"}));
    for (const char* list : {"", "days,", "Days", "days hours", "highlights"}) {
        EXPECT_EQ(thrownCLIError([&] { summary.only(list); }),
                  std::string("INVALID_TIME_RANGE: --only takes a comma-separated list of sessions, applications, "
                              "entities, days and coverage, not '") +
                      list + "'.");
    }
    EXPECT_EQ(thrownCLIError([&] { summary.only(std::vector<std::string>{}); }),
              "INVALID_TIME_RANGE: --only takes a comma-separated list of sessions, applications, entities, days "
              "and coverage, not ''.");
}

TEST_F(CommandBuildersTest, AWeekStartsOnANamedDay) {
    SummaryCommandBuilder summary;
    EXPECT_FALSE(summary.build().weekStart.has_value());
    summary.weekStart("monday");
    EXPECT_EQ(summary.build().weekStart, "monday");
    summary.weekStart("Sunday");
    EXPECT_EQ(summary.build().weekStart, "Sunday");
    EXPECT_EQ(thrownCLIError([&] { summary.weekStart("mo"); }),
              "INVALID_TIME_RANGE: --week-start must be a day of the week: monday, tuesday, wednesday, thursday, "
              "friday, saturday or sunday, not 'mo'.");
}
