#include "mcp/PromptCatalog.h"

#include <gtest/gtest.h>

#include "FakeDocumentSource.h"

using namespace VarnholtQueryLib;
using namespace VarnholtQueryLib::MCP;

namespace {

JSON messagesOf(const std::string& prompt, const PromptArguments& arguments, const FakeDocumentSource& documents) {
    const PromptMessages built = findPrompt(prompt)->build(documents, arguments);
    if (const auto* problem = std::get_if<std::string>(&built)) return *problem;
    return std::get<JSON>(built);
}

}  // namespace

// The moments of the twenty minutes around 09:10 UTC, as the timeline
// answers them: entity counts and all.
const char* const kMomentsAroundTen = R"({"ok":true,"data":{"moments":[
  {"bucket_start_iso":"2026-04-01T09:00:00Z","bucket_end_iso":"2026-04-01T09:05:00Z","observation_count":3,
   "entities":[{"count":3,"kind":"app","value":"Xcode"}],
   "representative":{"applications":["Xcode"],"vlm_description":"Fixing the invoice exporter's rounding"}},
  {"bucket_start_iso":"2026-04-01T09:15:00Z","bucket_end_iso":"2026-04-01T09:20:00Z","observation_count":1,
   "entities":[],"representative":{"applications":["Zoom"],"vlm_description":"A call with Ada about the release"}}]}})";

TEST(PromptCatalogTest, WhatWasIDoingSummarisesTheHalfHourAndDescribesTheMomentsAround) {
    FakeDocumentSource documents;
    documents.answers["range 2026-04-01T09:00:00Z 2026-04-01T09:20:00Z"] = {JSON::parse(kMomentsAroundTen), false};
    // 11:10 in Berlin (summer time) is 09:10 UTC.
    const JSON messages = messagesOf("what-was-i-doing", {{"time", "2026-04-01T11:10:00"}}, documents);
    ASSERT_EQ(messages.size(), 3u);
    for (const JSON& message : messages) EXPECT_EQ(message["role"], "user");
    EXPECT_NE(messages[0]["content"]["text"].get<std::string>().find("around 2026-04-01T11:10:00 (2026-04-01T09:10:00Z)?"),
              std::string::npos);
    // The summary as a tool result's text: one line of JSON.
    EXPECT_EQ(messages[1]["content"],
              (JSON{{"type", "text"}, {"text", R"({"command":"summary 2026-04-01T08:55:00Z 2026-04-01T09:25:00Z max 12000"})"}}));
    EXPECT_EQ(messages[2]["content"]["text"],
              "The moments, in UTC:\n"
              "2026-04-01T09:00:00Z to 2026-04-01T09:05:00Z: Fixing the invoice exporter's rounding\n"
              "2026-04-01T09:15:00Z to 2026-04-01T09:20:00Z: A call with Ada about the release\n");
    // A time with its zone is the same instant.
    EXPECT_EQ(messagesOf("what-was-i-doing", {{"time", "2026-04-01T09:10:00Z"}}, documents)[2], messages[2]);
}

TEST(PromptCatalogTest, WhatWasIDoingSaysWhenNoMomentWasRecordedOrTheTimelineFailed) {
    FakeDocumentSource documents;
    documents.answers["range 2026-04-01T09:00:00Z 2026-04-01T09:20:00Z"] = {JSON::parse(R"({"data":{"moments":[]}})"), false};
    EXPECT_EQ(messagesOf("what-was-i-doing", {{"time", "2026-04-01T09:10:00Z"}}, documents)[2]["content"]["text"],
              "No moments were recorded within ten minutes of 2026-04-01T09:10:00Z (2026-04-01T09:10:00Z).");
    documents.answers["range 2026-04-01T09:00:00Z 2026-04-01T09:20:00Z"] = {JSON{{"ok", false}, {"error", {{"code", "DB_LOCKED"}}}}, true};
    EXPECT_EQ(messagesOf("what-was-i-doing", {{"time", "2026-04-01T09:10:00Z"}}, documents)[2]["content"]["text"],
              R"({"error":{"code":"DB_LOCKED"},"ok":false})");
}

