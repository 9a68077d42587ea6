// varnholt-query-bench: runs the built varnholt-query against a year of
// generated recorder activity and prints how long each command takes, next
// to varnholt-query-literal (the same tool answering every query with its
// literal statement) on the same database in the same run.
//
// The database is generated once and cached in the build tree. Each command
// runs as a child process, as agents run it, under a home of our own (through
// nss_wrapper) with TZ=UTC and the clock frozen by libfaketime at the moment
// the generated activity ends, so "today" and "the last two hours" have data.

#include <sqlite3.h>
#include <sys/stat.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "BenchmarkProcess.h"
#include "SampleDatabase.h"
#include "WarmingConnections.h"

namespace {

using VarnholtBench::runTimed;
using VarnholtBench::TimedRun;

// Wednesday 2026-04-01 16:00:00 UTC: the generated activity ends here and the
// child's clock stands still here.
constexpr double kEndTime = 1775059200.0;
constexpr const char* kFrozenClock = "2026-04-01 16:00:00";
constexpr const char* kNssWrapper = "libnss_wrapper.so";
constexpr const char* kFakeTime = "/usr/lib/x86_64-linux-gnu/faketime/libfaketime.so.1";
// Runs of `--version` and /bin/true at least, whatever --runs says.
constexpr int kStartUpRuns = 101;

constexpr const char* kUsage =
    "Usage: varnholt-query-bench [--days N] [--runs N] [--literal-runs N] [--seed S] [--cache DIR]\n"
    "                            [--filter TEXT] [--skip TEXT] [--binary PATH] [--cold [--baseline OTHER]]\n"
    "                            [--warmers LIST]\n"
    "Times varnholt-query commands against N days (default 365) of generated activity,\n"
    "RUNS times each (default 15) after one untimed warm-up run, and the literal statements\n"
    "(varnholt-query-literal) LITERAL-RUNS times each (default 3; 0 skips them). The database\n"
    "is generated once into DIR (default: the build tree) and reused. PATH times another build\n"
    "of the tool (default: this build's).\n"
    "--cold drops the database's pages from the operating system's cache before every run and\n"
    "reports how much each command read from disk, instead of the literal statements; OTHER, a\n"
    "second build, then runs in turn with PATH, run for run, for a comparison from one run.\n"
    "--warmers times the tool with each count of helpers in LIST (e.g. 0,8; 0 is warming off)\n"
    "warming a cold answer's pages, run for run, warm (RUNS runs after a warm-up) or with --cold,\n"
    "each against the first count of the list, instead of the literal statements.\n";

struct Settings {
    int days = 365;
    int runs = 15;
    int literalRuns = 3;
    std::uint64_t seed = 1;
    std::string cacheDirectory = VARNHOLT_BENCH_CACHE_DIR;
    std::string filter;
    std::string skip;
    std::string binary = VARNHOLT_QUERY_BINARY;
    bool cold = false;
    std::string baseline;  // with --cold: another build timed beside `binary`
    std::vector<int> warmers;  // helper counts to compare, the first the reference
};

// A program and the arguments it takes before a command's own.
struct Invocation {
    std::string program;
    std::vector<std::string> leading;
};

struct BenchCase {
    BenchCase(std::vector<std::string> arguments, std::string label = {})
        : arguments(std::move(arguments)), label(std::move(label)) {}

