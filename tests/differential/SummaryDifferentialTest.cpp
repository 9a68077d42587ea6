// The summary's account, four ways, on hundreds of random recorder
// databases (tools/random_db: ties, frameless rows, odd values, malformed
// applications, entities spelt several ways, missing indexes):
//  - the reference: the literal rows statement (the timeline's without its
//    LIMIT), all rows in memory, a plain implementation of the selection
//    (a text rule's terms looked for in each description's words, as the
//    index's own tokenizer cuts them; applications and entities compared by
//    the name key) and of the rule, written for obviousness, not speed;
//  - the tool with no index known: the literal statement through the
//    accountant, which counts row by row;
//  - the tool with the database's indexes: the index-driven parts merged by
//    time through the accountant, descriptions read for highlights only,
//    text rules as rowid sets from the full-text index confined to the
//    window;
//  - the same again with helpers warming the page cache beside it, on
//    connections of their own, which must not change a thing.
// Accounts compare exactly, doubles bit for bit, and so do the frames.

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <bit>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "ComparisonWays.h"
#include "DifferentialSizing.h"
#include "FullTextLookUps.h"
#include "IndexCatalogue.h"
#include "MomentBuckets.h"
#include "ObservationEntities.h"
#include "PlainRules.h"
#include "RandomRecorderDatabase.h"
#include "SampleRandom.h"
#include "SQLiteReadConnection.h"
#include "StatementLog.h"
#include "TalliedWarming.h"
#include "TemporaryDirectory.h"
#include "platform/LocalCalendar.h"
#include "redaction/DeduplicationService.h"
#include "selection/FullTextTokenizer.h"
#include "selection/SQLiteFullTextMatch.h"
#include "summary/SQLiteSummaryQuery.h"
#include "summary/SummaryUseCase.h"

namespace summary_differential_test {

namespace {

using VarnholtQueryLib::ActivityAccount;
using VarnholtQueryLib::ActivityDay;
using VarnholtQueryLib::ActivitySession;
using VarnholtQueryLib::ApplicationTime;
using VarnholtQueryLib::EntityPair;
using VarnholtQueryLib::EntityTime;
using VarnholtQueryLib::FrameCounts;
using VarnholtQueryLib::FrameGap;
using VarnholtQueryLib::FullTextTokenizer;
using VarnholtQueryLib::Highlight;
using VarnholtQueryLib::LocalCalendar;
using VarnholtQueryLib::RuleSet;
using VarnholtQueryLib::SQLiteFullTextMatch;
using VarnholtQueryLib::SQLiteSummaryQuery;
using VarnholtQueryLib::SummaryFindings;
using VarnholtQueryLib::SummaryQuery;
using VarnholtQueryLib::SummarySections;
using VarnholtQueryLib::SummaryUseCase;
using VarnholtQueryLib::wholeSeconds;
using VarnholtRandomData::RandomDatabaseShape;
using VarnholtSQLiteSupport::IndexCatalogue;
using VarnholtSQLiteSupport::SQLiteReadConnection;
using VarnholtTestSupport::StatementLog;
using VarnholtTestSupport::TalliedWarming;
using VarnholtTestSupport::WarmedConnection;

constexpr int kBlocks = 4;
constexpr int kDatabasesPerBlock = 25;
// Large databases are there for ranges with more rows than the timeline
// keeps; the one or two 16th seeds of a block are enough for that.
const VarnholtRandomData::RandomDatabaseOptions kBlockDatabases{
    .missingIndex = {}, .large = VarnholtRandomData::LargeDatabases::every16thOnly};
constexpr double kDay = 86400.0;

// ---- The reference --------------------------------------------------------

struct ReferenceRow {
    double time = 0;
    std::string id;
    std::string description;
    std::vector<std::string> apps;
    std::vector<EntityPair> entities;
};

// Every row of the literal statement, in its order.
std::vector<ReferenceRow> literalRows(sqlite3* handle, double from, double to) {
    sqlite3_stmt* statement = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(handle, SQLiteSummaryQuery::kActivityStatement, -1, &statement, nullptr), SQLITE_OK);
    sqlite3_bind_double(statement, 1, from);
    sqlite3_bind_double(statement, 2, to);
    const auto text = [&](int column) -> std::optional<std::string> {
        if (sqlite3_column_type(statement, column) == SQLITE_NULL) return std::nullopt;
        return reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
    };
    std::vector<ReferenceRow> rows;
    while (sqlite3_step(statement) == SQLITE_ROW) {
        ReferenceRow row;
        row.id = text(0).value_or("");
        row.description = text(1).value_or("");
        row.apps = SQLiteReadConnection::parseJsonArray(text(2).value_or("[]"));
        row.time = sqlite3_column_double(statement, 4);
        row.entities = RecentWorkTimelineCore::parseEntities(text(5));
        rows.push_back(std::move(row));
    }
    sqlite3_finalize(statement);
    return rows;
}

bool ranksBefore(const ApplicationTime& a, const ApplicationTime& b) {
    if (wholeSeconds(a.seconds) != wholeSeconds(b.seconds)) return wholeSeconds(a.seconds) > wholeSeconds(b.seconds);
    return a.name < b.name;
}

// Applications as a list: per name key, seconds and rows, named after their
// first spelling, ranked.
struct ApplicationTally {
    std::vector<std::string> keys;  // in order of first sighting
    std::map<std::string, ApplicationTime> byKey;

