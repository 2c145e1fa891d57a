// Which class libraries the verbs of the `zem` tool may load. Loading a
// library runs its code, so the verbs that only read a document (lint without
// --load, list, graph, xml) load none; those that load (check, explain,
// profile, lint --load) load only from the folders named by --allow, or from
// anywhere without it, as a host without a policy does.
#pragma once

#include "cli.h"

namespace zemcli {

// The option of the loading verbs: "--allow DIR", repeatable.
inline constexpr SOptionSpec kAllowOption{"--allow", true, true};

// Refuses every class library, and reads a `provides` of one all the same,
// its interfaces by name; the running program is never asked about.
void RefuseEveryLibrary();

// Allows only the libraries under the folders of --allow, if it was given.
// A bare file name, which the loader searches on its own path, is under no
// folder. Throws CUsageError for a folder that doesn't exist.
void ApplyAllowOption(const SParsedArgs& parsed);

}  // namespace zemcli
