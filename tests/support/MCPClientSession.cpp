#include "MCPClientSession.h"

#include "TestPrograms.h"

#include <gtest/gtest.h>

namespace VarnholtTestSupport {

using nlohmann::json;

const char* nameOf(MCPEra era) { return era == MCPEra::handshake ? "handshake" : "stateless"; }

json MCPClientSession::envelope() const {
    return {{"io.modelcontextprotocol/protocolVersion", "2026-07-28"},
            {"io.modelcontextprotocol/clientCapabilities", capabilities_}};
}

MCPClientSession::MCPClientSession(const TemporaryHome& home, const InvocationOptions& options,
                                   MCPEra era, json capabilities)
    : process_(kMCPBinary, {}, home.environment(options)), era_(era),
      capabilities_(std::move(capabilities)) {
    if (era_ == MCPEra::stateless) return;
    const json reply = request("initialize", {{"protocolVersion", "2025-06-18"},
                                              {"capabilities", capabilities_},
                                              {"clientInfo", {{"name", "tests"}, {"version", "1"}}}});
    EXPECT_EQ(reply["result"]["protocolVersion"], "2025-06-18") << reply.dump();
    process_.writeLine(R"({"jsonrpc":"2.0","method":"notifications/initialized"})");
}

json MCPClientSession::request(const std::string& method, const json& params) {
    json withEnvelope = params;
    if (era_ == MCPEra::stateless) withEnvelope["_meta"] = envelope();
    const json message = {{"jsonrpc", "2.0"}, {"id", ++lastId_}, {"method", method}, {"params", withEnvelope}};
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

std::string MCPClientSession::read(const std::string& uri) {
    const json result = request("resources/read", {{"uri", uri}})["result"];
    if (!result.contains("contents") || result["contents"].size() != 1) {
        return "<no contents: " + result.dump() + ">";
    }
    EXPECT_EQ(result["contents"][0]["uri"], uri);
    EXPECT_EQ(result["contents"][0]["mimeType"], "application/json");
    return result["contents"][0]["text"];
}

std::string MCPClientSession::paramsText(const std::string& members) const {
    if (era_ == MCPEra::handshake) return "{" + members + "}";
    return "{" + members + (members.empty() ? "" : ",") + "\"_meta\":" + envelope().dump() + "}";
}

}  // namespace VarnholtTestSupport
