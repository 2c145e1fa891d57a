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

TEST(ToolHelpers, AttributeOffsetsFollowTheTag) {
    SSourceFile file;
    file.text =
        "<zem>\n"
        "<a one = \"x>y\" two='q' three=bare four\n"
        "   five=\"z\"/>\n"
        "</zem>";
    ZEM::SXmlParseResult parse;
    file.root = ZEM::ParseText(file.text.c_str(), "zem", &parse);
    zemcli::IndexLines(file);
    ASSERT_EQ(parse.error, 0u) << "at " << parse.line << ":" << parse.column;
    const ZEM::XMLNode a = file.root.ChildAtIndex(0);
    const std::vector<std::int32_t> offsets = zemcli::AttributeOffsets(file, a.SourceOffset());
    const char* names[] = {"one", "two", "three", "four", "five"};
    ASSERT_EQ(offsets.size(), 5u);
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(file.text.compare(offsets[i], std::strlen(names[i]), names[i]), 0) << names[i];
    EXPECT_EQ(file.Locate(offsets[4]).line, 3);
}

}  // namespace
