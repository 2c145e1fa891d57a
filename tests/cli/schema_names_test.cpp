// The XML Schema for editors (docs/zem.xsd) and the grammar that `zem lint`
// checks against (tools/zem/grammar.h) must describe one format: the test
// walks both from the root and compares, place by place, the attributes, the
// child elements and whether text is read, and the value type names.
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <utility>

#include "grammar.h"
#include "xml/xml_document.h"

namespace {

using zemcli::EPlace;

struct SContent {
    std::set<std::string> attributes;
    std::map<std::string, std::string> children;  // element name -> its type
    bool text = false;
};

class CSchema {
public:
    explicit CSchema(const char* path) {
        root_ = ZEM::ParseFile(path, "xs:schema", &parse_);
        for (int i = 0; i < root_.ChildCount(); ++i) {
            const ZEM::XMLNode node = root_.ChildAtIndex(i);
            const char* name = node.AttributeValue("name");
            if (name != nullptr) definitions_[{node.Name(), name}] = node;
        }
    }
    bool Loaded() const { return !root_.IsEmpty(); }

    // The content of the named type; a simple type is text alone.
    SContent ContentOf(const std::string& type) const {
        SContent content;
        const auto found = definitions_.find({"xs:complexType", type});
        if (found == definitions_.end())
            content.text = true;
        else
            Collect(found->second, content);
        return content;
    }

    // The root element's type.
    std::string RootType() const { return Definition("xs:element", "zem").AttributeValue("type"); }

    std::set<std::string> Enumeration(const std::string& simpleType) const {
        std::set<std::string> values;
        Enumerate(Definition("xs:simpleType", simpleType), values);
        return values;
    }

private:
    ZEM::XMLNode Definition(const char* kind, const std::string& name) const {
        const auto found = definitions_.find({kind, name});
        return found != definitions_.end() ? found->second : ZEM::XMLNode();
    }

    void Collect(const ZEM::XMLNode& node, SContent& content) const {
        for (int i = 0; i < node.ChildCount(); ++i) {
            const ZEM::XMLNode child = node.ChildAtIndex(i);
            const std::string kind = child.Name();
            const char* name = child.AttributeValue("name");
            const char* ref = child.AttributeValue("ref");
            if (kind == "xs:element") {
                content.children[name] = child.AttributeValue("type");
            } else if (kind == "xs:attribute") {
                content.attributes.insert(name);
            } else if (kind == "xs:group" || kind == "xs:attributeGroup") {
                Collect(Definition(kind.c_str(), ref), content);
            } else if (kind == "xs:simpleContent") {
                content.text = true;
                Collect(child, content);
            } else if (kind != "xs:annotation") {
                Collect(child, content);  // sequence, choice, all, extension
            }
        }
    }

    void Enumerate(const ZEM::XMLNode& node, std::set<std::string>& values) const {
        for (int i = 0; i < node.ChildCount(); ++i) {
            const ZEM::XMLNode child = node.ChildAtIndex(i);
            if (std::string(child.Name()) == "xs:enumeration")
                values.insert(child.AttributeValue("value"));
            else
                Enumerate(child, values);
        }
    }

    ZEM::SXmlParseResult parse_{};
    ZEM::XMLNode root_;
    std::map<std::pair<std::string, std::string>, ZEM::XMLNode> definitions_;
};

bool IsLoop(EPlace place) { return place == EPlace::For || place == EPlace::Foreach; }

// Compares the schema's type with the grammar's place, then the children of
// both, each once. A loop reads the children of the place that holds it.
void Compare(const CSchema& schema, const std::string& type, EPlace place, EPlace loopOf, const std::string& path,
             std::set<std::pair<std::string, EPlace>>& seen) {
    if (!seen.insert({type, IsLoop(place) ? loopOf : place}).second) return;
    SCOPED_TRACE(path);
    const SContent content = schema.ContentOf(type);
    const zemcli::SPlaceRule& rule = zemcli::Rule(place);
    const EPlace childrenOf = IsLoop(place) ? loopOf : place;

    EXPECT_EQ(content.attributes, std::set<std::string>(rule.attributes.begin(), rule.attributes.end()));
    EXPECT_EQ(content.text, rule.readsText);
    std::set<std::string> grammarChildren;
    for (const zemcli::SChildRule& child : zemcli::Rule(childrenOf).children) grammarChildren.insert(child.name);
    std::set<std::string> schemaChildren;
    for (const auto& [name, childType] : content.children) schemaChildren.insert(name);
    EXPECT_EQ(schemaChildren, grammarChildren);

    for (const zemcli::SChildRule& child : zemcli::Rule(childrenOf).children) {
        const auto found = content.children.find(child.name);
        if (found == content.children.end()) continue;
        Compare(schema, found->second, child.place, IsLoop(child.place) ? childrenOf : EPlace::Root,
                path + "/" + child.name, seen);
    }
}

TEST(SchemaNames, SchemaAndLintGrammarListTheSameNames) {
    const CSchema schema(ZEM_SCHEMA);
    ASSERT_TRUE(schema.Loaded()) << ZEM_SCHEMA;
    std::set<std::pair<std::string, EPlace>> seen;
    Compare(schema, schema.RootType(), EPlace::Root, EPlace::Root, "zem", seen);
    EXPECT_GE(seen.size(), 20u);  // the walk reached the whole format

    EXPECT_EQ(schema.Enumeration("type-name"),
              std::set<std::string>(std::begin(zemcli::kTypeNames), std::end(zemcli::kTypeNames)));
}

}  // namespace
