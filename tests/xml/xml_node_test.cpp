// The node model: look-ups by name, handle lifetimes (a child outliving its
// parent), the order of mixed content, and arrays that outgrow their first
// 50 entries. Leaks and stale records show under the sanitizer build.
#include <gtest/gtest.h>
#include <pthread.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "xml/xml_dump.h"
#include "xml/xml_parser.h"

namespace {

using zem_test::DumpXml;
using ZEM::XMLNode;

char* Dup(const char* text) { return strdup(text); }

XMLNode Parse(const std::string& text) {
    ZEM::SXmlParseResult result;
    XMLNode node = zem_test::ParseExact(text, nullptr, &result);
    EXPECT_EQ(result.error, 0u) << text;
    return node;
}

TEST(XmlNode, EmptyNodeAnswersEverythingWithNothing) {
    const XMLNode& empty = ZEM::EmptyXmlNode();
    std::int32_t position = 3;
    EXPECT_TRUE(empty.IsEmpty());
    EXPECT_EQ(empty.Name(), nullptr);
    EXPECT_EQ(empty.ChildCount("a"), 0);
    EXPECT_TRUE(empty.NextChild("a", &position).IsEmpty());
    EXPECT_EQ(position, 3);
    EXPECT_TRUE(empty.ChildAt("a", -1).IsEmpty());
    EXPECT_EQ(empty.AttributeValue("a", &position), nullptr);
    EXPECT_EQ(empty.Text(0), nullptr);
    EXPECT_EQ(empty.ChildCount(), 0);
    EXPECT_TRUE(empty.ChildAtIndex(0).IsEmpty());
    EXPECT_EQ(empty.AttributeCount(), 0);
    EXPECT_EQ(empty.AttributeNameAt(0), nullptr);
    EXPECT_EQ(empty.TextCount(), 0);
    EXPECT_EQ(empty.ClearCount(), 0);
    EXPECT_FALSE(empty.IsDeclaration());
    // Look-ups chain through the empty node.
    EXPECT_EQ(empty.ChildAt("a", 0).ChildAt("b", 0).AttributeValue("c"), nullptr);

    // Building on the empty node adds nothing and frees what it was given.
    XMLNode none;
    EXPECT_TRUE(none.AddChild(Dup("a"), false).IsEmpty());
    none.AddAttribute(Dup("a"), Dup("b"));
    none.AddText(Dup("t"));
    none.AddClear(Dup("c"), &ZEM::kXmlClearMarks[ZEM::XmlClearComment]);
    none.RemoveClear(0);
    none.Shrink();
    EXPECT_TRUE(none.IsEmpty());
}

TEST(XmlNode, LookUpsIgnoreCaseAndKeepDocumentOrder) {
    XMLNode root = Parse(
        "<zem><bean id='1'/><library/><BEAN id='2'/><other/><Bean id='3'/>"
        "<x a='' b c='first' C='second'>one<y/>two<!-- c -->three</x></zem>");
    EXPECT_EQ(root.ChildCount("bean"), 3);
    EXPECT_EQ(root.ChildCount("none"), 0);
    EXPECT_EQ(root.ChildCount(nullptr), 0);

    std::string ids;
    std::int32_t position = 0;
    for (XMLNode bean = root.NextChild("Bean", &position); !bean.IsEmpty(); bean = root.NextChild("bean", &position)) {
        ids += bean.AttributeValue("ID");
    }
    EXPECT_EQ(ids, "123");
    EXPECT_EQ(position, 5);  // behind the last hit, and it stays there
    EXPECT_TRUE(root.NextChild("bean", &position).IsEmpty());
    EXPECT_EQ(position, 5);

    EXPECT_STREQ(root.ChildAt("bean", 0).AttributeValue("id"), "1");
    EXPECT_STREQ(root.ChildAt("bean", 2).AttributeValue("id"), "3");
    EXPECT_STREQ(root.ChildAt("bean", -1).AttributeValue("id"), "3");
    EXPECT_TRUE(root.ChildAt("bean", 3).IsEmpty());
    EXPECT_STREQ(root.NextChild("bean").AttributeValue("id"), "1");

    XMLNode x = root.NextChild("X");
    EXPECT_STREQ(x.AttributeValue("a"), "");     // a="" is an empty value
    EXPECT_EQ(x.AttributeValue("b"), nullptr);   // a bare word has none
    EXPECT_EQ(x.AttributeValue("zz"), nullptr);  // nor has an absent one
    EXPECT_STREQ(x.AttributeValue("c"), "first");
    std::int32_t at = 0;
    EXPECT_STREQ(x.AttributeValue("c", &at), "first");
    EXPECT_STREQ(x.AttributeValue("c", &at), "second");
    EXPECT_EQ(at, 4);
    EXPECT_EQ(x.AttributeValue("c", &at), nullptr);

    // The comment joined "two" and "three"; the child split the text.
    EXPECT_EQ(x.TextCount(), 2);
    EXPECT_STREQ(x.Text(0), "one");
    EXPECT_STREQ(x.Text(1), "twothree");
    EXPECT_EQ(x.Text(2), nullptr);
    EXPECT_EQ(x.Text(-1), nullptr);
    EXPECT_EQ(x.ClearCount(), 0);
}

TEST(XmlNode, FiftyOneAttributesAndChildrenStayInOrder) {
    std::string text = "<a";
    std::string expected = "a(";
    for (int i = 0; i < 51; ++i) {
        text += " n" + std::to_string(i) + "=" + std::to_string(i);
        expected += (i != 0 ? ",n" : "n") + std::to_string(i) + "=" + std::to_string(i);
    }
    text += ">";
    expected += "){";
    for (int i = 0; i < 51; ++i) {
        text += "<c" + std::to_string(i) + "/>t" + std::to_string(i);
        expected += (i != 0 ? ",c" : "c") + std::to_string(i) + ",\"t" + std::to_string(i) + "\"";
    }
    for (int i = 0; i < 51; ++i) {
        text += "<![CDATA[" + std::to_string(i) + "]]>";
        expected += ",[<![CDATA[|" + std::to_string(i) + "|]]>]";
    }
    text += "</a>";
    expected += "}";

    XMLNode root = Parse(text);
    EXPECT_EQ(DumpXml(root), expected);
    EXPECT_EQ(root.AttributeCount(), 51);
    EXPECT_EQ(root.ChildCount(), 51);
    EXPECT_EQ(root.TextCount(), 51);
    EXPECT_EQ(root.ClearCount(), 51);
    EXPECT_STREQ(root.AttributeValue("N50"), "50");
    EXPECT_STREQ(root.ChildAtIndex(50).Name(), "c50");
}

TEST(XmlNode, BuildingAfterShrinkAndRemovingClears) {
    const ZEM::SXmlClearMark* comment = &ZEM::kXmlClearMarks[ZEM::XmlClearComment];
    XMLNode node = XMLNode::CreateNode(Dup("n"), nullptr, false);
    node.AddText(Dup("t0"));
    node.AddClear(Dup("c0"), comment);
    node.AddChild(Dup("k0"), false);
    node.AddClear(Dup("c1"), comment);
    node.AddText(Dup("t1"));
    node.AddClear(Dup("c2"), comment);
    node.AddClear(Dup(""), comment);  // an empty clear entry is never stored
    EXPECT_TRUE(node.AddChild(nullptr, false).IsEmpty());
    node.AddAttribute(nullptr, Dup("dropped"));
    node.AddText(nullptr);
    node.Shrink();
    EXPECT_EQ(DumpXml(node), "n{\"t0\",[<!--|c0|-->],k0,[<!--|c1|-->],\"t1\",[<!--|c2|-->]}");

    // Removing closes the gap and renumbers the later clear entries.
    node.RemoveClear(0);
    node.RemoveClear(5);
    EXPECT_EQ(DumpXml(node), "n{\"t0\",k0,[<!--|c1|-->],\"t1\",[<!--|c2|-->]}");
    node.RemoveClear(1);
    EXPECT_EQ(DumpXml(node), "n{\"t0\",k0,[<!--|c1|-->],\"t1\"}");

    // A finished node still takes entries, past the next step as well.
    for (int i = 1; i <= 60; ++i) node.AddChild(Dup(("k" + std::to_string(i)).c_str()), false);
    node.AddAttribute(Dup("a"), nullptr);
    EXPECT_EQ(node.ChildCount(), 61);
    EXPECT_STREQ(node.ChildAtIndex(60).Name(), "k60");
    EXPECT_EQ(node.ChildAt("k60", 0).Data()->parent, node.Data());
    const ZEM::SXmlNodeData* data = node.Data();
    EXPECT_EQ(data->order[data->childCount + data->textCount + data->clearCount - 1], 60u * 4 + ZEM::XmlOrderChild);
    node.Shrink();
    EXPECT_STREQ(node.AttributeNameAt(0), "a");
    EXPECT_EQ(node.AttributeValueAt(0), nullptr);
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

    XMLNode copy = inner;
    EXPECT_EQ(copy.Data(), inner.Data());
    XMLNode& same = copy;  // assignment to itself changes nothing
    copy = same;
    copy = std::move(same);
    EXPECT_EQ(copy.Data(), inner.Data());
    XMLNode moved = std::move(inner);
    EXPECT_TRUE(inner.IsEmpty());
    copy = moved.NextChild("c");
    moved = XMLNode();
    EXPECT_STREQ(copy.Text(), "text");
}

// The last handle of a deep tree goes on a thread with a small stack: a
// release that recursed per level would overflow it.
TEST(XmlNode, ReleasingADeepTreeUsesNoRecursion) {
    XMLNode root = XMLNode::CreateNode(Dup("root"), nullptr, false);
    XMLNode current = root;
    for (int i = 0; i < 50000; ++i) {
        XMLNode child = current.AddChild(Dup("e"), false);
        current.Shrink();
        current = child;
    }
    current = XMLNode();

    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 128 * 1024);
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
