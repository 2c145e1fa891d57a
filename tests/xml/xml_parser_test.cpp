// The forgiving parser, through ParseText without a root name: each input
// against the tree it gives (written by DumpXml) and its error code.
#include <gtest/gtest.h>

#include <string>

#include "xml/xml_dump.h"
#include "xml/xml_parser.h"
#include "xml/xml_scan.h"

namespace {

using zem_test::DumpXml;
using zem_test::ParseExact;
using enum ZEM::EXmlError;

// Each input, the error code, and what ParseText hands back ("<empty>" for
// the errors that drop the tree).
struct SCase { const char* input; ZEM::EXmlError error; const char* tree; };

TEST(XmlParser, TreesAndErrorCodes) {
    for (const SCase& c : std::initializer_list<SCase>{
        {"< a />", XmlNoError, "a"},
        {"< a >", XmlMissingEndTag, "a"},
        {"<a b=1 c='2' d=\"3\" e/>", XmlNoError, "a(b=1,c=2,d=3,e)"},
        {"<a b=\"x>y\"/>", XmlNoError, "a(b=x>y)"},
        {"<a b=1 b=2/>", XmlNoError, "a(b=1,b=2)"},
        {"<a\n\tb='&lt;x' c=\"0123456789abcdefghijklmnopqrstuvwxyz\" d=\"\" >", XmlMissingEndTag,
         "a(b=<x,c=0123456789abcdefghijklmnopqrstuvwxyz,d=)"},
        // A quote that meets '<' before its partner is a plain character.
        {"<a b=\"x<y\"/>", XmlUnexpectedToken, "<empty>"},
        {"<a b=>", XmlUnexpectedToken, "<empty>"},
        {"<a b=1 <c/>", XmlUnexpectedToken, "<empty>"},
        // Text pieces.
        {"<a> x <b/> y </a>", XmlNoError, "a{\"x\",b,\"y\"}"},
        {"<a>say \"hi <b/>\"</a>", XmlNoError, "a{\"say \"hi\",b,\"\"\"}"},
        {"<a>  </a>", XmlNoError, "a"},
        // Indentation in words of blanks, by the byte, and up to the end.
        {"<a>\n                    <b/>\n\t\t<c/>\r\n   x\n         </a>", XmlNoError, "a{b,c,\"x\"}"},
        {"<a>\n          ", XmlMissingEndTag, "a"},
        // Names beyond the 16 bytes read one at a time.
        {"<abcdefghijklmnopqrstu abcdefghijklmnopqrst='1'></abcdefghijklmnopqrstu>", XmlNoError,
         "abcdefghijklmnopqrstu(abcdefghijklmnopqrst=1)"},
        // Text around the one element keeps the nameless top node.
        {"text<a/>", XmlNoError, "#top{\"text\",a}"},
        // Entities and character references.
        {"<a>x &lt; y &LT;&Amp;</a>", XmlNoError, "a{\"x < y <&\"}"},  // entity names ignore case
        {"<a b='&quot;&apos;&gt;&QUOT;&aPoS;&amp;amp;'/>", XmlNoError, "a(b=\"'>\"'&amp;)"},
        {"<a b='&quot'/>", XmlUnknownEntity, "<empty>"},
        {"<a>&ampx</a>", XmlUnknownEntity, "<empty>"},
        {"<a>&#65;&#x41;&#X61;&#0065;</a>", XmlNoError, "a{\"AAaA\"}"},
        // An empty reference writes the byte 0, which ends the stored text.
        {"<a>x&#;y</a>", XmlNoError, "a{\"x\"}"},
        {"<a>&nbsp;</a>", XmlUnknownEntity, "<empty>"},
        {"<a>& b</a>", XmlUnknownEntity, "<empty>"},
        {"<a>&#256;</a>", XmlCodeAbove255, "<empty>"},
        // Nothing inside a clear section is decoded.
        {"<a><![CDATA[&bogus;]]></a>", XmlNoError, "a{[<![CDATA[|&bogus;|]]>]}"},
        // Comments, CDATA, PRE and DOCTYPE sections.
        {"<a>x<!-- c -->y</a>", XmlNoError, "a{\"xy\"}"},
        {"<a><!-- c -->y</a>", XmlNoError, "a{[<!--| c |-->],\"y\"}"},
        // Only a comment joins the texts around it.
        {"<a>x<![CDATA[c]]>y</a>", XmlNoError, "a{\"x\",[<![CDATA[|c|]]>],\"y\"}"},
        {"<a><PRE><b>x</b></PRE></a>", XmlNoError, "a{[<PRE>|<b>x</b>|</PRE>]}"},
        {"<!DOCTYPE x [ <!ENTITY y \"z\"> ]><a/>", XmlNoError, "#top{[<!DOCTYPE| x [ <!ENTITY y \"z\"> |]>],a}"},
        {"<r><!-- x", XmlUnterminatedClear, "<empty>"},
        {"<a><PRE>x</pre></a>", XmlUnterminatedClear, "<empty>"},
        // End tags and the codes of a document without elements.
        {"<a></A>", XmlNoError, "a"},
        {"<a><b></a>", XmlMissingEndTag, "a{b}"},
        {"<a></b>", XmlUnmatchedEndTag, "<empty>"},
        // The name written again, but ending at "/>" rather than '>'.
        {"<a/ ></a/>", XmlMissingEndTagName, "<empty>"},
        // The top node reads a stray end tag as a mismatch and stops there.
        {"<x/></a><y/>", XmlMissingEndTag, "x"},
        // A later error replaces XmlMissingEndTag.
        {"<a><b></a><c d=/>", XmlUnexpectedToken, "<empty>"},
        {"<r><>", XmlMissingTagName, "<empty>"},
        {"<r></>", XmlMissingEndTagName, "<empty>"},
        {"", XmlNoTagFound, "#top"},
        // Before any element the parser's own code gives way to XmlNoTagFound.
        {"<>", XmlNoTagFound, "#top"},
        {"<!-- x -->", XmlNoTagFound, "#top{[<!--| x |-->]}"},
        // At the top level "?>" leaves the declaration open around the rest.
        {"<?xml version=\"1.0\"?><a/>", XmlNoError, "?xml(version=1.0){a}"},
        {"<?xml?><a/>", XmlNoError, "?xml?{a}"},
        // Deeper down a declaration closes itself...
        {"<a><?pi x=\"1\"?><b/></a>", XmlNoError, "a{?pi(x=1),b}"},
        // ...but only when "?" stands alone before '>'.
        {"<a><?pi x=1?></a>", XmlMissingEndTag, "a{?pi(x=1)}"},
        {"<?xml?><zem><bean>", XmlMissingEndTag, "?xml?{zem{bean}}"},
        // Multi-byte characters.
        {"<a n=\"\xc3\xa9\">\xc3\xbc\xe2\x82\xac</a>", XmlNoError, "a(n=\xc3\xa9){\"\xc3\xbc\xe2\x82\xac\"}"},
        {"<\xf0\x9d\x84\x9e/>", XmlNoError, "\xf0\x9d\x84\x9e"},
        // A lead byte takes the bytes behind it along, delimiters included.
        {"<a>\xe0<b/></a>", XmlNoError, "a{\"\xe0<b/>\"}"},
        {"<a b=\"\xe0\"/>\"/>", XmlNoError, "a(b=\xe0\"/>)"},
        // A character cut short by the end of the text stops at the zero.
        {"<a>\xf0", XmlMissingEndTag, "a{\"\xf0\"}"},
        {"<a>\xe0\x80", XmlMissingEndTag, "a{\"\xe0\x80\"}"},
    }) {
        SCOPED_TRACE(c.input);
        ZEM::SXmlParseResult result;
        ZEM::XMLNode node = ParseExact(c.input, nullptr, &result);
        EXPECT_EQ(result.error, c.error);
        EXPECT_EQ(DumpXml(node), c.tree);
    }
}

std::string Nested(int depth) {
    std::string text;
    for (int i = 0; i < depth; ++i) text = "<e>" + text + "</e>";
    return text;
}

TEST(XmlParser, DepthLimit) {
    ZEM::SXmlParseResult result;
    ZEM::XMLNode root = ParseExact(Nested(ZEM::kXmlMaxDepth), nullptr, &result);
    EXPECT_EQ(result.error, ZEM::XmlNoError);
    int depth = 0;
    for (ZEM::XMLNode node = root; !node.IsEmpty(); node = node.NextChild("e")) ++depth;
    EXPECT_EQ(depth, ZEM::kXmlMaxDepth);

    // The element one level too deep is reported at its '<'.
    root = ParseExact(Nested(ZEM::kXmlMaxDepth + 1), nullptr, &result);
    EXPECT_TRUE(root.IsEmpty());
    EXPECT_EQ(result.error, ZEM::XmlTooDeep);
    EXPECT_EQ(result.line, 1);
    EXPECT_EQ(result.column, 3 * ZEM::kXmlMaxDepth + 1);

    // Far deeper input fails the same way instead of exhausting the stack;
    // the open top-level declaration counts as one level.
    std::string deep = "<?xml?>";
    for (int i = 0; i < 200000; ++i) deep += "<a x='1'>";
    root = ParseExact(deep, "zem", &result);
    EXPECT_TRUE(root.IsEmpty());
    EXPECT_EQ(result.error, ZEM::XmlTooDeep);
    EXPECT_EQ(result.column, 8 + 9 * (ZEM::kXmlMaxDepth - 1));
}

TEST(XmlParser, ErrorPositions) {
    const struct { const char* input; std::uint32_t error; int line, column; } cases[] = {
        // The text ends inside an element: the end of the third line.
        {"<a>\n<b/>\n<c>", 1, 3, 4},
        // A multi-byte character is one column.
        {"<a>\xc3\xa9\xe2\x82\xac<b></a>", 1, 1, 13},
        {"<a>\n \xf0\x9d\x84\x9e &nbsp;</a>", 12, 2, 12},
        {"<a>\n<b c=d =/>", 8, 2, 9},
        {"<a>\n\n  <!-- open", 7, 3, 7},
        {"<a></b>\n", 6, 1, 8},
        {"", 2, 1, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.input);
        ZEM::SXmlParseResult result;
        ParseExact(c.input, nullptr, &result);
        EXPECT_EQ(result.error, c.error);
        EXPECT_EQ(result.line, c.line);
        EXPECT_EQ(result.column, c.column);
    }
}

}  // namespace