    std::vector<std::string> arguments;
    std::string label;  // shown instead of the arguments when they are too long to show
};

// Whether `word` is made of FTS5 bare-word characters only (ASCII letters and
// digits and "_"; anything beyond ASCII).
bool isBareWord(const std::string& word) {
    return std::all_of(word.begin(), word.end(), [](char c) {
        return static_cast<unsigned char>(c) >= 0x80 || std::isalnum(static_cast<unsigned char>(c)) || c == '_';
    });
}

// `count` words of the database's own descriptions in a fixed pseudo-random
// order, as an agent pasting a stretch of its notes or log would search for
// them: few distinct words, many repeats. FTS5's operator words are left out
// (with one of them the keyword would go to FTS5 as typed, an AND of every
// word). Without `punctuated`, only bare words; with it, words such as
// "node.js" too, which make FTS5 reject the keyword so that it is searched
// literally.
std::string pastedWords(const std::string& database, int count, bool punctuated) {
    std::vector<std::string> vocabulary;
    sqlite3* handle = nullptr;
    if (sqlite3_open_v2(database.c_str(), &handle, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v2(handle, "SELECT vlm_description FROM observations LIMIT 20000", -1,
                               &statement, nullptr) == SQLITE_OK) {
            while (sqlite3_step(statement) == SQLITE_ROW) {
                const unsigned char* text = sqlite3_column_text(statement, 0);
                std::istringstream words(text != nullptr ? reinterpret_cast<const char*>(text) : "");
                for (std::string word; words >> word;) vocabulary.push_back(word);
            }
        }
        sqlite3_finalize(statement);
    }
    sqlite3_close(handle);
    std::sort(vocabulary.begin(), vocabulary.end());
    vocabulary.erase(std::unique(vocabulary.begin(), vocabulary.end()), vocabulary.end());
    std::erase_if(vocabulary, [punctuated](const std::string& word) {
        std::string upper = word;
        for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        const bool isOperator = upper == "AND" || upper == "OR" || upper == "NOT" || upper.rfind("NEAR", 0) == 0;
        return isOperator || word.find('"') != std::string::npos || (!punctuated && !isBareWord(word));
    });
    if (vocabulary.empty()) throw std::runtime_error("no words in the database's descriptions");
    std::string keyword;
    std::uint64_t state = 20260401;
    for (int i = 0; i < count; ++i) {
        state = state * 6364136223846793005ULL + 1442695040888963407ULL;
        keyword += (i ? " " : "") + vocabulary[(state >> 33) % vocabulary.size()];
    }
    return keyword;
}

// posix_spawn starts a child in this process's address space, and the kernel
// counts that space's peak towards the child's peak resident size. Reading
// the pasted words raises this process's peak by tens of megabytes: freed
// memory goes back and the peak is reset to what is resident now, so that a
// child's peak is its own.
void forgetOwnPeakResidentSize() {
    malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << "5";
}

// Six timesheet categories of two rules each, text, application and entity
// rules mixed, as a person would write them for the generated projects.
std::vector<std::string> timesheetCategories() {
    return {"--category", "Billing=text:billing service|entity:programming_language=TypeScript",
            "--category", "iOS=app:Xcode|text:\"iOS app\"",
            "--category", "Meetings=app:Zoom|text:video call",
            "--category", "Review=text:pull request|app:Safari",
            "--category", "Web=entity:framework=React|app:Cursor",
            "--category", "Operations=text:kubernetes|entity:app=Slack"};
}

// `timesheet` and its period before the categories.
BenchCase timesheetCase(std::vector<std::string> period) {
    std::vector<std::string> arguments = {"timesheet"};
    arguments.insert(arguments.end(), period.begin(), period.end());
    std::string label = "timesheet";
    for (const std::string& word : period) label += " " + word;
    for (const std::string& word : timesheetCategories()) arguments.push_back(word);
    return {arguments, label + " <6 categories of 2 rules>"};
}

std::vector<BenchCase> benchCases(const std::string& database) {
    const std::string words2000 = pastedWords(database, 2000, false);
    const std::string words10000 = pastedWords(database, 10000, false);
    const std::string punctuated2000 = pastedWords(database, 2000, true);
    return {
        {{"--version"}},  // process start-up with the preloads, no database
        {{"today"}},
        {{"yesterday"}},
        {{"recent", "--since", "2h"}},
        {{"last-active-day"}},
        {{"this-week"}},
        {{"range", "--from", "2026-03-25", "--to", "2026-03-31"}},
        {{"range", "--from", "2025-04-02", "--to", "2026-04-01"}},
        {{"search", "error"}},
        {{"search", "error", "--since", "30d"}},
        {{"search", "error", "--latest"}},
        {{"search", "kubernetes", "--since", "30d"}},
        {{"search", "invoice", "--since", "30d"}},
        {{"search", "error", "--app", "Slack"}},
        {{"search", "kubernetes", "--from", "2025-04-02", "--to", "2026-04-01"}},
        {{"entities"}},
        {{"entities", "--since", "1w", "--kind", "app"}},
        {{"entities", "--since", "1w"}},
        {{"summary"}},
        {{"summary", "yesterday"}},
        {{"summary", "this-week"}},
        {{"summary", "this-week", "--max-chars", "24000"}},
        {{"summary", "--since", "30d"}},
        {{"summary", "--from", "2025-04-02", "--to", "2026-04-01"}},
        // The time of a topic, of an application, and the days alone.
        {{"summary", "this-week", "--match", "invoice exporter"}},
        {{"summary", "this-week", "--match", "type error"}},
        {{"summary", "--since", "30d", "--app", "Xcode"}},
        {{"summary", "--since", "30d", "--entity", "programming_language=swift"}},
        {{"summary", "last-month", "--only", "days"}},
        {{"summary", "last-month", "--match", "invoice exporter", "--only", "days"}},
        timesheetCase({"this-week"}),
        timesheetCase({"this-week", "--max-chars", "24000"}),
        timesheetCase({"last-month"}),
        {{"status", "--json"}},
        {{"support-context"}},
        {{"search", words2000}, "search <2,000 pasted words>"},
        {{"search", words2000, "--latest"}, "search <2,000 pasted words> --latest"},
        {{"search", punctuated2000}, "search <2,000 pasted words, some with punctuation>"},
        {{"search", words10000}, "search <10,000 pasted words>"},
        {{"search", words10000, "--latest"}, "search <10,000 pasted words> --latest"},
    };
}

template <typename Number>
bool parseNumber(const std::string& text, Number& value) {
    const char* last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, value);
    return error == std::errc() && end == last && !text.empty();
}

