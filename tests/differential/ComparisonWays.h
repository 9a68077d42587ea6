#pragma once

namespace VarnholtDifferential {

// The tool's three ways to an account: the literal statement, the
// index-driven ones, and the index-driven ones with helpers warming the
// page cache beside them, which must not change a thing.
enum class Way { literal, indexed, warmed };

inline const char* nameOf(Way way) {
    switch (way) {
        case Way::literal: return "literal";
        case Way::indexed: return "indexed";
        case Way::warmed: return "indexed, warmed";
    }
    return "";
}

}  // namespace VarnholtDifferential
