// zem list: the libraries of a document and their beans, after includes and
// loops, in definition order, as text or as JSON for other tools.
#include <iostream>
#include <string>

#include "bean_index.h"
#include "cli.h"
#include "library_policy.h"
#include "foundation/string_convert.h"
#include "platform/module.h"
#include "session.h"
#include "source_map.h"
#include "verbs.h"

namespace zemcli {

namespace {

constexpr const char* kHelp =
    "usage: zem list [--json] FILE\n"
    "\n"
    "Reads FILE and its includes as a host does, without making any bean, and\n"
    "shows each class library with its beans in definition order: class, flags,\n"
    "factory bean and method, init and exit methods, dependencies, provided\n"
    "interfaces, constructor arguments and properties as typed text. Inner\n"
    "beans are listed in their library too, before the bean that holds them.\n"
    "\n"
    "options:\n"
    "  --json   one JSON object: {\"file\": ..., \"libraries\": [{\"path\": ...,\n"
    "           \"hostProgram\": ..., \"beans\": [...]}]}\n"
    "\n"
    "A library written without a path means the host program; it is shown as\n"
    "\"(the host program)\", and in JSON with \"hostProgram\": true.\n";

std::string TypedText(const ZEM::SArgument& argument) {
    if (argument.type == "nullptr") return "nullptr";
    return argument.type + " " + Quoted(argument.value);
}

std::string JsonArguments(const std::vector<ZEM::SArgument>& arguments) {
    std::string out = "[";
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (i != 0) out += ",";
        out += "{\"type\":" + JsonString(arguments[i].type) +
               ",\"value\":" + JsonString(arguments[i].value) + "}";
    }
    return out + "]";
}

// The interface as written, where the bean's place in its file is known.
std::string InterfaceName(const SBeanSpots* spots, std::size_t i) {
    return spots != nullptr && i < spots->interfaceNames.size() ? spots->interfaceNames[i] : std::string();
}

// A library written without a path stands for the host program; here that
// is this tool, whose path would only mislead.
bool IsHostProgram(const ZEM::SLibrary& library) { return library.path == ZEM::platform::ExecutablePath(); }

void PrintText(const ZEM::CConfigurationStore& store, const CBeanIndex& index, const CSourceMap& map) {
    std::size_t entry = 0;
    for (const auto& library : store.libraries) {
        std::cout << "library " << (IsHostProgram(*library) ? "(the host program)" : library->path) << "\n";
        if (library->beans.empty()) std::cout << "  (no beans)\n";
        for (const ZEM::SBean& bean : library->beans) {
            const SBeanEntry& indexed = index.Entries()[entry++];
            const SBeanSpots* spots = map.Find(bean);
            std::cout << "  bean " << bean.name << "\n";
            if (indexed.inner) std::cout << "    inner bean of: " << indexed.display << "\n";
            std::cout << "    class: " << bean.className << "\n";
            std::string flags;
            if (bean.singleton) flags += " singleton";
            if (!bean.lazy) flags += " eager";
            if (!bean.exported) flags += " unexported";
            if (bean.autoname) flags += " autoname";
            if (!flags.empty()) std::cout << "    flags:" << flags << "\n";
            if (!bean.factoryBean.empty()) std::cout << "    factory-bean: " << bean.factoryBean << "\n";
            std::cout << "    factory-method: " << bean.factoryMethod << "\n";
            if (!bean.initMethod.empty()) std::cout << "    init-method: " << bean.initMethod << "\n";
            if (!bean.exitMethod.empty()) std::cout << "    exit-method: " << bean.exitMethod << "\n";
            for (const std::string& dependency : bean.dependsOn) std::cout << "    depends-on: " << dependency << "\n";
            for (std::size_t i = 0; i < bean.interfaces.size(); ++i) {
                const std::string name = InterfaceName(spots, i);
                std::cout << "    provides: "
                          << (name.empty() ? bean.interfaces[i] : name + " (" + bean.interfaces[i] + ")") << "\n";
            }
            for (std::size_t i = 0; i < bean.arguments.size(); ++i)
                std::cout << "    argument " << i + 1 << ": " << TypedText(bean.arguments[i]) << "\n";
            for (const ZEM::SProperty& property : bean.properties) {
                std::cout << "    property " << property.name << ":";
                for (std::size_t i = 0; i < property.arguments.size(); ++i)
                    std::cout << (i != 0 ? ", " : " ") << TypedText(property.arguments[i]);
                std::cout << "\n";
            }
        }
    }
}

void PrintJson(const std::string& file, const ZEM::CConfigurationStore& store, const CBeanIndex& index,
               const CSourceMap& map) {
    auto flag = [](bool value) { return value ? "true" : "false"; };
    std::size_t entry = 0;
    std::cout << "{\"file\":" << JsonString(file) << ",\"libraries\":[";
    for (std::size_t l = 0; l < store.libraries.size(); ++l) {
        const ZEM::SLibrary& library = *store.libraries[l];
        std::cout << (l != 0 ? "," : "") << "{\"path\":" << JsonString(library.path)
                  << ",\"hostProgram\":" << flag(IsHostProgram(library)) << ",\"beans\":[";
        for (std::size_t b = 0; b < library.beans.size(); ++b) {
            const ZEM::SBean& bean = library.beans[b];
            const SBeanEntry& indexed = index.Entries()[entry++];
            const SBeanSpots* spots = map.Find(bean);
            std::cout << (b != 0 ? "," : "") << "{\"name\":" << JsonString(bean.name)
                      << ",\"innerOf\":" << (indexed.inner ? JsonString(indexed.display) : "null")
                      << ",\"class\":" << JsonString(bean.className) << ",\"singleton\":" << flag(bean.singleton)
                      << ",\"lazy\":" << flag(bean.lazy) << ",\"exported\":" << flag(bean.exported)
                      << ",\"autoname\":" << flag(bean.autoname) << ",\"factoryBean\":" << JsonString(bean.factoryBean)
                      << ",\"factoryMethod\":" << JsonString(bean.factoryMethod)
                      << ",\"initMethod\":" << JsonString(bean.initMethod)
                      << ",\"exitMethod\":" << JsonString(bean.exitMethod) << ",\"dependsOn\":[";
            for (std::size_t i = 0; i < bean.dependsOn.size(); ++i)
                std::cout << (i != 0 ? "," : "") << JsonString(bean.dependsOn[i]);
            std::cout << "],\"interfaces\":[";
            for (std::size_t i = 0; i < bean.interfaces.size(); ++i) {
                const std::string name = InterfaceName(spots, i);
                std::cout << (i != 0 ? "," : "") << "{\"name\":" << (name.empty() ? "null" : JsonString(name))
                          << ",\"typeId\":" << JsonString(bean.interfaces[i]) << "}";
            }
            std::cout << "],\"arguments\":" << JsonArguments(bean.arguments) << ",\"properties\":[";
            for (std::size_t i = 0; i < bean.properties.size(); ++i)
                std::cout << (i != 0 ? "," : "") << "{\"name\":" << JsonString(bean.properties[i].name)
                          << ",\"arguments\":" << JsonArguments(bean.properties[i].arguments) << "}";
            std::cout << "]}";
        }
        std::cout << "]}";
    }
    std::cout << "]}\n";
}

}  // namespace

int RunList(const Args& args) {
    const std::optional<SParsedArgs> command = ParseCommand(args, {{"--json", false}}, kHelp, 1, 1, "FILE");
    if (!command) return kExitOk;
    const SParsedArgs& parsed = *command;
    RefuseEveryLibrary();  // reading a document runs none of its code
    const std::string& file = parsed.operands.front();
    CSession session;
    if (!LoadOrTell(session, file, false)) return kExitFinding;
    CSourceMap map;
    map.Attach(session.Store());
    const CBeanIndex index(session.Store());
    if (parsed.Has("--json"))
        PrintJson(file, session.Store(), index, map);
    else
        PrintText(session.Store(), index, map);
    return kExitOk;
}

}  // namespace zemcli
