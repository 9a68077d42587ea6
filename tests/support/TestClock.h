#pragma once

#include "platform/PlatformPorts.h"

namespace VarnholtTestSupport {

// A clock that says what the test sets: `instant` moves time on.
class TestClock final : public VarnholtQueryLib::ClockPort {
public:
    explicit TestClock(double now) : instant(now) {}
    double now() const override { return instant; }

    double instant;
};

}  // namespace VarnholtTestSupport
