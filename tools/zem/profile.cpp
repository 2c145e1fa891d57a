// zem profile: loads each document as a host does, with a request observer
// on the factory, and says where the time of the load went: per bean its own
// time and its time with everything it asked for, and the steps of the load.
#include <fstream>
#include <iomanip>
#include <iostream>
#include <memory>
#include <sstream>
#include <vector>

#include "bean_index.h"
#include "cli.h"
#include "output.h"
#include "config/document_reader.h"
#include "foundation/string_convert.h"
#include "profile_recorder.h"
#include "profile_trace.h"
#include "library_policy.h"
#include "session.h"
#include "source_map.h"
#include "verbs.h"
#include "zem/diagnostics.h"
#include "zem/exception.h"

namespace zemcli {

namespace {

constexpr const char* kHelp =
    "usage: zem profile [--json] [--trace OUT.json] [--html OUT.html] [--allow DIR]... FILE...\n"
    "\n"
    "Loads each FILE into a private container as a host does (as check does)\n"
    "and prints where the time of the load went, slowest first:\n"
    "  self     the bean's own time: its class library at first need, its\n"
    "           constructor, properties and init method\n"
    "  total    with everything it asked for (references, dependencies)\n"
    "  made     objects made; asked: requests, found singletons included\n"
    "The steps of the load stand on lines of their own: (parse) the files and\n"
    "their XML; (read) the elements; (merge) the definitions into the factory;\n"
    "(eager beans) and (load) the time between requests. The self times add up to the\n"
    "load's total. A request that gave nothing is marked with its reason, and\n"
    "makes the exit status 1, as in check; under the table each failure is\n"
    "told as check tells it, FILE:LINE:COLUMN: error: eager beans: MESSAGE.\n"
    "\n"
    "options:\n"
    "  --json            the same as JSON, times in nanoseconds: {\"loads\":\n"
    "                    [{\"file\", \"ok\", \"total_ns\", \"rows\": [{\"name\",\n"
    "                    \"kind\" (\"bean\" or \"step\"), \"self_ns\", \"total_ns\",\n"
    "                    \"made\", \"requests\", \"failed\", \"reason\"}],\n"
    "                    \"diagnostics\" (as check's)}]}; for a FILE that doesn't\n"
    "                    load, \"error\" in place of the times and rows\n"
    "  --trace OUT.json  write the spans in the Chrome trace-event format,\n"
    "                    which Perfetto and chrome://tracing show as a flame chart\n"
    "  --html OUT.html   write a page that draws the trace as nested bars,\n"
    "                    with no network access\n"
    "  --allow DIR       load class libraries only from under DIR (repeatable);\n"
    "                    without it, from wherever the document says\n";

SProfiledLoad ProfileOne(const std::string& file) {
    SProfiledLoad load;
    load.file = file;
    CSession session;
    CSourceMap map;
    session.RecordFailures();
    auto recorder = std::make_shared<CProfileRecorder>();
    ZEM::SetBeanRequestObserver(session.Factory(), recorder);
    // The steps of the load, each timed; the parse of each file is a step
    // inside the read, and what is left of the read is the readers' work.
    const std::size_t whole = recorder->BeginStep("(load)");
    std::vector<std::size_t> open;
    auto watch = [&](const char* step, bool started) {
        if (started) {
            open.push_back(recorder->BeginStep(step));
        } else {
            recorder->EndStep(open.back());
            open.pop_back();
        }
    };
    try {
        session.Load(file, true, watch, &map);
        load.loaded = true;
    } catch (const ZEM::CException& error) {
        load.error = Utf8(error.GetMessageW());
        load.failure = FailureDiagnostics(error, file);
    }
    recorder->EndStep(whole);
    ZEM::SetBeanRequestObserver(session.Factory(), nullptr);
    load.spans = recorder->Spans();
    // Inner beans by their place ("till-1/Rounding") rather than a fresh UUID.
    const CBeanIndex index(session.Store());
    for (SSpan& span : load.spans)
        if (!span.step) span.name = index.Display(span.name);
    if (load.loaded) {
        map.Attach(session.Store());
        for (const SDroppedFailure& failure : session.TakeFailures())
            load.dropped.push_back({FailurePlace(failure, index, map, file), ESeverity::kError,
                                    "eager beans: " + DescribeFailure(failure, index)});
    }
    load.total = load.spans.front().Duration();
    return load;
}

std::string Milliseconds(std::int64_t nanoseconds) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(3) << static_cast<double>(nanoseconds) / 1e6;
    return text.str();
}

std::string Column(const std::string& text, std::size_t width) {
    return text.size() >= width ? text : std::string(width - text.size(), ' ') + text;
}

void PrintTable(const SProfiledLoad& load) {
    if (!load.loaded) {
        for (const SDiagnostic& diagnostic : load.failure)
            PrintDiagnostic(std::cout, diagnostic.place, diagnostic.severity, diagnostic.message);
        return;
    }
    std::cout << load.file << ": loaded in " << Milliseconds(load.total) << " ms\n"
              << "   self ms   total ms   made  asked  bean\n";
    std::int64_t sum = 0;
    for (const SProfileRow& row : Summarize(load.spans)) {
        sum += row.self;
        std::cout << Column(Milliseconds(row.self), 10) << " " << Column(row.step ? "" : Milliseconds(row.total), 10)
                  << " " << Column(row.step ? "" : std::to_string(row.made), 6) << " "
                  << Column(row.step ? "" : std::to_string(row.requests), 6) << "  " << row.name;
        if (row.failed != 0)
            std::cout << "  FAILED " << row.failed << " of " << row.requests << ": " << row.reason;
        std::cout << "\n";
    }
    std::cout << Column(Milliseconds(sum), 10) << "                         sum\n";
    for (const SDiagnostic& diagnostic : load.dropped)
        PrintDiagnostic(std::cout, diagnostic.place, diagnostic.severity, diagnostic.message);
}

void WriteFile(const std::string& path, const std::vector<SProfiledLoad>& loads,
               void (*write)(std::ostream&, const std::vector<SProfiledLoad>&)) {
    std::ofstream out(path, std::ios::binary);
    if (out) write(out, loads);
    if (!out) throw ZEM::CException(ZEM::Message(L"Could not write '", path, L"'"));
}

}  // namespace

int RunProfile(const Args& args) {
    const std::optional<SParsedArgs> command =
        ParseCommand(args, {{"--json", false}, {"--trace", true}, {"--html", true}, kAllowOption}, kHelp, 1,
                     static_cast<std::size_t>(-1), "FILE");
    if (!command) return kExitOk;
    const SParsedArgs& parsed = *command;
    ApplyAllowOption(parsed);
    std::vector<SProfiledLoad> loads;
    bool allWell = true;
    for (const std::string& file : parsed.operands) {
        loads.push_back(ProfileOne(file));
        allWell = loads.back().loaded && allWell;
        for (const SProfileRow& row : Summarize(loads.back().spans)) allWell = row.failed == 0 && allWell;
    }
    if (parsed.Has("--json")) {
        WriteProfileJson(std::cout, loads);
    } else {
        for (const SProfiledLoad& load : loads) PrintTable(load);
    }
    if (auto trace = parsed.values.find("--trace"); trace != parsed.values.end())
        WriteFile(trace->second, loads, WriteTrace);
    if (auto html = parsed.values.find("--html"); html != parsed.values.end())
        WriteFile(html->second, loads, WriteTraceHtml);
    return allWell ? kExitOk : kExitFinding;
}

}  // namespace zemcli
