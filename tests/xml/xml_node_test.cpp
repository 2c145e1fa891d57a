// The node model: look-ups by name, handle lifetimes (a child outliving its
// parent), and the order of mixed content in an element's one block. Leaks
// and stale records show under the sanitizer build.
#include <gtest/gtest.h>
#include <pthread.h>


#include "xml/xml_dump.h"
#include "xml/xml_parser.h"

namespace {

using zem_test::DumpXml;
using ZEM::XMLNode;

XMLNode Parse(const std::string& text) {
    ZEM::SXmlParseResult result;
    XMLNode node = zem_test::ParseExact(text, nullptr, &result);
    EXPECT_EQ(result.error, ZEM::XmlNoError) << text;
    return node;
}

TEST(XmlNode, LookUpsIgnoreCaseAndKeepDocumentOrder) {
    XMLNode root = Parse(
        "<zem><bean id='1'/><library/><BEAN id='2'/><other/><Bean id='3'/>"
        "<x a='' b c='first' C='second'>one<y/>two<!-- c -->three</x></zem>");
    EXPECT_EQ(root.ChildCount("bean"), 3);

    std::string ids;
    std::int32_t position = 0;
    for (XMLNode bean = root.NextChild("Bean", &position); !bean.IsEmpty(); bean = root.NextChild("bean", &position))
        ids += bean.AttributeValue("ID");
    EXPECT_EQ(ids, "123");
    EXPECT_EQ(position, 5);  // behind the last hit, and it stays there
    EXPECT_TRUE(root.NextChild("bean", &position).IsEmpty());
    EXPECT_EQ(position, 5);

    EXPECT_STREQ(root.ChildAt("bean", 2).AttributeValue("id"), "3");
    EXPECT_STREQ(root.ChildAt("bean", -1).AttributeValue("id"), "3");

    XMLNode x = root.NextChild("X");
    EXPECT_STREQ(x.AttributeValue("a"), "");     // a="" is an empty value
    EXPECT_EQ(x.AttributeValue("b"), nullptr);   // a bare word has none
    std::int32_t at = 0;
    EXPECT_STREQ(x.AttributeValue("c", &at), "first");
    EXPECT_STREQ(x.AttributeValue("c", &at), "second");
    EXPECT_EQ(at, 4);

    // The comment joined "two" and "three"; the child split the text.
    EXPECT_EQ(x.TextCount(), 2);
    EXPECT_STREQ(x.Text(0), "one");
    EXPECT_STREQ(x.Text(1), "twothree");
}

// Mixed content keeps an order of its own; an element with only children or
// only texts, up to 64 of them, shares one, and beyond that has its own.
TEST(XmlNode, ContentKeepsDocumentOrder) {
    std::string text = "<a", body, expected = "a(", content;
    for (int i = 0; i < 51; ++i) {
        const std::string n = std::to_string(i);
        text += " n" + n + "=" + n;
        body += "<c" + n + "/>t" + n + "<![CDATA[" + n + "]]>";
        expected += (i != 0 ? ",n" : "n") + n + "=" + n;
        content += (i != 0 ? ",c" : "c") + n + ",\"t" + n + "\",[<![CDATA[|" + n + "|]]>]";
    }
    XMLNode root = Parse(text + ">" + body + "</a>");
    EXPECT_EQ(DumpXml(root), expected + "){" + content + "}");
    EXPECT_STREQ(root.AttributeValue("N50"), "50");

    for (int count : {64, 65}) {
        std::string many, manyDump;
        for (int i = 0; i < count; ++i) {
            many += "<c/>";
            manyDump += i != 0 ? ",c" : "c";
        }
        EXPECT_EQ(DumpXml(Parse("<a>" + many + "</a>")), "a{" + manyDump + "}");
    }
    EXPECT_EQ(DumpXml(Parse("<x a='1'><y/><z>v</z><!--c--><w/></x>")), "x(a=1){y,z{\"v\"},[<!--|c|-->],w}");
}

TEST(XmlNode, HandlesShareRecordsAndChildrenOutliveParents) {
    XMLNode inner;
    XMLNode declaration;
    {
        XMLNode root = Parse("<?xml?><a><b k='v'><c>text</c></b><d/></a>");
        declaration = root;
        XMLNode a = root.NextChild("a");
        inner = a.NextChild("b");
        EXPECT_EQ(inner.Data()->parent, a.Data());
        EXPECT_EQ(inner.Data()->refCount, 2);  // the parent's entry and this handle
        // A dropped handle leaves the child in its parent.
        a.NextChild("d");
        EXPECT_EQ(a.ChildCount(), 2);
    }
    EXPECT_EQ(inner.Data()->parent, declaration.NextChild("a").Data());

    declaration = XMLNode();
    EXPECT_EQ(inner.Data()->parent, nullptr);
    EXPECT_EQ(inner.Data()->refCount, 1);
    EXPECT_EQ(DumpXml(inner), "b(k=v){c{\"text\"}}");
    XMLNode c = inner.NextChild("c");
    inner = XMLNode();
    EXPECT_STREQ(c.Text(), "text");
}

// The last handle of a deep tree goes on a thread with a small stack: a
// release that recursed per level would overflow it.
TEST(XmlNode, ReleasingADeepTreeUsesNoRecursion) {
    std::string text;
    for (int i = 0; i < ZEM::kXmlMaxDepth; ++i) text += "<e>";
    for (int i = 0; i < ZEM::kXmlMaxDepth; ++i) text += "</e>";
    XMLNode root = Parse(text);

    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 16 * 1024);
    pthread_t thread;
    auto release = [](void* node) -> void* {
        *static_cast<XMLNode*>(node) = XMLNode();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, release, &root), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    EXPECT_TRUE(root.IsEmpty());
}

}  // namespace
