#pragma once

#include <string>

#include "output/JSONWriter.h"

namespace VarnholtQueryLib::MCP {

// What a tool call produced: the document varnholt-query prints for the
// equivalent command line, either its answer or its error envelope.
struct ToolAnswer {
    JSON document;
    bool isError = false;  // `document` is an error envelope
};

// Runs the tools of the catalog; the session only speaks the protocol.
class ToolExecutor {
public:
    virtual ~ToolExecutor() = default;
    // The answer of tool `name` to `arguments` (an object). Every failure of
    // the call itself, a bad argument included, is an error envelope in the
    // answer, never an exception. REQUIRES: findTool(name) is not null.
    virtual ToolAnswer call(const std::string& name, const JSON& arguments) const = 0;

protected:
    ToolExecutor() = default;
    ToolExecutor(const ToolExecutor&) = delete;
    ToolExecutor& operator=(const ToolExecutor&) = delete;
};

}  // namespace VarnholtQueryLib::MCP