    void add(const std::string& key, const std::string& name, double seconds) {
        if (!byKey.count(key)) {
            keys.push_back(key);
            byKey[key] = {name, 0, 0};
        }
        byKey[key].seconds += seconds;
        ++byKey[key].observationCount;
    }
    std::vector<ApplicationTime> ranked() const {
        std::vector<ApplicationTime> list;
        for (const std::string& key : keys) list.push_back(byKey.at(key));
        std::sort(list.begin(), list.end(), ranksBefore);
        return list;
    }
};

// A plain selection: a row is picked when one rule holds for it.
struct PlainSelection {
    std::vector<std::string> match;
    std::vector<std::string> apps;
    std::vector<std::pair<std::optional<std::string>, std::string>> entities;

    bool empty() const { return match.empty() && apps.empty() && entities.empty(); }
    std::string describe() const {
        std::string text;
        for (const auto& words : match) text += " match '" + words + "'";
        for (const auto& app : apps) text += " app '" + app + "'";
        for (const auto& [kind, value] : entities) text += " entity '" + kind.value_or("*") + "=" + value + "'";
        return text;
    }
    RuleSet rules() const {
        RuleSet rules;
        for (const auto& words : match) rules.push_back(VarnholtQueryLib::TextRule{words});
        for (const auto& app : apps) rules.push_back(VarnholtQueryLib::ApplicationRule{app});
        for (const auto& [kind, value] : entities) rules.push_back(VarnholtQueryLib::EntityRule{kind, value});
        return rules;
    }

    bool picks(const ReferenceRow& row, const FullTextTokenizer& tokenizer) const {
        if (empty()) return true;
        for (const std::string& text : match) {
            if (VarnholtDifferential::textRuleHolds(text, row.description, tokenizer)) return true;
        }
        for (const std::string& app : apps) {
            if (VarnholtDifferential::applicationRuleHolds(app, row.apps)) return true;
        }
        for (const auto& [kind, value] : entities) {
            if (VarnholtDifferential::entityRuleHolds(kind, value, row.entities)) return true;
        }
        return false;
    }
};

ActivityAccount referenceAccount(std::vector<ReferenceRow> all, const SummaryQuery& query,
                                 const PlainSelection& selection, const FullTextTokenizer& tokenizer, double coverEnd,
                                 const LocalCalendar& calendar) {
    std::stable_sort(all.begin(), all.end(), [](const ReferenceRow& a, const ReferenceRow& b) {
        if (a.time != b.time) return a.time < b.time;
        return a.id < b.id;
    });
    const double idle = query.idleSeconds;
    // Every row covers, picked or not; then only the picked rows count.
    std::vector<ReferenceRow> rows;
    std::vector<double> cover;
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (!selection.picks(all[i], tokenizer)) continue;
        rows.push_back(all[i]);
        cover.push_back(i + 1 < all.size() ? std::min(all[i + 1].time - all[i].time, idle)
                                           : std::clamp(coverEnd - all[i].time, 0.0, idle));
    }
    const std::size_t n = rows.size();

    ActivityAccount account;
    account.observationCount = static_cast<std::int64_t>(n);
    account.rangeObservationCount = static_cast<std::int64_t>(all.size());
    if (n > 0) {
        account.firstActivity = rows.front().time;
        account.lastActivity = rows.back().time;
    }
    for (std::size_t i = 0; i < n; ++i) account.activeSeconds += cover[i];

