// zem check: loads each document into a private container as a host does and
// reports the library's message, or a summary. Failures that bean requests
// drop while eager beans are made reach no host; check shows them.
#include <iostream>
#include <set>
#include <string>
#include <vector>

#include "bean_index.h"
#include "cli.h"
#include "foundation/string_convert.h"
#include "library_policy.h"
#include "session.h"
#include "verbs.h"
#include "zem/exception.h"

namespace zemcli {

namespace {

constexpr const char* kHelp =
    "usage: zem check [--no-eager] [--allow DIR]... FILE...\n"
    "\n"
    "Loads each FILE into a private container as a host does: its includes,\n"
    "the class libraries it needs, and its eager beans. Prints\n"
    "  FILE: ok (N beans in M libraries, K services)\n"
    "or FILE: followed by the library's own message (for a class library that\n"
    "can't be loaded, the loader's reason follows it; for a document that isn't\n"
    "well-formed, a second line FILE:LINE:COLUMN: error: CAUSE says what the\n"
    "parser found there). A bean request that fails\n"
    "while eager beans are made gives a host no word; check prints each such\n"
    "failure on a line of its own and counts it as an error. Then it binds\n"
    "every class library that the document names and checks every bean, lazy\n"
    "ones too, without making it: its class, its maker, its constructor or\n"
    "factory method and properties against what the class declares, and the\n"
    "classes of the beans it refers to. Each bean that can't be made is told as\n"
    "  FILE: bean 'NAME': MESSAGE\n"
    "\n"
    "options:\n"
    "  --no-eager   read and merge only, make no eager beans\n"
    "  --allow DIR  load class libraries only from under DIR (repeatable);\n"
    "               without it, from wherever the document says\n";

// Every bean checked without being made, in reading order: "bean 'NAME':
// MESSAGE" for each that can't be. A bean whose eager request failed is told
// already, and a class library that can't be bound is told once.
std::vector<std::string> VerifyBeans(CSession& session, const std::vector<SDroppedFailure>& failures) {
    std::set<std::string> told;
    for (const SDroppedFailure& failure : failures)
        if (failure.chain.size() == 1) told.insert(failure.bean);
    std::vector<std::string> problems;
    std::set<std::string> bindingFailures;
    for (const auto& library : session.Store().libraries) {
        for (const ZEM::SBean& bean : library->beans) {
            if (told.count(bean.name) != 0) continue;
            std::string problem;
            try {
                problem = Utf8(session.Impl().VerifyBean(bean.name.c_str()));
            } catch (const ZEM::CException& error) {
                problem = FailureText(error);
                if (!bindingFailures.insert(problem).second) continue;
            } catch (const std::exception& error) {
                problem = error.what();
            }
            if (!problem.empty()) problems.push_back("bean '" + bean.name + "': " + problem);
        }
    }
    return problems;
}

bool CheckOne(const std::string& file, bool eager) {
    CSession session;
    session.RecordFailures();
    try {
        session.Load(file, eager);
    } catch (const ZEM::CException& error) {
        std::cout << file << ": " << FailureText(error) << "\n";
        if (const std::string cause = ParseFailureLine(error, file); !cause.empty()) std::cout << cause << "\n";
        return false;
    }
    const std::vector<SDroppedFailure> failures = session.TakeFailures();
    const std::vector<std::string> problems = VerifyBeans(session, failures);
    const SStoreCounts counts = CountStore(session.Store());
    // One fixed form, whatever the numbers, so that scripts can match it.
    const std::string summary = "(" + std::to_string(counts.beans) + " beans in " + std::to_string(counts.libraries) +
                                " libraries, " + std::to_string(counts.services) + " services)";
    if (failures.empty() && problems.empty()) {
        std::cout << file << ": ok " << summary << "\n";
        return true;
    }
    const CBeanIndex index(session.Store());
    for (const SDroppedFailure& failure : failures)
        std::cout << file << ": eager beans: " << DescribeFailure(failure, index) << "\n";
    for (const std::string& problem : problems) std::cout << file << ": " << problem << "\n";
    std::cout << file << ": ";
    if (!failures.empty()) std::cout << failures.size() << " failures while making eager beans";
    if (!failures.empty() && !problems.empty()) std::cout << ", ";
    if (!problems.empty()) std::cout << problems.size() << " beans that can't be made";
    std::cout << " " << summary << "\n";
    return false;
}

}  // namespace

int RunCheck(const Args& args) {
    const std::optional<SParsedArgs> command =
        ParseCommand(args, {{"--no-eager", false}, kAllowOption}, kHelp, 1, static_cast<std::size_t>(-1), "FILE");
    if (!command) return kExitOk;
    const SParsedArgs& parsed = *command;
    ApplyAllowOption(parsed);
    bool allWell = true;
    for (const std::string& file : parsed.operands) allWell = CheckOne(file, !parsed.Has("--no-eager")) && allWell;
    return allWell ? kExitOk : kExitFinding;
}

}  // namespace zemcli