namespace {

// The wide steps stop where their byte-by-byte definitions say: at a byte in
// the first block of 16, or not before the second block.
TEST(XmlScan, WideStepsStopAtTheirBytes) {
    using namespace ZEM::xml_scan;
    const struct {
        const char* name;
        char filler;
        const char* (*skip)(const char*, const char*);
        bool (*stops)(unsigned char);
    } steps[] = {
        {"spaces", ' ', SkipSpaces, SpacesStopAt},
        {"text", 'a', SkipText, TextStopsAt},
        {"mark", 'a', SkipToMark, MarkStopsAt},
        {"quoted", 'a', [](const char* p, const char* end) { return SkipQuoted(p, end, '\''); },
         [](unsigned char c) { return QuotedStopsAt(c, '\''); }},
        {"value", 'a', [](const char* p, const char* end) { return SkipValue(p, end, '"'); },
         [](unsigned char c) { return ValueStopsAt(c, '"'); }},
    };
    for (const auto& step : steps) {
        for (int c = 1; c < 256; ++c) {
            std::string text(32, step.filler);
            text[5] = static_cast<char>(c);
            const char* stop = step.skip(text.c_str(), text.c_str() + text.size());
            const bool stopped = stop - text.c_str() <= 5;
            if (stopped != step.stops(static_cast<unsigned char>(c))) ADD_FAILURE() << step.name << " at byte " << c;
        }
    }
}

}  // namespace