    // The rows' applications, each key once per row.
    std::vector<std::vector<std::pair<std::string, std::string>>> rowApplications(n);
    for (std::size_t i = 0; i < n; ++i) {
        std::set<std::string> seen;
        for (const std::string& name : rows[i].apps) {
            const std::string key = VarnholtDifferential::nameKey(name);
            if (seen.insert(key).second) rowApplications[i].push_back({key, name});
        }
    }
    // The first spelling of each key over all rows names it everywhere.
    std::map<std::string, std::string> nameOfKey;
    for (std::size_t i = 0; i < n; ++i) {
        for (const auto& [key, name] : rowApplications[i]) nameOfKey.emplace(key, name);
    }

    const SummarySections& sections = query.sections;
    if (sections.applications) {
        ApplicationTally applications;
        for (std::size_t i = 0; i < n; ++i) {
            for (const auto& [key, name] : rowApplications[i]) applications.add(key, nameOfKey.at(key), cover[i]);
        }
        account.applications = applications.ranked();
    }

    if (sections.entities) {
        // An entity is (kind, key of the value); every spelling a row holds
        // gets the row's vote, and the row counts once for the entity.
        using EntityKey = std::pair<std::string, std::string>;
        std::vector<EntityKey> entityOrder;
        std::map<EntityKey, EntityTime> entities;
        std::map<EntityKey, std::vector<std::pair<std::string, int>>> votes;  // spellings in order of first row
        for (std::size_t i = 0; i < n; ++i) {
            std::set<EntityKey> counted;
            std::set<EntityPair> voted;
            for (const EntityPair& pair : rows[i].entities) {
                if (query.kind && pair.first != *query.kind) continue;
                const EntityKey key{pair.first, VarnholtDifferential::nameKey(pair.second)};
                if (!entities.count(key)) {
                    entityOrder.push_back(key);
                    entities[key] = {pair.first, "", 0, 0, rows[i].time, rows[i].time};
                }
                if (voted.insert(pair).second) {
                    auto& spellings = votes[key];
                    auto found = std::find_if(spellings.begin(), spellings.end(),
                                              [&](const auto& spelling) { return spelling.first == pair.second; });
                    if (found == spellings.end()) {
                        spellings.push_back({pair.second, 1});
                    } else {
                        ++found->second;
                    }
                }
                if (!counted.insert(key).second) continue;
                entities[key].seconds += cover[i];
                ++entities[key].count;
                entities[key].lastSeen = rows[i].time;
            }
        }
        for (const EntityKey& key : entityOrder) {
            EntityTime entity = entities.at(key);
            int most = 0;
            for (const auto& [spelling, count] : votes.at(key)) {
                if (count > most) {
                    most = count;
                    entity.value = spelling;
                }
            }
            account.entities.push_back(entity);
        }
        std::sort(account.entities.begin(), account.entities.end(), [](const EntityTime& a, const EntityTime& b) {
            if (wholeSeconds(a.seconds) != wholeSeconds(b.seconds)) return wholeSeconds(a.seconds) > wholeSeconds(b.seconds);
            if (a.kind != b.kind) return a.kind < b.kind;
            return a.value < b.value;
        });
    }

