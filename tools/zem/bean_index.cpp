// The bean graph of a store. Requests follow references and dependencies by
// name, so edges go to the definition that a name finds: the first library
// that holds the name, and the first record there. Factory beans lend only
// their class, so they make edges but never cycles.
#include "bean_index.h"

#include <algorithm>
#include <deque>

#include "foundation/string_convert.h"

namespace zemcli {

namespace {

bool IsInnerName(std::string_view name) { return name.rfind("unnamed bean ", 0) == 0; }

bool IsReference(EEdgeKind kind) { return kind != EEdgeKind::FactoryBean; }

}  // namespace

const char* EdgeKindName(EEdgeKind kind) {
    switch (kind) {
        case EEdgeKind::ConstructorArg:
            return "constructor-arg";
        case EEdgeKind::Property:
            return "property";
        case EEdgeKind::DependsOn:
            return "depends-on";
        case EEdgeKind::FactoryBean:
            return "factory-bean";
        case EEdgeKind::InnerBean:
            return "inner bean";
    }
    return "";
}

CBeanIndex::CBeanIndex(const ZEM::CConfigurationStore& store) {
    for (std::size_t l = 0; l < store.libraries.size(); ++l) {
        const ZEM::SLibrary& library = *store.libraries[l];
        for (const ZEM::SBean& bean : library.beans) {
            SBeanEntry entry;
            entry.library = &library;
            entry.bean = &bean;
            entry.libraryIndex = l;
            entry.inner = IsInnerName(bean.name);
            entry.display = bean.name;
            entry.inForce = byName_.emplace(bean.name, entries_.size()).second;
            entries_.push_back(std::move(entry));
        }
    }

    for (SBeanEntry& entry : entries_) {
        const ZEM::SBean& bean = *entry.bean;
        auto reference = [&](const ZEM::SArgument& argument, EEdgeKind kind, std::size_t property,
                             std::size_t position) {
            if (argument.type != "bean") return;
            SBeanEdge edge{kind, argument.value};
            edge.to = Find(edge.target);
            edge.property = property;
            edge.argument = position;
            if (edge.to != kNoEntry && entries_[edge.to].inner) {
                edge.inProperty = kind == EEdgeKind::Property;
                edge.kind = EEdgeKind::InnerBean;
            }
            entry.edges.push_back(std::move(edge));
        };
        for (std::size_t i = 0; i < bean.arguments.size(); ++i)
            reference(bean.arguments[i], EEdgeKind::ConstructorArg, 0, i);
        for (std::size_t p = 0; p < bean.properties.size(); ++p)
            for (std::size_t i = 0; i < bean.properties[p].arguments.size(); ++i)
                reference(bean.properties[p].arguments[i], EEdgeKind::Property, p, i);
        for (std::size_t i = 0; i < bean.dependsOn.size(); ++i) {
            SBeanEdge edge{EEdgeKind::DependsOn, bean.dependsOn[i]};
            edge.to = Find(edge.target);
            edge.argument = i;
            entry.edges.push_back(std::move(edge));
        }
        if (!bean.factoryBean.empty()) {
            SBeanEdge edge{EEdgeKind::FactoryBean, bean.factoryBean};
            edge.to = Find(edge.target);
            entry.edges.push_back(std::move(edge));
        }
    }

    // Inner beans stand before their holders, so walking backwards names each
    // holder before the inner beans it holds.
    for (std::size_t i = entries_.size(); i-- > 0;) {
        const SBeanEntry& holder = entries_[i];
        for (const SBeanEdge& edge : holder.edges) {
            if (edge.kind != EEdgeKind::InnerBean) continue;
            std::string place = holder.display + "/";
            if (edge.inProperty) place += holder.bean->properties[edge.property].name + "/";
            place += "arg" + std::to_string(edge.argument + 1);
            entries_[edge.to].display = place;
        }
    }
    FindGroups();
}

std::size_t CBeanIndex::Find(std::string_view name) const {
    const auto found = byName_.find(name);
    return found != byName_.end() ? found->second : kNoEntry;
}

std::string CBeanIndex::Display(std::string_view name) const {
    const std::size_t entry = Find(name);
    return entry != kNoEntry ? entries_[entry].display : std::string(name);
}

std::vector<std::string> CBeanIndex::Names() const {
    std::vector<std::string> names;
    for (const SBeanEntry& entry : entries_)
        if (entry.inForce && !entry.inner) names.push_back(entry.bean->name);
    return names;
}

void CBeanIndex::FindGroups() {
    // Tarjan's algorithm without recursion: a chain of 100,000 references
    // must not exhaust the stack.
    const std::size_t count = entries_.size();
    std::vector<std::size_t> order(count, kNoEntry), low(count, 0);
    std::vector<bool> onStack(count, false);
    std::vector<std::size_t> stack;
    group_.assign(count, kNoEntry);
    groupHasCycle_.clear();
    std::size_t counter = 0;
    struct SFrame {
        std::size_t node;
        std::size_t edge;
    };
    std::vector<SFrame> frames;
    for (std::size_t start = 0; start < count; ++start) {
        if (order[start] != kNoEntry || !entries_[start].inForce) continue;
        frames.push_back({start, 0});
        order[start] = low[start] = counter++;
        stack.push_back(start);
        onStack[start] = true;
        while (!frames.empty()) {
            SFrame& frame = frames.back();
            const std::vector<SBeanEdge>& edges = entries_[frame.node].edges;
            if (frame.edge < edges.size()) {
                const SBeanEdge& edge = edges[frame.edge++];
                if (!IsReference(edge.kind) || edge.to == kNoEntry) continue;
                const std::size_t next = edge.to;
                if (order[next] == kNoEntry) {
                    order[next] = low[next] = counter++;
                    stack.push_back(next);
                    onStack[next] = true;
                    frames.push_back({next, 0});
                } else if (onStack[next]) {
                    low[frame.node] = std::min(low[frame.node], order[next]);
                }
                continue;
            }
            const std::size_t node = frame.node;
            frames.pop_back();
            if (!frames.empty()) low[frames.back().node] = std::min(low[frames.back().node], low[node]);
            if (low[node] != order[node]) continue;
            const std::size_t id = groupHasCycle_.size();
            std::size_t size = 0;
            std::size_t member = 0;
            do {
                member = stack.back();
                stack.pop_back();
                onStack[member] = false;
                group_[member] = id;
                ++size;
            } while (member != node);
            bool selfLoop = false;
            for (const SBeanEdge& edge : entries_[node].edges)
                if (IsReference(edge.kind) && edge.to == node) selfLoop = true;
            groupHasCycle_.push_back(size > 1 || selfLoop);
        }
    }
}

bool CBeanIndex::OnCycle(std::size_t from, const SBeanEdge& edge) const {
    if (!IsReference(edge.kind) || edge.to == kNoEntry || from >= group_.size()) return false;
    const std::size_t group = group_[from];
    return group != kNoEntry && group == group_[edge.to] && groupHasCycle_[group];
}

std::vector<std::vector<std::size_t>> CBeanIndex::Cycles() const {
    // A depth-first walk in definition order; each edge back to a bean still
    // on the walk's path closes one cycle, so two loops through one bean are
    // told apart.
    enum EState : unsigned char { kUnseen, kOnPath, kDone };
    std::vector<std::vector<std::size_t>> cycles;
    std::vector<EState> state(entries_.size(), kUnseen);
    struct SFrame {
        std::size_t node;
        std::size_t edge;
    };
    std::vector<SFrame> path;
    for (std::size_t start = 0; start < entries_.size(); ++start) {
        if (state[start] != kUnseen || !entries_[start].inForce) continue;
        path.push_back({start, 0});
        state[start] = kOnPath;
        while (!path.empty()) {
            SFrame& frame = path.back();
            const std::vector<SBeanEdge>& edges = entries_[frame.node].edges;
            if (frame.edge == edges.size()) {
                state[frame.node] = kDone;
                path.pop_back();
                continue;
            }
            const SBeanEdge& edge = edges[frame.edge++];
            if (!IsReference(edge.kind) || edge.to == kNoEntry) continue;
            if (state[edge.to] == kUnseen) {
                state[edge.to] = kOnPath;
                path.push_back({edge.to, 0});
            } else if (state[edge.to] == kOnPath) {
                std::vector<std::size_t> cycle;
                std::size_t i = path.size();
                while (path[--i].node != edge.to) {
                }
                for (; i < path.size(); ++i) cycle.push_back(path[i].node);
                cycles.push_back(std::move(cycle));
            }
        }
    }
    return cycles;
}

std::string CycleText(const CBeanIndex& index, const std::vector<std::size_t>& cycle) {
    std::string text;
    for (std::size_t entry : cycle) text += index.Entries()[entry].display + " -> ";
    return text + index.Entries()[cycle.front()].display;
}

}  // namespace zemcli
