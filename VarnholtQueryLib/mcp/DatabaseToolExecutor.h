#pragma once

#include "mcp/ToolExecutor.h"

namespace VarnholtQueryLib::MCP {

class DocumentSource;

// The tools answered from the recorder's database: the call's arguments are
// checked against the tool's input schema, become the equivalent Command
// (ToolCommands.h), and `documents` answers that Command; a bad argument is
// the error envelope the command line would print for it.
//
// Borrows `documents`, which must outlive the executor.
class DatabaseToolExecutor final : public ToolExecutor {
public:
    explicit DatabaseToolExecutor(const DocumentSource& documents) : documents_(documents) {}
    ToolAnswer call(const std::string& name, const JSON& arguments) const override;

private:
    const DocumentSource& documents_;
};

}  // namespace VarnholtQueryLib::MCP
