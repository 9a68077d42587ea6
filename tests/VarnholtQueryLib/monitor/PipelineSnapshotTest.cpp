#include <gtest/gtest.h>

#include <string>

#include "output/JSONWriter.h"
#include "monitor/PipelineSnapshot.h"

using namespace VarnholtQueryLib;

namespace {

// 2026-01-01T10:00:00Z
constexpr double kTenOClock = 1767261600;

// A complete status file as the recorder writes it, every optional member set.
const char* const kFullFile = R"({
  "updatedAt": "2026-01-01T10:00:00Z",
  "capture": {"state": "paused", "reason": "screen locked"},
  "analysis": {"phase": "describing", "since": "2026-01-01T09:59:00Z"},
  "queue": {
    "depth": 12, "realtime": 3, "normal": 8, "critical": 1,
    "currentJobLabel": "frame 4711", "isProcessing": true, "circuitOpen": false,
    "energyMode": "balanced"
  },
  "bridge": {"state": "ready", "method": "xpc", "pid": 4242, "since": "2026-01-01T09:30:00Z"},
  "gliner": {"active": true, "since": "2026-01-01T09:59:30Z"},
  "backfill": {"active": true, "attempted": 120, "enriched": 97},
  "cpu": {"recorderRSS_GB": 1.25, "bridgeRSS_GB": 6.5, "bridgeCPU_pct": 143.75}
})";

class PipelineSnapshotTest : public ::testing::Test {
protected:
    static JSON fullDocument() { return JSON::parse(kFullFile); }

    static std::optional<PipelineSnapshot> decode(const JSON& document) {
        return decodePipelineSnapshot(document.dump());
    }

    // The full file with the member at `pointer` replaced by `literal`, written
    // as raw JSON text, for numbers that a JSON value cannot carry unchanged.
    static std::optional<PipelineSnapshot> decodeWithLiteral(const std::string& pointer,
                                                             const std::string& literal) {
        JSON document = fullDocument();
        document[JSON::json_pointer(pointer)] = "@LITERAL@";
        std::string text = document.dump();
        text.replace(text.find("\"@LITERAL@\""), 11, literal);
        return decodePipelineSnapshot(text);
    }

    static std::optional<PipelineSnapshot> decodeWith(const std::string& pointer, const JSON& value) {
        JSON document = fullDocument();
        document[JSON::json_pointer(pointer)] = value;
        return decode(document);
    }

    static std::optional<PipelineSnapshot> decodeWithout(const std::string& pointer) {
        JSON document = fullDocument();
        const JSON::json_pointer member(pointer);
        document[member.parent_pointer()].erase(member.back());
        return decode(document);
    }
};

TEST_F(PipelineSnapshotTest, FullFileDecodesEveryField) {
    const std::optional<PipelineSnapshot> snapshot = decodePipelineSnapshot(kFullFile);
    ASSERT_TRUE(snapshot);

    PipelineSnapshot expected;
    expected.updatedAt = kTenOClock;
    expected.capture = {"paused", "screen locked"};
    expected.analysis = {"describing", kTenOClock - 60};
    expected.queue = {12, 3, 8, 1, "frame 4711", true, false, "balanced"};
    expected.bridge = {"ready", "xpc", 4242, kTenOClock - 1800};
    expected.gliner = {true, kTenOClock - 30};
    expected.backfill = {true, 120, 97};
    expected.cpu = {1.25, 6.5, 143.75};
    EXPECT_EQ(*snapshot, expected);
}

TEST_F(PipelineSnapshotTest, MissingReasonIsAbsent) {
    const auto snapshot = decodeWithout("/capture/reason");
    ASSERT_TRUE(snapshot);
    EXPECT_EQ(snapshot->capture.state, "paused");
    EXPECT_FALSE(snapshot->capture.reason);
}

TEST_F(PipelineSnapshotTest, NullReasonIsAbsent) {
    const auto snapshot = decodeWith("/capture/reason", nullptr);
    ASSERT_TRUE(snapshot);
    EXPECT_FALSE(snapshot->capture.reason);
    EXPECT_EQ(*snapshot, *decodeWithout("/capture/reason"));
}

TEST_F(PipelineSnapshotTest, EveryOptionalDateMayBeMissingOrNull) {
    for (const std::string pointer : {"/analysis/since", "/bridge/since", "/gliner/since"}) {
        SCOPED_TRACE(pointer);
        const auto missing = decodeWithout(pointer);
        const auto null = decodeWith(pointer, nullptr);
        ASSERT_TRUE(missing);
        ASSERT_TRUE(null);
        EXPECT_EQ(*missing, *null);
    }
    const auto snapshot = decodeWithout("/bridge/since");
    EXPECT_FALSE(snapshot->bridge.since);
    EXPECT_TRUE(snapshot->gliner.since);
}

TEST_F(PipelineSnapshotTest, UTCDateDecodes) {
    const auto snapshot = decodeWith("/updatedAt", "2026-01-01T10:00:00Z");
    ASSERT_TRUE(snapshot);
    EXPECT_EQ(snapshot->updatedAt, kTenOClock);
}

