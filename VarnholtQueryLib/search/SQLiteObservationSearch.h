#pragma once

#include <optional>
#include <string>
#include <vector>

#include "IndexCatalogue.h"
#include "search/ObservationSearchQueryPort.h"

struct sqlite3;

namespace VarnholtSQLiteSupport {
class PageWarming;
class SQLiteReadConnection;
}

namespace VarnholtQueryLib {

// The search port over the recorder's FTS5 index of descriptions: ranked by
// BM25 (or newest first), filtered by application and time, with each
// observation's entities gathered in SQL. statementFor gives the statement
// that defines the answer; with the recorder's indexes present the adapter
// runs the statements of IndexedSearchStatement.h instead, which confine the
// match to the window's rowids where that pays and answer the same.
//
// Keeps only the connection's raw handle and its warming; it neither owns
// nor closes the connection, which must outlive this object.
class SQLiteObservationSearch final : public ObservationSearchQueryPort {
public:
    SQLiteObservationSearch(const VarnholtSQLiteSupport::SQLiteReadConnection& connection,
                            VarnholtSQLiteSupport::IndexCatalogue indexes);

    // Matches the keyword as transformFTS5Keyword() gives it. When FTS5
    // rejects that and accepts the keyword taken literally
    // (FTS5Keyword::literal), the literal form is searched instead, so that
    // ordinary words such as "node.js" or "C++" find what they say. With
    // `allWords`, every term must occur (FTS5Keyword::allWords), which FTS5
    // always accepts; a keyword without terms is searched as without it.
    // Newest first, repeated terms are matched once (the rows are the same).
    // Throws DatabaseError: queryFailed when the statement cannot be prepared
    // or a step fails (for a keyword FTS5 takes in neither form, with the
    // message for the keyword as given, e.g. an FTS5 syntax error), locked when
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
    // The whole search for one MATCH text (the transformed keyword), with
    // whatever statements it takes; its failures are those of the literal
    // statement for that text.
    std::vector<ObservationSearchResult> searchMatching(const std::string& matchText,
                                                        const ObservationSearchParams& params);
    std::vector<ObservationSearchResult> searchLiteral(const std::string& matchText,
                                                       const ObservationSearchParams& params);
    // Absent when the index-driven statements cannot answer for this
    // database; the literal statement must run then.
    std::optional<std::vector<ObservationSearchResult>> searchIndexed(const std::string& matchText,
                                                                      const ObservationSearchParams& params);

    sqlite3* const handle_;  // null only for a connection that failed to open
    VarnholtSQLiteSupport::PageWarming* const warming_;  // null: no warming
    const VarnholtSQLiteSupport::IndexCatalogue indexes_;
};

}  // namespace VarnholtQueryLib
