#include "status/BridgeFailureReport.h"

#include <gtest/gtest.h>

#include <map>

#include <nlohmann/json.hpp>

#include "BridgeFailureReportText.h"

using VarnholtQueryLib::BridgeFailureReport;
using VarnholtQueryLib::FileAttributes;
using VarnholtQueryLib::FileSystemPort;
using VarnholtQueryLib::kAllSixKeys;

namespace {

const BridgeFailureReport kReport{"2026-04-01T09:58:12Z", "/usr/bin/python3",
                                  "/opt/bridge/server.py", "qwen2-vl-2b",
                                  "/tmp/bridge.sock",     "Model failed to load: out of memory"};

class InMemoryFileSystem final : public FileSystemPort {
public:
    std::map<std::string, std::string> files;
    std::optional<FileAttributes> attributes(const std::string&) const override {
        return std::nullopt;
    }
    std::optional<std::string> readFile(const std::string& path) const override {
        const auto found = files.find(path);
        if (found == files.end()) return std::nullopt;
        return found->second;
    }
};

}  // namespace

TEST(BridgeFailureReportTest, ReportPathLiesBelowTheHomeDirectory) {
    EXPECT_EQ(BridgeFailureReport::reportPath("/home/ada"),
              "/home/ada/.varnholt/last-bridge-error.json");
}

TEST(BridgeFailureReportTest, DecodesAllSixFields) {
    EXPECT_EQ(BridgeFailureReport::decode(kAllSixKeys), kReport);
}

TEST(BridgeFailureReportTest, UnknownKeysAreIgnored) {
    const auto report = BridgeFailureReport::decode(
        R"({"exitCode": 1, "timestamp":"2026-04-01T09:58:12Z","pythonPath":"/usr/bin/python3",)"
        R"("bridgePath":"/opt/bridge/server.py","modelId":"qwen2-vl-2b","extra":{"a":[1]},)"
        R"("socketPath":"/tmp/bridge.sock","reason":"Model failed to load: out of memory"})");
    EXPECT_EQ(report, kReport);
}

TEST(BridgeFailureReportTest, EachMissingKeyFailsTheDecoding) {
    for (const char* key :
         {"timestamp", "pythonPath", "bridgePath", "modelId", "socketPath", "reason"}) {
        nlohmann::json document = nlohmann::json::parse(kAllSixKeys);
        document.erase(key);
        EXPECT_FALSE(BridgeFailureReport::decode(document.dump()).has_value()) << key;
    }
}

TEST(BridgeFailureReportTest, NullOrNonStringValuesFailTheDecoding) {
    for (const nlohmann::json& value :
         {nlohmann::json(nullptr), nlohmann::json(42), nlohmann::json(true),
          nlohmann::json::array({"a"}), nlohmann::json::object()}) {
        nlohmann::json document = nlohmann::json::parse(kAllSixKeys);
        document["modelId"] = value;
        EXPECT_FALSE(BridgeFailureReport::decode(document.dump()).has_value()) << value.dump();
    }
}

TEST(BridgeFailureReportTest, KeysAreMatchedExactly) {
    nlohmann::json document = nlohmann::json::parse(kAllSixKeys);
    document.erase("modelId");
    document["model_id"] = "qwen2-vl-2b";
    EXPECT_FALSE(BridgeFailureReport::decode(document.dump()).has_value());
}

TEST(BridgeFailureReportTest, TextThatIsNotAnObjectFailsTheDecoding) {
    for (const char* text : {"", "   ", "{", "not json", "[]", "[{}]", "\"text\"", "42", "null",
                             "{\"timestamp\": \"a\",}"}) {
        EXPECT_FALSE(BridgeFailureReport::decode(text).has_value()) << text;
    }
    // An object followed by more text is not one JSON document.
    EXPECT_FALSE(BridgeFailureReport::decode(std::string(kAllSixKeys) + " {}").has_value());
}

TEST(BridgeFailureReportTest, InvalidUTF8FailsTheDecoding) {
    std::string text = kAllSixKeys;
    text.replace(text.find("out of memory"), 3, "\xff\xfe\xfd");
    EXPECT_FALSE(BridgeFailureReport::decode(text).has_value());
}

TEST(BridgeFailureReportTest, EncodesTheSixKeysAndDecodesBack) {
    const std::string encoded = kReport.encode();
    const nlohmann::json document = nlohmann::json::parse(encoded);
    EXPECT_EQ(document, nlohmann::json::parse(kAllSixKeys));
    EXPECT_EQ(document.size(), 6u);
    EXPECT_EQ(BridgeFailureReport::decode(encoded), kReport);
}

TEST(BridgeFailureReportTest, ReadsTheReportBelowTheHome) {
    InMemoryFileSystem fileSystem;
    EXPECT_FALSE(BridgeFailureReport::read(fileSystem, "/home/ada").has_value());
    fileSystem.files["/home/ada/.varnholt/last-bridge-error.json"] = kAllSixKeys;
    EXPECT_EQ(BridgeFailureReport::read(fileSystem, "/home/ada"), kReport);
    EXPECT_FALSE(BridgeFailureReport::read(fileSystem, "/home/bob").has_value());
}
