#include "monitor/PipelineSnapshot.h"

#include <limits>

#include "output/JSONWriter.h"
#include "platform/LocalCalendar.h"

namespace VarnholtQueryLib {

namespace {

// Reads the members of one JSON object into typed values. The first problem
// marks the whole decoding as failed (the flag is shared by the readers of
// nested objects); after that the readers only return defaults, so the
// decoding code can read straight through without checking every step.
class ObjectReader {
public:
    ObjectReader(const JSON& value, bool& failed) : object_(&value), failed_(failed) {
        if (!value.is_object()) fail();
    }

    // A required member holding an object.
    ObjectReader object(const char* key) {
        static const JSON kNotAnObject;
        const JSON* value = required(key);
        return ObjectReader(value ? *value : kNotAnObject, failed_);
    }

    std::string string(const char* key) {
        const JSON* value = required(key);
        return value ? stringOf(*value) : std::string();
    }

    std::optional<std::string> optionalString(const char* key) {
        const JSON* value = present(key);
        if (!value) return std::nullopt;
        return stringOf(*value);
    }

    // JSON true or false; 0 and 1 are numbers, not booleans.
    bool boolean(const char* key) {
        const JSON* value = required(key);
        if (!value) return false;
        if (!value->is_boolean()) return fail(), false;
        return value->get<bool>();
    }

    // A JSON integer within signed 64 bits. A number written with a fraction
    // or an exponent is refused even when its value is whole (5.0, 1e3): the
    // recorder writes its counters as plain integers, and once such a number
    // has been read into a double, 5.0000000000000001 can no longer be told
    // from 5, nor -9223372036854775809 from the smallest 64-bit integer.
    std::int64_t integer(const char* key) {
        const JSON* value = required(key);
        if (!value) return 0;
        if (value->is_number_unsigned()) {
            const auto unsignedValue = value->get<std::uint64_t>();
            if (unsignedValue > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
                return fail(), 0;
            }
            return static_cast<std::int64_t>(unsignedValue);
        }
        if (value->is_number_integer()) return value->get<std::int64_t>();
        return fail(), 0;
    }

    // An integer as above that also fits signed 32 bits (a process id).
    std::int32_t integer32(const char* key) {
        const std::int64_t value = integer(key);
        if (value < std::numeric_limits<std::int32_t>::min() ||
            value > std::numeric_limits<std::int32_t>::max()) {
            return fail(), 0;
        }
        return static_cast<std::int32_t>(value);
    }

    // Any JSON number.
    double number(const char* key) {
        const JSON* value = required(key);
        if (!value) return 0;
        if (!value->is_number()) return fail(), 0;
        return value->get<double>();
    }

    double date(const char* key) {
        const JSON* value = required(key);
        return value ? dateOf(*value) : 0;
    }

    std::optional<double> optionalDate(const char* key) {
        const JSON* value = present(key);
        if (!value) return std::nullopt;
        return dateOf(*value);
    }

private:
    void fail() { failed_ = true; }

    // The member, or nullptr when it is missing or null.
    const JSON* present(const char* key) const {
        if (failed_ || !object_->is_object()) return nullptr;
        const auto member = object_->find(key);
        if (member == object_->end() || member->is_null()) return nullptr;
        return &*member;
    }

    // The member; a missing or null one fails the decoding.
    const JSON* required(const char* key) {
        const JSON* value = present(key);
        if (!value) fail();
        return failed_ ? nullptr : value;
    }

    std::string stringOf(const JSON& value) {
        if (!value.is_string()) return fail(), std::string();
        return value.get<std::string>();
    }

    double dateOf(const JSON& value) {
        if (!value.is_string()) return fail(), 0;
        const std::optional<double> instant = parseInternetDateTime(value.get_ref<const std::string&>());
        if (!instant) return fail(), 0;
        return *instant;
    }

