// The forgiving parser, through ParseText without a root name: each input
// against the tree it gives (written by DumpXml) and its error code.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "xml/xml_dump.h"
#include "xml/xml_parser.h"

namespace {

using zem_test::DumpXml;
using zem_test::ParseExact;
using ZEM::XMLNode;

XMLNode Parse(const std::string& text) {
    ZEM::SXmlParseResult result;
    XMLNode node = ParseExact(text, nullptr, &result);
    EXPECT_EQ(result.error, 0u);
    return node;
}

struct SCase {
    const char* input;
    std::uint32_t error;
    const char* tree;  // what ParseText hands back; "<empty>" for the errors that drop the tree
};

void RunCases(const std::vector<SCase>& cases) {
    for (const SCase& c : cases) {
        SCOPED_TRACE(c.input);
        ZEM::SXmlParseResult result;
        ZEM::XMLNode node = ParseExact(c.input, nullptr, &result);
        EXPECT_EQ(result.error, c.error);
        EXPECT_EQ(DumpXml(node), c.tree);
    }
}

TEST(XmlParser, TagsAndAttributes) {
    RunCases({
        {"< a />", 0, "a"},
        {"< a ></ a >", 0, "a"},
        {"<a b=1 c='2' d=\"3\" e/>", 0, "a(b=1,c=2,d=3,e)"},
        {"<a b = \"x\"/>", 0, "a(b=x)"},
        {"<a b=\"x>y\"/>", 0, "a(b=x>y)"},
        {"<a b='x=\"y\"'/>", 0, "a(b=x=\"y\")"},
        {"<a b=\"  x  y \"/>", 0, "a(b=  x  y )"},
        {"<a b=\"\" c=''/>", 0, "a(b=,c=)"},
        {"<a b=it's c=x/y/>", 0, "a(b=it's,c=x/y)"},
        {"<a b=1 b=2/>", 0, "a(b=1,b=2)"},
        {"<a b=\"1\"c/>", 0, "a(b=1,c)"},
        {"<a b c>x</a>", 0, "a(b,c){\"x\"}"},
        {"<a/b/>", 0, "a/b"},
        {"<a\tb\n=\r'1'></a>", 0, "a(b=1)"},
        // A quote that meets '<' before its partner is a plain character.
        {"<a b=\"x<y\"/>", 8, "<empty>"},
        {"<a =x/>", 8, "<empty>"},
        {"<a b==c/>", 8, "<empty>"},
        {"<a b=/>", 8, "<empty>"},
        {"<a b=>", 8, "<empty>"},
        {"<a \"b\"/>", 8, "<empty>"},
        {"<a b=1 <c/>", 8, "<empty>"},
    });
}

TEST(XmlParser, TextPieces) {
    RunCases({
        {"<a> x <b/> y </a>", 0, "a{\"x\",b,\"y\"}"},
        {"<a>\n\t x  y \r\n</a>", 0, "a{\"x  y\"}"},
        {"<a>it's \"b\" = c > d / e</a>", 0, "a{\"it's \"b\" = c > d / e\"}"},
        {"<a>say \"hi <b/>\"</a>", 0, "a{\"say \"hi\",b,\"\"\"}"},
        {"<a>x<b>y</b>z<c/></a>", 0, "a{\"x\",b{\"y\"},\"z\",c}"},
        {"<a>  </a>", 0, "a"},
        {"<a> > x</a>", 0, "a{\"> x\"}"},
        {"<a>\n= y<b/>/> z</a>", 0, "a{\"= y\",b,\"/> z\"}"},
        {"<a>'q' <b/>\"q\"</a>", 0, "a{\"'q'\",b,\"\"q\"\"}"},
        // Text around the one element keeps the nameless top node.
        {"text<a/>", 0, "#top{\"text\",a}"},
        {"<a/>tail", 0, "#top{a,\"tail\"}"},
        {"<a/><b/>", 0, "#top{a,b}"},
    });
}

TEST(XmlParser, EntitiesAndReferences) {
    RunCases({
        {"<a>x &lt; y</a>", 0, "a{\"x < y\"}"},
        {"<a>&LT;&Amp;&gT;&QUOT;&apos;</a>", 0, "a{\"<&>\"'\"}"},
        {"<a>&#65;&#x41;&#X61;&#0065;</a>", 0, "a{\"AAaA\"}"},
        {"<a b=\"&lt;&#x3E;\" c=&amp;/>", 0, "a(b=<>,c=&)"},
        {"<a>&#xff;</a>", 0, "a{\"\xff\"}"},
        {"<a>&#255;</a>", 0, "a{\"\xff\"}"},
        // An empty reference writes the byte 0, which ends the stored text.
        {"<a>x&#;y</a>", 0, "a{\"x\"}"},
        {"<a>&#x;</a>", 0, "a{\"\"}"},
        {"<a>&nbsp;</a>", 12, "<empty>"},
        {"<a>&amp</a>", 12, "<empty>"},
        {"<a>& b</a>", 12, "<empty>"},
        {"<a>x&</a>", 12, "<empty>"},
        {"<a>&#</a>", 12, "<empty>"},
        {"<a>&#12a;</a>", 12, "<empty>"},
        {"<a>&#x1G;</a>", 12, "<empty>"},
        {"<a>&#65</a>", 12, "<empty>"},
        {"<a b='&bogus;'/>", 12, "<empty>"},
        {"<a>&#256;</a>", 13, "<empty>"},
        {"<a>&#x100;</a>", 13, "<empty>"},
        {"<a>&#99999999999999999999999;</a>", 13, "<empty>"},
        // Nothing inside a clear section is decoded.
        {"<a><![CDATA[&bogus;]]></a>", 0, "a{[<![CDATA[|&bogus;|]]>]}"},
    });
}

TEST(XmlParser, ClearSections) {
    RunCases({
        {"<a>x<!-- c -->y</a>", 0, "a{\"xy\"}"},
        {"<a>x<!--1-->y<!--2-->z</a>", 0, "a{\"xyz\"}"},
        {"<a>x<!--c-->&amp;y</a>", 0, "a{\"x&y\"}"},
        {"<a><!-- c -->y</a>", 0, "a{[<!--| c |-->],\"y\"}"},
        {"<a>x<!-- c --></a>", 0, "a{\"x\",[<!--| c |-->]}"},
        {"<a>x<!---->y</a>", 0, "a{\"x\",\"y\"}"},
        {"<a>x<b/><!--c-->y</a>", 0, "a{\"x\",b,[<!--|c|-->],\"y\"}"},
        // Only a comment joins the texts around it.
        {"<a>x<![CDATA[c]]>y</a>", 0, "a{\"x\",[<![CDATA[|c|]]>],\"y\"}"},
        {"<a><![CDATA[<b>]]></a>", 0, "a{[<![CDATA[|<b>|]]>]}"},
        {"<a><![CDATA[]]></a>", 0, "a"},
        {"<a><PRE><b>x</b></PRE></a>", 0, "a{[<PRE>|<b>x</b>|</PRE>]}"},
        {"<a><pre>x</pre></a>", 0, "a{pre{\"x\"}}"},
        {"<!DOCTYPE x [ <!ENTITY y \"z\"> ]><a/>", 0, "#top{[<!DOCTYPE| x [ <!ENTITY y \"z\"> |]>],a}"},
        {"<!DOCTYPE html><a/>", 0, "#top{[<!DOCTYPE| html|>],a}"},
        {"<r><!-- x", 7, "<empty>"},
        {"<a><![CDATA[x]]</a>", 7, "<empty>"},
        {"<r><!DOCTYPE x", 7, "<empty>"},
        {"<r><!DOCTYPE x [ <!ENTITY y \"z\">", 7, "<empty>"},
        {"<a><PRE>x</pre></a>", 7, "<empty>"},
    });
}

TEST(XmlParser, LongRunsOfMergedCommentsAndWideElements) {
    // Each comment joins the texts around it, thousands of times over.
    std::string merged = "<a>";
    for (int i = 0; i < 5000; ++i) merged += "x&amp;<!-- c -->";
    merged += "y</a>";
    XMLNode a = Parse(merged);
    ASSERT_EQ(a.TextCount(), 1);
    EXPECT_EQ(a.ClearCount(), 0);
    std::string expected;
    for (int i = 0; i < 5000; ++i) expected += "x&";
    EXPECT_EQ(std::string(a.Text(0)), expected + "y");

    // Arrays far past their first steps keep every entry in document order.
    std::string wide = "<w>";
    for (int i = 0; i < 5000; ++i) wide += "<c n='" + std::to_string(i) + "'/>t" + std::to_string(i);
    wide += "</w>";
    XMLNode w = Parse(wide);
    ASSERT_EQ(w.ChildCount(), 5000);
    ASSERT_EQ(w.TextCount(), 5000);
    for (int i : {0, 49, 50, 51, 2047, 4999}) {
        SCOPED_TRACE(i);
        EXPECT_EQ(std::string(w.ChildAtIndex(i).AttributeValue("n")), std::to_string(i));
        EXPECT_EQ(std::string(w.Text(i)), "t" + std::to_string(i));
        EXPECT_EQ(w.Data()->order[2 * i], static_cast<std::uint32_t>(i) * 4 + ZEM::XmlOrderChild);
        EXPECT_EQ(w.Data()->order[2 * i + 1], static_cast<std::uint32_t>(i) * 4 + ZEM::XmlOrderText);
    }
}

TEST(XmlParser, EndTags) {
    RunCases({
        {"<a></A>", 0, "a"},
        {"<a></a >", 0, "a"},
        {"<a><b></a>", 1, "a{b}"},
        {"<a><b><c></b>x</a>", 1, "a{b{c},\"x\"}"},
        {"<a>", 1, "a"},
        {"<a b=\"1\"", 1, "a(b=1)"},
        {"<a><b>text", 1, "a{b{\"text\"}}"},
        {"<a></b>", 6, "<empty>"},
        {"<a><b></c></a>", 6, "<empty>"},
        // The top node reads a stray end tag as a mismatch and stops there.
        {"<x/></a><y/>", 1, "x"},
        // A later error replaces code 1.
        {"<a><b></a><c d=/>", 8, "<empty>"},
        {"<r><>", 4, "<empty>"},
        {"<a><", 4, "<empty>"},
        {"<a><=/></a>", 4, "<empty>"},
        {"<r></>", 5, "<empty>"},
        {"<a></a x>", 5, "<empty>"},
        {"<a></a", 5, "<empty>"},
        {"", 2, "#top"},
        {" \n\t", 2, "#top"},
        {"just text", 2, "#top{\"just text\"}"},
        // Before any element the parser's own code gives way to code 2.
        {"<>", 2, "#top"},
        {"</>", 2, "#top"},
        {"<!-- x", 2, "#top"},
        {"<!-- x -->", 2, "#top{[<!--| x |-->]}"},
    });
}

TEST(XmlParser, Declarations) {
    RunCases({
        // At the top level "?>" leaves the declaration open around the rest.
        {"<?xml version=\"1.0\"?><a/>", 0, "?xml(version=1.0){a}"},
        {"<?xml version=\"1.0\" encoding='UTF-8' ?>\n<a/>\n<b/>", 0,
         "?xml(version=1.0,encoding=UTF-8){a,b}"},
        {"<?xml version=1.0?><a/>", 0, "?xml(version=1.0){a}"},
        {"<?xml?><a/>", 0, "?xml?{a}"},
        {"<?xml", 0, "?xml"},
        // Deeper down a declaration closes itself...
        {"<a><?pi x=\"1\"?><b/></a>", 0, "a{?pi(x=1),b}"},
        {"<a><?pi x?><b/></a>", 0, "a{?pi(x),b}"},
        // ...but only when "?" stands alone before '>'.
        {"<a><?pi x=1?></a>", 1, "a{?pi(x=1)}"},
        {"<?xml?><zem><bean>", 1, "?xml?{zem{bean}}"},
    });
}

TEST(XmlParser, MultiByteCharacters) {
    RunCases({
        {"<a n=\"\xc3\xa9\">\xc3\xbc\xe2\x82\xac</a>", 0, "a(n=\xc3\xa9){\"\xc3\xbc\xe2\x82\xac\"}"},
        {"<\xf0\x9d\x84\x9e/>", 0, "\xf0\x9d\x84\x9e"},
        // A lead byte takes the bytes behind it along, delimiters included.
        {"<a>\xe0<b/></a>", 0, "a{\"\xe0<b/>\"}"},
        {"<a b=\"\xe0\"/>\"/>", 0, "a(b=\xe0\"/>)"},
        // A character cut short by the end of the text stops at the zero.
        {"<a>\xf0", 1, "a{\"\xf0\"}"},
        {"<a b=\xf0", 1, "a(b=\xf0)"},
        {"<a>\xe0\x80", 1, "a{\"\xe0\x80\"}"},
    });
}

TEST(XmlParser, WidthTable) {
    const std::pair<int, int> rows[] = {
        {0x00, 0}, {0x01, 1}, {0x7F, 1}, {0x80, 1}, {0xC1, 1}, {0xC2, 2}, {0xDF, 2},
        {0xE0, 3}, {0xEF, 3}, {0xF0, 4}, {0xF4, 4}, {0xF5, 1}, {0xFF, 1},
    };
    for (auto [byte, width] : rows) {
        SCOPED_TRACE(byte);
        EXPECT_EQ(ZEM::kXmlCharWidth[byte], width);
    }
}

std::string Nested(int depth, const char* inner = "") {
    std::string text;
    for (int i = 0; i < depth; ++i) text += "<e>";
    text += inner;
    for (int i = 0; i < depth; ++i) text += "</e>";
    return text;
}

TEST(XmlParser, DepthLimit) {
    ZEM::SXmlParseResult result;
    ZEM::XMLNode root = ParseExact(Nested(ZEM::kXmlMaxDepth), nullptr, &result);
    EXPECT_EQ(result.error, 0u);
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
    struct SPosition {
        const char* input;
        std::uint32_t error;
        int line;
        int column;
    };
    const SPosition cases[] = {
        // The text ends inside an element: the end of the third line.
        {"<a>\n<b/>\n<c>", 1, 3, 4},
        {"<a>\r\n  <b>\r\n</a>", 1, 3, 5},
        // A multi-byte character is one column.
        {"<a>\xc3\xa9\xe2\x82\xac<b></a>", 1, 1, 13},
        {"<a>\n \xf0\x9d\x84\x9e &nbsp;</a>", 12, 2, 12},
        {"<a>\n<b c=d =/>", 8, 2, 9},
        {"<a>\n\n  <!-- open", 7, 3, 7},
        {"<a></b>\n", 6, 1, 8},
        {"<a/>\n<>", 4, 2, 3},
        {"", 2, 1, 1},
        {"\n\n", 2, 3, 1},
    };
    for (const SPosition& c : cases) {
        SCOPED_TRACE(c.input);
        ZEM::SXmlParseResult result;
        ParseExact(c.input, nullptr, &result);
        EXPECT_EQ(result.error, c.error);
        EXPECT_EQ(result.line, c.line);
        EXPECT_EQ(result.column, c.column);
    }
}

TEST(XmlParser, SourceOffsets) {
    ZEM::XMLNode root = ParseExact("<?xml?>\n<zem>\n  <bean id='a'/>\n  <bean/>\n</zem>", "zem", nullptr);
    ASSERT_FALSE(root.IsEmpty());
    EXPECT_EQ(root.SourceOffset(), 8);
    EXPECT_EQ(root.ChildAt("bean", 0).SourceOffset(), 16);
    EXPECT_EQ(root.ChildAt("bean", 1).SourceOffset(), 33);
    EXPECT_EQ(ZEM::XMLNode().SourceOffset(), -1);
}

}  // namespace
