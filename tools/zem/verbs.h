// The verbs of the `zem` tool. Each takes the arguments after its own name,
// handles its --help, throws CUsageError for wrong usage, and returns the
// exit status.
#pragma once

#include <string>
#include <vector>

namespace zemcli {

using Args = std::vector<std::string>;

int RunCheck(const Args& args);
int RunList(const Args& args);
int RunGraph(const Args& args);
int RunExplain(const Args& args);
int RunLint(const Args& args);
int RunXml(const Args& args);
int RunProfile(const Args& args);

}  // namespace zemcli
