#include "PageWarming.h"

#include "SQLiteReadConnection.h"

namespace VarnholtSQLiteSupport {

WarmingScope::WarmingScope(const SQLiteReadConnection& connection, const WarmingPlan& plan)
    : WarmingScope(connection.warming(), connection.handle(), plan) {}

WarmingScope::WarmingScope(PageWarming* warming, sqlite3* answer, const WarmingPlan& plan)
    : warming_(plan.lookups.empty() ? nullptr : warming) {
    if (warming_ != nullptr) warming_->begin(answer, plan);
}

WarmingScope::~WarmingScope() {
    if (warming_ != nullptr) warming_->end();
}

}  // namespace VarnholtSQLiteSupport
