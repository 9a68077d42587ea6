#pragma once

#include <nlohmann/json.hpp>

#include "LineProcess.h"
#include "TemporaryHome.h"

namespace VarnholtTestSupport {

// The two ways a host talks to varnholt-mcp: an initialize handshake on
// protocol revision 2025-06-18 first, or the stateless revision 2026-07-28
// with its envelope in every request.
enum class MCPEra { handshake, stateless };

// "handshake" or "stateless", for test messages.
const char* nameOf(MCPEra era);

// varnholt-mcp under a temporary home, as a host talks to it: started with
// the home's environment, initialised in the handshake era, then asked one
// request at a time. Ends the server when it goes away.
class MCPClientSession {
public:
    // `capabilities` are the client's, sent in initialize or in every
    // request's envelope.
    MCPClientSession(const TemporaryHome& home, const InvocationOptions& options,
                     MCPEra era = MCPEra::handshake,
                     nlohmann::json capabilities = nlohmann::json::object());

    // The whole reply to one request; {"no reply": true} when none came
    // within the line process's timeout.
    nlohmann::json request(const std::string& method, const nlohmann::json& params);
    // The result of calling `tool` with `arguments`: content, isError and
    // structuredContent; null when the reply carried no result.
    nlohmann::json call(const std::string& tool,
                        const nlohmann::json& arguments = nlohmann::json::object());

    // The text of the one content of the resource at `uri`, after checking
    // its URI and media type; a description of the reply when there is none.
    std::string read(const std::string& uri);
    // A request's params as JSON text from `members` (without braces), with
    // the envelope in the stateless era.
    std::string paramsText(const std::string& members) const;

    LineProcess& process() { return process_; }

private:
    nlohmann::json envelope() const;

    LineProcess process_;
    MCPEra era_;
    nlohmann::json capabilities_;
    int lastId_ = 0;
};

}  // namespace VarnholtTestSupport
