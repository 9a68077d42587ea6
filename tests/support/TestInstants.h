#pragma once

namespace VarnholtTestSupport {

// Wednesday 1 April 2026, 10:00:00 UTC (noon in Berlin, 06:00 in New York):
// the instant the tests take as now, and around which they place rows,
// unless a test needs another. Files name it with a using-declaration, which
// may stand in several files' anonymous namespaces of one build unit.
inline constexpr double kNow = 1775037600.0;
// The same instant where a test places rows around it and gives now apart.
inline constexpr double kT = kNow;

}  // namespace VarnholtTestSupport
