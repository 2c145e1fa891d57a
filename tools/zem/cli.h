// Helpers that every verb of the `zem` tool shares: exit codes, the parsing
// of a verb's options, output of text and JSON, and the word distance behind
// the "did you mean" suggestions.
#pragma once

#include <initializer_list>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace zemcli {

// 0: all is well; 1: the document has an error or a finding; 2: wrong usage.
enum EExit : int { kExitOk = 0, kExitFinding = 1, kExitUsage = 2 };

// Wrong usage of the command line; main prints it with a hint and exits 2.
class CUsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct SOptionSpec {
    const char* name;  // with the dashes, e.g. "--json"
    bool takesValue;
    bool repeatable = false;  // each value is kept, in order, in `lists`
};

struct SParsedArgs {
    bool help = false;
    std::set<std::string> flags;
    std::map<std::string, std::string> values;  // the last value of each option
    std::map<std::string, std::vector<std::string>> lists;
    std::vector<std::string> operands;

    bool Has(const char* flag) const { return flags.count(flag) != 0; }
};

// Options may stand anywhere among the operands; "--" ends them, and "-" is
// an operand (standard input). "--name=value" and "--name value" both work.
// Throws CUsageError for an unknown option or a missing value.
SParsedArgs ParseArgs(const std::vector<std::string>& args, std::initializer_list<SOptionSpec> specs);

// Throws CUsageError unless the operand count lies in [least, most].
void RequireOperands(const SParsedArgs& parsed, std::size_t least, std::size_t most, const char* what);

// The start of every verb: its options parsed, then either `help` printed
// (for --help; nothing is returned) or the operand count checked.
std::optional<SParsedArgs> ParseCommand(const std::vector<std::string>& args,
                                        std::initializer_list<SOptionSpec> specs, const char* help,
                                        std::size_t least, std::size_t most, const char* what);

// Wide library text (messages) as UTF-8.
std::string Utf8(std::wstring_view text);

// `text` as a JSON string literal, quotes included. Bytes that are no valid
// UTF-8 become U+FFFD, as the library's own decoder reads them.
std::string JsonString(std::string_view text);

// `text` in double quotes with backslash escapes, for plain output.
std::string Quoted(std::string_view text);

// Edit distance with adjacent transpositions counted as one step.
std::size_t WordDistance(std::string_view a, std::string_view b, bool ignoreCase);

// The closest of `candidates` to `word` if it is close enough to be a
// misspelling of it; empty otherwise.
std::string ClosestWord(std::string_view word, const std::vector<std::string>& candidates, bool ignoreCase);

// ", did you mean 'x'?" or nothing.
std::string DidYouMean(const std::string& suggestion);

// The whole of standard input, read once.
const std::string& StandardInput();

}  // namespace zemcli
