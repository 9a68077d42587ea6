// How much of each block of random databases the differential tests compare
// in this build.
//
// The plain builds compare every seed's database: the breadth of data is
// where the fast paths and the literal statements could part. A build under
// AddressSanitizer is there to catch a bad memory access or undefined
// behaviour on the paths those comparisons take, and pays three to ten
// times as much for each; it compares the databases of the even seeds,
// which take the same paths: every 16th seed (each block's large database,
// for the commands' limits and long windows) is among them, and every
// database holds all the awkward rows. Large databases it writes for the
// 16th seeds only, never drawn ones. (Every fourth seed left a block below
// the share of index-driven answers its test asks for.)
#pragma once

#include <cstdint>

#include "RandomRecorderDatabase.h"

namespace VarnholtDifferential {

#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool kAddressSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
inline constexpr bool kAddressSanitized = true;
#else
inline constexpr bool kAddressSanitized = false;
#endif
#else
inline constexpr bool kAddressSanitized = false;
#endif

// Whether this build compares the database of `seed`.
constexpr bool comparedInThisBuild(std::uint64_t seed) { return !kAddressSanitized || seed % 2 == 0; }

// Which seeds of a block write a large database when the test leaves it to
// the seed.
inline constexpr VarnholtRandomData::LargeDatabases kDrawnLargeDatabases =
    kAddressSanitized ? VarnholtRandomData::LargeDatabases::every16thOnly
                      : VarnholtRandomData::LargeDatabases::drawnAndEvery16th;

}  // namespace VarnholtDifferential