// The fake's days with activity are 1 April (today), 31 March and 27 March.
TEST(PromptCatalogTest, AStandUpTakesTheLastEarlierActiveDayAndTodaySoFar) {
    const FakeDocumentSource documents;
    const JSON messages = messagesOf("stand-up", {}, documents);
    ASSERT_EQ(messages.size(), 3u);
    EXPECT_NE(messages[0]["content"]["text"].get<std::string>().find(
                  "what I did on 2026-03-31, my last day with activity before 2026-04-01, and what I have "
                  "done today (2026-04-01) so far"),
              std::string::npos)
        << messages[0];
    // Each day compact, as a tool result's text: its sessions alone.
    EXPECT_EQ(messages[1]["content"],
              (JSON{{"type", "text"}, {"text", R"({"command":"summary 2026-03-31 2026-03-31 max 11000 only sessions"})"}}));
    EXPECT_EQ(messages[2]["content"]["text"], R"({"command":"summary today max 11000 only sessions"})");
    for (const Command& command : documents.commands) {
        const auto& summary = std::get<Command::Summary>(command.value);
        EXPECT_EQ(summary.only, std::vector<std::string>{"sessions"});
        EXPECT_EQ(summary.limit, 10);
    }
}

TEST(PromptCatalogTest, AStandUpOfAnEarlierDaySkipsTheDaysWithoutActivity) {
    const FakeDocumentSource documents;
    // Monday 30 March had nothing: the day before it with activity is 27 March.
    const JSON messages = messagesOf("stand-up", {{"date", "2026-03-30"}}, documents);
    ASSERT_EQ(messages.size(), 3u);
    EXPECT_NE(messages[0]["content"]["text"].get<std::string>().find(
                  "what I did on 2026-03-27, my last day with activity before 2026-03-30, and what I have "
                  "done on 2026-03-30,"),
              std::string::npos)
        << messages[0];
    EXPECT_EQ(messages[1]["content"]["text"], R"({"command":"summary 2026-03-27 2026-03-27 max 11000 only sessions"})");
    EXPECT_EQ(messages[2]["content"]["text"], R"({"command":"summary 2026-03-30 2026-03-30 max 11000 only sessions"})");
}

TEST(PromptCatalogTest, AStandUpWithoutAnEarlierActiveDaySaysSo) {
    FakeDocumentSource documents;
    documents.active = {"2026-04-01"};
    const JSON messages = messagesOf("stand-up", {}, documents);
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_NE(messages[0]["content"]["text"].get<std::string>().find(
                  "Nothing was recorded in the two months before 2026-04-01."),
              std::string::npos)
        << messages[0];
    EXPECT_EQ(messages[1]["content"]["text"], R"({"command":"summary today max 11000 only sessions"})");
}

TEST(PromptCatalogTest, AStandUpRefusesADateItCannotUse) {
    const FakeDocumentSource documents;
    EXPECT_EQ(messagesOf("stand-up", {{"date", "31.03.2026"}}, documents),
              "date must be a local date of the form yyyy-MM-dd");
    EXPECT_EQ(messagesOf("stand-up", {{"date", "2026-04-02"}}, documents),
              "date must not be after today (2026-04-01)");
    EXPECT_TRUE(documents.commands.empty());
    EXPECT_TRUE(findPrompt("stand-up")->arguments.at(0).completesWithActiveDays);
    EXPECT_FALSE(findPrompt("stand-up")->arguments.at(0).required);
}

