// The grammar pass of lint: each element of each file once, against the
// table of what the readers read where. Whatever the readers don't ask for
// is ignored without a word, so each such place becomes a warning, with a
// "did you mean" where the word is close to one that would be read.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <unordered_set>
#include <vector>

#include "cli.h"
#include "grammar.h"
#include "lint.h"
#include "platform/numeric.h"

namespace zemcli {

namespace {

// The rule for a child called `name` (lower case), or null if none stands here.
const SChildRule* FindRule(const std::vector<SChildRule>& rules, const std::string& name) {
    for (const SChildRule& rule : rules)
        if (name == rule.name) return &rule;
    return nullptr;
}

// Where a word of the format is read, for a misplaced element.
const char* HomeOf(const std::string& name) {
    static const std::pair<const char*, const char*> kHomes[] = {{"zem", "the top of the document"},
                                                                 {"include", "'zem'"},
                                                                 {"library", "'zem'"},
                                                                 {"beans", "'library'"},
                                                                 {"constructor-arg", "'bean'"},
                                                                 {"properties", "'bean'"},
                                                                 {"provides", "'bean'"},
                                                                 {"depends-on", "'bean'"},
                                                                 {"property", "'properties'"},
                                                                 {"arguments", "'property'"},
                                                                 {"argument", "'constructor-arg' or 'arguments'"},
                                                                 {"value", "'argument' or 'property'"},
                                                                 {"nullptr", "'argument' or 'property'"},
                                                                 {"ref", "'argument' or 'property'"},
                                                                 {"interface", "'provides'"},
                                                                 {"bean-name", "'depends-on'"},
                                                                 {"for", "'beans', 'properties' or 'provides'"},
                                                                 {"foreach", "'beans', 'properties' or 'provides'"},
                                                                 {"bean", "'beans'"},
                                                                 {"service", "'beans'"}};
    for (const auto& [word, home] : kHomes)
        if (name == word) return home;
    return nullptr;
}

bool IsWordOf(const std::vector<const char*>& words, const std::string& name) {
    return std::find_if(words.begin(), words.end(), [&](const char* word) { return name == word; }) != words.end();
}

// A word that some place of the format reads as an attribute.
bool IsAttributeWord(const std::string& name) {
    for (int place = 0; place <= static_cast<int>(EPlace::Foreach); ++place)
        if (IsWordOf(Rule(static_cast<EPlace>(place)).attributes, name)) return true;
    return false;
}

std::string Lower(const char* text) {
    std::string out = text != nullptr ? text : "";
    for (char& c : out)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return out;
}

std::vector<std::string> Words(const std::vector<const char*>& words) { return {words.begin(), words.end()}; }

std::vector<std::string> ChildWords(const std::vector<SChildRule>& rules) {
    std::vector<std::string> words;
    for (const SChildRule& rule : rules) words.emplace_back(rule.name);
    return words;
}

std::string Quote(const char* text) { return std::string("'") + (text != nullptr ? text : "") + "'"; }

class CGrammarWalk {
public:
    CGrammarWalk(const SSourceFile& file, CFindings& findings) : file_(file), findings_(findings) {}

    void Element(const ZEM::XMLNode& node, EPlace place, EPlace loopOf) {
        Attributes(node, place);
        Text(node, place);
        if (place == EPlace::For) Iterations(node);
        if (place == EPlace::Argument || place == EPlace::Property) {
            ValueForms(node, place);
            return;
        }
        const EPlace childrenOf = place == EPlace::For || place == EPlace::Foreach ? loopOf : place;
        const std::vector<SChildRule>& rules = Rule(childrenOf).children;
        std::unordered_set<std::string> seen;
        for (int i = 0; i < node.ChildCount(); ++i) {
            const ZEM::XMLNode child = node.ChildAtIndex(i);
            const std::string name = Lower(child.Name());
            const SChildRule* rule = FindRule(rules, name);
            if (rule == nullptr) {
                NotRead(node, child, rules);
                continue;
            }
            if (rule->place == EPlace::Include && file_.fromInput) {
                Warn(child, "'include' has no effect in a document given as text");
                continue;
            }
            if (rule->firstOnly && !seen.insert(name).second) {
                Warn(child, "second " + Quote(child.Name()) + " in " + Quote(node.Name()) + " is not read");
                continue;
            }
            const bool loop = rule->place == EPlace::For || rule->place == EPlace::Foreach;
            Element(child, rule->place, loop ? childrenOf : EPlace::Root);
        }
    }

private:
    void Warn(const ZEM::XMLNode& node, std::string message) {
        findings_.Warn(SSpot{&file_, node.SourceOffset()}, std::move(message));
    }

    // The start tag is followed once per element that has a finding on an
    // attribute, however many attributes it has.
    void WarnAttribute(const ZEM::XMLNode& node, int index, std::string message) {
        if (node.SourceOffset() != offsetsOf_) {
            offsetsOf_ = node.SourceOffset();
            attributeOffsets_ = AttributeOffsets(file_, offsetsOf_);
        }
        const auto at = static_cast<std::size_t>(index);
        const std::int32_t offset = at < attributeOffsets_.size() ? attributeOffsets_[at] : offsetsOf_;
        findings_.Warn(SSpot{&file_, offset}, std::move(message));
    }

