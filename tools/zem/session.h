// A private container for one document, loaded the way a host loads it, with
// the failures that bean requests drop recorded for the tool to show. Used by
// every verb that reads a configuration.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "config/configuration.h"
#include "output.h"
#include "container/bean_factory.h"
#include "zem/container.h"

namespace zemcli {

class CBeanIndex;
class CSourceMap;

// One failure that a bean request dropped.
struct SDroppedFailure {
    std::string bean;
    std::string reason;
    std::vector<std::string> chain;  // beans being made, outermost first; ends with `bean`
};

class CSession {
public:
    CSession();
    ~CSession();
    CSession(const CSession&) = delete;
    CSession& operator=(const CSession&) = delete;

    // From now on every dropped failure is recorded. Off by default, as for a host.
    void RecordFailures();
    std::vector<SDroppedFailure> TakeFailures();

    // Told when each step of a load ("(read)", the "(parse)" of each file
    // within it, "(merge)", "(eager beans)") starts (true) and ends (false),
    // for timing.
    using StepWatch = std::function<void(const char* step, bool started)>;

    // Loads `file` ("-": the text on standard input, which has no includes)
    // in the steps of the container's own load: read, merge and, with
    // `eager`, the eager beans. Throws CException with the library's message.
    // `map`, if given, learns of every document read, for positions.
    void Load(const std::string& file, bool eager, const StepWatch& watch = {}, CSourceMap* map = nullptr);

    ZEM::IBeanFactory& Factory() const { return container_.Factory(); }
    ZEM::CBeanFactoryImpl& Impl() const;
    ZEM::CConfigurationStore& Store() const { return Impl().Configuration().Store(); }

private:
    // Declared first so that it outlives the factory that calls into it.
    std::vector<SDroppedFailure> failures_;
    ZEM::CContainer container_;
};

// The library's message; for a class library that could not be loaded, with
// the loader's reason in parentheses, as the failure handler tells it.
std::string FailureText(const ZEM::CException& error);

// The library's message as a diagnostic and, for a document that isn't
// well-formed, the parser's cause as a second one, both at the place where
// the parser stopped (in the file that failed, which may be an include).
std::vector<SDiagnostic> FailureDiagnostics(const ZEM::CException& error, const std::string& file);

// Loads as CSession::Load does, `map` included; on an error prints
// "FILE: message" to standard error and returns false.
bool LoadOrTell(CSession& session, const std::string& file, bool eager, CSourceMap* map = nullptr);

// Bean, library and service counts of a loaded store.
struct SStoreCounts {
    std::size_t beans = 0;
    std::size_t libraries = 0;
    std::size_t services = 0;
};
SStoreCounts CountStore(const ZEM::CConfigurationStore& store);

// "'b' failed: REASON (via a -> b)", with inner beans named by their place.
std::string DescribeFailure(const SDroppedFailure& failure, const CBeanIndex& index);

// Where a bean's element stands, from a map attached to the store that holds
// it; `file` alone where the map knows no position.
SPlace BeanPlace(const ZEM::SBean& bean, const CSourceMap& map, const std::string& file);

// Where the definition behind a dropped failure stands: that of the innermost
// bean on its chain that has one, since a name without a definition is
// written in the bean that asks for it.
SPlace FailurePlace(const SDroppedFailure& failure, const CBeanIndex& index, const CSourceMap& map,
                    const std::string& file);

}  // namespace zemcli
