// zem graph: the beans of a document as a Graphviz DOT graph. Each class
// library is a cluster; edges are references, dependencies, factory beans and
// inner beans, labelled with their kind; cycles are red.
#include <iostream>
#include <map>
#include <set>
#include <string>

#include "bean_index.h"
#include "cli.h"
#include "platform/module.h"
#include "session.h"
#include "verbs.h"

namespace zemcli {

namespace {

constexpr const char* kHelp =
    "usage: zem graph FILE\n"
    "\n"
    "Reads FILE as a host does, without making any bean, and writes a Graphviz\n"
    "DOT graph to standard output (render it with, e.g., dot -Tsvg).\n"
    "\n"
    "  nodes     beans, one cluster per class library; a box is a singleton, an\n"
    "            ellipse a bean made anew per request, a double outline an eager\n"
    "            bean, a grey fill a bean not exported from its library; a dashed\n"
    "            node is a name that no definition has\n"
    "  edges     constructor-arg, property NAME, depends-on, factory-bean and\n"
    "            inner bean, from the bean that needs to the bean it needs\n"
    "  red       a cycle through references and dependencies\n";

// A DOT string literal: backslash, quote and line ends escaped.
std::string Dot(std::string_view text) {
    std::string out = "\"";
    for (char c : text) {
        if (c == '"' || c == '\\') out.push_back('\\');
        if (c == '\n') {
            out += "\\n";
            continue;
        }
        if (c == '\r') continue;
        out.push_back(c);
    }
    return out + "\"";
}

// Node ids: a bean by its name (inner beans by their place); a second record
// of one name, which no request finds, gets a suffix.
std::vector<std::string> NodeIds(const CBeanIndex& index) {
    std::vector<std::string> ids;
    std::map<std::string, int> seen;
    for (const SBeanEntry& entry : index.Entries()) {
        const int count = seen[entry.display]++;
        ids.push_back(count == 0 ? entry.display : entry.display + " (" + std::to_string(count + 1) + ")");
    }
    return ids;
}

std::string EdgeLabel(const SBeanEntry& from, const SBeanEdge& edge) {
    if (edge.kind == EEdgeKind::Property) return "property " + from.bean->properties[edge.property].name;
    return EdgeKindName(edge.kind);
}

}  // namespace

int RunGraph(const Args& args) {
    const std::optional<SParsedArgs> command = ParseCommand(args, {}, kHelp, 1, 1, "FILE");
    if (!command) return kExitOk;
    const SParsedArgs& parsed = *command;
    const std::string& file = parsed.operands.front();
    CSession session;
    if (!LoadOrTell(session, file, false)) return kExitFinding;
    const ZEM::CConfigurationStore& store = session.Store();
    const CBeanIndex index(store);
    const std::vector<std::string> ids = NodeIds(index);
    const std::vector<SBeanEntry>& entries = index.Entries();

    std::set<std::size_t> onCycle;
    for (const auto& cycle : index.Cycles()) onCycle.insert(cycle.begin(), cycle.end());

    std::cout << "digraph zem {\n"
              << "  label=" << Dot(file) << ";\n"
              << "  rankdir=LR;\n"
              << "  node [fontsize=10];\n"
              << "  edge [fontsize=9];\n";
    const std::string hostProgram = ZEM::platform::ExecutablePath();
    std::size_t entry = 0;
    for (std::size_t l = 0; l < store.libraries.size(); ++l) {
        std::cout << "  subgraph \"cluster_" << l << "\" {\n"
                  << "    label="
                  << Dot(store.libraries[l]->path == hostProgram ? "(the host program)" : store.libraries[l]->path)
                  << ";\n";
        for (std::size_t b = 0; b < store.libraries[l]->beans.size(); ++b, ++entry) {
            const ZEM::SBean& bean = *entries[entry].bean;
            std::cout << "    " << Dot(ids[entry]) << " [label=" << Dot(entries[entry].display + "\n" + bean.className)
                      << ", shape=" << (bean.singleton ? "box" : "ellipse");
            if (!bean.lazy) std::cout << ", peripheries=2";
            if (!bean.exported) std::cout << ", style=filled, fillcolor=lightgrey";
            if (onCycle.count(entry) != 0) std::cout << ", color=red";
            std::cout << "];\n";
        }
        std::cout << "  }\n";
    }

    std::set<std::string> missing;
    for (std::size_t from = 0; from < entries.size(); ++from) {
        for (const SBeanEdge& edge : entries[from].edges) {
            std::string target;
            if (edge.to != kNoEntry) {
                target = ids[edge.to];
            } else {
                target = edge.target;
                if (missing.insert(target).second)
                    std::cout << "  " << Dot(target) << " [label=" << Dot(target + "\n(no definition)")
                              << ", shape=ellipse, style=dashed];\n";
            }
            std::cout << "  " << Dot(ids[from]) << " -> " << Dot(target)
                      << " [label=" << Dot(EdgeLabel(entries[from], edge));
            if (edge.kind == EEdgeKind::DependsOn || edge.kind == EEdgeKind::FactoryBean) std::cout << ", style=dashed";
            if (index.OnCycle(from, edge)) std::cout << ", color=red, fontcolor=red";
            std::cout << "];\n";
        }
    }
    std::cout << "}\n";
    return kExitOk;
}

}  // namespace zemcli
