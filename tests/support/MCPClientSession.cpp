#include "MCPClientSession.h"

#include <gtest/gtest.h>

namespace VarnholtTestSupport {

using nlohmann::json;

MCPClientSession::MCPClientSession(const TemporaryHome& home, const InvocationOptions& options)
    : process_(VARNHOLT_MCP_BINARY, {}, home.environment(options)) {
    const json reply = request("initialize", {{"protocolVersion", "2025-06-18"},
                                              {"capabilities", json::object()},
                                              {"clientInfo", {{"name", "tests"}, {"version", "1"}}}});
    EXPECT_EQ(reply["result"]["protocolVersion"], "2025-06-18") << reply.dump();
    process_.writeLine(R"({"jsonrpc":"2.0","method":"notifications/initialized"})");
}

json MCPClientSession::request(const std::string& method, const json& params) {
    const json message = {{"jsonrpc", "2.0"}, {"id", ++lastId_}, {"method", method}, {"params", params}};
    EXPECT_TRUE(process_.writeLine(message.dump()));
    const auto line = process_.readLine();
    if (!line) return json{{"no reply", true}};
    json reply = json::parse(*line, nullptr, false);
    EXPECT_EQ(reply["id"], lastId_) << *line;
    return reply;
}

json MCPClientSession::call(const std::string& tool, const json& arguments) {
    const json reply = request("tools/call", {{"name", tool}, {"arguments", arguments}});
    return reply.contains("result") ? reply["result"] : json();
}

}  // namespace VarnholtTestSupport
