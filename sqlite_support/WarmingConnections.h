#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "ColdReads.h"
#include "PageWarming.h"

namespace VarnholtSQLiteSupport {

// How many helpers warm an answer's range, and when.
struct WarmingPolicy {
    // Helpers per answer; 0 never warms.
    int warmers = 0;
    // Each helper's share of the range, in slices: small enough that a
    // helper that meets a dense stretch does not hold up the others' end.
    int slicesPerWarmer = 4;
    // Without the wait for a cold read (tests): every plan with room for
    // two slices starts its helpers at once.
    bool startAtOnce = false;
    // Where the cold check reads the process's disk reads.
    ColdReads::BlocksRead blocksRead = ColdReads::processBlocksRead;

    // The helpers wait for the disk, not for a processor: four per core keep
    // more reads in flight than cores, up to a cap of eight that bounds the
    // memory and the connections one answer may take. `cores` of 0
    // (unknown) counts as one.
    static WarmingPolicy forMachine(unsigned cores);
    // forMachine(std::thread::hardware_concurrency()), unless this process
    // was told otherwise (useWarmersInThisProcess).
    static WarmingPolicy forThisMachine();
    // For a benchmark that compares warming on and off, and its count, in
    // one run: every later forThisMachine() gives `warmers`. The tool
    // itself has no switch, file or variable for this.
    static void useWarmersInThisProcess(int warmers);
};

// What the last warming did, for tests and benchmarks.
struct WarmingReport {
    bool started = false;  // helpers were started
    int warmers = 0;       // helpers started
    int slices = 0;        // slices the range was cut into
    int slicesWarmed = 0;  // slices whose lookups ran to their end
    int failures = 0;      // helpers that stopped on an error of their own
};

// PageWarming by helper threads, each with a read-only connection of its own
// to the database at `path`.
//
// begin() cuts the plan's range into slices, in the order the answer walks
// it, and waits (a progress check on the answer's connection every few
// thousand of SQLite's instructions) until the answer proves cold
// (ColdReads); an answer that finishes first, or never reads from disk,
// starts no thread. Then the helpers take the slices in turn and run the
// plan's lookups over each, reading every row and keeping none. A helper
// whose slices turn out to be in the cache already (two in a row, where
// the system counts reads per thread) stops: it would only take processor
// time from the answer.
//
// A helper only reads, on a connection with the same read-only rules as the
// answer's and no wait for locks; any failure (the file gone or locked, a
// statement refused) ends that helper quietly. end() stops the helpers'
// statements (each looks every thousand instructions, and is interrupted
// besides) and joins them, so none outlives the answer; a stop is not a
// failure.
class WarmingConnections final : public PageWarming {
public:
    WarmingConnections(std::string path, WarmingPolicy policy);
    ~WarmingConnections() override;
    WarmingConnections(const WarmingConnections&) = delete;
    WarmingConnections& operator=(const WarmingConnections&) = delete;

    void begin(sqlite3* answer, const WarmingPlan& plan) override;
    void end() noexcept override;
    // Lets the helpers work through the slices (or stop on their own), waits
    // for them, then ends as end() does: for tests and benchmarks that look
    // at what a whole warming did. An answer never waits for its helpers.
    void finish() noexcept;

    // What the last warming did, once it ended (or was never begun: all
    // zero).
    WarmingReport lastReport() const { return report_; }

    // How `plan`'s range is cut for `warmers` helpers with `slicesPerWarmer`
    // slices each: in the plan's walk order, bounds inclusive, at most one
    // slice per five minutes (times) or per hundred rowids.
    static std::vector<std::pair<double, double>> slicesOf(const WarmingPlan& plan, int warmers,
                                                           int slicesPerWarmer);

private:
    struct Run;
    static int onProgress(void* self);
    void startWarmers() noexcept;
    static void warm(Run& run, int helper) noexcept;

    const std::string path_;
    const WarmingPolicy policy_;
    sqlite3* answer_ = nullptr;
    std::optional<ColdReads> cold_;
    std::unique_ptr<Run> run_;
    WarmingReport report_;
};

}  // namespace VarnholtSQLiteSupport
