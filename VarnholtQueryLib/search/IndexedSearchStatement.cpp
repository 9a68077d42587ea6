#include "search/IndexedSearchStatement.h"

#include "EffectiveTimeWindow.h"
#include "ObservationEntitiesJSON.h"

namespace VarnholtQueryLib {

using namespace VarnholtSQLiteSupport;

namespace {

WindowBounds boundsOf(const ObservationSearchParams& params) {
    return {params.fromTs.has_value(), params.toTs.has_value()};
}

std::string matchConditions(const ObservationSearchParams& params) {
    std::string conditions =
        "      WHERE observations_fts MATCH :match\n"
        "        AND fts.rowid BETWEEN :lo AND :hi\n"
        "        AND o.vlm_description IS NOT NULL";
    if (params.appFilter) {
        // As in the literal statement: text that is not JSON lists no
        // application.
        conditions +=
            "\n        AND EXISTS (SELECT 1 FROM json_each(CASE WHEN json_valid(o.apps) THEN o.apps END)\n"
            "                    WHERE lower(value) = lower(:app))";
    }
    const std::string window = windowCondition(kEffectiveTime, boundsOf(params));
    if (!window.empty()) conditions += "\n        AND " + window;
    return conditions;
}

// The literal ordering over the columns of the ranked rows.
std::string ranking(const std::string& qualifier, const ObservationSearchParams& params,
                    const std::vector<OrderTerm>& tieOrder) {
    const std::string relevance = params.latestOnly ? "" : qualifier + "score ASC, ";
    return relevance + qualifier + "t COLLATE BINARY DESC" + orderTermKeys(qualifier, tieOrder);
}

}  // namespace

const char* const kMatchCountStatement =
    "SELECT count(*) FROM (SELECT rowid FROM observations_fts\n"
    "                      WHERE observations_fts MATCH :match LIMIT :cap)";

std::string windowFrameCountStatement(const ObservationSearchParams& params) {
    return "SELECT count(*) FROM (SELECT 1 FROM frames WHERE " +
           windowCondition("timestamp", boundsOf(params)) + " LIMIT :cap)";
}

std::string windowRowidRangeStatement(const ObservationSearchParams& params) {
    return VarnholtSQLiteSupport::windowRowidRangeStatement(boundsOf(params));
}

std::string indexedSearchStatement(const ObservationSearchParams& params,
                                   const std::vector<OrderTerm>& tieOrder, ScoreFunction function) {
    // Not called rank: FTS5 tables have a hidden column of that name.
    const std::string score = params.latestOnly                            ? "NULL"
                              : function == ScoreFunction::bm25WithCopies ? "bm25_with_copies(observations_fts, :copies)"
                                                                          : "bm25(observations_fts)";
    return "    WITH ranked AS (\n"
           "      SELECT o.rowid AS rid, " +
           score + " AS score, " + kEffectiveTime + " AS t" + orderTermColumns(tieOrder) +
           "\n"
           "      FROM observations o\n"
           "      JOIN observations_fts fts ON fts.rowid = o.rowid\n"
           "      LEFT JOIN frames f ON o.frame_id = f.id\n" +
           matchConditions(params) + "\n      ORDER BY " + ranking("", params, tieOrder) +
           "\n      LIMIT :limit\n"
           "    )\n"
           "    SELECT o.id, o.vlm_description, o.apps, o.image_path, r.t,\n"
           "           " + kObservationEntitiesJSON + " AS entities_json\n"
           "    FROM ranked r CROSS JOIN observations o ON o.rowid = r.rid\n"
           "    ORDER BY " +
           ranking("r.", params, tieOrder);
}

bool servesIndexedSearch(const IndexCatalogue& catalogue) {
    // Each row's entities come in the order the sub-select walks them. With
    // an index on observation_id both statements look them up through it;
    // without one SQLite decides per statement whether to build a temporary
    // index, and the two could list the same entities in different orders.
    return servesEffectiveTimeWindows(catalogue) && catalogue.hasIndexOn("observation_entities", {"observation_id"});
}

}  // namespace VarnholtQueryLib
