#pragma once

#include <cstdint>
#include <functional>
#include <optional>

namespace VarnholtSQLiteSupport {

// Tells a cold answer from a warm one while it runs, by what the process
// makes the kernel read from disk between regular checks.
//
// A warm answer reads nothing from disk. On a machine that pages out memory
// nobody touched for a while (the page cache included) it may still meet
// pages that went out, a few at a time or a region together, and a warmer
// would then cost it more than it saves. A cold answer reads between any
// two checks. So an answer is cold once `run` checks in a row each saw
// reads, together at least `threshold` blocks.
class ColdReads {
public:
    // Blocks the process has read from disk so far (ru_inblock: 512-byte
    // blocks on Linux, read operations on macOS).
    using BlocksRead = std::function<std::int64_t()>;

    static constexpr int kRun = 8;                   // checks
    static constexpr std::int64_t kThreshold = 256;  // blocks: 128 KiB on Linux

    explicit ColdReads(BlocksRead blocksRead = processBlocksRead, int run = kRun,
                       std::int64_t threshold = kThreshold);

    // One check; true from the check that completes the run on.
    bool check();

    // getrusage(RUSAGE_SELF).ru_inblock, or 0 when it fails (never cold).
    static std::int64_t processBlocksRead();
    // The calling thread's own, where the system counts per thread (Linux);
    // absent elsewhere.
    static std::optional<std::int64_t> threadBlocksRead();

private:
    BlocksRead blocksRead_;
    int run_;
    std::int64_t threshold_;
    std::int64_t last_;
    int checksInRun_ = 0;
    std::int64_t blocksInRun_ = 0;
    bool cold_ = false;
};

}  // namespace VarnholtSQLiteSupport