TEST_F(PipelineSnapshotTest, FractionalSecondsFailTheWholeFile) {
    EXPECT_FALSE(decodeWith("/updatedAt", "2026-01-01T10:00:00.5Z"));
    EXPECT_FALSE(decodeWith("/bridge/since", "2026-01-01T10:00:00.000Z"));
}

TEST_F(PipelineSnapshotTest, OffsetWithColonGivesTheSameInstant) {
    const auto snapshot = decodeWith("/updatedAt", "2026-01-01T12:00:00+02:00");
    ASSERT_TRUE(snapshot);
    EXPECT_EQ(snapshot->updatedAt, kTenOClock);
    const auto west = decodeWith("/gliner/since", "2026-01-01T04:30:00-05:30");
    ASSERT_TRUE(west);
    EXPECT_EQ(*west->gliner.since, kTenOClock);
}

TEST_F(PipelineSnapshotTest, OffsetWithoutColonFails) {
    EXPECT_FALSE(decodeWith("/updatedAt", "2026-01-01T12:00:00+0200"));
}

TEST_F(PipelineSnapshotTest, MalformedDatesFail) {
    EXPECT_FALSE(decodeWith("/updatedAt", "2026-01-01 10:00:00Z"));
    EXPECT_FALSE(decodeWith("/updatedAt", "2026-01-01"));
    EXPECT_FALSE(decodeWith("/updatedAt", "2026-02-30T10:00:00Z"));
    EXPECT_FALSE(decodeWith("/analysis/since", "yesterday"));
    EXPECT_FALSE(decodeWith("/updatedAt", kTenOClock));  // a number, not a date string
}

TEST_F(PipelineSnapshotTest, MissingCPUFails) { EXPECT_FALSE(decodeWithout("/cpu")); }

TEST_F(PipelineSnapshotTest, EveryRequiredMemberMissingFails) {
    for (const std::string pointer :
         {"/updatedAt", "/capture", "/analysis", "/queue", "/bridge", "/gliner", "/backfill", "/cpu",
          "/capture/state", "/analysis/phase", "/queue/depth", "/queue/realtime", "/queue/normal",
          "/queue/critical", "/queue/currentJobLabel", "/queue/isProcessing", "/queue/circuitOpen",
          "/queue/energyMode", "/bridge/state", "/bridge/method", "/bridge/pid", "/gliner/active",
          "/backfill/active", "/backfill/attempted", "/backfill/enriched", "/cpu/recorderRSS_GB",
          "/cpu/bridgeRSS_GB", "/cpu/bridgeCPU_pct"}) {
        SCOPED_TRACE(pointer);
        EXPECT_FALSE(decodeWithout(pointer));
        EXPECT_FALSE(decodeWith(pointer, nullptr));
    }
}

TEST_F(PipelineSnapshotTest, MemberNamesAreExact) {
    JSON document = fullDocument();
    document["cpu"]["recorderRss_GB"] = document["cpu"]["recorderRSS_GB"];
    document["cpu"].erase("recorderRSS_GB");
    EXPECT_FALSE(decode(document));
}

TEST_F(PipelineSnapshotTest, WrongJSONTypesFail) {
    EXPECT_FALSE(decodeWith("/queue/depth", "12"));
    EXPECT_FALSE(decodeWith("/capture/state", 1));
    EXPECT_FALSE(decodeWith("/capture/reason", 1));  // optional, but not of any type
    EXPECT_FALSE(decodeWith("/queue/isProcessing", 1));
    EXPECT_FALSE(decodeWith("/gliner/active", 0));
    EXPECT_FALSE(decodeWith("/backfill/active", "true"));
    EXPECT_FALSE(decodeWith("/cpu/bridgeCPU_pct", "12.5"));
    EXPECT_FALSE(decodeWith("/cpu/bridgeCPU_pct", true));
    EXPECT_FALSE(decodeWith("/queue", JSON::array({1, 2})));
    EXPECT_FALSE(decodeWith("/bridge", "ready"));
}

TEST_F(PipelineSnapshotTest, DoublesAcceptIntegerNumbers) {
    const auto snapshot = decodeWithLiteral("/cpu/bridgeCPU_pct", "100");
    ASSERT_TRUE(snapshot);
    EXPECT_EQ(snapshot->cpu.bridgeCPU_pct, 100.0);
    const auto exponent = decodeWithLiteral("/cpu/bridgeRSS_GB", "2.5e-1");
    ASSERT_TRUE(exponent);
    EXPECT_EQ(exponent->cpu.bridgeRSS_GB, 0.25);
}

// Counters must be written as plain JSON integers: a number in floating form
// is refused, whole or not.
TEST_F(PipelineSnapshotTest, IntegersWrittenWithAFractionFail) {
    EXPECT_FALSE(decodeWithLiteral("/queue/depth", "5.5"));
    EXPECT_FALSE(decodeWithLiteral("/queue/depth", "5.0"));
    EXPECT_FALSE(decodeWithLiteral("/backfill/attempted", "1e3"));
    EXPECT_FALSE(decodeWithLiteral("/bridge/pid", "4242.0"));
    const auto plain = decodeWithLiteral("/queue/depth", "5");
    ASSERT_TRUE(plain);
    EXPECT_EQ(plain->queue.depth, 5);
}

