#pragma once

#include <cstdint>

namespace VarnholtSchema {

// The recorder's schema versions as this tool understands them. The recorder
// stamps its database with `PRAGMA user_version`; we read anything from
// `current` on, because newer recorders only add tables and columns.
struct SchemaVersion {
    SchemaVersion() = delete;

    // The lowest recorder schema version this tool accepts.
    static constexpr std::int32_t current = 24;
};

}  // namespace VarnholtSchema