    const JSON* object_;
    bool& failed_;
};

}  // namespace

std::optional<PipelineSnapshot> decodePipelineSnapshot(std::string_view bytes) {
    // The non-throwing parse: a file caught half-written gives a discarded
    // value, not an exception.
    const JSON document = JSON::parse(bytes.begin(), bytes.end(), nullptr, /*allow_exceptions=*/false);
    if (document.is_discarded()) return std::nullopt;

    bool failed = false;
    ObjectReader root(document, failed);
    PipelineSnapshot snapshot;
    snapshot.updatedAt = root.date("updatedAt");

    ObjectReader capture = root.object("capture");
    snapshot.capture.state = capture.string("state");
    snapshot.capture.reason = capture.optionalString("reason");

    ObjectReader analysis = root.object("analysis");
    snapshot.analysis.phase = analysis.string("phase");
    snapshot.analysis.since = analysis.optionalDate("since");

    ObjectReader queue = root.object("queue");
    snapshot.queue.depth = queue.integer("depth");
    snapshot.queue.realtime = queue.integer("realtime");
    snapshot.queue.normal = queue.integer("normal");
    snapshot.queue.critical = queue.integer("critical");
    snapshot.queue.currentJobLabel = queue.string("currentJobLabel");
    snapshot.queue.isProcessing = queue.boolean("isProcessing");
    snapshot.queue.circuitOpen = queue.boolean("circuitOpen");
    snapshot.queue.energyMode = queue.string("energyMode");

    ObjectReader bridge = root.object("bridge");
    snapshot.bridge.state = bridge.string("state");
    snapshot.bridge.method = bridge.string("method");
    snapshot.bridge.pid = bridge.integer32("pid");
    snapshot.bridge.since = bridge.optionalDate("since");

    ObjectReader gliner = root.object("gliner");
    snapshot.gliner.active = gliner.boolean("active");
    snapshot.gliner.since = gliner.optionalDate("since");

    ObjectReader backfill = root.object("backfill");
    snapshot.backfill.active = backfill.boolean("active");
    snapshot.backfill.attempted = backfill.integer("attempted");
    snapshot.backfill.enriched = backfill.integer("enriched");

    ObjectReader cpu = root.object("cpu");
    snapshot.cpu.recorderRSS_GB = cpu.number("recorderRSS_GB");
    snapshot.cpu.bridgeRSS_GB = cpu.number("bridgeRSS_GB");
    snapshot.cpu.bridgeCPU_pct = cpu.number("bridgeCPU_pct");

    if (failed) return std::nullopt;
    return snapshot;
}

std::string encodePipelineSnapshot(const PipelineSnapshot& snapshot) {
    const auto date = [](double instant) { return formatUTCInternetDateTime(instant); };

    JSON capture = {{"state", snapshot.capture.state}};
    if (snapshot.capture.reason) capture["reason"] = *snapshot.capture.reason;

    JSON analysis = {{"phase", snapshot.analysis.phase}};
    if (snapshot.analysis.since) analysis["since"] = date(*snapshot.analysis.since);

    const JSON queue = {{"depth", snapshot.queue.depth},
                        {"realtime", snapshot.queue.realtime},
                        {"normal", snapshot.queue.normal},
                        {"critical", snapshot.queue.critical},
                        {"currentJobLabel", snapshot.queue.currentJobLabel},
                        {"isProcessing", snapshot.queue.isProcessing},
                        {"circuitOpen", snapshot.queue.circuitOpen},
                        {"energyMode", snapshot.queue.energyMode}};

    JSON bridge = {{"state", snapshot.bridge.state},
                   {"method", snapshot.bridge.method},
                   {"pid", snapshot.bridge.pid}};
    if (snapshot.bridge.since) bridge["since"] = date(*snapshot.bridge.since);

    JSON gliner = {{"active", snapshot.gliner.active}};
    if (snapshot.gliner.since) gliner["since"] = date(*snapshot.gliner.since);

    const JSON backfill = {{"active", snapshot.backfill.active},
                           {"attempted", snapshot.backfill.attempted},
                           {"enriched", snapshot.backfill.enriched}};

    const JSON cpu = {{"recorderRSS_GB", snapshot.cpu.recorderRSS_GB},
                      {"bridgeRSS_GB", snapshot.cpu.bridgeRSS_GB},
                      {"bridgeCPU_pct", snapshot.cpu.bridgeCPU_pct}};

    const JSON document = {{"updatedAt", date(snapshot.updatedAt)},
                           {"capture", capture},
                           {"analysis", analysis},
                           {"queue", queue},
                           {"bridge", bridge},
                           {"gliner", gliner},
                           {"backfill", backfill},
                           {"cpu", cpu}};
    // Labels that are not valid UTF-8 are written with replacement characters
    // rather than throwing.
    return document.dump(2, ' ', false, JSON::error_handler_t::replace) + "\n";
}

}  // namespace VarnholtQueryLib
