#include "mcp/DocumentContent.h"

#include <gtest/gtest.h>

using namespace VarnholtQueryLib;
using namespace VarnholtQueryLib::MCP;

TEST(DocumentContentTest, TheTextIsWhatTheCommandLinePrints) {
    EXPECT_EQ(printedDocument(JSON{{"b", "/"}, {"a", JSON::array()}}), "{\n  \"a\" : [\n\n  ],\n  \"b\" : \"\\/\"\n}\n");
    EXPECT_FALSE(printedDocument(JSON{{"text", "\xff"}}).has_value());
}

TEST(DocumentContentTest, AToolResultCarriesTheDocumentTwiceWhereTheRevisionAllows) {
    const ToolAnswer answer{JSON{{"ok", false}, {"meta", {{"idle_seconds", 300.0}, {"zone", "Europe/Berlin"}}}}, true};
    const JSON current = *toolCallResult(answer, ProtocolRevision::r2026_07_28);
    EXPECT_EQ(current, JSON::parse(R"({"content":[{"type":"text","text":"{\"meta\":{\"idle_seconds\":300,\"zone\":\"Europe/Berlin\"},\"ok\":false}"}],
        "isError":true,"structuredContent":{"meta":{"idle_seconds":300.0,"zone":"Europe/Berlin"},"ok":false}})"));
    const JSON old = *toolCallResult(answer, ProtocolRevision::r2025_03_26);
    EXPECT_FALSE(old.contains("structuredContent"));
    EXPECT_EQ(old["content"], current["content"]);
    EXPECT_FALSE(toolCallResult({JSON{{"t", "\xff"}}, false}, ProtocolRevision::r2025_11_25).has_value());
}

TEST(DocumentContentTest, AResourceIsJSONText) {
    EXPECT_EQ(textResourceContents("varnholt://status", "{}\n"),
              JSON::parse(R"({"uri":"varnholt://status","mimeType":"application/json","text":"{}\n"})"));
}
