#include "search/BM25WithCopies.h"

#include <algorithm>
#include <cmath>
#include <charconv>
#include <memory>
#include <string_view>
#include <vector>

namespace VarnholtQueryLib {

namespace {

// The statistics of one query, computed at its first row and kept by FTS5
// for the rest, as bm25 keeps its own.
struct QueryStatistics {
    std::vector<int> copyOf;     // distinct phrase of each original alternative
    std::vector<double> idf;     // per distinct phrase
    std::vector<double> frequency;  // per distinct phrase, for the current row
    double averageLength = 0.0;
};

int countRow(const Fts5ExtensionApi*, Fts5Context*, void* count) {
    ++*static_cast<sqlite3_int64*>(count);
    return SQLITE_OK;
}

bool parseCopies(std::string_view text, int phraseCount, std::vector<int>& copyOf) {
    const char* at = text.data();
    const char* const end = text.data() + text.size();
    while (at < end) {
        int position = 0;
        const auto [next, error] = std::from_chars(at, end, position);
        if (error != std::errc() || position < 0 || position >= phraseCount) return false;
        copyOf.push_back(position);
        at = next;
        if (at < end && *at++ != ' ') return false;
    }
    return !copyOf.empty();
}

// The same steps as FTS5's bm25 takes once per query: average row length in
// tokens, and each phrase's inverse document frequency from the number of
// rows it occurs in, never below 1e-6.
int computeStatistics(const Fts5ExtensionApi* api, Fts5Context* fts, sqlite3_value* copies,
                      QueryStatistics& statistics) {
    const int phraseCount = api->xPhraseCount(fts);
    const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(copies));
    if (text == nullptr || !parseCopies(text, phraseCount, statistics.copyOf)) return SQLITE_ERROR;
    sqlite3_int64 rowCount = 0;
    sqlite3_int64 tokenCount = 0;
    int rc = api->xRowCount(fts, &rowCount);
    if (rc == SQLITE_OK) rc = api->xColumnTotalSize(fts, -1, &tokenCount);
    if (rc != SQLITE_OK) return rc;
    statistics.averageLength = static_cast<double>(tokenCount) / static_cast<double>(rowCount);
    statistics.idf.assign(static_cast<std::size_t>(phraseCount), 0.0);
    statistics.frequency.assign(static_cast<std::size_t>(phraseCount), 0.0);
    for (int phrase = 0; phrase < phraseCount; ++phrase) {
        sqlite3_int64 hits = 0;
        rc = api->xQueryPhrase(fts, phrase, &hits, countRow);
        if (rc != SQLITE_OK) return rc;
        double idf = std::log((rowCount - hits + 0.5) / (hits + 0.5));
        if (idf <= 0.0) idf = 1e-6;
        statistics.idf[static_cast<std::size_t>(phrase)] = idf;
    }
    return SQLITE_OK;
}

void bm25WithCopies(const Fts5ExtensionApi* api, Fts5Context* fts, sqlite3_context* context, int argumentCount,
                    sqlite3_value** arguments) {
    if (argumentCount != 1) {
        sqlite3_result_error(context, "bm25_with_copies takes the table and the copies", -1);
        return;
    }
    auto* statistics = static_cast<QueryStatistics*>(api->xGetAuxdata(fts, 0));
    if (statistics == nullptr) {
        auto fresh = std::make_unique<QueryStatistics>();
        const int rc = computeStatistics(api, fts, arguments[0], *fresh);
        if (rc != SQLITE_OK) {
            sqlite3_result_error_code(context, rc);
            return;
        }
        statistics = fresh.release();
        api->xSetAuxdata(fts, statistics, [](void* data) { delete static_cast<QueryStatistics*>(data); });
    }

    constexpr double k1 = 1.2;
    constexpr double b = 0.75;
    std::vector<double>& frequency = statistics->frequency;
    std::fill(frequency.begin(), frequency.end(), 0.0);
    int instances = 0;
    int rc = api->xInstCount(fts, &instances);
    for (int i = 0; rc == SQLITE_OK && i < instances; ++i) {
        int phrase = 0, column = 0, offset = 0;
        rc = api->xInst(fts, i, &phrase, &column, &offset);
        if (rc == SQLITE_OK) frequency[static_cast<std::size_t>(phrase)] += 1.0;
    }
    int tokens = 0;
    if (rc == SQLITE_OK) rc = api->xColumnSize(fts, -1, &tokens);
    if (rc != SQLITE_OK) {
        sqlite3_result_error_code(context, rc);
        return;
    }
    const double length = static_cast<double>(tokens);
    // Term by term in the order of the original alternatives, so that the
    // rounding is that of the sum over every copy.
    double score = 0.0;
    for (const int phrase : statistics->copyOf) {
        const double f = frequency[static_cast<std::size_t>(phrase)];
        score += statistics->idf[static_cast<std::size_t>(phrase)] *
                 ((f * (k1 + 1.0)) / (f + k1 * (1 - b + b * length / statistics->averageLength)));
    }
    sqlite3_result_double(context, -1.0 * score);
}

fts5_api* fts5Of(sqlite3* handle) {
    fts5_api* api = nullptr;
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(handle, "SELECT fts5(?1)", -1, &statement, nullptr) != SQLITE_OK) return nullptr;
    sqlite3_bind_pointer(statement, 1, static_cast<void*>(&api), "fts5_api_ptr", nullptr);
    sqlite3_step(statement);
    sqlite3_finalize(statement);
    return api;
}

}  // namespace

bool registerBM25WithCopies(sqlite3* handle) {
    fts5_api* api = fts5Of(handle);
    return api != nullptr &&
           api->xCreateFunction(api, kBM25WithCopies, nullptr, bm25WithCopies, nullptr) == SQLITE_OK;
}

}  // namespace VarnholtQueryLib
