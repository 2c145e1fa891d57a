// Corners of the zem tool's helpers that its runs on documents don't reach.
#include <gtest/gtest.h>

#include <cstring>

#include "cli.h"
#include "source_map.h"
#include "xml/xml_document.h"

namespace {

using zemcli::SSourceFile;

TEST(ToolHelpers, JsonStringKeepsUtf8AndReplacesBrokenBytes) {
    const std::pair<std::string, std::string> cases[] = {
        {"quote \" back \\ tab \t", "\"quote \\\" back \\\\ tab \\t\""},
        {std::string("nul \x01 end"), "\"nul \\u0001 end\""},
        {"gr\xC3\xB6\xC3\x9F \xF0\x9F\x99\x82", "\"gr\xC3\xB6\xC3\x9F \xF0\x9F\x99\x82\""},
        {"lone \xC8 byte", "\"lone \\ufffd byte\""},  // a character reference above 127
        {"cut \xE2\x82", "\"cut \\ufffd\\ufffd\""},   // a sequence that ends early
        {"surrogate \xED\xA0\x80", "\"surrogate \\ufffd\\ufffd\\ufffd\""},
    };
    for (const auto& [text, json] : cases) EXPECT_EQ(zemcli::JsonString(text), json) << text;
}

SSourceFile Parsed(const std::string& text) {
    SSourceFile file;
    file.path = "test.xml";
    file.text = text;
    file.root = ZEM::ParseText(file.text.c_str(), "zem", &file.parse);
    zemcli::IndexLines(file);
    return file;
}

TEST(ToolHelpers, AttributeOffsetFollowsTheTag) {
    const std::string text =
        "<zem>\n"
        "<a one = \"x>y\" two='q' three=bare four\n"
        "   five=\"z\"/>\n"
        "</zem>";
    const SSourceFile file = Parsed(text);
    ASSERT_EQ(file.parse.error, 0u) << "at " << file.parse.line << ":" << file.parse.column;
    const ZEM::XMLNode a = file.root.ChildAtIndex(0);
    ASSERT_EQ(a.AttributeCount(), 5);
    const char* names[] = {"one", "two", "three", "four", "five"};
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(text.compare(zemcli::AttributeOffset(file, a.SourceOffset(), i), std::strlen(names[i]), names[i]), 0)
            << names[i];
    EXPECT_EQ(file.Locate(zemcli::AttributeOffset(file, a.SourceOffset(), 4)).line, 3);
    // Past the last attribute: the element itself.
    EXPECT_EQ(zemcli::AttributeOffset(file, a.SourceOffset(), 5), a.SourceOffset());
}

}  // namespace
