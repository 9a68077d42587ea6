#include "SampleDatabase.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "TemporaryDirectory.h"
#include "FileBytes.h"

using namespace VarnholtSampleData;
using VarnholtTestSupport::TemporaryDirectory;

namespace {

// Wednesday 2026-04-01 16:00:00 UTC: mid-afternoon of a working day.
constexpr double kEnd = 1775059200.0;
const std::string kHome = "/home/tester";

SampleDatabaseOptions optionsFor(int days, std::uint64_t seed, int utcOffsetSeconds = 0) {
    SampleDatabaseOptions options;
    options.days = days;
    options.seed = seed;
    options.endTime = kEnd;
    options.homeForImagePaths = kHome;
    options.utcOffsetSeconds = utcOffsetSeconds;
    return options;
}

using VarnholtTestSupport::fileBytes;

// A read-only look into a generated database.
class Database {
public:
    explicit Database(const std::string& path) {
        sqlite3* handle = nullptr;
        if (sqlite3_open_v2(path.c_str(), &handle, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK) {
            sqlite3_close(handle);
            throw std::runtime_error("cannot open " + path);
        }
        handle_.reset(handle);
    }

    // Every row of `sql`, each column as text ("NULL" for NULL), one string per row.
    std::vector<std::string> rows(const std::string& sql) const {
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v2(handle_.get(), sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
            throw std::runtime_error(std::string(sqlite3_errmsg(handle_.get())) + " in " + sql);
        }
        std::vector<std::string> result;
        while (sqlite3_step(statement) == SQLITE_ROW) {
            std::string row;
            for (int column = 0; column < sqlite3_column_count(statement); ++column) {
                if (column > 0) row += '|';
                const auto* text = sqlite3_column_text(statement, column);
                row += text != nullptr
                           ? std::string(reinterpret_cast<const char*>(text),
                                         static_cast<std::size_t>(sqlite3_column_bytes(statement, column)))
                           : "NULL";
            }
            result.push_back(row);
        }
        sqlite3_finalize(statement);
        return result;
    }

    std::string text(const std::string& sql) const {
        const auto all = rows(sql);
        return all.empty() ? std::string("NULL") : all.front();
    }

    long long number(const std::string& sql) const { return std::stoll(text(sql)); }

    // A fingerprint of everything stored: the schema and every row of every table.
    std::size_t contentHash() const {
        std::string all;
        for (const auto& row : rows("SELECT type, name, sql FROM sqlite_master ORDER BY name"))
            all += row + '\n';
        for (const char* table : {"frames", "observations", "observation_entities"}) {
            for (const auto& row : rows(std::string("SELECT rowid, * FROM ") + table + " ORDER BY rowid")) {
                all += row + '\n';
            }
        }
        for (const auto& row : rows("SELECT rowid FROM observations_fts WHERE observations_fts MATCH 'the' "
                                    "ORDER BY rowid")) {
            all += row + '\n';
        }
        return std::hash<std::string>{}(all);
    }

private:
    struct Closer {
        void operator()(sqlite3* handle) const { sqlite3_close(handle); }
    };
    std::unique_ptr<sqlite3, Closer> handle_;
};

}  // namespace

TEST(SampleDatabaseTest, SameSeedAndEndGiveIdenticalContent) {
    TemporaryDirectory directory;
    writeSampleDatabase(directory.file("a.db"), optionsFor(2, 7));
    writeSampleDatabase(directory.file("b.db"), optionsFor(2, 7));
    const Database a(directory.file("a.db"));
    const Database b(directory.file("b.db"));
    EXPECT_GT(a.number("SELECT count(*) FROM observations"), 1000);
    EXPECT_EQ(a.contentHash(), b.contentHash());
}

TEST(SampleDatabaseTest, DifferentSeedGivesDifferentContent) {
    TemporaryDirectory directory;
    writeSampleDatabase(directory.file("a.db"), optionsFor(2, 7));
    writeSampleDatabase(directory.file("b.db"), optionsFor(2, 8));
    const Database a(directory.file("a.db"));
    const Database b(directory.file("b.db"));
    EXPECT_NE(a.contentHash(), b.contentHash());
    EXPECT_NE(a.text("SELECT id FROM observations ORDER BY rowid LIMIT 1"),
              b.text("SELECT id FROM observations ORDER BY rowid LIMIT 1"));
}

TEST(SampleDatabaseTest, ReturnsCountsOfWhatItWrote) {
    TemporaryDirectory directory;
    const SampleDatabaseSummary summary = writeSampleDatabase(directory.file("a.db"), optionsFor(1, 3));
    const Database db(directory.file("a.db"));
    EXPECT_EQ(summary.frames, db.number("SELECT count(*) FROM frames"));
    EXPECT_EQ(summary.observations, db.number("SELECT count(*) FROM observations"));
    EXPECT_EQ(summary.entities, db.number("SELECT count(*) FROM observation_entities"));
    EXPECT_EQ(summary.pendingFrames, db.number("SELECT count(*) FROM frames WHERE analyzed = 0"));
    EXPECT_EQ(summary.failedFrames, db.number("SELECT count(*) FROM frames WHERE analyzed = 2"));
    EXPECT_EQ(summary.importedObservations,
              db.number("SELECT count(*) FROM observations WHERE recording_id IS NOT NULL"));
}

TEST(SampleDatabaseTest, RefusesToOverwriteAnExistingFile) {
    TemporaryDirectory directory;
    const std::string path = directory.file("varnholt.db");
    const std::string content = "precious bytes, not a database\n";
    std::ofstream(path, std::ios::binary) << content;

    EXPECT_THROW(writeSampleDatabase(path, optionsFor(1, 1)), ExistingFileError);

    EXPECT_EQ(fileBytes(path), content);
    // Nothing half-written is left beside it.
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory.path())) {
        names.push_back(entry.path().filename().string());
    }
    EXPECT_EQ(names, std::vector<std::string>{"varnholt.db"});
}