std::optional<Settings> parseSettings(int argc, char** argv) {
    Settings settings;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (word == "--cold") {
            settings.cold = true;
            continue;
        }
        if (i + 1 >= argc) return std::nullopt;
        const std::string value = argv[++i];
        if (word == "--days") {
            if (!parseNumber(value, settings.days) || settings.days < 1) return std::nullopt;
        } else if (word == "--runs") {
            if (!parseNumber(value, settings.runs) || settings.runs < 1) return std::nullopt;
        } else if (word == "--literal-runs") {
            if (!parseNumber(value, settings.literalRuns) || settings.literalRuns < 0) return std::nullopt;
        } else if (word == "--seed") {
            if (!parseNumber(value, settings.seed)) return std::nullopt;
        } else if (word == "--cache") {
            settings.cacheDirectory = value;
        } else if (word == "--filter") {
            settings.filter = value;
        } else if (word == "--skip") {
            settings.skip = value;
        } else if (word == "--binary") {
            settings.binary = value;
        } else if (word == "--baseline") {
            settings.baseline = value;
        } else if (word == "--warmers") {
            std::istringstream counts(value);
            for (std::string count; std::getline(counts, count, ',');) {
                int warmers = 0;
                if (!parseNumber(count, warmers) || warmers < 0 || warmers > 64) return std::nullopt;
                settings.warmers.push_back(warmers);
            }
            if (settings.warmers.empty()) return std::nullopt;
        } else {
            return std::nullopt;
        }
    }
    if (!settings.baseline.empty() && !settings.cold) return std::nullopt;
    return settings;
}

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const auto& word : words) text += (text.empty() ? "" : " ") + word;
    return text;
}

// The home that holds the cached database, named after what it contains.
std::string homeFor(const Settings& settings) {
    return settings.cacheDirectory + "/home-" + std::to_string(settings.days) + "d-seed" +
           std::to_string(settings.seed) + "-end" + std::to_string(static_cast<long long>(kEndTime));
}

