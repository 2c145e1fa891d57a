// The beans of a loaded store as a graph: which definition a name finds, the
// edges that references, dependencies, factory beans and inner beans make,
// readable names for inner beans, and the cycles through references and
// dependencies. Shared by graph, lint and explain.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "config/configuration.h"

namespace zemcli {

enum class EEdgeKind { ConstructorArg, Property, DependsOn, FactoryBean, InnerBean };

// The edge's kind as output shows it: "constructor-arg", "property", ...
const char* EdgeKindName(EEdgeKind kind);

constexpr std::size_t kNoEntry = static_cast<std::size_t>(-1);

struct SBeanEdge {
    EEdgeKind kind;
    std::string target;         // the bean name as the definition holds it
    std::size_t to = kNoEntry;  // the target's entry; kNoEntry: no definition
    std::size_t property = 0;   // Property, InnerBean: index into the bean's properties, else unused
    std::size_t argument = 0;   // position among the arguments, from 0; DependsOn: among the entries
    bool inProperty = false;    // InnerBean: held by a property rather than the constructor
};

struct SBeanEntry {
    const ZEM::SLibrary* library = nullptr;
    const ZEM::SBean* bean = nullptr;
    std::size_t libraryIndex = 0;
    bool inForce = false;  // the definition that a request for this name finds
    bool inner = false;
    std::string display;  // the name, or for an inner bean its place: "pool/Endpoint/arg2"
    std::vector<SBeanEdge> edges;
};

class CBeanIndex {
public:
    explicit CBeanIndex(const ZEM::CConfigurationStore& store);

    const std::vector<SBeanEntry>& Entries() const { return entries_; }
    // The entry that a request for `name` finds; kNoEntry if none.
    std::size_t Find(std::string_view name) const;
    // How output names a bean: inner beans by their place.
    std::string Display(std::string_view name) const;
    std::vector<std::string> Names() const;

    // Cycles through references and dependencies (a bean that refers to
    // itself included), each as the entries a, b, c of a -> b -> c -> a. Every
    // reference that closes a loop gives one, so a bean on two loops shows in
    // two cycles.
    std::vector<std::vector<std::size_t>> Cycles() const;
    // True if the edge lies on some cycle: both ends reach each other.
    bool OnCycle(std::size_t from, const SBeanEdge& edge) const;

private:
    void FindGroups();

    std::vector<SBeanEntry> entries_;
    struct SNameHash {
        using is_transparent = void;
        std::size_t operator()(std::string_view name) const { return std::hash<std::string_view>{}(name); }
    };
    std::unordered_map<std::string, std::size_t, SNameHash, std::equal_to<>> byName_;
    std::vector<std::size_t> group_;  // strongly connected group of each entry
    std::vector<bool> groupHasCycle_;
};

// "a -> b -> a" for a cycle of Cycles().
std::string CycleText(const CBeanIndex& index, const std::vector<std::size_t>& cycle);

}  // namespace zemcli
