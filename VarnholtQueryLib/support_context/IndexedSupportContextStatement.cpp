#include "support_context/IndexedSupportContextStatement.h"

#include "EffectiveTimeWindow.h"

namespace VarnholtQueryLib {

using namespace VarnholtSQLiteSupport;

std::string indexedSupportContextStatement(const std::vector<OrderTerm>& tieOrder) {
    WindowSelect recent;
    recent.columns = "{time} AS t, o.vlm_description, o.apps" + orderTermColumns(tieOrder);
    recent.bounds = {true, false};
    return everyRecordingWindow("recent", recent) +
           "    SELECT t, vlm_description, apps FROM recent\n"
           "    ORDER BY t COLLATE BINARY DESC" +
           orderTermKeys("", tieOrder);
}

}  // namespace VarnholtQueryLib
