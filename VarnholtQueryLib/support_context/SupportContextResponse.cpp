#include "support_context/SupportContextResponse.h"

#include "platform/LocalCalendar.h"
#include "redaction/PIIFilter.h"
#include "status/StatusResponse.h"

namespace VarnholtQueryLib {

JSON makeSupportContextResponse(const SupportContextSnapshot& context, const StatusData& statusData,
                                const LocalCalendar& calendar) {
    JSON observations = JSON::array();
    for (const SupportContextObservation& observation : context.observations) {
        JSON entry = JSON::object();
        entry["timestamp"] = formatUTCInternetDateTime(observation.timestamp);
        // The answer is pasted into support requests: the same filter as
        // the search and timeline answers, applied where they apply it, to
        // the text that is printed.
        entry["vlm_description"] = PIIFilter::redact(observation.vlmDescription);
        entry["applications"] = observation.applications;
        observations.push_back(std::move(entry));
    }

    JSON status = JSON::object();
    status["recorder_likely_active"] = statusData.recorderLikelyActive;
    status["last_db_modified"] = statusData.lastDbModified
                                     ? JSON(formatUTCInternetDateTime(*statusData.lastDbModified))
                                     : JSON(nullptr);
    if (statusData.operationalMetrics) status["operational"] = makeOperationalJSON(statusData);
    if (auto bridge = makeDegradedBridgeHealthJSON(statusData)) status["bridge_health"] = *bridge;

    JSON data = JSON::object();
    data["context_window_seconds"] = context.windowSeconds;
    data["recent_observations"] = observations;
    data["status"] = status;

    JSON response = JSON::object();
    response["ok"] = true;
    response["api_version"] = 2;
    response["data"] = data;
    response["error"] = nullptr;
    response["meta"] = JSON{{"timezone", calendar.timeZoneIdentifier()},
                            {"current_datetime", calendar.localInternetDateTime(context.generatedAt)}};
    return response;
}

}  // namespace VarnholtQueryLib