// The fake's today is Wednesday 1 April; its week begins on Monday 30 March.
TEST(PromptCatalogTest, ATimesheetAsksTheTimesheetForItsCategoriesDayByDay) {
    const FakeDocumentSource documents;
    const JSON given = messagesOf(
        "timesheet", {{"week_start", "2026-03-23"}, {"categories", "Billing=text:invoice exporter|app:QuickBooks\r\n\n  \nMail=app:Mail\n"}},
        documents);
    ASSERT_EQ(given.size(), 2u);
    const std::string request = given[0]["content"]["text"];
    EXPECT_NE(request.find("the week from 2026-03-23 to 2026-03-29:"), std::string::npos) << request;
    EXPECT_NE(request.find("0 where nothing was recorded"), std::string::npos) << request;
    EXPECT_NE(request.find("uncategorized.suggestions"), std::string::npos) << request;
    EXPECT_EQ(given[1]["content"],
              (JSON{{"type", "text"},
                    {"text", R"({"command":"timesheet 2026-03-23 2026-03-29 max 24000 )"
                             R"([Billing text:invoice exporter app:QuickBooks] [Mail app:Mail]"})"}}));
}

TEST(PromptCatalogTest, ATimesheetOfThisWeekEndsToday) {
    const FakeDocumentSource documents;
    const JSON messages = messagesOf("timesheet", {{"categories", "Coding=app:Xcode"}}, documents);
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_NE(messages[0]["content"]["text"].get<std::string>().find(
                  "the week from 2026-03-30 to 2026-04-05 (up to today, 2026-04-01):"),
              std::string::npos)
        << messages[0];
    EXPECT_EQ(messages[1]["content"]["text"], R"({"command":"timesheet 2026-03-30 2026-04-01 max 24000 [Coding app:Xcode]"})");
    // Today's week, given as a date, is the same.
    EXPECT_EQ(messagesOf("timesheet", {{"week_start", "2026-03-30"}, {"categories", "Coding=app:Xcode"}}, documents),
              messages);
}

TEST(PromptCatalogTest, ATimesheetWithoutCategoriesAsksTheModelToProposeThem) {
    const FakeDocumentSource documents;
    for (const PromptArguments& arguments :
         {PromptArguments{{"week_start", "2026-03-23"}}, PromptArguments{{"week_start", "2026-03-23"}, {"categories", " \n"}}}) {
        const JSON messages = messagesOf("timesheet", arguments, documents);
        ASSERT_EQ(messages.size(), 2u);
        const std::string request = messages[0]["content"]["text"];
        EXPECT_NE(request.find("propose a few"), std::string::npos) << request;
        EXPECT_NE(request.find("call the timesheet tool with them, from 2026-03-23 to 2026-03-29"), std::string::npos)
            << request;
        EXPECT_NE(request.find("uncategorized.suggestions, and call the timesheet tool again"), std::string::npos)
            << request;
        EXPECT_EQ(messages[1]["content"]["text"],
                  R"({"command":"summary 2026-03-23 2026-03-29 only applications entities days"})");
        EXPECT_EQ(std::get<Command::Summary>(documents.commands.back().value).limit, 20);
    }
}

TEST(PromptCatalogTest, ATimesheetRefusesWhatItCannotUse) {
    const FakeDocumentSource documents;
    EXPECT_EQ(messagesOf("timesheet", {{"week_start", "30.03.2026"}}, documents),
              "week_start must be a local date of the form yyyy-MM-dd");
    EXPECT_EQ(messagesOf("timesheet", {{"week_start", "2026-04-02"}}, documents),
              "week_start must not be after today (2026-04-01)");
    EXPECT_EQ(messagesOf("timesheet", {{"categories", "Coding app:Xcode"}}, documents),
              "categories: --category 'Coding app:Xcode' must be NAME=RULE[|RULE...]: a name, '=', then rules such "
              "as text:WORDS, app:NAME or entity:[KIND=]VALUE, separated by '|'.");
    EXPECT_EQ(messagesOf("timesheet", {{"categories", "Coding=app:Xcode\nCoding=app:Terminal"}}, documents)
                  .get<std::string>()
                  .rfind("categories: ", 0),
              0u);
    EXPECT_TRUE(documents.commands.empty());
    EXPECT_TRUE(findPrompt("timesheet")->arguments.at(0).completesWithActiveDays);
    EXPECT_FALSE(findPrompt("timesheet")->arguments.at(1).completesWithActiveDays);
    EXPECT_FALSE(findPrompt("timesheet")->arguments.at(1).required);
}

TEST(PromptCatalogTest, ATimeThatCannotBeReadIsTheClientsMistake) {
    const FakeDocumentSource documents;
    for (const char* time : {"noon", "2026-04-01 11:10", ""}) {
        EXPECT_EQ(messagesOf("what-was-i-doing", {{"time", time}}, documents),
                  "time must be an ISO 8601 date-time with zone, a local yyyy-MM-ddTHH:mm:ss, or a local yyyy-MM-dd")
            << time;
    }
    EXPECT_TRUE(documents.commands.empty());
}

TEST(PromptCatalogTest, TitlesOnlyWhereTheRevisionHasThem) {
    for (const auto& prompt : promptCatalog()) {
        EXPECT_EQ(findPrompt(prompt.name), &prompt);
        const JSON old = describePrompt(prompt, ProtocolRevision::r2025_03_26);
        EXPECT_FALSE(old.contains("title"));
        const JSON current = describePrompt(prompt, ProtocolRevision::r2026_07_28);
        EXPECT_EQ(current["title"], prompt.title);
        EXPECT_EQ(current["name"], prompt.name);
        EXPECT_EQ(current["arguments"].size(), prompt.arguments.size());
    }
    EXPECT_EQ(findPrompt("stand-up!"), nullptr);
}
