#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "PageWarming.h"
#include "SQLiteReadConnection.h"
#include "WarmingConnections.h"

namespace VarnholtTestSupport {

// What every warming of a TalliedWarming did, added up.
struct WarmingTally {
    int warmings = 0;      // plans begun (each a WarmingScope with lookups)
    int started = 0;       // warmings whose helpers started
    int startedCold = 0;   // of them, started by the answer's progress checks
    int slicesWarmed = 0;  // slices whose lookups a helper ran to their end
    int failures = 0;      // helpers that stopped on an error of their own
};

// Helper threads that warm the page cache (WarmingConnections), counted over
// every warming rather than the last: an answer may warm several stretches,
// and a test wants to know that helpers ran beside the statements it
// compares, not only after the last of them.
//
// The databases of the tests are small and in the cache, and would never
// prove cold; the policies below start helpers all the same, in the two ways
// the tool starts them: at once, or from the answer's own connection, once
// its progress checks find it reading from disk.
class TalliedWarming final : public VarnholtSQLiteSupport::PageWarming {
public:
    // Warms with each of `policies` in turn, one warming after the other.
    TalliedWarming(const std::string& path, const std::vector<VarnholtSQLiteSupport::WarmingPolicy>& policies) {
        for (const auto& policy : policies) {
            warmings_.push_back(std::make_unique<VarnholtSQLiteSupport::WarmingConnections>(path, policy));
            atOnce_.push_back(policy.startAtOnce);
        }
    }
    ~TalliedWarming() override { end(); }

    // `warmers` helpers that start as soon as a plan has room for two
    // slices.
    static VarnholtSQLiteSupport::WarmingPolicy atOnce(int warmers = 3) {
        VarnholtSQLiteSupport::WarmingPolicy policy;
        policy.warmers = warmers;
        policy.startAtOnce = true;
        return policy;
    }

    // `warmers` helpers started by the answer's progress checks, which find
    // the process reading from disk at every check: the answer proves cold
    // after its first run of checks, if it lasts that long.
    static VarnholtSQLiteSupport::WarmingPolicy coldFromTheStart(int warmers = 3) {
        VarnholtSQLiteSupport::WarmingPolicy policy;
        policy.warmers = warmers;
        policy.blocksRead = [blocks = std::int64_t{0}]() mutable { return blocks += 1024; };
        return policy;
    }

    // Both of the above, in turn.
    static std::vector<VarnholtSQLiteSupport::WarmingPolicy> bothWays(int warmers = 3) {
        return {atOnce(warmers), coldFromTheStart(warmers)};
    }

    void begin(sqlite3* answer, const VarnholtSQLiteSupport::WarmingPlan& plan) override {
        end();
        const std::size_t next = static_cast<std::size_t>(tally_.warmings) % warmings_.size();
        current_ = warmings_[next].get();
        currentAtOnce_ = atOnce_[next];
        ++tally_.warmings;
        current_->begin(answer, plan);
    }

    void end() noexcept override {
        if (current_ == nullptr) return;
        current_->end();
        const VarnholtSQLiteSupport::WarmingReport report = current_->lastReport();
        current_ = nullptr;
        if (report.started) ++tally_.started;
        if (report.started && !currentAtOnce_) ++tally_.startedCold;
        tally_.slicesWarmed += report.slicesWarmed;
        tally_.failures += report.failures;
    }

    const WarmingTally& tally() const { return tally_; }

private:
    std::vector<std::unique_ptr<VarnholtSQLiteSupport::WarmingConnections>> warmings_;
    std::vector<bool> atOnce_;
    VarnholtSQLiteSupport::WarmingConnections* current_ = nullptr;
    bool currentAtOnce_ = false;
    WarmingTally tally_;
};

// `warming` serves the statements on `connection` while this is in scope;
// afterwards the connection warms nothing again.
class WarmedConnection {
public:
    WarmedConnection(VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                     VarnholtSQLiteSupport::PageWarming& warming)
        : connection_(connection) {
        connection_.warmWith(&warming);
    }
    ~WarmedConnection() { connection_.warmWith(nullptr); }
    WarmedConnection(const WarmedConnection&) = delete;
    WarmedConnection& operator=(const WarmedConnection&) = delete;

private:
    VarnholtSQLiteSupport::SQLiteReadConnection& connection_;
};

}  // namespace VarnholtTestSupport
