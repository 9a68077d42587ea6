#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "IndexCatalogue.h"
#include "summary/SummaryQueryPort.h"

struct sqlite3_stmt;

namespace VarnholtSQLiteSupport {
class SQLiteReadConnection;
}

namespace VarnholtQueryLib {

// The summary's reads of the recorder's database.
//
// The literal statements define the answers. The rows are the timeline's
// (kActivityStatement is the timeline's statement without its LIMIT). With
// the recorder's indexes in place (as the catalogue tells) the rows come
// from the index-driven statements of IndexedSummaryStatements.h instead,
// three parts merged by time as they are read, and the frame counts from
// index counts; without them, or when SQLite refuses those statements, the
// literal statements run (withLiteralFallback). Among equal times the rows
// come in whatever order the statement gives; the accountant orders them.
//
// Descriptions are read with the literal statement's rows (it reads them
// anyway); the index-driven path reads them with its rows when the scan
// needs every row's (a timesheet), and otherwise only when asked for, one
// by one (a summary's highlights).
//
// Borrows the run's connection, which must outlive the adapter. Holds one
// prepared statement for the descriptions, finalized on destruction.
class SQLiteSummaryQuery final : public SummaryQueryPort {
public:
    // The statements that define the answers, exactly as prepared.
    static const char* const kActivityStatement;
    // kActivityStatement with each row's rowid as a last column, rid: the
    // same rows in the same order, for text rules, which find rows by rowid.
    static const char* const kActivityWithRowidStatement;
    static const char* const kFrameCountsStatement;
    static const char* const kFrameTimesStatement;
    static const char* const kDescriptionStatement;

    SQLiteSummaryQuery(VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                       VarnholtSQLiteSupport::IndexCatalogue indexes);
    ~SQLiteSummaryQuery() override;

    // Rows of the literal statement carry their description and, as their
    // sequence, their place in its answer (and their rowid when asked for);
    // rows of the index-driven statements carry their rowid, as sequence and
    // as rowid, their description only when `needs` asks for it, and
    // entities only when `needs` asks for them.
    void scanActivity(double from, double to, const ActivityNeeds& needs, ActivityRowSink& sink) override;
    FrameCounts countFrames(double from, double to) override;
    void scanFrameTimes(double from, double to, const std::function<void(double)>& visit) override;
    // `sequence` is a rowid, as the index-driven statements give it.
    std::string descriptionOf(std::int64_t sequence) override;

private:
    void scanLiteral(double from, double to, const ActivityNeeds& needs, ActivityRowSink& sink);
    // False when the catalogue lacks an index or SQLite refuses a statement.
    bool scanIndexed(double from, double to, const ActivityNeeds& needs, ActivityRowSink& sink);
    FrameCounts countLiteral(double from, double to);
    std::optional<FrameCounts> countIndexed(double from, double to);
    // The apps column decoded as the timeline decodes it; the same texts
    // come back row after row, so they are decoded once.
    const std::vector<std::string>& applicationsOf(const std::optional<std::string>& text);

    VarnholtSQLiteSupport::SQLiteReadConnection& connection_;
    const VarnholtSQLiteSupport::IndexCatalogue indexes_;
    std::unordered_map<std::string, std::vector<std::string>> decodedApps_;
    sqlite3_stmt* description_ = nullptr;
};

}  // namespace VarnholtQueryLib