    // Sessions: split where the next picked row is more than the idle gap away.
    std::vector<std::pair<std::size_t, std::size_t>> sessions;  // [first, last]
    for (std::size_t i = 0; i < n; ++i) {
        if (i == 0 || rows[i].time - rows[i - 1].time > idle) sessions.push_back({i, i});
        sessions.back().second = i;
    }
    std::vector<std::string> dates(n);
    for (std::size_t i = 0; i < n; ++i) dates[i] = calendar.localDate(rows[i].time);
    for (const auto& [first, last] : sessions) {
        if (!sections.sessions) break;
        ActivitySession session;
        session.start = rows[first].time;
        session.end = rows[last].time + cover[last];
        session.observationCount = static_cast<std::int64_t>(last - first + 1);
        ApplicationTally sessionApplications;
        for (std::size_t i = first; i <= last; ++i) {
            session.activeSeconds += cover[i];
            for (const auto& [key, name] : rowApplications[i]) sessionApplications.add(key, nameOfKey.at(key), cover[i]);
        }
        session.applications = sessionApplications.ranked();
        // Moments: rows by five-minute bucket; the first row describes it.
        struct Moment {
            std::int64_t start;
            std::int64_t rows;
            std::string description;
        };
        std::vector<Moment> moments;
        for (std::size_t i = first; i <= last; ++i) {
            const std::int64_t start = *RecentWorkTimelineCore::bucketStartOf(rows[i].time, 300);
            if (moments.empty() || moments.back().start != start) moments.push_back({start, 0, rows[i].description});
            ++moments.back().rows;
        }
        std::vector<Moment> busiest = moments;
        std::stable_sort(busiest.begin(), busiest.end(), [](const Moment& a, const Moment& b) { return a.rows > b.rows; });
        std::set<std::string> shown;
        for (const Moment& moment : busiest) {
            if (session.highlights.size() == 3) break;
            if (!shown.insert(moment.description).second) continue;
            session.highlights.push_back({static_cast<double>(moment.start), static_cast<int>(session.highlights.size()),
                                          moment.description});
        }
        std::sort(session.highlights.begin(), session.highlights.end(),
                  [](const Highlight& a, const Highlight& b) { return a.momentStart < b.momentStart; });
        account.sessions.push_back(session);
    }

    if (!sections.days) return account;
    // Every local day that begins before the cover's end, from the range's
    // first day on, then the days of rows after those.
    for (double day = calendar.startOfDay(query.from); day < coverEnd;
         day = calendar.startOfDay(calendar.addingDays(day, 1))) {
        ActivityDay listed;
        listed.date = calendar.localDate(day);
        account.days.push_back(listed);
    }
    for (std::size_t i = 0; i < n; ++i) {
        const bool listed = std::any_of(account.days.begin(), account.days.end(),
                                        [&](const ActivityDay& day) { return day.date == dates[i]; });
        if (!listed) {
            ActivityDay late;
            late.date = dates[i];
            account.days.push_back(late);
        }
    }
    for (ActivityDay& day : account.days) {
        ApplicationTally dayApplications;
        for (std::size_t i = 0; i < n; ++i) {
            if (dates[i] != day.date) continue;
            if (!day.firstActivity) day.firstActivity = rows[i].time;
            day.activeSeconds += cover[i];
            ++day.observationCount;
            day.lastActivity = rows[i].time;
            for (const auto& [key, name] : rowApplications[i]) dayApplications.add(key, nameOfKey.at(key), cover[i]);
        }
        for (const auto& [first, last] : sessions) day.sessionCount += dates[first] == day.date ? 1 : 0;
        day.applications = dayApplications.ranked();
    }
    return account;
}

struct ReferenceFrames {
    FrameCounts counts;
    std::vector<FrameGap> gaps;
};

// Every frame read and judged here: numbers only, analysed as compared in SQL.
ReferenceFrames referenceFrames(sqlite3* handle, double from, double to, double gapEnd) {
    sqlite3_stmt* statement = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(handle, "SELECT timestamp, analyzed FROM frames", -1, &statement, nullptr), SQLITE_OK);
    ReferenceFrames frames;
    std::vector<double> times;
    while (sqlite3_step(statement) == SQLITE_ROW) {
        const int type = sqlite3_column_type(statement, 0);
        if (type != SQLITE_INTEGER && type != SQLITE_FLOAT) continue;
        const double time = sqlite3_column_double(statement, 0);
        if (time < from || time > to) continue;
        ++frames.counts.frames;
        const int analyzedType = sqlite3_column_type(statement, 1);
        if (analyzedType == SQLITE_INTEGER || analyzedType == SQLITE_FLOAT) {
            const double analyzed = sqlite3_column_double(statement, 1);
            if (analyzed == 1) ++frames.counts.analyzedFrames;
            if (analyzed == 0) ++frames.counts.pendingFrames;
            if (analyzed == 2) ++frames.counts.failedFrames;
        }
        if (time <= gapEnd) times.push_back(time);
    }
    sqlite3_finalize(statement);
    if (from <= gapEnd) {
        std::sort(times.begin(), times.end());
        times.insert(times.begin(), from);
        times.push_back(gapEnd);
        for (std::size_t i = 0; i + 1 < times.size(); ++i) {
            if (times[i + 1] - times[i] >= 1800) frames.gaps.push_back({times[i], times[i + 1]});
        }
    }
    return frames;
}

