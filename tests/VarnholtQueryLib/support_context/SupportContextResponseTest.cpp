#include "support_context/SupportContextResponse.h"

#include <gtest/gtest.h>

#include "platform/LocalCalendar.h"
#include "status/StatusResponse.h"
#include "TestInstants.h"

using namespace VarnholtQueryLib;

namespace {

using VarnholtTestSupport::kNow;  // 2026-04-01T10:00:00Z, 12:00 in Berlin

StatusData statusWithMetrics() {
    StatusData data;
    data.dbPath = "/home/ada/.varnholt/varnholt.db";
    data.sizeBytes = 4096;
    data.schemaVersion = 24;
    data.recorderLikelyActive = true;
    data.lastDbModified = 1775037595.0;
    OperationalMetrics metrics;
    metrics.totalFrames = 3;
    metrics.totalObservations = 2;
    metrics.pendingFrames = 1;
    metrics.lastFrameTimestamp = 1775037590.0;
    metrics.lastObservationTimestamp = 1775037500.0;
    metrics.framesLast5Min = 2;
    metrics.observationsLast5Min = 1;
    metrics.firstObservationAt = 1775030000;
    metrics.lastObservationAt = 1775037500;
    data.operationalMetrics = metrics;
    data.diagnosis = "HEALTHY";
    data.diagnosisMessage = "Capture and analysis are both running normally.";
    data.tailLogRecorder = "must not appear";
    data.bridgeHealth = StatusData::BridgeHealth{"degraded", "Socket closed", "yesterday",
                                                 "/home/ada/.varnholt/last-bridge-error.json"};
    return data;
}

std::string written(const JSON& document) { return serializeJSON(document).value_or("<unwritable>"); }

}  // namespace

TEST(SupportContextResponseTest, FullDocument) {
    const SupportContextSnapshot context{
        kNow,
        7200,
        {{1775037500.9, "Writing the status report", {"VS Code", "Terminal"}},
         {1775036000.0, "Reading /var/log/syslog", {}}}};
    const LocalCalendar calendar("Europe/Berlin", "de_DE");
    EXPECT_EQ(written(makeSupportContextResponse(context, statusWithMetrics(), calendar)),
              R"({
  "api_version" : 2,
  "data" : {
    "context_window_seconds" : 7200,
    "recent_observations" : [
      {
        "applications" : [
          "VS Code",
          "Terminal"
        ],
        "timestamp" : "2026-04-01T09:58:20Z",
        "vlm_description" : "Writing the status report"
      },
      {
        "applications" : [

        ],
        "timestamp" : "2026-04-01T09:33:20Z",
        "vlm_description" : "Reading \/var\/log\/syslog"
      }
    ],
    "status" : {
      "bridge_health" : {
        "last_error_reason" : "Socket closed",
        "report_path" : "\/home\/ada\/.varnholt\/last-bridge-error.json",
        "report_timestamp" : "yesterday",
        "status" : "degraded"
      },
      "last_db_modified" : "2026-04-01T09:59:55Z",
      "operational" : {
        "coverage_percent" : 0.67,
        "diagnosis" : "HEALTHY",
        "diagnosis_message" : "Capture and analysis are both running normally.",
        "frames_last_5min" : 2,
        "last_frame_at" : "2026-04-01T09:59:50Z",
        "last_observation_at" : "2026-04-01T09:58:20Z",
        "observations_last_5min" : 1,
        "pending_frames" : 1,
        "total_frames" : 3,
        "total_observations" : 2
      },
      "recorder_likely_active" : true
    }
  },
  "error" : null,
  "meta" : {
    "current_datetime" : "2026-04-01T12:00:00+02:00",
    "timezone" : "Europe\/Berlin"
  },
  "ok" : true
})");
}

TEST(SupportContextResponseTest, QuietRecorderWithoutMetricsOrReport) {
    StatusData status;
    status.dbPath = "/home/ada/.varnholt/varnholt.db";
    status.schemaVersion = 24;
    status.bridgeHealth = StatusData::BridgeHealth{"healthy", std::nullopt, std::nullopt, std::nullopt};
    const SupportContextSnapshot context{kNow, 7200, {}};
    const LocalCalendar calendar("America/New_York", "en_US");
    EXPECT_EQ(written(makeSupportContextResponse(context, status, calendar)),
              R"({
  "api_version" : 2,
  "data" : {
    "context_window_seconds" : 7200,
    "recent_observations" : [

    ],
    "status" : {
      "last_db_modified" : null,
      "recorder_likely_active" : false
    }
  },
  "error" : null,
  "meta" : {
    "current_datetime" : "2026-04-01T06:00:00-04:00",
    "timezone" : "America\/New_York"
  },
  "ok" : true
})");
}

TEST(SupportContextResponseTest, OperationalBlockIsTheSameAsInTheStatusResponse) {
    const StatusData status = statusWithMetrics();
    const LocalCalendar calendar("UTC", "en_US");
    const JSON document = makeSupportContextResponse({kNow, 7200, {}}, status, calendar);
    EXPECT_EQ(document["data"]["status"]["operational"], makeOperationalJSON(status));
}

// The document is pasted into support requests: the same redaction as the
// search and timeline answers, on the printed text only.
TEST(SupportContextResponseTest, DescriptionsAreRedacted) {
    const SupportContextSnapshot context{
        kNow,
        7200,
        {{1775037500.0, "Mailing ada@example.com the password: hunter2", {}},
         {1775037400.0, "Pasting token 0123456789abcdef0123456789abcdef into the shell", {}},
         {1775037300.0, "Reading the design notes", {}}}};
    const LocalCalendar calendar("UTC", "en_US");
    const JSON document = makeSupportContextResponse(context, statusWithMetrics(), calendar);
    const JSON& observations = document["data"]["recent_observations"];
    ASSERT_EQ(observations.size(), 3u);
    EXPECT_EQ(observations[0]["vlm_description"], "Mailing [EMAIL] the password: [REDACTED]");
    EXPECT_EQ(observations[1]["vlm_description"], "Pasting token [TOKEN] into the shell");
    EXPECT_EQ(observations[2]["vlm_description"], "Reading the design notes");
}
