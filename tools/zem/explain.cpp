// zem explain: requests one bean as a host does and, when the result is
// empty, says why: no definition, not visible from outside its library, or
// the message of the failure that the request dropped, with the chain of
// beans that led to it.
#include <algorithm>
#include <initializer_list>
#include <iostream>
#include <string>

#include "bean_index.h"
#include "cli.h"
#include "library_policy.h"
#include "output.h"
#include "session.h"
#include "source_map.h"
#include "verbs.h"

namespace zemcli {

namespace {

constexpr const char* kHelp =
    "usage: zem explain [--no-eager] [--json] [--allow DIR]... FILE NAME\n"
    "\n"
    "Loads FILE as a host does, then requests the bean NAME from outside any\n"
    "library, as a host's GetBean does. If that gives an object:\n"
    "  NAME: made (class CLASS)\n"
    "Otherwise one line says why:\n"
    "  NAME: no definition\n"
    "  NAME: not visible from outside its library 'PATH'\n"
    "  NAME: failed: MESSAGE\n"
    "  NAME: failed: MESSAGE; before that 'OTHER' failed: MESSAGE (via NAME -> ... -> OTHER)\n"
    "where MESSAGE is the exact text of a failure that the request dropped. The\n"
    "second form names the deepest failure among the references and dependencies\n"
    "that the bean's making requested, with the chain of beans that led to it.\n"
    "Other failures dropped during the request follow, each on a line \"also:\".\n"
    "A class library that could not be loaded is told with the loader's reason;\n"
    "for a path without a '/', a line \"hint:\" says where the loader looks.\n"
    "A failure of an eager bean while FILE loads is told on standard error as\n"
    "  FILE:LINE:COLUMN: error: eager beans: 'NAME' failed: MESSAGE\n"
    "\n"
    "options:\n"
    "  --no-eager   make no eager beans before the request\n"
    "  --json       one JSON object: {\"file\", \"bean\", \"outcome\" (\"made\", \"no\n"
    "               definition\", \"not visible\", \"failed\" or \"gave nothing\"),\n"
    "               \"summary\" (the first line's text), \"class\", \"failures\":\n"
    "               [{\"bean\", \"reason\", \"chain\"}] (every failure dropped, in\n"
    "               order), \"hint\", \"cycle\", \"diagnostics\": [{\"file\",\n"
    "               \"line\", \"column\" (0 when not known), \"severity\",\n"
    "               \"message\"}] (the failures of the eager beans)}; null where\n"
    "               there is none. For a FILE that doesn't load, \"outcome\" is\n"
    "               \"not loaded\", \"summary\" the library's message and\n"
    "               \"diagnostics\" where it stopped\n"
    "  --allow DIR  load class libraries only from under DIR (repeatable);\n"
    "               without it, from wherever the document says\n";

// What explain found out about one request, before it is printed.
struct SExplanation {
    const char* outcome = "gave nothing";  // made, no definition, not visible, failed, gave nothing, not loaded
    std::string line;                      // the first line, after "NAME: "
    std::string className;                 // of a made bean
    std::vector<std::string> also;         // the failures not told on the first line
    std::string hint;
    std::string cycle;
};

// The failures not told on the first line, in the order they happened.
void AddOthers(SExplanation& explanation, const std::vector<SDroppedFailure>& failures,
               std::initializer_list<std::size_t> told, const CBeanIndex& index) {
    for (std::size_t i = 0; i < failures.size(); ++i)
        if (std::find(told.begin(), told.end(), i) == told.end())
            explanation.also.push_back(DescribeFailure(failures[i], index));
}

// A library path without a slash goes to the loader's search path, never to
// the folder of the configuration: the usual surprise behind a missing library.
std::string HintLoaderPath(const std::vector<SDroppedFailure>& failures) {
    static const std::string kPrefix = "Could not load library '";
    for (const SDroppedFailure& failure : failures) {
        const std::string& reason = failure.reason;
        if (reason.rfind(kPrefix, 0) != 0) continue;
        std::size_t end = reason.find("' (", kPrefix.size());
        if (end == std::string::npos) end = reason.size() - 1;
        const std::string path = reason.substr(kPrefix.size(), end - kPrefix.size());
        if (path.find('/') != std::string::npos) continue;
        return "'" + path +
               "' has no '/': the loader searches LD_LIBRARY_PATH, the program's run path and the system's "
               "library folders for it, not the folder of the configuration";
    }
    return {};
}

// A cycle through `entry`, if it stands in one.
std::string CycleThrough(const CBeanIndex& index, std::size_t entry) {
    for (const auto& cycle : index.Cycles())
        for (std::size_t member : cycle)
            if (member == entry) return CycleText(index, cycle);
    return {};
}

SExplanation Explain(const std::string& name, bool made, const std::vector<SDroppedFailure>& failures,
                     const CBeanIndex& index) {
    SExplanation explanation;
    const std::size_t entry = index.Find(name);
    const std::string cycle = entry != kNoEntry ? CycleThrough(index, entry) : std::string();
    if (made) {
        explanation.outcome = "made";
        explanation.line = "made";
        if (entry != kNoEntry) {
            explanation.className = index.Entries()[entry].bean->className;
            explanation.line += " (class " + explanation.className + ")";
        }
        AddOthers(explanation, failures, {}, index);
        explanation.hint = HintLoaderPath(failures);
        explanation.cycle = cycle;
        return explanation;
    }
    if (entry == kNoEntry) {
        explanation.outcome = "no definition";
        explanation.line = "no definition" + DidYouMean(ClosestWord(name, index.Names(), false));
        return explanation;
    }
    const SBeanEntry& bean = index.Entries()[entry];
    if (!bean.bean->exported && failures.empty()) {
        explanation.outcome = "not visible";
        explanation.line = "not visible from outside its library '" + bean.library->path + "'";
        return explanation;
    }
    if (failures.empty()) {
        explanation.line = "gave nothing" + (cycle.empty() ? "" : "; it stands in a cycle: " + cycle);
        return explanation;
    }
    // The request's own failure is the last one told with the bean alone on
    // the chain. Below it, the failures of the requests that its making
    // started; the latest of those before it is the likeliest cause, and so
    // on down to a failure with nothing below it.
    std::size_t own = failures.size();
    for (std::size_t i = 0; i < failures.size(); ++i)
        if (failures[i].chain.size() == 1 && failures[i].bean == name) own = i;
    if (own == failures.size()) {
        explanation.line = "gave nothing";
        AddOthers(explanation, failures, {}, index);
        explanation.hint = HintLoaderPath(failures);
        return explanation;
    }
    std::size_t cause = own;
    for (bool deeper = true; deeper;) {
        deeper = false;
        for (std::size_t i = cause; i-- > 0;) {
            const std::vector<std::string>& chain = failures[i].chain;
            const std::vector<std::string>& above = failures[cause].chain;
            if (chain.size() == above.size() + 1 && std::equal(above.begin(), above.end(), chain.begin())) {
                cause = i;
                deeper = true;
                break;
            }
        }
    }
    explanation.outcome = "failed";
    explanation.line = "failed: " + failures[own].reason;
    if (cause != own) explanation.line += "; before that " + DescribeFailure(failures[cause], index);
    AddOthers(explanation, failures, {own, cause}, index);
    explanation.hint = HintLoaderPath(failures);
    explanation.cycle = cycle;
    return explanation;
}

void PrintText(const std::string& name, const SExplanation& explanation) {
    std::cout << name << ": " << explanation.line << "\n";
    for (const std::string& also : explanation.also) std::cout << "  also: " << also << "\n";
    if (!explanation.hint.empty()) std::cout << "  hint: " << explanation.hint << "\n";
    if (!explanation.cycle.empty()) std::cout << "  cycle: " << explanation.cycle << "\n";
}

void PrintJson(const std::string& file, const std::string& name, const SExplanation& explanation,
               const std::vector<SDroppedFailure>& failures, const std::vector<SDiagnostic>& diagnostics) {
    auto optional = [](const std::string& text) { return text.empty() ? std::string("null") : JsonString(text); };
    std::cout << "{\"file\": " << JsonString(file) << ", \"bean\": " << JsonString(name)
              << ", \"outcome\": " << JsonString(explanation.outcome) << ", \"summary\": " << JsonString(explanation.line)
              << ", \"class\": " << optional(explanation.className) << ", \"failures\": [";
    for (std::size_t i = 0; i < failures.size(); ++i) {
        std::cout << (i != 0 ? ", " : "") << "{\"bean\": " << JsonString(failures[i].bean)
                  << ", \"reason\": " << JsonString(failures[i].reason) << ", \"chain\": [";
        for (std::size_t c = 0; c < failures[i].chain.size(); ++c)
            std::cout << (c != 0 ? ", " : "") << JsonString(failures[i].chain[c]);
        std::cout << "]}";
    }
    std::cout << "], \"hint\": " << optional(explanation.hint) << ", \"cycle\": " << optional(explanation.cycle)
              << ", \"diagnostics\": [";
    for (std::size_t i = 0; i < diagnostics.size(); ++i)
        std::cout << (i != 0 ? ", " : "") << DiagnosticJson(diagnostics[i]);
    std::cout << "]}\n";
}

}  // namespace

int RunExplain(const Args& args) {
    const std::optional<SParsedArgs> command =
        ParseCommand(args, {{"--no-eager", false}, {"--json", false}, kAllowOption}, kHelp, 2, 2, "FILE and NAME");
    if (!command) return kExitOk;
    const SParsedArgs& parsed = *command;
    ApplyAllowOption(parsed);
    const std::string& file = parsed.operands[0];
    const std::string& name = parsed.operands[1];

    CSession session;
    CSourceMap map;
    const bool json = parsed.Has("--json");
    session.RecordFailures();
    if (json) {
        try {
            session.Load(file, !parsed.Has("--no-eager"), {}, &map);
        } catch (const ZEM::CException& error) {
            SExplanation explanation;
            explanation.outcome = "not loaded";
            explanation.line = FailureText(error);
            PrintJson(file, name, explanation, {}, FailureDiagnostics(error, file));
            return kExitFinding;
        }
    } else if (!LoadOrTell(session, file, !parsed.Has("--no-eager"), &map)) {
        return kExitFinding;
    }
    map.Attach(session.Store());
    const CBeanIndex index(session.Store());
    // What the eager beans dropped while the document loaded: no part of
    // the answer, but a host would have lost it without a word.
    std::vector<SDiagnostic> eager;
    for (const SDroppedFailure& failure : session.TakeFailures())
        eager.push_back({FailurePlace(failure, index, map, file), ESeverity::kError,
                         "eager beans: " + DescribeFailure(failure, index)});
    if (!json)
        for (const SDiagnostic& diagnostic : eager)
            PrintDiagnostic(std::cerr, diagnostic.place, diagnostic.severity, diagnostic.message);

    bool made = false;
    {
        // The request, and the end of what it made, run bean code.
        const CBeanOutputGuard guard;
        made = session.Factory().GetBean(name.c_str(), nullptr) != nullptr;
    }
    const std::vector<SDroppedFailure> failures = session.TakeFailures();
    const SExplanation explanation = Explain(name, made, failures, index);
    if (json)
        PrintJson(file, name, explanation, failures, eager);
    else
        PrintText(name, explanation);
    return made ? kExitOk : kExitFinding;
}

}  // namespace zemcli
