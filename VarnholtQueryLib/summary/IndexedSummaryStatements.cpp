#include "summary/IndexedSummaryStatements.h"

#include "EffectiveTimeWindow.h"
#include "ObservationEntitiesJSON.h"
#include "TimelineRowConditions.h"

namespace VarnholtQueryLib {

using namespace VarnholtSQLiteSupport;

namespace {

// Each part in time order: the order its index walks it in, so nothing is
// sorted and nothing is held.
std::string inTimeOrder(const std::string& part) { return part + "\n    ORDER BY t"; }

}  // namespace

std::vector<std::string> indexedActivityStatements(bool withEntities, bool withDescriptions) {
    WindowSelect eligible;
    eligible.columns = std::string("{time} AS t, o.rowid AS rid, o.id, o.apps,\n           ") +
                       (withEntities ? kObservationEntitiesJSON : "'[]'") + " AS entities_json";
    // The row is read anyway; its description costs only its own pages.
    if (withDescriptions) eligible.columns += ", o.vlm_description";
    eligible.bounds = {true, true};
    // A summary's window holds days or weeks of frames.
    eligible.framedCandidates = FramedCandidates::frameAtOwnTime;

    WindowSelect framed = eligible;
    framed.conditions = std::string(kUsableDescription) + "\n      AND " + kNoSeparateRecording;
    WindowSelect selfDated = eligible;
    selfDated.conditions = kUsableDescription;
    return {inTimeOrder(frameDatedRows(framed)),
            inTimeOrder(selfDatedRows(selfDated, "o.recording_id IS NULL")),
            inTimeOrder(selfDatedRows(selfDated, "o.recording_id = ''"))};
}

std::string observationEntitiesStatement() {
    return std::string("SELECT ") + kObservationEntitiesJSON + " FROM (SELECT :id AS id) o";
}

bool servesIndexedActivity(const IndexCatalogue& catalogue) {
    return servesEffectiveTimeWindows(catalogue) &&
           catalogue.hasIndexOn("observation_entities", {"observation_id"});
}

// Numbers only: a text or BLOB time sorts above every number bound, so
// the closed window leaves it out, as the literal statement does.
const char* const kIndexedFrameCountsStatement =
    "SELECT (SELECT count(*) FROM frames WHERE timestamp >= :from AND timestamp <= :to),\n"
    "       (SELECT count(*) FROM frames WHERE analyzed = 1 AND timestamp >= :from AND timestamp <= :to),\n"
    "       (SELECT count(*) FROM frames WHERE analyzed = 0 AND timestamp >= :from AND timestamp <= :to),\n"
    "       (SELECT count(*) FROM frames WHERE analyzed = 2 AND timestamp >= :from AND timestamp <= :to)";

bool servesIndexedFrameCounts(const IndexCatalogue& catalogue) {
    return catalogue.hasIndexOn("frames", {"timestamp"}) &&
           catalogue.hasIndexOn("frames", {"analyzed", "timestamp"});
}

}  // namespace VarnholtQueryLib
