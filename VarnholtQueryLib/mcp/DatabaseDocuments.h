#pragma once

#include "mcp/DocumentSource.h"

namespace VarnholtQueryLib::MCP {

// The documents of the recorder's database, through the command layer that
// varnholt-query uses: a recipe becomes its Command, the Command its
// document (answerFromDatabase, one connection and one database state per
// answer), and any failure the error envelope the command line would print.
//
// Each answer starts afresh, like one run of varnholt-query: it reads the
// clock, the user's zone and locale and home directory, and opens and closes
// its own query-only connection, so the server holds no lock, snapshot or
// file between answers. Children it starts (the log tails of status) write
// their standard error to /dev/null, never to the server's.
class DatabaseDocuments final : public DocumentSource {
public:
    DatabaseDocuments() = default;
    ToolAnswer answer(const CommandRecipe& recipe) const override;
    std::vector<std::string> activeDays(const std::string& prefix, std::size_t count) const override;
    std::vector<std::string> activeDaysBefore(const std::string& day, std::size_t count) const override;
    LocalDays localDays() const override;

private:
    // Which of `candidates` have activity, in their order, at most `count`;
    // none when the database cannot be read.
    std::vector<std::string> withActivity(const std::vector<std::string>& candidates, std::size_t count) const;
};

}  // namespace VarnholtQueryLib::MCP