TEST(SampleDatabaseTest, RefusesWhenALeftoverWriteAheadLogExists) {
    TemporaryDirectory directory;
    const std::string path = directory.file("varnholt.db");
    std::ofstream(path + "-wal", std::ios::binary) << "old log";

    EXPECT_THROW(writeSampleDatabase(path, optionsFor(1, 1)), ExistingFileError);
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(fileBytes(path + "-wal"), "old log");
}

TEST(SampleDatabaseTest, RejectsUnusableOptionsWithoutCreatingAFile) {
    TemporaryDirectory directory;
    SampleDatabaseOptions noDays = optionsFor(0, 1);
    SampleDatabaseOptions noHome = optionsFor(1, 1);
    noHome.homeForImagePaths.clear();
    EXPECT_THROW(writeSampleDatabase(directory.file("a.db"), noDays), std::invalid_argument);
    EXPECT_THROW(writeSampleDatabase(directory.file("a.db"), noHome), std::invalid_argument);
    EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
}

// One week ending on Wednesday afternoon, shared by the shape checks.
class SampleDatabaseShapeTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        directory_ = new TemporaryDirectory;
        writeSampleDatabase(directory_->file("week.db"), optionsFor(kDays, 42));
        db_ = new Database(directory_->file("week.db"));
    }
    static void TearDownTestSuite() {
        delete db_;
        delete directory_;
    }

    static constexpr int kDays = 7;
    // Midnight UTC of the first day (Thursday 2026-03-26).
    static constexpr double kFirstDayStart = 1774483200.0;
    static TemporaryDirectory* directory_;
    static Database* db_;
};

TemporaryDirectory* SampleDatabaseShapeTest::directory_ = nullptr;
Database* SampleDatabaseShapeTest::db_ = nullptr;

TEST_F(SampleDatabaseShapeTest, IsARecorderDatabaseAtVersion24InWalMode) {
    EXPECT_EQ(db_->number("PRAGMA user_version"), 24);
    EXPECT_EQ(db_->text("PRAGMA journal_mode"), "wal");
    const auto names = db_->rows(
        "SELECT type || ' ' || name FROM sqlite_master "
        "WHERE name NOT LIKE 'sqlite_%' "
        "AND NOT (type = 'table' AND name LIKE 'observations_fts_%') "
        "ORDER BY type, name");
    const std::vector<std::string> expected = {
        "index idx_frames_analyzed",
        "index idx_frames_analyzed_timestamp",
        "index idx_frames_processing_lock",
        "index idx_frames_timestamp",
        "index idx_observation_entities_kind",
        "index idx_observation_entities_observation",
        "index idx_observations_frame",
        "index idx_observations_recording_timestamp",
        "index idx_observations_recording_type",
        "index idx_observations_tb",
        "table frames",
        "table observation_entities",
        "table observations",
        "table observations_fts",
        "trigger observations_fts_delete",
        "trigger observations_fts_insert",
        "trigger observations_fts_update",
    };
    EXPECT_EQ(names, expected);
}

