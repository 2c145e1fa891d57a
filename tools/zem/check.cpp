// zem check: loads each document into a private container as a host does and
// reports the library's message, or a summary. Failures that bean requests
// drop while eager beans are made reach no host; check shows them.
#include <iostream>
#include <set>
#include <string>
#include <vector>

#include "bean_index.h"
#include "cli.h"
#include "output.h"
#include "foundation/string_convert.h"
#include "library/library.h"
#include "library_policy.h"
#include "session.h"
#include "source_map.h"
#include "verbs.h"
#include "zem/exception.h"

namespace zemcli {

namespace {

constexpr const char* kHelp =
    "usage: zem check [--no-eager] [--json] [--allow DIR]... FILE...\n"
    "\n"
    "Loads each FILE into a private container as a host does: its includes,\n"
    "the class libraries it needs, and its eager beans. Prints\n"
    "  FILE: ok (N beans in M libraries, K services)\n"
    "or FILE: error: followed by the library's own message (for a class library\n"
    "that can't be loaded, the loader's reason follows it; for a document that\n"
    "isn't well-formed, at FILE:LINE:COLUMN, with a second line\n"
    "FILE:LINE:COLUMN: error: CAUSE that says what the parser found there). A\n"
    "bean request that fails while eager beans are made gives a host no word;\n"
    "check prints each such failure on a line of its own, at the element of the\n"
    "bean that failed (or of the bean that names a missing one), and counts it\n"
    "as an error. Then it binds every class library that the document names and\n"
    "checks every bean, lazy ones too, without making it: its class, its maker,\n"
    "its constructor or factory method and properties against what the class\n"
    "declares, and the classes of the beans it refers to. Each bean that can't\n"
    "be made is told at its element as\n"
    "  FILE:LINE:COLUMN: error: bean 'NAME': MESSAGE\n"
    "\n"
    "options:\n"
    "  --no-eager   read and merge only, make no eager beans\n"
    "  --json       one JSON array, an object per FILE: {\"file\", \"ok\" (true\n"
    "               when it loaded without failures), \"beans\", \"libraries\",\n"
    "               \"services\" (when it loaded), \"diagnostics\": [{\"file\",\n"
    "               \"line\", \"column\" (0 when not known), \"severity\",\n"
    "               \"message\"}]}\n"
    "  --allow DIR  load class libraries only from under DIR (repeatable);\n"
    "               without it, from wherever the document says\n";

// Every bean checked without being made, in reading order: "bean 'NAME':
// MESSAGE" at the bean's element for each that can't be. A bean whose eager
// request failed is told already, and a class library that can't be bound
// is told once.
std::vector<SDiagnostic> VerifyBeans(CSession& session, const std::vector<SDroppedFailure>& failures,
                                     const CSourceMap& map, const std::string& file) {
    std::set<std::string> told;
    for (const SDroppedFailure& failure : failures)
        if (failure.chain.size() == 1) told.insert(failure.bean);
    std::vector<SDiagnostic> problems;
    std::set<std::string> bindingFailures;
    for (const auto& library : session.Store().libraries) {
        // Once the library won't load, each other bean of its own would try
        // the loader again to the same end.
        bool unloadable = false;
        for (const ZEM::SBean& bean : library->beans) {
            if (told.count(bean.name) != 0 || (unloadable && bean.factoryBean.empty())) continue;
            std::string problem;
            try {
                problem = Utf8(session.Impl().VerifyBean(bean.name.c_str()));
            } catch (const ZEM::CLoadFailure& error) {
                unloadable = unloadable || bean.factoryBean.empty();
                problem = FailureText(error);
                if (!bindingFailures.insert(problem).second) continue;
            } catch (const ZEM::CException& error) {
                problem = FailureText(error);
                if (!bindingFailures.insert(problem).second) continue;
            } catch (const std::exception& error) {
                problem = error.what();
            }
            if (!problem.empty())
                problems.push_back(
                    {BeanPlace(bean, map, file), ESeverity::kError, "bean '" + bean.name + "': " + problem});
        }
    }
    return problems;
}

// What check finds in one document; `counts` only when it loaded.
struct SChecked {
    std::string file;
    bool loaded = false;
    SStoreCounts counts;
    std::size_t eagerFailures = 0;  // of `diagnostics`, the first ones
    std::vector<SDiagnostic> diagnostics;
};

SChecked CheckOne(const std::string& file, bool eager) {
    SChecked checked;
    checked.file = file;
    CSession session;
    CSourceMap map;
    session.RecordFailures();
    try {
        session.Load(file, eager, {}, &map);
    } catch (const ZEM::CException& error) {
        checked.diagnostics = FailureDiagnostics(error, file);
        return checked;
    }
    checked.loaded = true;
    checked.counts = CountStore(session.Store());
    map.Attach(session.Store());
    const CBeanIndex index(session.Store());
    const std::vector<SDroppedFailure> failures = session.TakeFailures();
    for (const SDroppedFailure& failure : failures)
        checked.diagnostics.push_back({FailurePlace(failure, index, map, file), ESeverity::kError,
                                       "eager beans: " + DescribeFailure(failure, index)});
    checked.eagerFailures = checked.diagnostics.size();
    for (SDiagnostic& problem : VerifyBeans(session, failures, map, file))
        checked.diagnostics.push_back(std::move(problem));
    return checked;
}

void PrintText(const SChecked& checked) {
    for (const SDiagnostic& diagnostic : checked.diagnostics)
        PrintDiagnostic(std::cout, diagnostic.place, diagnostic.severity, diagnostic.message);
    if (!checked.loaded) return;
    // One fixed form, whatever the numbers, so that scripts can match it.
    const SStoreCounts& counts = checked.counts;
    const std::string summary = "(" + std::to_string(counts.beans) + " beans in " + std::to_string(counts.libraries) +
                                " libraries, " + std::to_string(counts.services) + " services)";
    if (checked.diagnostics.empty())
        std::cout << checked.file << ": ok " << summary << "\n";
    else {
        const std::size_t failures = checked.eagerFailures;
        const std::size_t problems = checked.diagnostics.size() - failures;
        std::cout << checked.file << ": ";
        if (failures != 0) std::cout << failures << " failures while making eager beans";
        if (failures != 0 && problems != 0) std::cout << ", ";
        if (problems != 0) std::cout << problems << " beans that can't be made";
        std::cout << " " << summary << "\n";
    }
}

void PrintJson(const std::vector<SChecked>& all) {
    std::cout << "[";
    for (std::size_t i = 0; i < all.size(); ++i) {
        const SChecked& checked = all[i];
        std::cout << (i != 0 ? ",\n " : "") << "{\"file\": " << JsonString(checked.file)
                  << ", \"ok\": " << (checked.loaded && checked.diagnostics.empty() ? "true" : "false");
        if (checked.loaded)
            std::cout << ", \"beans\": " << checked.counts.beans << ", \"libraries\": " << checked.counts.libraries
                      << ", \"services\": " << checked.counts.services;
        std::cout << ", \"diagnostics\": [";
        for (std::size_t d = 0; d < checked.diagnostics.size(); ++d)
            std::cout << (d != 0 ? ", " : "") << DiagnosticJson(checked.diagnostics[d]);
        std::cout << "]}";
    }
    std::cout << "]\n";
}

}  // namespace

int RunCheck(const Args& args) {
    const std::optional<SParsedArgs> command =
        ParseCommand(args, {{"--no-eager", false}, {"--json", false}, kAllowOption}, kHelp, 1,
                     static_cast<std::size_t>(-1), "FILE");
    if (!command) return kExitOk;
    const SParsedArgs& parsed = *command;
    ApplyAllowOption(parsed);
    std::vector<SChecked> all;
    bool allWell = true;
    for (const std::string& file : parsed.operands) {
        all.push_back(CheckOne(file, !parsed.Has("--no-eager")));
        allWell = all.back().loaded && all.back().diagnostics.empty() && allWell;
        if (!parsed.Has("--json")) PrintText(all.back());
    }
    if (parsed.Has("--json")) PrintJson(all);
    return allWell ? kExitOk : kExitFinding;
}

}  // namespace zemcli