void ensureDatabase(const Settings& settings, const std::string& home) {
    const std::string path = home + "/.varnholt/varnholt.db";
    if (std::filesystem::exists(path)) {
        std::cout << "Reusing " << path << "\n";
        return;
    }
    std::filesystem::create_directories(home + "/.varnholt");
    std::cout << "Generating " << settings.days << " days of activity into " << path << " ..." << std::endl;
    VarnholtSampleData::SampleDatabaseOptions options;
    options.days = settings.days;
    options.seed = settings.seed;
    options.endTime = kEndTime;
    options.homeForImagePaths = home;
    const auto start = std::chrono::steady_clock::now();
    const auto summary = VarnholtSampleData::writeSampleDatabase(path, options);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::printf("Generated in %.1f s: %lld frames, %lld observations, %lld entities\n", seconds,
                static_cast<long long>(summary.frames), static_cast<long long>(summary.observations),
                static_cast<long long>(summary.entities));
}

long long countRows(const std::string& path, const char* sql) {
    sqlite3* handle = nullptr;
    long long count = -1;
    if (sqlite3_open_v2(path.c_str(), &handle, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v2(handle, sql, -1, &statement, nullptr) == SQLITE_OK &&
            sqlite3_step(statement) == SQLITE_ROW) {
            count = sqlite3_column_int64(statement, 0);
        }
        sqlite3_finalize(statement);
    }
    sqlite3_close(handle);
    return count;
}

// nss_wrapper's password and group files, naming `home` as ours.
class PasswordDatabase {
public:
    explicit PasswordDatabase(const std::string& home) {
        std::string pattern = std::filesystem::temp_directory_path().string() + "/varnholt-bench-XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
        directory_ = pattern;
        std::ofstream(passwd()) << "bench:x:" << getuid() << ":" << getgid() << ":Bench:" << home << ":/bin/sh\n";
        std::ofstream(group()) << "bench:x:" << getgid() << ":\n";
    }
    ~PasswordDatabase() {
        std::error_code ignored;
        std::filesystem::remove_all(directory_, ignored);
    }
    PasswordDatabase(const PasswordDatabase&) = delete;
    PasswordDatabase& operator=(const PasswordDatabase&) = delete;
    std::string passwd() const { return directory_ + "/passwd"; }
    std::string group() const { return directory_ + "/group"; }

private:
    std::string directory_;
};

std::vector<std::string> childEnvironment(const PasswordDatabase& passwords) {
    return {
        "NSS_WRAPPER_PASSWD=" + passwords.passwd(),
        "NSS_WRAPPER_GROUP=" + passwords.group(),
        "HOME=/nonexistent-home-do-not-use",
        "PATH=/usr/bin:/bin",
        "TZ=UTC",
        "LANG=en_US.UTF-8",
        std::string("FAKETIME=") + kFrozenClock,
        "FAKETIME_NO_CACHE=1",
        std::string("LD_PRELOAD=") + kNssWrapper + " " + kFakeTime,
    };
}

// "ok, N bytes", or the exit status and the error code of the envelope.
std::string outcome(const TimedRun& run) {
    // Built by appending: `"literal" + std::string` draws a false -Wrestrict
    // report from GCC 12 at -O3.
    std::string text;
    if (run.exitStatus == 0) {
        text = "ok, ";
        text += std::to_string(run.standardOutput.size());
        text += " bytes";
        return text;
    }
    std::string code;
    const std::size_t key = run.standardOutput.find("\"code\"");
    if (key != std::string::npos) {
        const std::size_t open = run.standardOutput.find('"', run.standardOutput.find(':', key));
        const std::size_t close = run.standardOutput.find('"', open + 1);
        if (open != std::string::npos && close != std::string::npos) {
            code = ' ';
            code.append(run.standardOutput, open + 1, close - open - 1);
        }
    }
    text = "exit ";
    text += std::to_string(run.exitStatus);
    text += code;
    return text;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2.0;
}

// Medians of `runs` timed runs of one program after an untimed warm-up.
struct Measurement {
    double wallMilliseconds = 0;
    double cpuMilliseconds = 0;
    double peakResidentMegabytes = 0;  // the largest peak of all runs
    double mebibytesRead = 0;          // read from disk, the median of the runs
    TimedRun last;
};

