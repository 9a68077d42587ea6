#pragma once

#include <string>
#include <vector>

#include "summary/SummaryQueryPort.h"

namespace VarnholtTestSupport {

// Hands `rows` to `sink`, after a restart, as the database adapter's
// index-driven scan does under `needs`: with needs.entitiesFor, each row is
// shown to it without its entities and keeps them only when accepted.
// Returns the ids of the rows whose entities were accepted, in order.
// For fakes of VarnholtQueryLib::SummaryQueryPort.
inline std::vector<std::string> feedRowsAsRead(const std::vector<VarnholtQueryLib::ActivityRow>& rows,
                                               const VarnholtQueryLib::ActivityNeeds& needs,
                                               VarnholtQueryLib::ActivityRowSink& sink) {
    std::vector<std::string> wanted;
    sink.restart();
    for (VarnholtQueryLib::ActivityRow row : rows) {
        if (needs.entitiesFor) {
            VarnholtQueryLib::ActivityRow bare = row;
            bare.entities.clear();
            if (needs.entitiesFor(bare)) {
                wanted.push_back(row.id);
            } else {
                row.entities.clear();
            }
        }
        sink.add(std::move(row));
    }
    return wanted;
}

}  // namespace VarnholtTestSupport
