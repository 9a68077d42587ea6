#include "mcp/JSONSchema.h"

#include <gtest/gtest.h>

using namespace VarnholtQueryLib;
using namespace VarnholtQueryLib::MCP;

TEST(JSONSchemaTest, ScalarsCarryTheirDescription) {
    EXPECT_EQ(JSONSchema::text("A name"), JSON::parse(R"({"type":"string","description":"A name"})"));
    EXPECT_EQ(JSONSchema::integer(), JSON::parse(R"({"type":"integer"})"));
    EXPECT_EQ(JSONSchema::withMaximum(JSONSchema::withMinimum(JSONSchema::number(), 1), 5),
              JSON::parse(R"({"type":"number","minimum":1,"maximum":5})"));
    EXPECT_EQ(JSONSchema::withDefault(JSONSchema::boolean(), false),
              JSON::parse(R"({"type":"boolean","default":false})"));
}

TEST(JSONSchemaTest, AnyArrayOrObjectIsItsTypeAlone) {
    EXPECT_EQ(JSONSchema::anyArray(), JSON::parse(R"({"type":"array"})"));
    EXPECT_EQ(JSONSchema::anyObject("Echo"), JSON::parse(R"({"type":"object","description":"Echo"})"));
    EXPECT_EQ(JSONSchema::nullable(JSONSchema::anyObject()), JSON::parse(R"({"type":["object","null"]})"));
}

TEST(JSONSchemaTest, NullableAddsNullToTypeAndEnum) {
    EXPECT_EQ(JSONSchema::nullable(JSONSchema::oneOfTexts({"A", "B"})),
              JSON::parse(R"({"type":["string","null"],"enum":["A","B",null]})"));
    EXPECT_EQ(JSONSchema::constant(nullptr), JSON::parse(R"({"const":null})"));
}

TEST(JSONSchemaTest, ObjectsAreClosed) {
    EXPECT_EQ(JSONSchema::object({{"a", JSONSchema::text()}, {"b", JSONSchema::integer()}}, {"b"}),
              JSON::parse(R"({"type":"object","properties":{"a":{"type":"string"},"b":{"type":"integer"}},
                              "required":["b"],"additionalProperties":false})"));
    EXPECT_EQ(JSONSchema::object({}, {}),
              JSON::parse(R"({"type":"object","properties":{},"additionalProperties":false})"));
    EXPECT_EQ(JSONSchema::objectRequiringAll({{"b", JSONSchema::text()}, {"a", JSONSchema::text()}})["required"],
              JSON::parse(R"(["b","a"])"));
    EXPECT_EQ(JSONSchema::arrayOf(JSONSchema::text(), "Names"),
              JSON::parse(R"({"type":"array","items":{"type":"string"},"description":"Names"})"));
}

TEST(JSONSchemaTest, EitherOfTwoObjects) {
    EXPECT_EQ(JSONSchema::eitherObject(JSONSchema::object({}, {}), JSONSchema::object({}, {}), "One"),
              JSON::parse(R"({"type":"object","description":"One","anyOf":[
                  {"type":"object","properties":{},"additionalProperties":false},
                  {"type":"object","properties":{},"additionalProperties":false}]})"));
}
