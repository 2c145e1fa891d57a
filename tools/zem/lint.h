// The findings of `zem lint` and the three passes that make them: the
// grammar pass over each file's tree, the pass over the loaded definitions,
// and the pass that binds the class libraries (--load).
#pragma once

#include <string>
#include <vector>

#include "bean_index.h"
#include "config/configuration.h"
#include "output.h"
#include "source_map.h"

namespace zemcli {

class CFindings {
public:
    // A warning at `at`; without a file it is told against the main file.
    void Warn(const SSpot& at, std::string message);
    // An error that stops the document from loading: the library's message,
    // or the parser's cause.
    void Error(SDiagnostic error);

    bool Empty() const { return findings_.empty() && errors_.empty(); }
    // The errors, then the warnings in the order of the files and, in a
    // file, of the positions; the same finding at one place once.
    std::vector<SDiagnostic> Diagnostics(const CSourceMap& map) const;

private:
    struct SFinding {
        SSpot at;
        std::string message;
        std::size_t sequence;
    };
    std::vector<SFinding> findings_;
    std::vector<SDiagnostic> errors_;
};

// What the grammar leaves unread: unknown or misplaced elements and
// attributes, second elements where only the first is read, text that isn't
// read, loops that make no iteration.
void LintGrammar(const CSourceMap& map, CFindings& findings);

// What can only fail later: unknown value types, references and dependencies
// with no definition, cycles, second definitions of a name.
void LintDefinitions(const ZEM::CConfigurationStore& store, const CBeanIndex& index, const CSourceMap& map,
                     CFindings& findings);

// With the class libraries bound: missing makers, properties without declared
// types, values whose type differs from the declared one, interfaces without
// a type id.
void LintClasses(const ZEM::CConfigurationStore& store, const CBeanIndex& index, const CSourceMap& map,
                 CFindings& findings);

// The spot of a bean's element, or none.
SSpot BeanSpot(const CSourceMap& map, const ZEM::SBean& bean);

}  // namespace zemcli