TEST_F(SampleDatabaseShapeTest, FullTextIndexCoversEveryDescription) {
    const long long matches =
        db_->number("SELECT count(*) FROM observations_fts WHERE observations_fts MATCH 'kubernetes'");
    EXPECT_GT(matches, 0);
    EXPECT_EQ(matches,
              db_->number("SELECT count(*) FROM observations WHERE vlm_description LIKE '%kubernetes%'"));
    EXPECT_GT(db_->number("SELECT count(*) FROM observations_fts WHERE observations_fts MATCH 'fixing'"), 0);
    EXPECT_EQ(db_->number("SELECT count(*) FROM observations_fts_docsize"),
              db_->number("SELECT count(*) FROM observations"));
}

TEST_F(SampleDatabaseShapeTest, RecorderObservationsLieWithinTheGeneratedDays) {
    const auto range = db_->rows("SELECT min(timestamp) >= " + std::to_string(kFirstDayStart) +
                                 ", max(timestamp) <= " + std::to_string(kEnd) +
                                 " FROM observations WHERE recording_id IS NULL");
    EXPECT_EQ(range, std::vector<std::string>{"1|1"});
    EXPECT_EQ(db_->number("SELECT count(*) FROM frames WHERE timestamp < " + std::to_string(kFirstDayStart) +
                          " OR timestamp > " + std::to_string(kEnd)),
              0);
}

TEST_F(SampleDatabaseShapeTest, WorkingDaysHaveThousandsOfFramesAndWeekendsFewer) {
    // 03-26 Thu, 03-27 Fri, 03-30 Mon, 03-31 Tue are whole working days;
    // 04-01 Wed ends at 16:00; 03-28 and 03-29 are a weekend.
    const auto perDay = db_->rows("SELECT date(timestamp, 'unixepoch'), count(*) FROM frames GROUP BY 1");
    std::map<std::string, long long> counts;
    for (const auto& row : perDay) counts[row.substr(0, 10)] = std::stoll(row.substr(11));
    for (const char* workday : {"2026-03-26", "2026-03-27", "2026-03-30", "2026-03-31"}) {
        EXPECT_GE(counts[workday], 5000) << workday;
        EXPECT_LE(counts[workday], 20000) << workday;
    }
    EXPECT_GT(counts["2026-04-01"], 1000);
    for (const char* weekendDay : {"2026-03-28", "2026-03-29"})
        EXPECT_LT(counts[weekendDay], 5000) << weekendDay;
}

TEST_F(SampleDatabaseShapeTest, WorkHappensInTheDaytime) {
    EXPECT_EQ(db_->number("SELECT count(*) FROM frames WHERE "
                          "strftime('%H', timestamp, 'unixepoch') NOT BETWEEN '08' AND '18'"),
              0);
}

TEST_F(SampleDatabaseShapeTest, EveryDescribedFrameHasTwoToFiveEntities) {
    EXPECT_EQ(db_->text("SELECT min(n), max(n) FROM (SELECT count(e.entity_id) AS n FROM observations o "
                        "LEFT JOIN observation_entities e ON e.observation_id = o.id "
                        "WHERE o.type = 'visual' GROUP BY o.id)"),
              "2|5");
    for (const char* kind :
         {"app", "programming_language", "software_tool", "framework", "website", "company"}) {
        EXPECT_GT(db_->number(std::string("SELECT count(*) FROM observation_entities WHERE entity_kind = '") +
                              kind + "'"),
                  0)
            << kind;
    }
}

