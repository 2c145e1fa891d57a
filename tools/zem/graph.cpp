// zem graph: the beans of a document as a Graphviz DOT graph. Each class
// library is a cluster; edges are references, dependencies, factory beans and
// inner beans, labelled with their kind; cycles are red. Services are nodes
// of their own, with the beans that provide them and the references to them.
#include <cxxabi.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>

#include "bean_index.h"
#include "cli.h"
#include "library_policy.h"
#include "foundation/string_convert.h"
#include "library/library.h"
#include "platform/module.h"
#include "session.h"
#include "verbs.h"
#include "zem/exception.h"

namespace zemcli {

namespace {

constexpr const char* kHelp =
    "usage: zem graph [--format dot|svg] FILE\n"
    "\n"
    "Reads FILE as a host does, without making any bean, and writes a Graphviz\n"
    "DOT graph to standard output, or with --format svg the picture that\n"
    "Graphviz's dot draws of it (dot must be on the PATH).\n"
    "\n"
    "  nodes     beans, one cluster per class library; a box is a singleton, an\n"
    "            ellipse a bean made anew per request, a double outline an eager\n"
    "            bean, a grey fill a bean not exported from its library; a dashed\n"
    "            node is a name that no definition has\n"
    "  edges     constructor-arg, property NAME, depends-on, factory-bean and\n"
    "            inner bean, from the bean that needs to the bean it needs\n"
    "  services  a hexagon per interface, with a dotted 'provides' edge from\n"
    "            each bean that provides it and a bold edge from each ref service\n"
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

// An interface as people write it: the type id demangled where it can be.
std::string InterfaceName(const std::string& typeId) {
    int status = 0;
    std::unique_ptr<char, void (*)(void*)> name(abi::__cxa_demangle(typeId.c_str(), nullptr, nullptr, &status),
                                                std::free);
    return status == 0 && name ? std::string(name.get()) : typeId;
}

// The type id that a `ref service` of `className` finds; the class name
// itself while no type id is registered for it (a class library registers
// its own when it is loaded).
std::string ServiceTypeId(const std::string& className) {
    try {
        return ZEM::LocalLibrary().GetTypeId(className.c_str());
    } catch (const ZEM::CException&) {
        return className;
    }
}

// The services: a node per interface, the beans that provide it, the
// references to it. A `ref service` names the interface's class, which the
// local library turns into the type id that `provides` holds.
void WriteServices(std::ostream& out, const CBeanIndex& index, const std::vector<std::string>& ids) {
    struct SReference {
        std::size_t from;
        std::string typeId;
        std::string label;
    };
    std::vector<SReference> references;
    std::map<std::string, std::string> names;  // type id -> class name as the document writes it
    const std::vector<SBeanEntry>& entries = index.Entries();
    for (std::size_t from = 0; from < entries.size(); ++from) {
        const ZEM::SBean& bean = *entries[from].bean;
        auto reference = [&](const ZEM::SArgument& argument, const std::string& label) {
            if (argument.type != "service") return;
            const std::string& className = argument.value;
            references.push_back({from, ServiceTypeId(className), label});
            names.emplace(references.back().typeId, className);
        };
        for (const ZEM::SArgument& argument : bean.arguments) reference(argument, "constructor-arg");
        for (const ZEM::SProperty& property : bean.properties)
            for (const ZEM::SArgument& argument : property.arguments) reference(argument, "property " + property.name);
    }
    std::set<std::string> nodes;
    auto node = [&](const std::string& typeId) {
        const std::string id = "service " + typeId;
        if (nodes.insert(id).second) {
            const auto name = names.find(typeId);
            out << "  " << Dot(id) << " [label=" << Dot(name != names.end() ? name->second : InterfaceName(typeId))
                << ", shape=hexagon, style=filled, fillcolor=lightyellow];\n";
        }
        return id;
    };
    for (std::size_t from = 0; from < entries.size(); ++from) {
        for (const std::string& typeId : entries[from].bean->interfaces) {
            const std::string to = node(typeId);
            out << "  " << Dot(ids[from]) << " -> " << Dot(to) << " [label=\"provides\", style=dotted, arrowhead=empty];\n";
        }
    }
    for (const SReference& reference : references) {
        const std::string to = node(reference.typeId);
        out << "  " << Dot(ids[reference.from]) << " -> " << Dot(to) << " [label=" << Dot(reference.label)
            << ", style=bold];\n";
    }
}

// The path of `program` found through PATH; empty if it isn't there.
std::string FindProgram(const std::string& program) {
    const char* path = std::getenv("PATH");
    std::stringstream folders(path != nullptr ? path : "");
    for (std::string folder; std::getline(folders, folder, ':');) {
        if (folder.empty()) continue;
        const std::filesystem::path candidate = std::filesystem::path(folder) / program;
        std::error_code error;
        if (std::filesystem::is_regular_file(candidate, error)) return candidate.string();
    }
    return {};
}

// Hands the graph to Graphviz, whose SVG goes straight to standard output.
void WriteSvg(const std::string& dot) {
    const std::string program = FindProgram("dot");
    if (program.empty())
        throw ZEM::CException(
            L"Graphviz program 'dot' not found on the PATH; install Graphviz or leave out --format svg");
    std::cout.flush();
    FILE* pipe = popen(("'" + program + "' -Tsvg").c_str(), "w");
    if (pipe == nullptr) throw ZEM::CException(ZEM::Message(L"Could not run '", program, L"'"));
    const bool written = std::fwrite(dot.data(), 1, dot.size(), pipe) == dot.size();
    const int status = pclose(pipe);
    if (!written || status != 0) throw ZEM::CException(ZEM::Message(L"Graphviz program '", program, L"' failed"));
}

}  // namespace

int RunGraph(const Args& args) {
    const std::optional<SParsedArgs> command = ParseCommand(args, {{"--format", true}}, kHelp, 1, 1, "FILE");
    if (!command) return kExitOk;
    const SParsedArgs& parsed = *command;
    RefuseEveryLibrary();  // reading a document runs none of its code
    const auto format = parsed.values.find("--format");
    const bool svg = format != parsed.values.end() && format->second == "svg";
    if (format != parsed.values.end() && !svg && format->second != "dot")
        throw CUsageError("unknown format '" + format->second + "' (dot or svg)");
    const std::string& file = parsed.operands.front();
    CSession session;
    if (!LoadOrTell(session, file, false)) return kExitFinding;
    std::ostringstream graph;
    std::ostream& out = svg ? graph : std::cout;
    const ZEM::CConfigurationStore& store = session.Store();
    const CBeanIndex index(store);
    const std::vector<std::string> ids = NodeIds(index);
    const std::vector<SBeanEntry>& entries = index.Entries();

    std::set<std::size_t> onCycle;
    for (const auto& cycle : index.Cycles()) onCycle.insert(cycle.begin(), cycle.end());

    out << "digraph zem {\n"
              << "  label=" << Dot(file) << ";\n"
              << "  rankdir=LR;\n"
              << "  node [fontsize=10];\n"
              << "  edge [fontsize=9];\n";
    const std::string hostProgram = ZEM::platform::ExecutablePath();
    std::size_t entry = 0;
    for (std::size_t l = 0; l < store.libraries.size(); ++l) {
        // A cluster is titled with the path as its document wrote it, which
        // says more than the build folder it resolved to.
        const ZEM::SLibrary& library = *store.libraries[l];
        const bool host = library.written.empty() || library.path == hostProgram;
        out << "  subgraph \"cluster_" << l << "\" {\n"
            << "    label=" << Dot(host ? "(the host program)" : library.written) << ";\n";
        for (std::size_t b = 0; b < store.libraries[l]->beans.size(); ++b, ++entry) {
            const ZEM::SBean& bean = *entries[entry].bean;
            out << "    " << Dot(ids[entry]) << " [label=" << Dot(entries[entry].display + "\n" + bean.className)
                      << ", shape=" << (bean.singleton ? "box" : "ellipse");
            if (!bean.lazy) out << ", peripheries=2";
            if (!bean.exported) out << ", style=filled, fillcolor=lightgrey";
            if (onCycle.count(entry) != 0) out << ", color=red";
            out << "];\n";
        }
        out << "  }\n";
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
                    out << "  " << Dot(target) << " [label=" << Dot(target + "\n(no definition)")
                              << ", shape=ellipse, style=dashed];\n";
            }
            out << "  " << Dot(ids[from]) << " -> " << Dot(target)
                      << " [label=" << Dot(EdgeLabel(entries[from], edge));
            if (edge.kind == EEdgeKind::DependsOn || edge.kind == EEdgeKind::FactoryBean) out << ", style=dashed";
            if (index.OnCycle(from, edge)) out << ", color=red, fontcolor=red";
            out << "];\n";
        }
    }
    WriteServices(out, index, ids);
    out << "}\n";
    if (svg) WriteSvg(graph.str());
    return kExitOk;
}

}  // namespace zemcli