// ---- Comparison -----------------------------------------------------------

std::string exact(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%.17g/%016" PRIx64, value, std::bit_cast<std::uint64_t>(value));
    return text;
}

// The first difference between two accounts, readably, or empty.
std::string difference(const ActivityAccount& expected, const ActivityAccount& actual) {
    if (expected == actual) return {};
    if (expected.activeSeconds != actual.activeSeconds) {
        return "active " + exact(expected.activeSeconds) + " != " + exact(actual.activeSeconds);
    }
    if (expected.observationCount != actual.observationCount) {
        return "rows " + std::to_string(expected.observationCount) + " != " + std::to_string(actual.observationCount);
    }
    if (expected.rangeObservationCount != actual.rangeObservationCount) {
        return "range rows " + std::to_string(expected.rangeObservationCount) + " != " +
               std::to_string(actual.rangeObservationCount);
    }
    if (expected.sessions.size() != actual.sessions.size()) {
        return "sessions " + std::to_string(expected.sessions.size()) + " != " + std::to_string(actual.sessions.size());
    }
    for (std::size_t i = 0; i < expected.sessions.size(); ++i) {
        if (!(expected.sessions[i] == actual.sessions[i])) return "session " + std::to_string(i);
    }
    if (expected.applications != actual.applications) return "applications";
    if (expected.entities != actual.entities) return "entities";
    if (expected.days != actual.days) return "days";
    return "first or last activity";
}

using VarnholtDifferential::nameOf;
using VarnholtDifferential::Way;

class SummaryComparison {
public:
    SummaryComparison(const std::string& path, const RandomDatabaseShape& shape)
        : shape_(shape),
          random_(VarnholtSampleData::SampleRandom::forStream(shape.seed, 0x5u)),
          connection_(path),
          indexes_(IndexCatalogue::read(connection_.handle())),
          warming_(path, TalliedWarming::bothWays()) {}

    void compareAll() {
        const double start = shape_.start;
        const double end = shape_.end;
        const double shared = shape_.sharedTimes.front();
        // Every day of a range is listed, so the ranges that list days span
        // months at most; the rows far before and after are counted by the
        // widest range, without days.
        const std::vector<std::pair<double, double>> ranges = {
            {end - kDay, end},  {end - 7200, end},         {end - 7 * kDay, end},
            {start, end},       {start - 30 * kDay, end + 30 * kDay}, {shared, shared},
            {shared - 60, shared + 60}, {end + 1, end + 40 * kDay},
        };
        const std::vector<double> idles = {300, 60, 3600, 299.5};
        const std::vector<std::optional<std::string>> kinds = {std::nullopt, std::nullopt, "app", "App"};
        SummarySections noDays;
        noDays.days = false;
        // Every row of the database once, however many: a timeline would
        // keep only 5000 of them.
        compare({start - 2e9, end + 2e9, random_.pick(idles), random_.pick(kinds), {}, noDays}, end, {});
        // Most of them, every day listed, selected.
        compare({start - 30 * kDay, end + 30 * kDay, random_.pick(idles), random_.pick(kinds), {}, {}}, end + kDay,
                someSelection());
        for (int i = 0; i < 4; ++i) {
            const auto [from, to] = random_.pick(ranges);
            // Now at the end of the range, inside it or well after it.
            const double now = random_.pick(std::vector<double>{to, (from + to) / 2, to + kDay});
            // Half the ranges are selected; some answer with a few sections.
            const PlainSelection selection = random_.chance(0.5) ? someSelection() : PlainSelection{};
            SummarySections sections;
            if (random_.chance(0.25)) {
                sections = *SummarySections::named({random_.pick(std::vector<std::string>{
                    "days", "sessions", "entities", "applications", "coverage"})});
            }
            compare({from, to, random_.pick(idles), random_.pick(kinds), {}, sections}, now, selection);
        }
    }

