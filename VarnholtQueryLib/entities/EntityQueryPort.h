#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace VarnholtQueryLib {

// Which entity mentions to aggregate. Bounds apply to the effective time of
// the mentioning observation (its frame's time, else its own).
struct EntityQueryParams {
    std::optional<double> fromTs;     // inclusive, seconds since 1970 UTC; absent: unbounded
    std::optional<double> toTs;       // inclusive; absent: unbounded
    std::optional<std::string> kind;  // only this exact kind
    std::int64_t limit = 100;         // at most this many aggregated rows

    bool operator==(const EntityQueryParams&) const = default;
};

// One entity (kind and value) with how often it was mentioned in the range
// and when it was first and last seen there.
struct EntityAggregation {
    std::string kind;
    std::string value;
    // One per mention row: an observation that lists the pair twice counts
    // twice.
    std::int64_t count = 0;
    double firstSeen = 0;  // seconds since 1970 UTC, earliest effective time
    double lastSeen = 0;   // latest effective time

    bool operator==(const EntityAggregation&) const = default;
};

// Aggregates the recorder's extracted entities.
class EntityQueryPort {
public:
    virtual ~EntityQueryPort() = default;

    // The aggregated entities of `params`, most mentioned first, ties by kind
    // and then value ascending; at most params.limit rows. Throws
    // DatabaseError on failure; no partial result is returned.
    virtual std::vector<EntityAggregation> aggregate(const EntityQueryParams& params) = 0;

protected:
    EntityQueryPort() = default;
    EntityQueryPort(const EntityQueryPort&) = delete;
    EntityQueryPort& operator=(const EntityQueryPort&) = delete;
};

}  // namespace VarnholtQueryLib
