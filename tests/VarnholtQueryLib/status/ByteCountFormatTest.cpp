#include "status/ByteCountFormat.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

using VarnholtQueryLib::formatByteCount;

namespace {

struct Case {
    std::int64_t bytes;
    const char* text;
};

}  // namespace

TEST(ByteCountFormatTest, Table) {
    const Case cases[] = {
        {0, "Zero KB"},
        {1, "1 byte"},
        {2, "2 bytes"},
        {532, "532 bytes"},
        {999, "999 bytes"},
        {1'000, "1 KB"},
        {1'499, "1 KB"},
        {1'500, "2 KB"},  // halves round away from zero
        {12'345, "12 KB"},
        {999'499, "999 KB"},
        {999'500, "1 MB"},  // 1000 KB after rounding moves up a unit
        {999'999, "1 MB"},
        {1'000'000, "1 MB"},
        {1'049'999, "1 MB"},
        {1'050'000, "1.1 MB"},
        {12'000'000, "12 MB"},
        {12'345'678, "12.3 MB"},
        {999'949'999, "999.9 MB"},
        {999'950'000, "1 GB"},
        {1'000'000'000, "1 GB"},
        {1'200'000'000, "1.2 GB"},
        {1'234'567'890, "1.23 GB"},
        {1'235'000'000, "1.24 GB"},
        {1'204'999'999, "1.2 GB"},
        {999'995'000'000, "1 TB"},
        {5'000'000'000'000, "5 TB"},
        {1'234'000'000'000'000, "1.23 PB"},
        {2'500'000'000'000'000'000, "2.5 EB"},
        {std::numeric_limits<std::int64_t>::max(), "9.22 EB"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(formatByteCount(c.bytes), c.text) << c.bytes << " bytes";
    }
}

TEST(ByteCountFormatTest, NegativeCountsKeepTheirSign) {
    EXPECT_EQ(formatByteCount(-1), "-1 byte");
    EXPECT_EQ(formatByteCount(-532), "-532 bytes");
    EXPECT_EQ(formatByteCount(-12'345'678), "-12.3 MB");
    EXPECT_EQ(formatByteCount(std::numeric_limits<std::int64_t>::min()), "-9.22 EB");
}
