#include "summary/SummaryResponse.h"

#include "platform/LocalCalendar.h"
#include "summary/CoverageResponse.h"
#include "summary/SummaryBudget.h"

namespace VarnholtQueryLib {

namespace {

JSON optionalInstant(const std::optional<double>& instant) {
    return instant ? JSON(formatUTCInternetDateTime(*instant)) : JSON(nullptr);
}

JSON applicationTimes(const std::vector<ApplicationTime>& applications, bool withCount) {
    JSON list = JSON::array();
    for (const ApplicationTime& application : applications) {
        JSON entry = {{"name", application.name}, {"visible_seconds", wholeSeconds(application.seconds)}};
        if (withCount) entry["observation_count"] = application.observationCount;
        list.push_back(std::move(entry));
    }
    return list;
}

JSON sessionObject(const ActivitySession& session) {
    JSON highlights = JSON::array();
    for (const Highlight& highlight : session.highlights) highlights.push_back(highlight.description);
    return {
        {"start_iso", formatUTCInternetDateTime(session.start)},
        {"end_iso", formatUTCInternetDateTime(session.end)},
        {"active_seconds", wholeSeconds(session.activeSeconds)},
        {"observation_count", session.observationCount},
        {"applications", applicationTimes(session.applications, false)},
        {"highlights", std::move(highlights)},
    };
}

JSON entityObject(const EntityTime& entity) {
    return {
        {"kind", entity.kind},
        {"value", entity.value},
        {"seconds", wholeSeconds(entity.seconds)},
        {"count", entity.count},
        {"first_seen_iso", formatUTCInternetDateTime(entity.firstSeen)},
        {"last_seen_iso", formatUTCInternetDateTime(entity.lastSeen)},
    };
}

JSON dayObject(const ActivityDay& day) {
    return {
        {"date", day.date},
        {"active_seconds", wholeSeconds(day.activeSeconds)},
        {"observation_count", day.observationCount},
        {"first_activity_iso", optionalInstant(day.firstActivity)},
        {"last_activity_iso", optionalInstant(day.lastActivity)},
        {"session_count", day.sessionCount},
        {"applications", applicationTimes(day.applications, false)},
    };
}

JSON coverageObject(const FrameCoverage& coverage, const std::vector<FrameGap>& gaps,
                    const ActivityAccount& account, bool selects) {
    JSON object = coverageJSON(coverage, gaps, account.rangeObservationCount);
    if (selects) object["selected_observations"] = account.observationCount;
    return object;
}

// What was dropped, counted for the sections the answer holds.
JSON omittedObject(const OmittedDetail& omitted, const SummarySections& sections) {
    JSON object = JSON::object();
    if (sections.sessions) {
        object["highlights"] = omitted.highlights;
        object["session_applications"] = omitted.sessionApplications;
        object["sessions"] = omitted.sessions;
    }
    if (sections.days) {
        object["day_applications"] = omitted.dayApplications;
        object["days"] = omitted.days;
    }
    if (sections.coverage) object["gaps"] = omitted.gaps;
    if (sections.entities) object["entities"] = omitted.entities;
    if (sections.applications) object["applications"] = omitted.applications;
    return object;
}

JSON texts(const std::vector<std::string>& list) {
    JSON array = JSON::array();
    for (const std::string& text : list) array.push_back(text);
    return array;
}

JSON queryObject(const SummaryEcho& echo) {
    JSON query = {
        {"preset", echo.range.preset},
        {"from", formatUTCInternetDateTime(echo.range.from)},
        {"to", formatUTCInternetDateTime(echo.range.to)},
        {"idle_seconds", echo.idleSeconds},
        {"kind", echo.kind ? JSON(*echo.kind) : JSON(nullptr)},
        {"limit", echo.limit},
        {"max_chars", echo.maxChars ? JSON(*echo.maxChars) : JSON(nullptr)},
    };
    // What narrows the answer is echoed when given, so that an answer
    // without it reads as it always has.
    if (!echo.match.empty()) query["match"] = texts(echo.match);
    if (!echo.app.empty()) query["app"] = texts(echo.app);
    if (!echo.entity.empty()) query["entity"] = texts(echo.entity);
    if (echo.weekStart) query["week_start"] = *echo.weekStart;
    if (echo.only) query["only"] = texts(*echo.only);
    return query;
}

template <typename Entry, typename Render>
JSON listOf(const std::vector<Entry>& entries, Render render) {
    JSON list = JSON::array();
    for (const Entry& entry : entries) list.push_back(render(entry));
    return list;
}

}  // namespace

JSON summaryDocument(const SummaryFindings& findings, const SummaryDetail& detail,
                     const OmittedDetail& omitted, const SummaryEcho& echo,
                     const LocalCalendar& calendar, double now) {
    const ActivityAccount& account = findings.account;
    const SummarySections& sections = echo.sections;
    JSON data = {
        {"active_seconds", wholeSeconds(account.activeSeconds)},
        {"observation_count", account.observationCount},
        {"first_activity_iso", optionalInstant(account.firstActivity)},
        {"last_activity_iso", optionalInstant(account.lastActivity)},
    };
    if (sections.sessions) {
        data["session_count"] = static_cast<std::int64_t>(account.sessions.size());
        data["sessions"] = listOf(detail.sessions, sessionObject);
    }
    if (sections.applications) data["applications"] = applicationTimes(detail.applications, true);
    if (sections.entities) data["entities"] = listOf(detail.entities, entityObject);
    if (sections.days) data["days"] = listOf(detail.days, dayObject);
    if (sections.coverage && findings.coverage) {
        data["coverage"] = coverageObject(*findings.coverage, detail.gaps, account, echo.selects());
    }
    JSON meta = {
        {"query", queryObject(echo)},
        {"truncated", omitted.any()},
        {"omitted", omittedObject(omitted, sections)},
        {"timezone", calendar.timeZoneIdentifier()},
        {"current_date", calendar.localDate(now)},
        {"current_datetime", calendar.localInternetDateTime(now)},
    };
    return {
        {"ok", true},
        {"api_version", 2},
        {"data", std::move(data)},
        {"error", nullptr},
        {"meta", std::move(meta)},
    };
}

JSON makeSummaryResponse(const SummaryFindings& findings, const SummaryEcho& echo,
                         const LocalCalendar& calendar, double now) {
    const SummaryDetail detail = SummaryDetail::of(
        findings.account, findings.coverage ? findings.coverage->gaps : std::vector<FrameGap>{}, echo.limit);
    const auto fitted = [&](const SummaryEcho& asked) {
        const auto render = [&](const SummaryDetail& trimmed, const OmittedDetail& omitted) {
            return summaryDocument(findings, trimmed, omitted, asked, calendar, now);
        };
        if (!asked.maxChars) return render(detail, {});
        return fitToBudget(detail, *asked.maxChars, render);
    };
    try {
        return fitted(echo);
    } catch (const SummaryBudgetTooSmall& tooSmall) {
        const std::int64_t least = leastEchoedBudget(tooSmall.minimum(), [&](std::int64_t budget) {
            SummaryEcho probe = echo;
            probe.maxChars = budget;
            fitted(probe);
        });
        throw SummaryBudgetTooSmall(tooSmall.budget(), least);
    }
}

}  // namespace VarnholtQueryLib