TEST_F(PipelineSnapshotTest, IntegersUseTheWholeSigned64BitRange) {
    const auto largest = decodeWithLiteral("/backfill/attempted", "9223372036854775807");
    ASSERT_TRUE(largest);
    EXPECT_EQ(largest->backfill.attempted, INT64_MAX);
    const auto smallest = decodeWithLiteral("/queue/normal", "-9223372036854775808");
    ASSERT_TRUE(smallest);
    EXPECT_EQ(smallest->queue.normal, INT64_MIN);
}

TEST_F(PipelineSnapshotTest, IntegersBeyond64BitsFail) {
    EXPECT_FALSE(decodeWithLiteral("/backfill/attempted", "9223372036854775808"));
    EXPECT_FALSE(decodeWithLiteral("/backfill/attempted", "18446744073709551615"));
    EXPECT_FALSE(decodeWithLiteral("/backfill/attempted", "18446744073709551616"));
    EXPECT_FALSE(decodeWithLiteral("/queue/normal", "-9223372036854775809"));
    EXPECT_FALSE(decodeWithLiteral("/queue/depth", "100000000000000000000000000000"));
}

TEST_F(PipelineSnapshotTest, PidMustFitSigned32Bits) {
    const auto largest = decodeWithLiteral("/bridge/pid", "2147483647");
    ASSERT_TRUE(largest);
    EXPECT_EQ(largest->bridge.pid, 2147483647);
    const auto smallest = decodeWithLiteral("/bridge/pid", "-2147483648");
    ASSERT_TRUE(smallest);
    EXPECT_EQ(smallest->bridge.pid, INT32_MIN);
    EXPECT_FALSE(decodeWithLiteral("/bridge/pid", "2147483648"));
    EXPECT_FALSE(decodeWithLiteral("/bridge/pid", "-2147483649"));
}

TEST_F(PipelineSnapshotTest, UnknownMembersAreIgnored) {
    JSON document = fullDocument();
    document["version"] = 3;
    document["queue"]["oldestJobAge"] = "whatever";
    document["cpu"]["gpu"] = JSON::array({1, 2, 3});
    const auto snapshot = decode(document);
    ASSERT_TRUE(snapshot);
    EXPECT_EQ(*snapshot, *decodePipelineSnapshot(kFullFile));
}

TEST_F(PipelineSnapshotTest, AnythingButOneJSONObjectFails) {
    EXPECT_FALSE(decodePipelineSnapshot(""));
    EXPECT_FALSE(decodePipelineSnapshot("[]"));
    EXPECT_FALSE(decodePipelineSnapshot("null"));
    EXPECT_FALSE(decodePipelineSnapshot("42"));
    EXPECT_FALSE(decodePipelineSnapshot("\"status\""));
    EXPECT_FALSE(decodePipelineSnapshot("{}"));
    EXPECT_FALSE(decodePipelineSnapshot("not json at all"));
    // A file caught while the recorder rewrites it.
    const std::string text = kFullFile;
    EXPECT_FALSE(decodePipelineSnapshot(text.substr(0, text.size() / 2)));
    EXPECT_FALSE(decodePipelineSnapshot(text + "{}"));
}

TEST_F(PipelineSnapshotTest, EncodingRoundTrips) {
    const PipelineSnapshot full = *decodePipelineSnapshot(kFullFile);
    EXPECT_EQ(decodePipelineSnapshot(encodePipelineSnapshot(full)), full);

    PipelineSnapshot bare = full;
    bare.capture.reason.reset();
    bare.analysis.since.reset();
    bare.bridge.since.reset();
    bare.gliner.since.reset();
    bare.cpu.bridgeCPU_pct = 0.1;
    const std::string text = encodePipelineSnapshot(bare);
    EXPECT_EQ(decodePipelineSnapshot(text), bare);
}

TEST_F(PipelineSnapshotTest, EncodingOmitsAbsentFieldsAndWritesUTCDates) {
    PipelineSnapshot snapshot = *decodePipelineSnapshot(kFullFile);
    snapshot.capture.reason.reset();
    snapshot.gliner.since.reset();
    const JSON document = JSON::parse(encodePipelineSnapshot(snapshot));
    EXPECT_FALSE(document["capture"].contains("reason"));
    EXPECT_FALSE(document["gliner"].contains("since"));
    EXPECT_EQ(document["updatedAt"], "2026-01-01T10:00:00Z");
    EXPECT_EQ(document["bridge"]["since"], "2026-01-01T09:30:00Z");
    EXPECT_EQ(document["bridge"]["pid"], 4242);
    EXPECT_TRUE(document["queue"]["depth"].is_number_integer());
    EXPECT_EQ(document["cpu"]["bridgeCPU_pct"], 143.75);
}

}  // namespace