TEST_F(SampleDatabaseShapeTest, NewestFramesAwaitAnalysisWithoutObservations) {
    EXPECT_GT(db_->number("SELECT count(*) FROM frames WHERE analyzed = 0"), 0);
    EXPECT_EQ(db_->number("SELECT count(*) FROM frames f JOIN observations o ON o.frame_id = f.id "
                          "WHERE f.analyzed IN (0, 2)"),
              0);
    EXPECT_EQ(db_->number("SELECT (SELECT max(timestamp) FROM frames WHERE analyzed != 0) < "
                          "(SELECT min(timestamp) FROM frames WHERE analyzed = 0)"),
              1);
    EXPECT_GT(db_->number("SELECT count(*) FROM frames WHERE analyzed = 2"), 0);
    // Every analysed frame has exactly one observation.
    EXPECT_EQ(db_->number("SELECT count(*) FROM frames f WHERE analyzed = 1 AND "
                          "(SELECT count(*) FROM observations o WHERE o.frame_id = f.id) != 1"),
              0);
}

TEST_F(SampleDatabaseShapeTest, SomeObservationsOutliveTheirPrunedFrames) {
    EXPECT_GT(db_->number("SELECT count(*) FROM observations o WHERE o.frame_id IS NOT NULL "
                          "AND NOT EXISTS (SELECT 1 FROM frames f WHERE f.id = o.frame_id)"),
              0);
}

TEST_F(SampleDatabaseShapeTest, ConsecutiveFramesOftenShareTheirDescription) {
    const long long observations =
        db_->number("SELECT count(*) FROM observations WHERE recording_id IS NULL");
    const long long repeats = db_->number(
        "SELECT count(*) FROM (SELECT vlm_description, lag(vlm_description) OVER (ORDER BY timestamp) AS "
        "previous "
        "FROM observations WHERE recording_id IS NULL) WHERE vlm_description = previous");
    EXPECT_GT(repeats, observations / 4);
    EXPECT_LT(repeats, observations);
}

TEST_F(SampleDatabaseShapeTest, DescriptionsAreOneSentenceOfSixtyToTwoHundredCharacters) {
    EXPECT_EQ(db_->number("SELECT count(*) FROM observations WHERE type = 'visual' AND "
                          "(vlm_description IS NULL OR length(vlm_description) NOT BETWEEN 60 AND 200)"),
              0);
    // Personal data and credentials turn up now and then.
    EXPECT_GT(db_->number("SELECT count(*) FROM observations WHERE vlm_description LIKE '%@%.%'"), 0);
}

TEST_F(SampleDatabaseShapeTest, AppsAreJsonArraysWithEmptyCrowdedAndTwinSpellings) {
    EXPECT_EQ(db_->number("SELECT count(*) FROM observations WHERE type = 'visual' AND "
                          "(NOT json_valid(apps) OR json_type(apps) != 'array')"),
              0);
    EXPECT_GT(db_->number("SELECT count(*) FROM observations WHERE apps = '[]'"), 0);
    EXPECT_GT(db_->number("SELECT count(*) FROM observations WHERE json_array_length(apps) > 10"), 0);
    EXPECT_GT(
        db_->number("SELECT count(*) FROM observations o WHERE EXISTS (SELECT 1 FROM json_each(o.apps) a "
                    "JOIN json_each(o.apps) b ON lower(a.value) = lower(b.value) AND a.value != b.value)"),
        0);
    EXPECT_EQ(db_->number("SELECT count(*) FROM observations WHERE apps LIKE '%, %'"), 0);
}

TEST_F(SampleDatabaseShapeTest, IdsAreUpperCaseUuids) {
    const std::vector<std::pair<std::string, std::string>> keys = {
        {"frames", "id"}, {"observations", "id"}, {"observation_entities", "entity_id"}};
    for (const auto& [table, column] : keys) {
        EXPECT_EQ(
            db_->number("SELECT count(*) FROM " + table + " WHERE length(" + column + ") != 36 OR upper(" +
                        column + ") != " + column + " OR " + column +
                        " NOT GLOB '[0-9A-F][0-9A-F][0-9A-F][0-9A-F][0-9A-F][0-9A-F][0-9A-F][0-9A-F]-*'"),
            0)
            << table;
    }
}

