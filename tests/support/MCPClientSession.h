#pragma once

#include <nlohmann/json.hpp>

#include "LineProcess.h"
#include "TemporaryHome.h"

namespace VarnholtTestSupport {

// varnholt-mcp under a temporary home, as a host talks to it: started with
// the home's environment, initialised on protocol revision 2025-06-18, then
// asked one request at a time. Ends the server when it goes away.
class MCPClientSession {
public:
    MCPClientSession(const TemporaryHome& home, const InvocationOptions& options);

    // The whole reply to one request; {"no reply": true} when none came
    // within the line process's timeout.
    nlohmann::json request(const std::string& method, const nlohmann::json& params);
    // The result of calling `tool` with `arguments`: content, isError and
    // structuredContent; null when the reply carried no result.
    nlohmann::json call(const std::string& tool,
                        const nlohmann::json& arguments = nlohmann::json::object());

    LineProcess& process() { return process_; }

private:
    LineProcess process_;
    int lastId_ = 0;
};

}  // namespace VarnholtTestSupport
