// zem lint: warnings with file, line and column for what the readers ignore
// without a word and for what can only fail once a bean is made.
#include <algorithm>
#include <iostream>
#include <memory>
#include <optional>
#include <set>
#include <tuple>
#include <unordered_map>

#include "cli.h"
#include "grammar.h"
#include "foundation/string_convert.h"
#include "lint.h"
#include "library_policy.h"
#include "session.h"
#include "types/type_registry.h"
#include "verbs.h"
#include "zem/exception.h"

namespace zemcli {

namespace {

constexpr const char* kHelp =
    "usage: zem lint [--load [--allow DIR]...] [--json] FILE\n"
    "\n"
    "Reads FILE and its includes as a host does, without making any bean, and\n"
    "prints a warning for each of these, as FILE:LINE:COLUMN: warning: TEXT\n"
    "  - elements and attributes that are not read where they stand (with a\n"
    "    \"did you mean\" for close misspellings), 'bean' outside 'beans', second\n"
    "    elements where only the first is read, text that is not read;\n"
    "  - type names that are no value type;\n"
    "  - references, dependencies and factory beans that no definition has;\n"
    "  - cycles through references and dependencies, with the whole chain;\n"
    "  - 'for' loops that make no iteration; names defined twice.\n"
    "A document that doesn't load is reported as FILE: error: MESSAGE, one that\n"
    "isn't well-formed as FILE:LINE:COLUMN: error: MESSAGE with a second line\n"
    "FILE:LINE:COLUMN: error: CAUSE. Prints nothing for a clean document.\n"
    "\n"
    "options:\n"
    "  --load   also bind the class libraries, and report missing wrapper\n"
    "           makers, properties without declared types, values whose type\n"
    "           differs from the declared one, interfaces without a type id;\n"
    "           a library without a path is the host program and is skipped\n"
    "  --json   one JSON object: {\"file\", \"diagnostics\": [{\"file\", \"line\",\n"
    "           \"column\" (0 when not known), \"severity\" (\"error\" or\n"
    "           \"warning\"), \"message\"}]}, in the order of the text output\n"
    "  --allow DIR  with --load: load class libraries only from under DIR\n"
    "           (repeatable). Without --load, no class library is loaded: a\n"
    "           document that needs one to be read is reported as an error\n";

SSpot ArgumentSpot(const SBeanSpots* spots, bool inProperty, std::size_t property, std::size_t argument) {
    if (spots == nullptr) return {};
    if (!inProperty) return argument < spots->arguments.size() ? spots->arguments[argument] : spots->at;
    if (property >= spots->properties.size()) return spots->at;
    const SPropertySpots& place = spots->properties[property];
    return argument < place.arguments.size() ? place.arguments[argument] : place.at;
}

}  // namespace

void CFindings::Warn(const SSpot& at, std::string message) {
    findings_.push_back({at, std::move(message), findings_.size()});
}

void CFindings::Error(SDiagnostic error) { errors_.push_back(std::move(error)); }

std::vector<SDiagnostic> CFindings::Diagnostics(const CSourceMap& map) const {
    std::vector<SDiagnostic> told = errors_;
    std::vector<const SFinding*> sorted;
    for (const SFinding& finding : findings_) sorted.push_back(&finding);
    std::unordered_map<const SSourceFile*, std::size_t> ranks;
    for (std::size_t i = 0; i < map.Files().size(); ++i) ranks.emplace(map.Files()[i].get(), i);
    auto fileRank = [&](const SSourceFile* file) {
        const auto found = ranks.find(file);
        return found != ranks.end() ? found->second : map.Files().size();
    };
    auto key = [&](const SFinding* f) { return std::make_tuple(fileRank(f->at.file), f->at.offset, f->sequence); };
    std::sort(sorted.begin(), sorted.end(), [&](const SFinding* a, const SFinding* b) { return key(a) < key(b); });
    std::set<std::tuple<const SSourceFile*, std::int32_t, std::string>> seen;
    const SSourceFile* main = map.MainFile();
    std::optional<CLocator> locator;  // of the file whose findings are told now, in their order
    for (const SFinding* finding : sorted) {
        if (!seen.emplace(finding->at.file, finding->at.offset, finding->message).second) continue;
        const SSourceFile* file = finding->at.file != nullptr ? finding->at.file : main;
        SLineColumn place;
        if (finding->at.file != nullptr) {
            if (!locator || &locator->File() != file) locator.emplace(*file);
            place = locator->Locate(finding->at.offset);
        }
        told.push_back({{file != nullptr ? file->path : std::string("-"), place.line, place.column},
                        ESeverity::kWarning,
                        finding->message});
    }
    return told;
}

SSpot BeanSpot(const CSourceMap& map, const ZEM::SBean& bean) {
    const SBeanSpots* spots = map.Find(bean);
    return spots != nullptr ? spots->at : SSpot{};
}

void LintDefinitions(const ZEM::CConfigurationStore& store, const CBeanIndex& index, const CSourceMap& map,
                     CFindings& findings) {
    // The factory's own table: the 21 value types and the reference kinds.
    ZEM::CTypeRegistry types;
    types.SetObjectType(std::make_unique<ZEM::ObjectType>(&types));
    const std::vector<std::string> typeNames(std::begin(kTypeNames), std::end(kTypeNames));
    const std::vector<std::string> beanNames = index.Names();

    for (const SBeanEntry& entry : index.Entries()) {
        const ZEM::SBean& bean = *entry.bean;
        const SBeanSpots* spots = map.Find(bean);
        const SSpot at = spots != nullptr ? spots->at : SSpot{};
        if (!entry.inForce)
            findings.Warn(at, "bean '" + entry.display + "' is defined again; requests find the first definition");

        auto checkValue = [&](const ZEM::SArgument& argument, bool inProperty, std::size_t property,
                              std::size_t position) {
            if (argument.type == "bean") {
                if (index.Find(argument.value) == kNoEntry) {
                    const std::string& target = argument.value;
                    findings.Warn(ArgumentSpot(spots, inProperty, property, position),
                                  "reference to '" + target + "', which no definition has" +
                                      DidYouMean(ClosestWord(target, beanNames, false)));
                }
                return;
            }
            try {
                types.FindType(argument.type.c_str());
            } catch (const ZEM::CException&) {
                findings.Warn(ArgumentSpot(spots, inProperty, property, position),
                              "type '" + argument.type + "' is not a value type" +
                                  DidYouMean(ClosestWord(argument.type, typeNames, false)));
            }
        };
        for (std::size_t i = 0; i < bean.arguments.size(); ++i) checkValue(bean.arguments[i], false, 0, i);
        for (std::size_t p = 0; p < bean.properties.size(); ++p)
            for (std::size_t i = 0; i < bean.properties[p].arguments.size(); ++i)
                checkValue(bean.properties[p].arguments[i], true, p, i);

        for (std::size_t i = 0; i < bean.dependsOn.size(); ++i) {
            if (index.Find(bean.dependsOn[i]) != kNoEntry) continue;
            const SSpot spot = spots != nullptr && i < spots->dependsOn.size() ? spots->dependsOn[i] : at;
            findings.Warn(spot, "depends-on '" + bean.dependsOn[i] + "', which no definition has" +
                                    DidYouMean(ClosestWord(bean.dependsOn[i], beanNames, false)));
        }
        if (!bean.factoryBean.empty() && index.Find(bean.factoryBean) == kNoEntry)
            findings.Warn(at, "factory-bean '" + bean.factoryBean + "', which no definition has" +
                                  DidYouMean(ClosestWord(bean.factoryBean, beanNames, false)));
    }

    for (const std::vector<std::size_t>& cycle : index.Cycles())
        findings.Warn(BeanSpot(map, *index.Entries()[cycle.front()].bean),
                      "cycle through references and dependencies: " + CycleText(index, cycle));
}

int RunLint(const Args& args) {
    const std::optional<SParsedArgs> command =
        ParseCommand(args, {{"--load", false}, {"--json", false}, kAllowOption}, kHelp, 1, 1, "FILE");
    if (!command) return kExitOk;
    const SParsedArgs& parsed = *command;
    const std::string& file = parsed.operands.front();
    if (parsed.Has("--load"))
        ApplyAllowOption(parsed);
    else if (parsed.lists.count(kAllowOption.name) != 0)
        throw CUsageError("option '--allow' needs '--load'");
    else
        RefuseEveryLibrary();  // reading a document runs none of its code

    CFindings findings;
    CSourceMap map;
    map.KeepTrees();  // the grammar walks the elements
    CSession session;
    bool loaded = true;
    try {
        session.Load(file, false, {}, &map);
    } catch (const ZEM::CException& error) {
        for (SDiagnostic& diagnostic : FailureDiagnostics(error, file)) findings.Error(std::move(diagnostic));
        loaded = false;
    }
    LintGrammar(map, findings);
    if (loaded) {
        map.Attach(session.Store());
        const CBeanIndex index(session.Store());
        LintDefinitions(session.Store(), index, map, findings);
        if (parsed.Has("--load")) {
            // Binding loads the class libraries, whose start-up code may print.
            const CBeanOutputGuard guard;
            LintClasses(session.Store(), index, map, findings);
        }
    }
    const std::vector<SDiagnostic> diagnostics = findings.Diagnostics(map);
    if (parsed.Has("--json")) {
        std::cout << "{\"file\": " << JsonString(file) << ", \"diagnostics\": [";
        for (std::size_t i = 0; i < diagnostics.size(); ++i)
            std::cout << (i != 0 ? ",\n  " : "\n  ") << DiagnosticJson(diagnostics[i]);
        std::cout << "]}\n";
    } else {
        for (const SDiagnostic& diagnostic : diagnostics)
            PrintDiagnostic(std::cout, diagnostic.place, diagnostic.severity, diagnostic.message);
    }
    return findings.Empty() ? kExitOk : kExitFinding;
}

}  // namespace zemcli
