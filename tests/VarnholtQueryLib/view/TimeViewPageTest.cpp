#include "view/TimeViewPage.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "view/TimeView.h"

using namespace VarnholtQueryLib;

namespace {

std::size_t occurrences(std::string_view text, std::string_view part) {
    std::size_t found = 0;
    for (auto at = text.find(part); at != std::string_view::npos; at = text.find(part, at + 1)) ++found;
    return found;
}

// The JSON text between the answer element's tags of `page`.
std::string embeddedText(const std::string& page) {
    const auto start = page.find(kAnswerElementStart);
    if (start == std::string::npos) return "<no answer element>";
    const auto inside = start + kAnswerElementStart.size();
    return page.substr(inside, page.find(kAnswerElementEnd, inside) - inside);
}

const JSON kAnswer = JSON::parse(R"({"ok": true, "api_version": 2, "error": null,
    "data": {"active_seconds": 60, "sessions": [{"highlights": [
        "Reading </script><script>alert(1)</script> in a diff",
        "<!-- a comment --> <b>bold</b> & more",
        "\u05e2\u05d1\u05e8\u05d9\u05ea right to left \u2028 and a line separator"]}]},
    "meta": {"timezone": "Europe/Berlin"}})");

}  // namespace

TEST(TimeViewPageTest, TheProgramsCarryTheViewOfTheSourceTree) {
    std::ifstream file(VARNHOLT_TIME_VIEW_SOURCE, std::ios::binary);
    ASSERT_TRUE(file) << VARNHOLT_TIME_VIEW_SOURCE;
    std::ostringstream source;
    source << file.rdbuf();
    EXPECT_EQ(timeViewHTML(), source.str());
}

TEST(TimeViewPageTest, TheViewIsOneSmallPageThatAsksForNothing) {
    const std::string_view page = timeViewHTML();
    EXPECT_EQ(page.substr(0, 15), "<!DOCTYPE html>");
    EXPECT_LE(page.size(), 80u * 1024u);
    EXPECT_EQ(occurrences(page, std::string(kAnswerElementStart) + std::string(kAnswerElementEnd)), 1u);
    // Everything is inline: nothing loads a script, a style sheet, a font or
    // an image from anywhere, nothing talks to a network, and no text of an
    // answer is ever read as markup or code.
    for (const char* forbidden : {"http://", "https://", "<link", " src=", "url(", "@import", "@font-face", "fetch(",
                                  "XMLHttpRequest", "WebSocket", "EventSource", "sendBeacon", "eval(", "new Function",
                                  "innerHTML", "outerHTML", "insertAdjacentHTML", "document.write", "localStorage",
                                  "window.open", "alert(", "confirm("}) {
        EXPECT_EQ(page.find(forbidden), std::string_view::npos) << forbidden;
    }
}

TEST(TimeViewPageTest, TheDigestNamesTheView) {
    const std::string_view digest = timeViewDigest();
    EXPECT_EQ(digest.size(), 16u);
    EXPECT_EQ(digest.find_first_not_of("0123456789abcdef"), std::string_view::npos) << digest;
}

TEST(TimeViewPageTest, ScriptSafeTextEscapesOnlyWhatMarkupReads) {
    EXPECT_EQ(scriptSafeJSON(R"({"a" : "<\/script> & <!--x-->"})"),
              R"({"a" : "\u003c\/script\u003e \u0026 \u003c!--x--\u003e"})");
    EXPECT_EQ(scriptSafeJSON("{\n  \"\xc3\xa9t\xc3\xa9\" : 1\n}"), "{\n  \"\xc3\xa9t\xc3\xa9\" : 1\n}");
    EXPECT_EQ(scriptSafeJSON(""), "");
}

TEST(TimeViewPageTest, ThePageHoldsTheAnswerAsTheSameValue) {
    const auto page = timeViewPage(kAnswer);
    ASSERT_TRUE(page);
    EXPECT_EQ(JSON::parse(embeddedText(*page)), kAnswer);
    // No description closes the element, opens another or starts a comment.
    EXPECT_EQ(occurrences(*page, "</script"), occurrences(timeViewHTML(), "</script"));
    EXPECT_EQ(occurrences(*page, "<script"), occurrences(timeViewHTML(), "<script"));
    EXPECT_EQ(embeddedText(*page).find_first_of("<>&"), std::string::npos);
    // The rest of the page is the view as it ships.
    const std::string text = embeddedText(*page);
    std::string emptied = *page;
    emptied.erase(emptied.find(text), text.size());
    EXPECT_EQ(emptied, timeViewHTML());
}

TEST(TimeViewPageTest, TheAnswerIsWrittenAsVarnholtQueryPrintsIt) {
    const JSON answer = JSON::parse(R"({"ok": true, "data": {"url": "a/b"}})");
    EXPECT_EQ(embeddedText(*timeViewPage(answer)), *serializeJSON(answer));
}

TEST(TimeViewPageTest, AnAnswerThatCannotBeWrittenHasNoPage) {
    EXPECT_FALSE(timeViewPage(JSON{{"text", "\xff"}}));
}