    void Attributes(const ZEM::XMLNode& node, EPlace place) {
        const std::vector<const char*>& known = Rule(place).attributes;
        std::vector<std::string> seen;
        for (int i = 0; i < node.AttributeCount(); ++i) {
            const char* written = node.AttributeNameAt(i);
            const std::string name = Lower(written);
            // Namespace declarations and the schema-instance attributes that
            // point an editor at the schema are for other tools.
            if (name == "xmlns" || name.rfind("xmlns:", 0) == 0 || name.rfind("xsi:", 0) == 0) continue;
            if (!IsWordOf(known, name)) {
                if (place == EPlace::InnerBean && IsWordOf(Rule(EPlace::Bean).attributes, name)) {
                    WarnAttribute(node, i, "attribute " + Quote(written) + " is not read on an inner bean");
                } else if (IsAttributeWord(name)) {
                    WarnAttribute(node, i,
                                  "attribute " + Quote(written) + " is not read on " + Quote(node.Name()) +
                                      DidYouMean(ClosestWord(name, Words(known), true)));
                } else {
                    WarnAttribute(node, i,
                                  "unknown attribute " + Quote(written) + " on " + Quote(node.Name()) +
                                      DidYouMean(ClosestWord(name, Words(known), true)));
                }
                continue;
            }
            if (std::find(seen.begin(), seen.end(), name) != seen.end()) {
                WarnAttribute(node, i,
                              "second attribute " + Quote(written) + " on " + Quote(node.Name()) + " is not read");
                continue;
            }
            seen.push_back(name);
            if (node.AttributeValueAt(i) == nullptr)
                WarnAttribute(node, i, "attribute " + Quote(written) + " has no value and counts as absent");
        }
        if (place == EPlace::Ref) {
            const char* bean = node.AttributeValue("bean");
            const char* service = node.AttributeValue("service");
            if (bean != nullptr && *bean != '\0' && service != nullptr && *service != '\0')
                Warn(node, "attribute 'service' is not read beside 'bean' on " + Quote(node.Name()));
        }
    }

    void Text(const ZEM::XMLNode& node, EPlace place) {
        if (node.TextCount() == 0) return;
        if (!Rule(place).readsText)
            Warn(node, "text in " + Quote(node.Name()) + " is not read");
        else if (node.TextCount() > 1)
            Warn(node, "text after a child element in " + Quote(node.Name()) + " is not read");
    }

    void Iterations(const ZEM::XMLNode& loop) {
        // Bounds as the loop walker reads them; a bad one fails the load anyway.
        auto bound = [](const char* text, int& value) {
            std::uint32_t word = 0;
            if (!ZEM::platform::ScanUInt32(text, word)) return false;
            value = static_cast<int>(word);
            return true;
        };
        int first = 0;
        int last = 0;
        if (!bound(loop.AttributeValue("first"), first) || !bound(loop.AttributeValue("last"), last)) return;
        if (first > last) {
            const char* variable = loop.AttributeValue("substitute");
            Warn(loop, Quote(loop.Name()) + " over " + Quote(variable) + " makes no iteration: first " +
                           std::to_string(first) + " is above last " + std::to_string(last));
        }
    }

    // An argument, or a property without `arguments`, reads one value form:
    // the first that exists in the readers' order, whatever the document order.
    void ValueForms(const ZEM::XMLNode& node, EPlace place) {
        ZEM::XMLNode decides;
        const char* decidingName = nullptr;
        if (place == EPlace::Property) {
            decides = node.NextChild("arguments");
            decidingName = "arguments";
        }
        for (std::size_t f = 0; decides.IsEmpty() && f < zemcli::ValueForms().size(); ++f) {
            decides = node.NextChild(zemcli::ValueForms()[f].name);
            decidingName = zemcli::ValueForms()[f].name;
        }
        const std::vector<SChildRule>& rules = Rule(place).children;
        for (int i = 0; i < node.ChildCount(); ++i) {
            const ZEM::XMLNode child = node.ChildAtIndex(i);
            const std::string name = Lower(child.Name());
            const SChildRule* rule = FindRule(rules, name);
            if (rule == nullptr) {
                NotRead(node, child, rules);
            } else if (!decides.IsEmpty() && child.SourceOffset() == decides.SourceOffset()) {
                Element(child, rule->place, EPlace::Root);
            } else if (name == decidingName) {
                Warn(child, "second " + Quote(child.Name()) + " in " + Quote(node.Name()) + " is not read");
            } else {
                Warn(child, Quote(child.Name()) + " beside " + Quote(decidingName) + " in " + Quote(node.Name()) +
                                " is not read");
            }
        }
    }

    void NotRead(const ZEM::XMLNode& parent, const ZEM::XMLNode& child, const std::vector<SChildRule>& rules) {
        const std::string name = Lower(child.Name());
        const bool takesInner = std::find_if(rules.begin(), rules.end(), [](const SChildRule& rule) {
                                    return rule.place == EPlace::InnerBean;
                                }) != rules.end();
        if (name == "service" && takesInner) {
            Warn(child, "'service' is not read here: an inner bean is written 'bean'");
        } else if (name == "bean" || name == "service") {
            Warn(child, Quote(child.Name()) + " outside 'beans' is not read");
        } else if (const char* home = HomeOf(name)) {
            Warn(child,
                 Quote(child.Name()) + " is not read inside " + Quote(parent.Name()) + "; it belongs in " + home);
        } else {
            Warn(child, "unknown element " + Quote(child.Name()) + " in " + Quote(parent.Name()) +
                            DidYouMean(ClosestWord(name, ChildWords(rules), true)));
        }
    }

    const SSourceFile& file_;
    CFindings& findings_;
    std::int32_t offsetsOf_ = -2;  // the element whose attribute offsets are at hand
    std::vector<std::int32_t> attributeOffsets_;
};

}  // namespace

void LintGrammar(const CSourceMap& map, CFindings& findings) {
    for (const auto& file : map.Files()) {
        if (file->root.IsEmpty()) continue;
        CGrammarWalk(*file, findings).Element(file->root, EPlace::Root, EPlace::Root);
    }
}

}  // namespace zemcli