// Measurements of each of `programs`, run in turn, run for run, so that a
// change in the machine's load falls on all of them alike; every run, the
// untimed warm-up runs included, after `beforeEachRun`.
std::vector<Measurement> measureInTurn(const std::vector<Invocation>& programs,
                                       const std::vector<std::string>& arguments,
                                       const std::vector<std::string>& environment, int runs,
                                       const std::function<void()>& beforeEachRun) {
    struct Samples {
        std::vector<double> wall, cpu, read;
        long peak = 0;
    };
    std::vector<Measurement> measurements(programs.size());
    std::vector<Samples> samples(programs.size());
    for (int run = -1; run < runs; ++run) {
        for (std::size_t i = 0; i < programs.size(); ++i) {
            beforeEachRun();
            std::vector<std::string> invoked = programs[i].leading;
            invoked.insert(invoked.end(), arguments.begin(), arguments.end());
            measurements[i].last = runTimed(programs[i].program, invoked, environment);
            if (run < 0) continue;  // the warm-up
            const TimedRun& timed = measurements[i].last;
            samples[i].wall.push_back(timed.milliseconds);
            samples[i].cpu.push_back(timed.cpuMilliseconds);
            samples[i].read.push_back(static_cast<double>(timed.bytesRead) / 1048576.0);
            samples[i].peak = std::max(samples[i].peak, timed.peakResidentKilobytes);
        }
    }
    for (std::size_t i = 0; i < programs.size(); ++i) {
        measurements[i].wallMilliseconds = median(samples[i].wall);
        measurements[i].cpuMilliseconds = median(samples[i].cpu);
        measurements[i].mebibytesRead = median(samples[i].read);
        measurements[i].peakResidentMegabytes = static_cast<double>(samples[i].peak) / 1024.0;
    }
    return measurements;
}

Measurement measure(const std::string& program, const std::vector<std::string>& arguments,
                    const std::vector<std::string>& environment, int runs) {
    return measureInTurn({{program, {}}}, arguments, environment, runs, [] {}).front();
}

// The table's cells for a measurement that may not exist.
std::string cell(const std::optional<Measurement>& measurement, double Measurement::*field, const char* format) {
    if (!measurement) return "-";
    char text[32];
    std::snprintf(text, sizeof text, format, (*measurement).*field);
    return text;
}

// Whether two runs printed the same bytes and ended alike.
const char* sameAnswer(const TimedRun& one, const TimedRun& other) {
    return one.standardOutput == other.standardOutput && one.exitStatus == other.exitStatus ? "same" : "DIFFER";
}

// What puts the database's pages out of the operating system's cache.
std::function<void()> evictor(const std::string& database) {
    return [database] {
        VarnholtBench::evictFromPageCache(database);
        VarnholtBench::evictFromPageCache(database + "-wal");
    };
}

// The cold table: every run after the database's pages left the cache, as
// the first question after a reboot or after the recorder's own writes
// pushed them out. The first run of each command is no warm-up then, only
// one more cold run.
void runCold(const Settings& settings, const std::vector<BenchCase>& cases, const std::string& database,
             const std::vector<std::string>& environment) {
    std::vector<Invocation> programs = {{settings.binary, {}}};
    if (!settings.baseline.empty()) programs.push_back({settings.baseline, {}});
    const auto evict = evictor(database);
    std::printf("%-52s %9s %8s %9s %8s %13s %13s %8s  %s\n", "command", "cold ms", "cpu ms", "read MiB", "RSS MB",
                "baseline ms", "baseline MiB", "answers", "outcome");
    for (const BenchCase& bench : cases) {
        const std::string label = bench.label.empty() ? joined(bench.arguments) : bench.label;
        if (!settings.filter.empty() && label.find(settings.filter) == std::string::npos) continue;
        if (!settings.skip.empty() && label.find(settings.skip) != std::string::npos) continue;
        const std::vector<Measurement> measured =
            measureInTurn(programs, bench.arguments, environment, settings.runs, evict);
        const Measurement& cold = measured.front();
        std::optional<Measurement> baseline;
        if (measured.size() > 1) baseline = measured[1];
        std::printf("%-52s %9.1f %8.1f %9.1f %8.1f %13s %13s %8s  %s\n", label.c_str(), cold.wallMilliseconds,
                    cold.cpuMilliseconds, cold.mebibytesRead, cold.peakResidentMegabytes,
                    cell(baseline, &Measurement::wallMilliseconds, "%.1f").c_str(),
                    cell(baseline, &Measurement::mebibytesRead, "%.1f").c_str(),
                    baseline ? sameAnswer(cold.last, baseline->last) : "-", outcome(cold.last).c_str());
        std::fflush(stdout);
    }
}

