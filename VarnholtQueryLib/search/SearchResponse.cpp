#include "search/SearchResponse.h"

#include "platform/LocalCalendar.h"
#include "redaction/DeduplicationService.h"
#include "redaction/PIIFilter.h"

namespace VarnholtQueryLib {

namespace {

constexpr std::int64_t kAPIVersion = 2;

JSON optionalInstant(const std::optional<double>& instant) {
    return instant ? JSON(formatUTCInternetDateTime(*instant)) : JSON(nullptr);
}

JSON resultObject(const ObservationSearchResult& result, bool compact, bool images) {
    JSON entities = JSON::array();
    for (const auto& entity : result.entities) {
        entities.push_back(JSON{{"kind", entity.kind}, {"value", entity.value}});
    }
    JSON object = {
        {"observation_id", result.observationId},
        {"timestamp", result.frameTimestamp},
        {"timestamp_iso", formatUTCInternetDateTime(result.frameTimestamp)},
        {"applications", DeduplicationService::deduplicateApps(result.apps).items},
        {"entities", std::move(entities)},
    };
    if (images) object["image_path"] = result.imagePath ? JSON(*result.imagePath) : JSON(nullptr);
    // Descriptions are what the screen showed; they are only printed after
    // personal data has been masked.
    if (!compact) object["vlm_description"] = PIIFilter::redact(result.vlmDescription);
    return object;
}

JSON queryObject(const ObservationSearchParams& params) {
    JSON query = {
        {"keyword", params.keyword},
        {"app_filter", params.appFilter ? JSON(*params.appFilter) : JSON(nullptr)},
        {"from", optionalInstant(params.fromTs)},
        {"to", optionalInstant(params.toTs)},
        {"latest_only", params.latestOnly},
        {"limit", params.limit},
    };
    // Only when asked for, so that a search without it prints what it
    // always printed.
    if (params.allWords) query["all_words"] = true;
    return query;
}

}  // namespace

JSON makeSearchResponse(const std::vector<ObservationSearchResult>& results,
                        const ObservationSearchParams& params, bool compact, bool images,
                        std::optional<std::int64_t> originalCount, const LocalCalendar& calendar,
                        double now) {
    JSON rows = JSON::array();
    for (const auto& result : results) rows.push_back(resultObject(result, compact, images));

    const auto returned = static_cast<std::int64_t>(results.size());
    // A search that filled its limit before collapsing probably has more; one
    // that came back short is complete. A guess on purpose: it costs no
    // second query.
    const std::int64_t countBeforeCollapsing = originalCount.value_or(returned);
    JSON meta = {
        {"query", queryObject(params)},
        {"timezone", calendar.timeZoneIdentifier()},
        {"current_date", calendar.localDate(now)},
        {"current_datetime", calendar.localInternetDateTime(now)},
        {"returned_results", returned},
        {"has_more", countBeforeCollapsing == params.limit},
    };
    if (originalCount && *originalCount != returned) meta["collapsed_from"] = *originalCount;

    return {
        {"ok", true},
        {"api_version", kAPIVersion},
        {"data", JSON{{"results", std::move(rows)}}},
        {"error", nullptr},
        {"meta", std::move(meta)},
    };
}

}  // namespace VarnholtQueryLib
