// The `zem` tool: validates, shows and explains configuration documents with
// the library's own readers and factory, so that what it says about a
// document is what a host would meet.
#include <cstring>
#include <iostream>
#include <new>
#include <string>

#include "cli.h"
#include "output.h"
#include "foundation/string_convert.h"
#include "verbs.h"
#include "zem/exception.h"
#include "zem/version.h"

namespace {

using namespace zemcli;

struct SVerb {
    const char* name;
    int (*run)(const Args&);
    const char* summary;
};

constexpr SVerb kVerbs[] = {
    {"check", RunCheck, "load documents as a host does and report what fails"},
    {"list", RunList, "show the libraries and beans of a document"},
    {"graph", RunGraph, "write the beans and their references as a Graphviz DOT graph"},
    {"explain", RunExplain, "request one bean and say why it gives nothing"},
    {"lint", RunLint, "warn about what the readers ignore and what can only fail later"},
    {"xml", RunXml, "show the XML tree as the library parses it, as JSON"},
    {"profile", RunProfile, "load documents and show where the time went, per bean, with a trace"},
};

void PrintUsage(std::ostream& out) {
    out << "usage: zem COMMAND [OPTIONS] FILE...\n       zem --version\n\ncommands:\n";
    for (const SVerb& verb : kVerbs) {
        std::string name = verb.name;
        name.resize(9, ' ');
        out << "  " << name << verb.summary << "\n";
    }
    out << "\nRun 'zem COMMAND --help' for the options of a command. A FILE of '-' is\n"
           "read from standard input as document text (no includes).\n"
           "Exit status: 0 all well, 1 an error or a finding, 2 wrong usage.\n";
}

const SVerb* FindVerb(const std::string& name) {
    for (const SVerb& verb : kVerbs)
        if (name == verb.name) return &verb;
    return nullptr;
}

}  // namespace

int main(int argc, char** argv) {
    std::ios::sync_with_stdio(false);
    SetBeanOutputAside();
    if (argc < 2) {
        PrintUsage(std::cerr);
        return kExitUsage;
    }
    std::string first = argv[1];
    if (first == "--help" || first == "-h" || first == "help") {
        if (first == "help" && argc > 2) {
            if (const SVerb* verb = FindVerb(argv[2])) return verb->run({"--help"});
            std::cerr << "zem: unknown command '" << argv[2] << "'\n";
            return kExitUsage;
        }
        PrintUsage(std::cout);
        return kExitOk;
    }
    if (first == "--version") {
        std::cout << "zem " << ZEM::Version() << "\n";
        return kExitOk;
    }
    const SVerb* verb = FindVerb(first);
    if (verb == nullptr) {
        std::cerr << "zem: unknown command '" << first << "'\n";
        PrintUsage(std::cerr);
        return kExitUsage;
    }
    try {
        const int status = verb->run(Args(argv + 2, argv + argc));
        std::cout.flush();
        return status;
    } catch (const CUsageError& error) {
        std::cout.flush();
        std::cerr << "zem " << verb->name << ": " << error.what() << "\nTry 'zem " << verb->name << " --help'.\n";
        return kExitUsage;
    } catch (const ZEM::CException& error) {
        std::cout.flush();
        std::cerr << "zem " << verb->name << ": " << ZEM::Narrow(error.GetMessageW()) << "\n";
        return kExitFinding;
    } catch (const std::bad_alloc&) {
        std::cout.flush();
        std::cerr << "zem " << verb->name << ": out of memory\n";
        return kExitFinding;
    } catch (const std::exception& error) {
        std::cout.flush();
        std::cerr << "zem " << verb->name << ": " << error.what() << "\n";
        return kExitFinding;
    } catch (const IException&) {
        // The one other failure the library throws: a map that ran out of memory.
        std::cout.flush();
        std::cerr << "zem " << verb->name << ": out of memory\n";
        return kExitFinding;
    }
}