// The warming table: each command with each count of helpers, run for run,
// cold or warm, every count against the first. Cold, the helpers should cut
// the time; warm, they should not start, so the time should not move.
void runWarming(const Settings& settings, const std::vector<BenchCase>& cases, const std::string& database,
                const std::vector<std::string>& environment) {
    std::vector<Invocation> programs;
    for (const int warmers : settings.warmers) {
        programs.push_back({VARNHOLT_QUERY_WARMERS_BINARY, {std::to_string(warmers)}});
    }
    const std::function<void()> before = settings.cold ? evictor(database) : [] {};
    std::printf("%-52s %7s %9s %8s %9s %8s %7s %8s  %s\n", "command", "warmers", settings.cold ? "cold ms" : "median ms",
                "cpu ms", "read MiB", "RSS MB", "ratio", "answers", "outcome");
    for (const BenchCase& bench : cases) {
        const std::string label = bench.label.empty() ? joined(bench.arguments) : bench.label;
        if (!settings.filter.empty() && label.find(settings.filter) == std::string::npos) continue;
        if (!settings.skip.empty() && label.find(settings.skip) != std::string::npos) continue;
        const std::vector<Measurement> measured =
            measureInTurn(programs, bench.arguments, environment, settings.runs, before);
        for (std::size_t i = 0; i < measured.size(); ++i) {
            const Measurement& one = measured[i];
            char ratio[32] = "-";
            if (measured.front().wallMilliseconds > 0) {
                std::snprintf(ratio, sizeof ratio, "%.2f", one.wallMilliseconds / measured.front().wallMilliseconds);
            }
            std::printf("%-52s %7d %9.1f %8.1f %9.1f %8.1f %7s %8s  %s\n", i == 0 ? label.c_str() : "",
                        settings.warmers[i], one.wallMilliseconds, one.cpuMilliseconds, one.mebibytesRead,
                        one.peakResidentMegabytes, ratio, sameAnswer(one.last, measured.front().last),
                        outcome(one.last).c_str());
        }
        std::fflush(stdout);
    }
}

}  // namespace

