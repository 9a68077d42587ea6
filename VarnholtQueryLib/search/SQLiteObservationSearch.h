#pragma once

#include <string>
#include <vector>

#include "search/ObservationSearchQueryPort.h"

struct sqlite3;

namespace VarnholtSQLiteSupport {
class SQLiteReadConnection;
}

namespace VarnholtQueryLib {

// The search port over the recorder's FTS5 index of descriptions: one
// statement per search, ranked by BM25 (or newest first), filtered by
// application and time, with each observation's entities gathered in the same
// statement.
//
// Keeps only the connection's raw handle; it neither owns nor closes the
// connection, which must outlive this object.
class SQLiteObservationSearch final : public ObservationSearchQueryPort {
public:
    explicit SQLiteObservationSearch(const VarnholtSQLiteSupport::SQLiteReadConnection& connection);

    // Matches the keyword as transformFTS5Keyword() gives it. When SQLite
    // rejects that (other than by being busy), the search runs once more with
    // the keyword taken literally (FTS5Keyword::literal), so that ordinary
    // words such as "node.js" or "C++" find what they say. Newest first,
    // repeated terms are matched once (the rows are the same).
    // Throws DatabaseError: queryFailed when the statement cannot be prepared
    // or a step fails (with the first attempt's message, e.g. an FTS5 syntax
    // error, when the literal form is empty or fails as well), locked when
    // the recorder holds the file too long. Entity lists that do not decode
    // become empty; they are never errors.
    std::vector<ObservationSearchResult> search(const ObservationSearchParams& params) override;

    // The statement text for `params`: which conditions it holds depends on
    // which filters are present, and its placeholders are bound in the order
    // keyword, application, lower bound, upper bound, limit.
    static std::string statementFor(const ObservationSearchParams& params);

    // The text bound to MATCH for the user's `keyword`: FTS5Keyword::transformed
    // with every term kept. Several bare words become alternatives ("invoice
    // budget" -> "invoice OR budget"), quoted phrases stay phrases, and a
    // keyword that is a single term or already uses an FTS5 operator is
    // returned exactly as given.
    static std::string transformFTS5Keyword(const std::string& keyword);

private:
    // One run of the statement for `params` with `matchText` bound to MATCH.
    std::vector<ObservationSearchResult> searchMatching(const ObservationSearchParams& params,
                                                        const std::string& matchText);

    sqlite3* const handle_;  // null only for a connection that failed to open
};

}  // namespace VarnholtQueryLib
