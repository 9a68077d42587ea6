#include "timesheet/TimesheetResponse.h"

#include "platform/LocalCalendar.h"
#include "summary/CoverageResponse.h"
#include "summary/SummaryBudget.h"
#include "timesheet/TimesheetDetail.h"
#include "timesheet/TimesheetFigures.h"

namespace VarnholtQueryLib {

namespace {

JSON spanList(const std::vector<TimesheetSpan>& spans) {
    JSON list = JSON::array();
    for (const TimesheetSpan& span : spans) {
        list.push_back({
            {"start_iso", formatUTCInternetDateTime(span.start)},
            {"end_iso", formatUTCInternetDateTime(span.end)},
            {"seconds", wholeSeconds(span.seconds)},
            {"observation_count", span.observationCount},
            {"description", span.description},
        });
    }
    return list;
}

JSON suggestionsObject(const TimesheetSuggestions& suggestions) {
    JSON applications = JSON::array();
    for (const ApplicationTime& application : suggestions.applications) {
        applications.push_back({{"name", application.name}, {"seconds", wholeSeconds(application.seconds)}});
    }
    JSON entities = JSON::array();
    for (const EntityTime& entity : suggestions.entities) {
        entities.push_back(
            {{"kind", entity.kind}, {"value", entity.value}, {"seconds", wholeSeconds(entity.seconds)}});
    }
    JSON terms = JSON::array();
    for (const TermTime& term : suggestions.terms) {
        terms.push_back({{"term", term.term}, {"seconds", wholeSeconds(term.seconds)}});
    }
    return {{"applications", std::move(applications)}, {"entities", std::move(entities)}, {"terms", std::move(terms)}};
}

JSON daysTable(const TimesheetFigures& figures, const std::vector<TimesheetCategory>& categories) {
    JSON days = JSON::array();
    for (const TimesheetFigures::Day& day : figures.days) {
        JSON perCategory = JSON::array();
        for (std::size_t i = 0; i < categories.size(); ++i) {
            perCategory.push_back({{"name", categories[i].name}, {"seconds", day.categorySeconds[i]}});
        }
        days.push_back({
            {"date", day.date},
            {"active_seconds", day.activeSeconds},
            {"categories", std::move(perCategory)},
            {"uncategorized_seconds", day.uncategorizedSeconds},
        });
    }
    return days;
}

// The days on which category `index` shows time as printed.
JSON categoryDays(const TimesheetFigures& figures, std::size_t index) {
    JSON days = JSON::array();
    for (const TimesheetFigures::Day& day : figures.days) {
        if (day.categorySeconds[index] > 0) days.push_back({{"date", day.date}, {"seconds", day.categorySeconds[index]}});
    }
    return days;
}

JSON queryObject(const TimesheetEcho& echo) {
    return {
        {"preset", echo.range.preset},
        {"from", formatUTCInternetDateTime(echo.range.from)},
        {"to", formatUTCInternetDateTime(echo.range.to)},
        {"idle_seconds", echo.idleSeconds},
        {"week_start", echo.weekStart ? JSON(*echo.weekStart) : JSON(nullptr)},
        {"categories", categoriesJSON(echo.categories)},
        {"max_chars", echo.maxChars ? JSON(*echo.maxChars) : JSON(nullptr)},
    };
}

JSON timesheetDocument(const TimesheetFindings& findings, const TimesheetFigures& figures,
                       const TimesheetDetail& detail, const TimesheetOmitted& omitted, const TimesheetEcho& echo,
                       const LocalCalendar& calendar, double now) {
    const TimesheetAccount& account = findings.account;
    JSON categories = JSON::array();
    for (std::size_t i = 0; i < account.categories.size(); ++i) {
        const TimesheetPart& part = account.categories[i];
        categories.push_back({
            {"name", echo.categories[i].name},
            {"seconds", figures.categorySeconds[i]},
            {"share", shareOf(part.seconds, account.activeSeconds)},
            {"observation_count", part.observationCount},
            {"days", categoryDays(figures, i)},
            {"spans", spanList(detail.spans[i])},
        });
    }
    JSON data = {
        {"active_seconds", figures.activeSeconds},
        {"observation_count", account.observationCount},
        {"categories", std::move(categories)},
        {"uncategorized",
         {
             {"seconds", figures.uncategorizedSeconds},
             {"share", shareOf(account.uncategorized.seconds, account.activeSeconds)},
             {"observation_count", account.uncategorized.observationCount},
             {"spans", spanList(detail.spans.back())},
             {"suggestions", suggestionsObject(detail.suggestions)},
         }},
        {"days", daysTable(figures, echo.categories)},
        {"coverage", coverageJSON(findings.coverage, findings.coverage.gaps, account.observationCount)},
    };
    JSON meta = {
        {"query", queryObject(echo)},
        {"truncated", omitted.any()},
        {"omitted",
         {{"spans", omitted.spans},
          {"applications", omitted.applications},
          {"entities", omitted.entities},
          {"terms", omitted.terms}}},
        {"timezone", calendar.timeZoneIdentifier()},
        {"current_date", calendar.localDate(now)},
        {"current_datetime", calendar.localInternetDateTime(now)},
    };
    return {
        {"ok", true}, {"api_version", 2}, {"data", std::move(data)}, {"error", nullptr}, {"meta", std::move(meta)},
    };
}

}  // namespace

JSON makeTimesheetResponse(const TimesheetFindings& findings, const TimesheetEcho& echo,
                           const LocalCalendar& calendar, double now) {
    const TimesheetFigures figures = TimesheetFigures::of(findings.account);
    const TimesheetDetail detail = TimesheetDetail::of(findings.account);
    const std::vector<TimesheetDrop> order = dropOrder(detail);
    const auto fitted = [&](const TimesheetEcho& asked) {
        const auto documentAfter = [&](std::size_t drops) {
            TimesheetOmitted omitted;
            const TimesheetDetail trimmed = withoutFirstDrops(detail, order, drops, omitted);
            return timesheetDocument(findings, figures, trimmed, omitted, asked, calendar, now);
        };
        if (!asked.maxChars) return documentAfter(0);
        return fitByDrops(order.size(), *asked.maxChars, documentAfter);
    };
    try {
        return fitted(echo);
    } catch (const SummaryBudgetTooSmall& tooSmall) {
        const std::int64_t least = leastEchoedBudget(tooSmall.minimum(), [&](std::int64_t budget) {
            TimesheetEcho probe = echo;
            probe.maxChars = budget;
            fitted(probe);
        });
        throw SummaryBudgetTooSmall(tooSmall.budget(), least);
    }
}

}  // namespace VarnholtQueryLib
