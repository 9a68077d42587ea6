#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "cli/CommandRunners.h"

namespace VarnholtQueryLib {

// Which of `days` (local dates, "yyyy-MM-dd") have activity: those whose
// timeline, `range --from <day> --to <day>`, has at least one moment. Checked
// in the order given, stopping once `count` are found; returned in that
// order.
//
// All days are read from one database state, in one read transaction on one
// connection, as an answer is, so the days offered never mix two states of
// a recorder that keeps writing; and each day costs one row of its timeline,
// not the timeline. Throws CLIError or DatabaseError as answerFromDatabase
// does (a day that does not parse is CLIError::invalidTimeRange).
std::vector<std::string> daysWithActivity(const std::vector<std::string>& days, std::size_t count,
                                          const CommandEnvironment& environment);

}  // namespace VarnholtQueryLib