TEST_F(SampleDatabaseShapeTest, FramesCarryTheirCaptureTimeAndPathInADayFolder) {
    EXPECT_EQ(db_->number("SELECT count(*) FROM frames WHERE "
                          "captured_at != strftime('%Y-%m-%dT%H:%M:%SZ', timestamp, 'unixepoch') OR "
                          "image_path != '" +
                          kHome +
                          "/.varnholt/frames/' || date(timestamp, 'unixepoch') "
                          "|| '/' || id || '.jpg' OR created_at IS NULL"),
              0);
    EXPECT_EQ(db_->number("SELECT count(*) FROM observations o JOIN frames f ON f.id = o.frame_id "
                          "WHERE o.timestamp != f.timestamp OR o.image_path != f.image_path"),
              0);
    EXPECT_EQ(db_->number("SELECT count(*) FROM observations WHERE created_at IS NULL"), 0);
}

TEST_F(SampleDatabaseShapeTest, ImportedRecordingsHaveARecordingIdAndNoFrame) {
    EXPECT_GT(db_->number("SELECT count(DISTINCT recording_id) FROM observations"), 0);
    EXPECT_EQ(db_->number("SELECT count(*) FROM observations WHERE recording_id IS NOT NULL AND "
                          "frame_id IS NOT NULL"),
              0);
    EXPECT_EQ(db_->number("SELECT count(*) FROM observations WHERE recording_id IS NULL AND "
                          "(frame_id IS NULL OR type != 'visual')"),
              0);
}

TEST(SampleDatabaseTest, WorkingHoursAndDayFoldersFollowTheLocalOffset) {
    TemporaryDirectory directory;
    // UTC+10: local working hours fall on the previous UTC evening and night.
    writeSampleDatabase(directory.file("a.db"), optionsFor(3, 5, 10 * 3600));
    const Database db(directory.file("a.db"));
    EXPECT_GT(db.number("SELECT count(*) FROM frames"), 5000);
    // The end time is 02:00 local; the session that runs until it is the
    // only work at night.
    EXPECT_EQ(db.number("SELECT count(*) FROM frames WHERE timestamp < " + std::to_string(kEnd - 2 * 3600) +
                        " AND strftime('%H', timestamp + 36000, 'unixepoch') NOT BETWEEN '08' AND '18'"),
              0);
    // In UTC the same frames spread over the evening and the night.
    EXPECT_GT(db.number("SELECT count(*) FROM frames WHERE strftime('%H', timestamp, 'unixepoch') < '08'"),
              0);
    EXPECT_EQ(db.number("SELECT count(*) FROM frames WHERE image_path NOT LIKE '%/' || "
                        "date(timestamp + 36000, 'unixepoch') || '/%'"),
              0);
    EXPECT_LE(db.number("SELECT max(timestamp) FROM frames"), static_cast<long long>(kEnd));
}

TEST(SampleDatabaseTest, TheUserIsAtWorkUntilTheEndTime) {
    // Saturday 2026-04-04 07:30 UTC: no working hours, yet the database looks
    // as if the recorder had just been running.
    constexpr double kSaturdayMorning = 1775287800.0;
    TemporaryDirectory directory;
    SampleDatabaseOptions options = optionsFor(1, 5);
    options.endTime = kSaturdayMorning;
    writeSampleDatabase(directory.file("a.db"), options);
    Database db(directory.file("a.db"));
    const std::string window = std::to_string(kSaturdayMorning - 1800) + " AND " + std::to_string(kSaturdayMorning);
    EXPECT_GT(db.number("SELECT count(*) FROM frames WHERE timestamp BETWEEN " + window), 100);
    EXPECT_GT(db.number("SELECT count(*) FROM observations WHERE timestamp BETWEEN " + window), 100);
    EXPECT_EQ(db.number("SELECT count(*) FROM frames WHERE timestamp > " + std::to_string(kSaturdayMorning)), 0);
    // The session lasts one to two hours (its oldest frames may be pruned,
    // their observations stay).
    const long long sessionStart = db.number(
        "SELECT min(timestamp) FROM (SELECT timestamp FROM frames UNION ALL SELECT timestamp FROM observations "
        "WHERE recording_id IS NULL)");
    EXPECT_LE(sessionStart, kSaturdayMorning - 3600 + 10);
    EXPECT_GE(sessionStart, kSaturdayMorning - 2 * 3600);
    EXPECT_GT(db.number("SELECT count(*) FROM frames WHERE analyzed = 0"), 0);
}
