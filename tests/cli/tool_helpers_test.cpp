// The pieces of the zem tool that its output depends on but a document run
// doesn't reach in every corner: JSON text for bytes that are no UTF-8, the
// word distance behind "did you mean", and the line, column and attribute
// places that lint reports.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "cli.h"
#include "source_map.h"
#include "xml/xml_document.h"

namespace {

using zemcli::SSourceFile;

TEST(ToolHelpers, JsonStringKeepsUtf8AndReplacesBrokenBytes) {
    struct SCase {
        std::string text;
        std::string json;
    } cases[] = {
        {"plain", "\"plain\""},
        {"quote \" back \\ tab \t", "\"quote \\\" back \\\\ tab \\t\""},
        {std::string("nul \x01 end"), "\"nul \\u0001 end\""},
        {"gr\xC3\xB6\xC3\x9F"
         "e \xF0\x9F\x99\x82",
         "\"gr\xC3\xB6\xC3\x9F"
         "e \xF0\x9F\x99\x82\""},
        {"lone \xC8 byte", "\"lone \\ufffd byte\""},  // a character reference above 127
        {"cut \xE2\x82", "\"cut \\ufffd\\ufffd\""},   // a sequence that ends early
        {"overlong \xC0\xAF", "\"overlong \\ufffd\\ufffd\""},
        {"surrogate \xED\xA0\x80", "\"surrogate \\ufffd\\ufffd\\ufffd\""},
    };
    for (const SCase& item : cases) {
        SCOPED_TRACE(item.text);
        EXPECT_EQ(zemcli::JsonString(item.text), item.json);
    }
}

TEST(ToolHelpers, ClosestWordFindsMisspellingsOnly) {
    const std::vector<std::string> attributes{"name", "class", "singleton", "lazy", "factory-method"};
    EXPECT_EQ(zemcli::ClosestWord("singelton", attributes, true), "singleton");  // a transposition is one step
    EXPECT_EQ(zemcli::ClosestWord("CLAS", attributes, true), "class");
    EXPECT_EQ(zemcli::ClosestWord("factory_method", attributes, true), "factory-method");
    EXPECT_EQ(zemcli::ClosestWord("lazy", attributes, true), "");  // the word itself suggests nothing
    EXPECT_EQ(zemcli::ClosestWord("id", attributes, true), "");    // nothing close
    EXPECT_EQ(zemcli::ClosestWord("lzy", attributes, false), "lazy");

    // Of two candidates equally close, the one with the longer common start.
    const std::vector<std::string> types{"int16_t", "uint16_6", "int"};
    EXPECT_EQ(zemcli::ClosestWord("uint16_t", types, false), "uint16_6");
    EXPECT_EQ(zemcli::ClosestWord("Int", types, false), "int");  // type names are case-sensitive
    EXPECT_EQ(zemcli::WordDistance("ab", "ba", false), 1u);
    EXPECT_EQ(zemcli::WordDistance("kitten", "sitting", false), 3u);
}

SSourceFile Parsed(const std::string& text) {
    SSourceFile file;
    file.path = "test.xml";
    file.text = text;
    file.root = ZEM::ParseText(file.text.c_str(), "zem", &file.parse);
    zemcli::IndexLines(file);
    return file;
}

TEST(ToolHelpers, LocateCountsCharactersNotBytes) {
    const SSourceFile file = Parsed("<zem>\n  <a n=\"\xC3\xA9\xC3\xA9\"/><b/>\n\xF0\x9F\x99\x82<c/>\n</zem>");
    ASSERT_EQ(file.parse.error, 0u);
    const ZEM::XMLNode a = file.root.ChildAtIndex(0);
    const ZEM::XMLNode b = file.root.ChildAtIndex(1);
    const ZEM::XMLNode c = file.root.ChildAtIndex(2);
    EXPECT_EQ(file.Locate(file.root.SourceOffset()).line, 1);
    EXPECT_EQ(file.Locate(file.root.SourceOffset()).column, 1);
    EXPECT_EQ(file.Locate(a.SourceOffset()).line, 2);
    EXPECT_EQ(file.Locate(a.SourceOffset()).column, 3);
    EXPECT_EQ(file.Locate(b.SourceOffset()).column, 14);  // two two-byte characters before it
    EXPECT_EQ(file.Locate(c.SourceOffset()).line, 3);
    EXPECT_EQ(file.Locate(c.SourceOffset()).column, 2);  // one four-byte character before it
    EXPECT_EQ(file.Locate(-1).line, 0);
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
    for (int i = 0; i < 5; ++i) {
        SCOPED_TRACE(names[i]);
        const std::int32_t at = zemcli::AttributeOffset(file, a.SourceOffset(), i);
        EXPECT_EQ(text.compare(static_cast<std::size_t>(at), std::strlen(names[i]), names[i]), 0);
    }
    EXPECT_EQ(file.Locate(zemcli::AttributeOffset(file, a.SourceOffset(), 4)).line, 3);
    // Past the last attribute: the element itself.
    EXPECT_EQ(zemcli::AttributeOffset(file, a.SourceOffset(), 5), a.SourceOffset());
}

}  // namespace