    int comparisons() const { return comparisons_; }
    // The most rows one compared range held.
    std::int64_t mostRows() const { return mostRows_; }
    int wholeIndexLookUps() const { return wholeIndexLookUps_; }
    // Warmed comparisons that had helpers running beside them.
    int warmedComparisons() const { return warmedComparisons_; }
    // Warmings whose helpers the answer's own progress checks started.
    int coldWarmings() const { return warming_.tally().startedCold; }
    // Helpers that stopped on an error of their own.
    int warmingFailures() const { return warming_.tally().failures; }

private:
    // A selection of one or two rules: words that many rows hold, few or
    // none, phrases, other letter cases and accents, query syntax taken as
    // words; applications and entities spelt in other cases and malformed.
    PlainSelection someSelection() {
        static const std::vector<std::string> texts = {
            "error",  "ERROR budget",  "\"working on\"",  "\"on error\"", "\"error invoice budget\"",
            "kubernetes budget parser review meeting", "Caf\xC3\x89", "cafe", "cafe\xCC\x81",
            "deploying*", "NEAR", "review OR", "build_42", "v1.2 *", "\"Working", "nothing-here"};
        static const std::vector<std::string> applications = {"slack", "VS CODE", "Mail", "Zoom"};
        static const std::vector<std::pair<std::optional<std::string>, std::string>> entities = {
            {std::nullopt, "swift"}, {"programming_language", "SWIFT"}, {"App", "xcode"}, {"app", "c++"},
            {std::nullopt, "Docker"}};
        PlainSelection selection;
        const int rules = random_.chance(0.3) ? 2 : 1;
        for (int i = 0; i < rules; ++i) {
            const double draw = random_.uniform();
            if (draw < 0.5) {
                selection.match.push_back(random_.pick(texts));
            } else if (draw < 0.75) {
                selection.apps.push_back(random_.pick(applications));
            } else {
                selection.entities.push_back(random_.pick(entities));
            }
        }
        return selection;
    }

    void compare(SummaryQuery query, double now, const PlainSelection& selection) {
        query.selection = selection.rules();
        const std::string what = "summary " + exact(query.from) + ".." + exact(query.to) + " idle " +
                                 exact(query.idleSeconds) + " kind " + query.kind.value_or("<all>") + " now " +
                                 exact(now) + selection.describe();
        const double coverEnd = std::min(query.to, now);
        const auto tokenizer = FullTextTokenizer::forRecorderIndex(connection_.handle());
        ASSERT_NE(tokenizer, nullptr);
        const ActivityAccount expected = referenceAccount(literalRows(connection_.handle(), query.from, query.to),
                                                          query, selection, *tokenizer, coverEnd, calendar_);
        const ReferenceFrames frames = referenceFrames(connection_.handle(), query.from, query.to, coverEnd);
        mostRows_ = std::max(mostRows_, expected.rangeObservationCount);

        const SQLiteFullTextMatch::WholeIndexLookUps lookUps = VarnholtDifferential::lookUpsOfQueryAt(comparisons_);
        for (const Way pass : {Way::literal, Way::indexed, Way::warmed}) {
            const bool withIndexes = pass != Way::literal;
            const IndexCatalogue indexes = withIndexes ? indexes_ : IndexCatalogue();
            std::optional<WarmedConnection> warmed;
            if (pass == Way::warmed) warmed.emplace(connection_, warming_);
            const int startedBefore = warming_.tally().started;
            SQLiteSummaryQuery port(connection_, indexes);
            SQLiteFullTextMatch fullText(connection_, indexes, lookUps);
            SummaryUseCase useCase(port, fullText, calendar_);
            StatementLog log(connection_.handle());
            const SummaryFindings findings = useCase.execute(query, now);
            const char* way = nameOf(pass);
            EXPECT_EQ(difference(expected, findings.account), "") << what << " (" << way << ")";
            EXPECT_EQ(findings.coverage.has_value(), query.sections.coverage) << what;
            if (findings.coverage) {
                EXPECT_EQ(findings.coverage->counts, frames.counts) << what << " (" << way << ")";
                EXPECT_EQ(findings.coverage->gaps, frames.gaps) << what << " (" << way << ")";
            }
            if (withIndexes && shape_.missingIndexes.empty()) {
                EXPECT_FALSE(log.ran(SQLiteSummaryQuery::kActivityStatement))
                    << what << " (" << way << ") ran the literal statement";
                EXPECT_FALSE(log.ran(SQLiteFullTextMatch::kMatchStatement)) << what << " matched all of history";
            }
            if (pass == Way::warmed) {
                if (warming_.tally().started > startedBefore) ++warmedComparisons_;
                continue;
            }
            if (log.ran(SQLiteFullTextMatch::kWholeIndexMatchStatement)) ++wholeIndexLookUps_;
            ++comparisons_;
        }
    }