int main(int argc, char** argv) {
    const std::optional<Settings> parsed = parseSettings(argc, argv);
    if (!parsed) {
        std::cerr << kUsage;
        return 2;
    }
    const Settings& settings = *parsed;
    try {
        const std::string home = homeFor(settings);
        ensureDatabase(settings, home);
        const std::string database = home + "/.varnholt/varnholt.db";
        std::printf("Database: %lld frames, %lld observations, %lld entities, %.2f GB; clock frozen at %s UTC\n",
                    countRows(database, "SELECT count(*) FROM frames"),
                    countRows(database, "SELECT count(*) FROM observations"),
                    countRows(database, "SELECT count(*) FROM observation_entities"),
                    static_cast<double>(std::filesystem::file_size(database)) / 1e9, kFrozenClock);
        const PasswordDatabase passwords(home);
        const std::vector<std::string> environment = childEnvironment(passwords);
        if (!settings.warmers.empty()) {
            std::printf("Binary: %s N, N helpers warming a cold answer (%d on this machine)\n%s runs per command: %d "
                        "(after one more)\n\n",
                        VARNHOLT_QUERY_WARMERS_BINARY, VarnholtSQLiteSupport::WarmingPolicy::forThisMachine().warmers,
                        settings.cold ? "Cold" : "Warm", settings.runs);
            const std::vector<BenchCase> cases = benchCases(database);
            forgetOwnPeakResidentSize();
            runWarming(settings, cases, database, environment);
            return 0;
        }
        if (settings.cold) {
            std::printf("Binary: %s\nBaseline: %s\nCold runs per command: %d (after one more)\n\n",
                        settings.binary.c_str(), settings.baseline.empty() ? "-" : settings.baseline.c_str(),
                        settings.runs);
            const std::vector<BenchCase> cases = benchCases(database);
            forgetOwnPeakResidentSize();
            runCold(settings, cases, database, environment);
            return 0;
        }
        std::printf("Binary: %s\nReference: %s\nRuns per command: %d, literal statements %d (each after one untimed "
                    "warm-up run)\n\n",
                    settings.binary.c_str(), VARNHOLT_QUERY_LITERAL_BINARY, settings.runs, settings.literalRuns);

        std::printf("%-52s %9s %11s %8s %8s %8s %11s %8s  %s\n", "command", "median ms", "literal ms", "ratio",
                    "cpu ms", "RSS MB", "literal RSS", "answers", "outcome");
        std::optional<double> startUp;
        const std::vector<BenchCase> cases = benchCases(database);
        forgetOwnPeakResidentSize();
        for (const BenchCase& bench : cases) {
            const std::string label = bench.label.empty() ? joined(bench.arguments) : bench.label;
            if (!settings.filter.empty() && label.find(settings.filter) == std::string::npos) continue;
            if (!settings.skip.empty() && label.find(settings.skip) != std::string::npos) continue;
            // Start-up takes milliseconds and varies more than it lasts:
            // it gets more runs.
            const bool startUpCase = label == "--version";
            const int runs = startUpCase ? std::max(settings.runs, kStartUpRuns) : settings.runs;
            const Measurement indexed = measure(settings.binary, bench.arguments, environment, runs);
            std::optional<Measurement> literal;
            if (settings.literalRuns > 0) {
                literal = measure(VARNHOLT_QUERY_LITERAL_BINARY, bench.arguments, environment, settings.literalRuns);
            }
            if (startUpCase) startUp = indexed.wallMilliseconds;
            char ratio[32] = "-";
            if (literal && indexed.wallMilliseconds > 0) {
                std::snprintf(ratio, sizeof ratio, "%.1fx", literal->wallMilliseconds / indexed.wallMilliseconds);
            }
            // Both binaries answer under the same frozen clock: their
            // outputs must be byte for byte the same.
            const char* answers = literal ? sameAnswer(literal->last, indexed.last) : "-";
            std::printf("%-52s %9.1f %11s %8s %8.1f %8.1f %11s %8s  %s\n", label.c_str(), indexed.wallMilliseconds,
                        cell(literal, &Measurement::wallMilliseconds, "%.1f").c_str(), ratio,
                        indexed.cpuMilliseconds, indexed.peakResidentMegabytes,
                        cell(literal, &Measurement::peakResidentMegabytes, "%.1f").c_str(), answers,
                        outcome(indexed.last).c_str());
            std::fflush(stdout);
        }
        if (startUp) {
            // Start-up against the cheapest process there is, under the same
            // preloads.
            const Measurement nothing =
                measure("/bin/true", {}, environment, std::max(settings.runs, kStartUpRuns));
            std::printf("%-52s %9.1f %11s %8s %8.1f %8.1f\n", "/bin/true", nothing.wallMilliseconds, "-", "-",
                        nothing.cpuMilliseconds, nothing.peakResidentMegabytes);
            std::printf("\n--version takes %.1fx the time of /bin/true.\n", *startUp / nothing.wallMilliseconds);
        }
    } catch (const std::exception& failure) {
        std::cerr << "varnholt-query-bench: " << failure.what() << "\n";
        return 1;
    }
    return 0;
}
