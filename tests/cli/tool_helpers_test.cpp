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
        {"quote \" back \\ tab \t", "\"quote \\\" back \\\\ tab \\t\""},
        {std::string("nul \x01 end"), "\"nul \\u0001 end\""},
        {"gr\xC3\xB6\xC3\x9F \xF0\x9F\x99\x82", "\"gr\xC3\xB6\xC3\x9F \xF0\x9F\x99\x82\""},
        {"lone \xC8 byte", "\"lone \\ufffd byte\""},  // a character reference above 127
        {"cut \xE2\x82", "\"cut \\ufffd\\ufffd\""},   // a sequence that ends early
        {"surrogate \xED\xA0\x80", "\"surrogate \\ufffd\\ufffd\\ufffd\""},
    };
    for (const SCase& item : cases) {
        SCOPED_TRACE(item.text);
        EXPECT_EQ(zemcli::JsonString(item.text), item.json);
    }
}

TEST(ToolHelpers, ClosestWordFindsMisspellingsOnly) {
    const std::vector<std::string> words{"name", "class", "singleton", "lazy", "int16_t", "uint16_6", "int"};
    EXPECT_EQ(zemcli::ClosestWord("singelton", words, true), "singleton");  // a transposition is one step
    EXPECT_EQ(zemcli::ClosestWord("CLAS", words, true), "class");
    EXPECT_EQ(zemcli::ClosestWord("lazy", words, true), "");  // the word itself suggests nothing
    EXPECT_EQ(zemcli::ClosestWord("id", words, true), "");    // nothing close
    // Of two candidates equally close, the one with the longer common start.
    EXPECT_EQ(zemcli::ClosestWord("uint16_t", words, false), "uint16_6");
    EXPECT_EQ(zemcli::ClosestWord("Int", words, false), "int");  // type names are case-sensitive
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
    auto at = [&](int child) {
        auto place = file.Locate(child < 0 ? file.root.SourceOffset() : file.root.ChildAtIndex(child).SourceOffset());
        return std::make_pair(place.line, place.column);
    };
    EXPECT_EQ(at(-1), std::make_pair(1, 1));
    EXPECT_EQ(at(0), std::make_pair(2, 3));
    EXPECT_EQ(at(1), std::make_pair(2, 14));  // two two-byte characters before it
    EXPECT_EQ(at(2), std::make_pair(3, 2));   // one four-byte character before it
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
        auto at = static_cast<std::size_t>(zemcli::AttributeOffset(file, a.SourceOffset(), i));
        EXPECT_EQ(text.compare(at, std::strlen(names[i]), names[i]), 0) << names[i];
    }
    EXPECT_EQ(file.Locate(zemcli::AttributeOffset(file, a.SourceOffset(), 4)).line, 3);
    // Past the last attribute: the element itself.
    EXPECT_EQ(zemcli::AttributeOffset(file, a.SourceOffset(), 5), a.SourceOffset());
}

}  // namespace
