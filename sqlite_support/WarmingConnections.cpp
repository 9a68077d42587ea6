#include "WarmingConnections.h"

#include <sqlite3.h>

#include <algorithm>
#include <cmath>
#include <exception>
#include <type_traits>
#include <variant>

#include "NamedParameters.h"
#include "SQLiteReadConnection.h"
#include "ScatteredReads.h"

namespace VarnholtSQLiteSupport {

namespace {

// SQLite's instructions between two cold checks: a warm answer runs tens of
// millions a second, so a check (one getrusage) costs it nothing to speak
// of, while a cold answer meets dozens of page reads in between.
constexpr int kInstructionsPerCheck = 10000;
// Helpers wait for the disk, not for a processor. Four per core keep a
// disk's queue busy; the cap bounds the memory and the connections one
// answer may take (each helper's page cache and statement, about 0.5 MB).
constexpr unsigned kWarmersPerCore = 4;
constexpr int kMostWarmers = 8;
// The least slice worth a helper's statement: a five-minute moment of
// frames, or a hundred observations.
constexpr double kShortestTimeSlice = 300;
constexpr double kShortestRowidSlice = 100;
// A helper stops after this many slices in a row that read fewer blocks
// than this from disk.
constexpr std::int64_t kColdSliceBlocks = 64;
constexpr int kWarmSlicesToStop = 2;
// A helper's own page cache: it reads for the operating system's cache,
// not for its own, so its cache only needs the index pages it revisits.
constexpr const char* kHelperCache = "PRAGMA cache_size = -512";
// SQLite's instructions between two looks of a helper's statement at
// whether to stop. sqlite3_interrupt alone does not stop every statement:
// SQLite clears an interrupt when a statement starts on a connection that
// runs no other, so one that arrives between a helper's look at `stopping`
// and its next step is lost, and end() would wait for that slice's lookup
// to run to its end.
constexpr int kInstructionsPerStopCheck = 1000;

int warmersOverride = -1;

int stopRequested(void* stopping) {
    return static_cast<const std::atomic<bool>*>(stopping)->load() ? 1 : 0;
}

void bindValue(sqlite3_stmt* statement, const std::string& name, const LookupValue& value) {
    std::visit(
        [&](const auto& bound) {
            using Type = std::decay_t<decltype(bound)>;
            if constexpr (std::is_same_v<Type, std::int64_t>) {
                bindNamedInt64(statement, name.c_str(), bound);
            } else if constexpr (std::is_same_v<Type, double>) {
                bindNamedDouble(statement, name.c_str(), bound);
            } else {
                bindNamedText(statement, name.c_str(), bound);
            }
        },
        value);
}

void bindBound(sqlite3_stmt* statement, const std::string& name, double value, bool wholeNumber) {
    if (wholeNumber) {
        bindNamedInt64(statement, name.c_str(), static_cast<std::int64_t>(value));
    } else {
        bindNamedDouble(statement, name.c_str(), value);
    }
}

}  // namespace

WarmingPolicy WarmingPolicy::forMachine(unsigned cores) {
    WarmingPolicy policy;
    policy.warmers = static_cast<int>(std::min(kWarmersPerCore * std::max(cores, 1u), unsigned{kMostWarmers}));
    return policy;
}

WarmingPolicy WarmingPolicy::forThisMachine() {
    WarmingPolicy policy = forMachine(std::thread::hardware_concurrency());
    if (warmersOverride >= 0) policy.warmers = std::min(warmersOverride, kMostWarmers);
    return policy;
}

void WarmingPolicy::useWarmersInThisProcess(int warmers) { warmersOverride = std::max(warmers, 0); }

struct WarmingConnections::Run {
    std::string path;
    WarmingPlan plan;
    std::vector<std::pair<double, double>> slices;
    int warmers = 0;
    bool started = false;
    std::atomic<int> nextSlice{0};
    std::atomic<bool> stopping{false};
    std::atomic<int> slicesWarmed{0};
    std::atomic<int> failures{0};
    // Each helper's open connection, null while it has none: end()
    // interrupts what is open, under the lock a helper takes to close.
    std::mutex handlesLock;
    std::vector<sqlite3*> handles;
    std::vector<std::thread> threads;
};

WarmingConnections::WarmingConnections(std::string path, WarmingPolicy policy)
    : path_(std::move(path)), policy_(std::move(policy)) {}

WarmingConnections::~WarmingConnections() { end(); }

std::vector<std::pair<double, double>> WarmingConnections::slicesOf(const WarmingPlan& plan, int warmers,
                                                                    int slicesPerWarmer) {
    std::vector<std::pair<double, double>> slices;
    if (!std::isfinite(plan.from) || !std::isfinite(plan.to) || !(plan.to > plan.from)) return slices;
    const double width = plan.to - plan.from;
    const double shortest = plan.wholeNumbers ? kShortestRowidSlice : kShortestTimeSlice;
    const double most = std::floor(width / shortest);
    const int count = static_cast<int>(std::min<double>(most, std::max(warmers, 0) * std::max(slicesPerWarmer, 1)));
    for (int i = 0; i < count; ++i) {
        double lower = plan.from + width * i / count;
        double upper = i + 1 == count ? plan.to : plan.from + width * (i + 1) / count;
        if (plan.wholeNumbers) {
            // Whole rowids, each in exactly one slice.
            lower = std::floor(lower);
            upper = i + 1 == count ? plan.to : std::floor(upper) - 1;
        }
        slices.emplace_back(lower, upper);
    }
    if (plan.walk == WarmingPlan::Walk::newestFirst) std::reverse(slices.begin(), slices.end());
    return slices;
}

void WarmingConnections::begin(sqlite3* answer, const WarmingPlan& plan) {
    end();
    report_ = WarmingReport{};
    if (policy_.warmers <= 0 || answer == nullptr || plan.lookups.empty()) return;
    try {
        auto run = std::make_unique<Run>();
        run->slices = slicesOf(plan, policy_.warmers, policy_.slicesPerWarmer);
        if (run->slices.size() < 2) return;  // a range too short to share
        run->path = path_;
        run->plan = plan;
        run->warmers = std::min(policy_.warmers, static_cast<int>(run->slices.size()));
        run->handles.assign(static_cast<std::size_t>(run->warmers), nullptr);
        run_ = std::move(run);
        report_.slices = static_cast<int>(run_->slices.size());
    } catch (const std::exception&) {
        run_.reset();
        return;
    }
    answer_ = answer;
    if (policy_.startAtOnce) {
        startWarmers();
        return;
    }
    cold_.emplace(policy_.blocksRead);
    sqlite3_progress_handler(answer_, kInstructionsPerCheck, &WarmingConnections::onProgress, this);
}

int WarmingConnections::onProgress(void* self) {
    auto* warming = static_cast<WarmingConnections*>(self);
    if (warming->run_ && !warming->run_->started && warming->cold_ && warming->cold_->check()) {
        warming->startWarmers();
    }
    return 0;  // never stops the answer
}

void WarmingConnections::startWarmers() noexcept {
    Run& run = *run_;
    // The answer's check stays installed until end(), doing nothing from
    // now on: SQLite asks a progress callback not to change the connection
    // that called it, and taking the check off would be such a change.
    run.started = true;
    for (int helper = 0; helper < run.warmers; ++helper) {
        try {
            run.threads.emplace_back(&WarmingConnections::warm, std::ref(run), helper);
        } catch (const std::exception&) {
            break;  // no thread to be had: the ones started do the work
        }
    }
}

void WarmingConnections::warm(Run& run, int helper) noexcept {
    try {
        SQLiteReadConnection connection(run.path, SQLiteReadConnection::States::latestPerStatement,
                                        SQLiteReadConnection::LockWait::none);
        sqlite3* handle = connection.handle();
        {
            const std::lock_guard<std::mutex> lock(run.handlesLock);
            if (run.stopping) return;
            run.handles[static_cast<std::size_t>(helper)] = handle;
        }
        struct Unlisted {
            Run& run;
            int helper;
            ~Unlisted() {
                const std::lock_guard<std::mutex> lock(run.handlesLock);
                run.handles[static_cast<std::size_t>(helper)] = nullptr;
            }
        } unlisted{run, helper};
        sqlite3_progress_handler(handle, kInstructionsPerStopCheck, &stopRequested, &run.stopping);
        readScatteredPages(handle);
        sqlite3_exec(handle, kHelperCache, nullptr, nullptr, nullptr);

        std::vector<sqlite3_stmt*> statements;
        struct Finalized {
            std::vector<sqlite3_stmt*>& statements;
            ~Finalized() {
                for (sqlite3_stmt* statement : statements) sqlite3_finalize(statement);
            }
        } finalized{statements};
        for (const WarmingLookup& lookup : run.plan.lookups) {
            sqlite3_stmt* statement = prepareOrNull(handle, lookup.statement);
            if (statement == nullptr) {
                // Refused, unless it was stopped: end() interrupts a
                // statement in the making too.
                if (!run.stopping) ++run.failures;
                return;
            }
            statements.push_back(statement);
            for (const auto& [name, value] : lookup.parameters) bindValue(statement, name, value);
        }
        int warmSlices = 0;
        for (int slice = run.nextSlice++; slice < static_cast<int>(run.slices.size()) && !run.stopping;
             slice = run.nextSlice++) {
            const std::optional<std::int64_t> readBefore = ColdReads::threadBlocksRead();
            const auto [lower, upper] = run.slices[static_cast<std::size_t>(slice)];
            std::int64_t rows = 0;
            for (sqlite3_stmt* statement : statements) {
                sqlite3_reset(statement);
                bindBound(statement, run.plan.lower, lower, run.plan.wholeNumbers);
                bindBound(statement, run.plan.upper, upper, run.plan.wholeNumbers);
                int result = SQLITE_ROW;
                while (!run.stopping && (result = sqlite3_step(statement)) == SQLITE_ROW) ++rows;
                if (run.stopping) return;
                if (result != SQLITE_DONE) {
                    ++run.failures;
                    return;
                }
            }
            ++run.slicesWarmed;
            // Slices with rows whose pages were all in the cache already:
            // the answer is warm where this helper reads, and its
            // statements would only take processor time from it. (A slice
            // without rows, a night, says nothing.)
            const std::optional<std::int64_t> readAfter = ColdReads::threadBlocksRead();
            if (rows > 0) {
                const bool warm = readBefore && readAfter && *readAfter - *readBefore < kColdSliceBlocks;
                warmSlices = warm ? warmSlices + 1 : 0;
            }
            if (warmSlices == kWarmSlicesToStop) return;
        }
    } catch (...) {
        // The file gone, not a database, locked: this helper is done, the
        // answer goes on without it.
        ++run.failures;
    }
}

void WarmingConnections::end() noexcept {
    if (answer_ != nullptr) sqlite3_progress_handler(answer_, 0, nullptr, nullptr);
    answer_ = nullptr;
    cold_.reset();
    if (!run_) return;
    Run& run = *run_;
    {
        const std::lock_guard<std::mutex> lock(run.handlesLock);
        run.stopping = true;
        for (sqlite3* handle : run.handles) {
            if (handle != nullptr) sqlite3_interrupt(handle);
        }
    }
    for (std::thread& thread : run.threads) {
        if (thread.joinable()) thread.join();
    }
    report_.started = run.started;
    report_.warmers = static_cast<int>(run.threads.size());
    report_.slicesWarmed = run.slicesWarmed;
    report_.failures = run.failures;
    run_.reset();
}

void WarmingConnections::finish() noexcept {
    if (run_) {
        for (std::thread& thread : run_->threads) thread.join();
    }
    end();
}

}  // namespace VarnholtSQLiteSupport
