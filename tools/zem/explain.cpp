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
#include "session.h"
#include "verbs.h"

namespace zemcli {

namespace {

constexpr const char* kHelp =
    "usage: zem explain [--no-eager] [--allow DIR]... FILE NAME\n"
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
    "\n"
    "options:\n"
    "  --no-eager   make no eager beans before the request\n"
    "  --allow DIR  load class libraries only from under DIR (repeatable);\n"
    "               without it, from wherever the document says\n";

// The failures not told on the first line, in the order they happened.
void PrintOthers(const std::vector<SDroppedFailure>& failures, std::initializer_list<std::size_t> told,
                 const CBeanIndex& index) {
    for (std::size_t i = 0; i < failures.size(); ++i)
        if (std::find(told.begin(), told.end(), i) == told.end())
            std::cout << "  also: " << DescribeFailure(failures[i], index) << "\n";
}

// A library path without a slash goes to the loader's search path, never to
// the folder of the configuration: the usual surprise behind a missing library.
void HintLoaderPath(const std::vector<SDroppedFailure>& failures) {
    static const std::string kPrefix = "Could not load library '";
    for (const SDroppedFailure& failure : failures) {
        const std::string& reason = failure.reason;
        if (reason.rfind(kPrefix, 0) != 0) continue;
        std::size_t end = reason.find("' (", kPrefix.size());
        if (end == std::string::npos) end = reason.size() - 1;
        const std::string path = reason.substr(kPrefix.size(), end - kPrefix.size());
        if (path.find('/') != std::string::npos) continue;
        std::cout << "  hint: '" << path
                  << "' has no '/': the loader searches LD_LIBRARY_PATH, the program's run path and the system's "
                     "library folders for it, not the folder of the configuration\n";
        return;
    }
}

// A cycle through `entry`, if it stands in one.
std::string CycleThrough(const CBeanIndex& index, std::size_t entry) {
    for (const auto& cycle : index.Cycles())
        for (std::size_t member : cycle)
            if (member == entry) return CycleText(index, cycle);
    return {};
}

}  // namespace

int RunExplain(const Args& args) {
    const std::optional<SParsedArgs> command = ParseCommand(args, {{"--no-eager", false}, kAllowOption}, kHelp, 2, 2, "FILE and NAME");
    if (!command) return kExitOk;
    const SParsedArgs& parsed = *command;
    ApplyAllowOption(parsed);
    const std::string& file = parsed.operands[0];
    const std::string& name = parsed.operands[1];

    CSession session;
    if (!LoadOrTell(session, file, !parsed.Has("--no-eager"))) return kExitFinding;
    const CBeanIndex index(session.Store());

    session.RecordFailures();
    const std::shared_ptr<ZEM::IObject> object = session.Factory().GetBean(name.c_str(), nullptr);
    const std::vector<SDroppedFailure> failures = session.TakeFailures();
    const std::size_t entry = index.Find(name);
    const std::string cycle = entry != kNoEntry ? CycleThrough(index, entry) : std::string();

    if (object) {
        std::cout << name << ": made";
        if (entry != kNoEntry) std::cout << " (class " << index.Entries()[entry].bean->className << ")";
        std::cout << "\n";
        PrintOthers(failures, {}, index);
        HintLoaderPath(failures);
        if (!cycle.empty()) std::cout << "  cycle: " << cycle << "\n";
        return kExitOk;
    }
    if (entry == kNoEntry) {
        std::cout << name << ": no definition" << DidYouMean(ClosestWord(name, index.Names(), false)) << "\n";
        return kExitFinding;
    }
    const SBeanEntry& bean = index.Entries()[entry];
    if (!bean.bean->exported && failures.empty()) {
        std::cout << name << ": not visible from outside its library '" << bean.library->path << "'\n";
        return kExitFinding;
    }
    if (failures.empty()) {
        std::cout << name << ": gave nothing" << (cycle.empty() ? "" : "; it stands in a cycle: " + cycle) << "\n";
        return kExitFinding;
    }
    // The request's own failure is the last one told with the bean alone on
    // the chain. Below it, the failures of the requests that its making
    // started; the latest of those before it is the likeliest cause, and so
    // on down to a failure with nothing below it.
    std::size_t own = failures.size();
    for (std::size_t i = 0; i < failures.size(); ++i)
        if (failures[i].chain.size() == 1 && failures[i].bean == name) own = i;
    if (own == failures.size()) {
        std::cout << name << ": gave nothing\n";
        PrintOthers(failures, {}, index);
        HintLoaderPath(failures);
        return kExitFinding;
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
    std::cout << name << ": failed: " << failures[own].reason;
    if (cause != own) std::cout << "; before that " << DescribeFailure(failures[cause], index);
    std::cout << "\n";
    PrintOthers(failures, {own, cause}, index);
    HintLoaderPath(failures);
    if (!cycle.empty()) std::cout << "  cycle: " << cycle << "\n";
    return kExitFinding;
}

}  // namespace zemcli