    const RandomDatabaseShape& shape_;
    VarnholtSampleData::SampleRandom random_;
    SQLiteReadConnection connection_;
    const IndexCatalogue indexes_;
    TalliedWarming warming_;
    const LocalCalendar calendar_{"Europe/Berlin", "en_US"};
    int comparisons_ = 0;
    std::int64_t mostRows_ = 0;
    int wholeIndexLookUps_ = 0;
    int warmedComparisons_ = 0;
};

struct SeedComparison {
    int comparisons = 0;
    std::int64_t mostRows = 0;
    int wholeIndexLookUps = 0;
    int warmedComparisons = 0;
    int coldWarmings = 0;
    int warmingFailures = 0;
};

SeedComparison compareSeed(std::uint64_t seed, const VarnholtRandomData::RandomDatabaseOptions& options = {}) {
    VarnholtTestSupport::TemporaryDirectory directory;
    const std::string path = directory.file("varnholt.db");
    const RandomDatabaseShape shape = VarnholtRandomData::writeRandomDatabase(path, seed, options);
    SCOPED_TRACE(shape.summary());
    SummaryComparison comparison(path, shape);
    comparison.compareAll();
    return {comparison.comparisons(), comparison.mostRows(), comparison.wholeIndexLookUps(),
            comparison.warmedComparisons(), comparison.coldWarmings(), comparison.warmingFailures()};
}

class SummaryDifferentialTest : public ::testing::TestWithParam<int> {};

TEST_P(SummaryDifferentialTest, TheToolCountsAsThePlainRuleDoes) {
    int comparisons = 0;
    std::int64_t mostRows = 0;
    int wholeIndexLookUps = 0;
    int warmedComparisons = 0;
    int coldWarmings = 0;
    int warmingFailures = 0;
    for (int i = 0; i < kDatabasesPerBlock; ++i) {
        const auto seedNumber = static_cast<std::uint64_t>(20000 + GetParam() * kDatabasesPerBlock + i);
        if (!VarnholtDifferential::comparedInThisBuild(seedNumber)) continue;
        const SeedComparison seed = compareSeed(seedNumber, kBlockDatabases);
        comparisons += seed.comparisons;
        mostRows = std::max(mostRows, seed.mostRows);
        wholeIndexLookUps += seed.wholeIndexLookUps;
        warmedComparisons += seed.warmedComparisons;
        coldWarmings += seed.coldWarmings;
        warmingFailures += seed.warmingFailures;
    }
    RecordProperty("comparisons", comparisons);
    RecordProperty("warmed_comparisons", warmedComparisons);
    RecordProperty("cold_warmings", coldWarmings);
    // Each account is asked three ways, two of them counted as comparisons;
    // a fifth of the warmed ones at least had helpers reading beside them,
    // some of them started by the answer's own progress checks, and none of
    // the helpers failed on its own.
    EXPECT_GT(warmedComparisons * 10, comparisons) << warmedComparisons << " warmed of " << comparisons / 2;
    EXPECT_GT(coldWarmings, 0) << "no answer's progress checks started helpers";
    EXPECT_EQ(warmingFailures, 0);
    // The summary has no cap: some range must hold more rows than the
    // timeline keeps, or the comparison never saw the rows a cap would drop.
    EXPECT_GT(mostRows, 5000) << "no compared range held more than the timeline's 5000 rows";
    EXPECT_GT(wholeIndexLookUps, 0) << "no text was looked up in the whole index";
}

INSTANTIATE_TEST_SUITE_P(SeedBlocks, SummaryDifferentialTest, ::testing::Range(0, kBlocks));

// Without one of the indexes the parts walk, the literal statement answers,
// and the account is still the rule's.
TEST(SummaryDifferentialFallbackTest, EachMissingIndexStillGivesTheSameAccount) {
    for (const char* index : {"idx_frames_timestamp", "idx_observations_recording_timestamp", "idx_observations_frame",
                              "idx_observation_entities_observation", "idx_frames_analyzed_timestamp"}) {
        EXPECT_GT(compareSeed(30000 + std::string(index).size(), {index}).comparisons, 0);
    }
}

}  // namespace

}  // namespace summary_differential_test
