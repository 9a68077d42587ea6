#include "mcp/ToolArguments.h"

#include <gtest/gtest.h>

#include <limits>

#include "cli/CLIError.h"
#include "mcp/JSONSchema.h"
#include "ThrownCLIError.h"

using namespace VarnholtQueryLib;
using namespace VarnholtQueryLib::MCP;

namespace {

const JSON kSchema = JSONSchema::object({{"name", JSONSchema::text()},
                                         {"count", JSONSchema::integer()},
                                         {"fast", JSONSchema::boolean()},
                                         {"words", JSONSchema::arrayOf(JSONSchema::text())},
                                         {"parts", JSONSchema::arrayOf(JSONSchema::object({{"id", JSONSchema::text()}}, {}))}},
                                        {});

ToolArguments arguments(const char* text) { return ToolArguments(JSON::parse(text), kSchema); }

// "CODE: message" of the shape error in `text`.
std::string failure(const char* text) {
    return VarnholtTestSupport::thrownCLIError([&] { arguments(text); });
}

}  // namespace

TEST(ToolArgumentsTest, ValuesOfTheDeclaredTypes) {
    const ToolArguments given = arguments(R"({"name":"--help","count":7,"fast":true})");
    EXPECT_EQ(given.text("name"), "--help");
    EXPECT_EQ(given.integer("count"), 7);
    EXPECT_TRUE(given.flag("fast"));
    EXPECT_EQ(arguments(R"({"name":""})").text("name"), "");
}

TEST(ToolArgumentsTest, AbsentAndNullAreNotGiven) {
    for (const char* text : {"{}", "null", R"({"name":null,"count":null,"fast":null})"}) {
        const ToolArguments given = arguments(text);
        EXPECT_FALSE(given.text("name").has_value()) << text;
        EXPECT_FALSE(given.integer("count").has_value()) << text;
        EXPECT_FALSE(given.flag("fast")) << text;
    }
}

TEST(ToolArgumentsTest, WholeNumbersInAnyNotation) {
    EXPECT_EQ(arguments(R"({"count":5.0})").integer("count"), 5);
    EXPECT_EQ(arguments(R"({"count":-3})").integer("count"), -3);
    EXPECT_EQ(arguments(R"({"count":1e2})").integer("count"), 100);
    constexpr auto kLargest = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(arguments(R"({"count":18446744073709551615})").integer("count"), kLargest);
    EXPECT_EQ(arguments(R"({"count":1e30})").integer("count"), kLargest);
    EXPECT_EQ(arguments(R"({"count":-1e30})").integer("count"), std::numeric_limits<std::int64_t>::min());
}

TEST(ToolArgumentsTest, UnknownNamesAreRefusedWithTheKnownOnes) {
    EXPECT_EQ(failure(R"({"query":"x"})"),
              "UNKNOWN_ERROR: Unknown argument 'query'. Arguments: count, fast, name, parts, words.");
    try {
        ToolArguments(JSON::parse(R"({"a":1})"), JSONSchema::object({}, {}));
        ADD_FAILURE() << "an argument for a tool that takes none was accepted";
    } catch (const CLIError& error) {
        EXPECT_EQ(error.message(), "Unknown argument 'a'. Arguments: none.");
    }
}

TEST(ToolArgumentsTest, WrongTypesAreRefused) {
    EXPECT_EQ(failure(R"({"name":5})"), "UNKNOWN_ERROR: Argument 'name' must be a string.");
    EXPECT_EQ(failure(R"({"count":"5"})"), "UNKNOWN_ERROR: Argument 'count' must be an integer.");
    EXPECT_EQ(failure(R"({"count":5.5})"), "UNKNOWN_ERROR: Argument 'count' must be an integer.");
    EXPECT_EQ(failure(R"({"count":true})"), "UNKNOWN_ERROR: Argument 'count' must be an integer.");
    EXPECT_EQ(failure(R"({"fast":"true"})"), "UNKNOWN_ERROR: Argument 'fast' must be true or false.");
    EXPECT_EQ(failure(R"({"fast":1})"), "UNKNOWN_ERROR: Argument 'fast' must be true or false.");
    EXPECT_EQ(failure(R"({"name":["a"]})"), "UNKNOWN_ERROR: Argument 'name' must be a string.");
    EXPECT_EQ(failure(R"({"words":"a"})"), "UNKNOWN_ERROR: Argument 'words' must be an array of strings.");
    EXPECT_EQ(failure(R"({"words":["a",1]})"), "UNKNOWN_ERROR: Argument 'words' must be an array of strings.");
}

TEST(ToolArgumentsTest, ArraysOfTextsInTheirOrder) {
    EXPECT_EQ(arguments(R"({"words":["b","a","b",""]})").texts("words"),
              (std::vector<std::string>{"b", "a", "b", ""}));
    EXPECT_EQ(arguments(R"({"words":[]})").texts("words"), std::vector<std::string>{});
    EXPECT_EQ(arguments(R"({"words":null})").texts("words"), std::nullopt);
    EXPECT_EQ(arguments("{}").texts("words"), std::nullopt);
}

TEST(ToolArgumentsTest, TheFirstErrorByNameWins) {
    EXPECT_EQ(failure(R"({"zeta":1,"count":"x"})"), "UNKNOWN_ERROR: Argument 'count' must be an integer.");
}

TEST(ToolArgumentsTest, ArraysOfObjectsAreGivenAsTheyCame) {
    const ToolArguments given = arguments(R"({"parts":[{"id":"a"},{"other":1}]})");
    ASSERT_NE(given.value("parts"), nullptr);
    EXPECT_EQ(given.value("parts")->dump(), R"([{"id":"a"},{"other":1}])");
    EXPECT_EQ(arguments("{}").value("parts"), nullptr);
    EXPECT_EQ(failure(R"({"parts":[{"id":"a"},"b"]})"), "UNKNOWN_ERROR: Argument 'parts' must be an array of objects.");
    EXPECT_EQ(failure(R"({"parts":{"id":"a"}})"), "UNKNOWN_ERROR: Argument 'parts' must be an array of objects.");
    EXPECT_EQ(failure(R"({"words":[{"id":"a"}]})"), "UNKNOWN_ERROR: Argument 'words' must be an array of strings.");
}
