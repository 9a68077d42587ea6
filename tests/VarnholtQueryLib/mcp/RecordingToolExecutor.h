#pragma once

#include <string>
#include <vector>

#include "mcp/ToolExecutor.h"

namespace VarnholtQueryLib::MCP {

// Answers every call with a fixed document and remembers what it was asked.
class RecordingToolExecutor final : public ToolExecutor {
public:
    ToolAnswer call(const std::string& name, const JSON& arguments) const override {
        calls.push_back(name + " " + arguments.dump());
        return answer;
    }

    mutable std::vector<std::string> calls;
    ToolAnswer answer{JSON{{"ok", true}, {"path", "/a/b"}, {"n", 1.5}}, false};
};

}  // namespace VarnholtQueryLib::MCP
