// Shared helpers of the `zem` tool: option parsing, escaping, word distance.
#include "cli.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <iostream>
#include <iterator>

#include "foundation/string_convert.h"
#include "platform/utf8.h"

namespace zemcli {

SParsedArgs ParseArgs(const std::vector<std::string>& args, std::initializer_list<SOptionSpec> specs) {
    SParsedArgs parsed;
    bool optionsEnded = false;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (optionsEnded || arg.size() < 2 || arg[0] != '-') {
            parsed.operands.push_back(arg);
            continue;
        }
        if (arg == "--") {
            optionsEnded = true;
            continue;
        }
        if (arg == "--help" || arg == "-h") {
            parsed.help = true;
            continue;
        }
        const std::size_t equals = arg.find('=');
        const std::string name = arg.substr(0, equals);
        const SOptionSpec* option = nullptr;
        for (const SOptionSpec& candidate : specs)
            if (name == candidate.name) option = &candidate;
        if (option == nullptr) throw CUsageError("unknown option '" + name + "'");
        if (!option->takesValue) {
            if (equals != std::string::npos) throw CUsageError("option '" + name + "' takes no value");
            parsed.flags.insert(name);
        } else {
            if (equals == std::string::npos && i + 1 >= args.size())
                throw CUsageError("option '" + name + "' needs a value");
            std::string& value = parsed.values[name];
            value = equals != std::string::npos ? arg.substr(equals + 1) : args[++i];
            if (option->repeatable) parsed.lists[name].push_back(value);
        }
    }
    return parsed;
}

void RequireOperands(const SParsedArgs& parsed, std::size_t least, std::size_t most, const char* what) {
    const std::size_t count = parsed.operands.size();
    if (count < least) throw CUsageError(std::string("missing ") + what);
    if (count > most) throw CUsageError("unexpected argument '" + parsed.operands[most] + "'");
}

std::optional<SParsedArgs> ParseCommand(const std::vector<std::string>& args,
                                        std::initializer_list<SOptionSpec> specs, const char* help,
                                        std::size_t least, std::size_t most, const char* what) {
    SParsedArgs parsed = ParseArgs(args, specs);
    if (parsed.help) {
        std::cout << help;
        return std::nullopt;
    }
    RequireOperands(parsed, least, most, what);
    return parsed;
}

std::string Utf8(std::wstring_view text) { return ZEM::Narrow(text); }

namespace {

// Appends one byte of a quoted text: the usual backslash escapes, other
// control characters in `controlFormat`, everything else as it is.
void AppendEscaped(unsigned char c, const char* controlFormat, std::string& out) {
    switch (c) {
        case '"': out += "\\\""; return;
        case '\\': out += "\\\\"; return;
        case '\n': out += "\\n"; return;
        case '\r': out += "\\r"; return;
        case '\t': out += "\\t"; return;
        default: break;
    }
    if (c < 0x20 || c == 0x7F) {
        char escape[8];
        std::snprintf(escape, sizeof escape, controlFormat, c);
        out += escape;
    } else {
        out.push_back(static_cast<char>(c));
    }
}

// Length of the valid UTF-8 sequence at `at`, or 0 if the bytes there form none.
std::size_t ValidSequence(std::string_view text, std::size_t at) {
    const auto lead = static_cast<unsigned char>(text[at]);
    if (lead < 0x80) return 1;
    const std::size_t length = ZEM::platform::kUtf8Width[lead];
    if (length < 2) return 0;
    constexpr std::uint32_t kLowest[5] = {0, 0, 0x80, 0x800, 0x10000};  // below these a form is overlong
    const std::uint32_t low = kLowest[length];
    if (at + length > text.size()) return 0;
    std::uint32_t code = lead & (0x7F >> length);
    for (std::size_t i = 1; i < length; ++i) {
        const auto next = static_cast<unsigned char>(text[at + i]);
        if ((next & 0xC0) != 0x80) return 0;
        code = (code << 6) | (next & 0x3F);
    }
    if (code < low || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return 0;
    return length;
}

}  // namespace

std::string JsonString(std::string_view text) {
    std::string out;
    out.reserve(text.size() + 2);
    out.push_back('"');
    for (std::size_t i = 0; i < text.size();) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c >= 0x80) {
            const std::size_t length = ValidSequence(text, i);
            if (length == 0) {
                out += "\\ufffd";
                ++i;
            } else {
                out.append(text.substr(i, length));
                i += length;
            }
            continue;
        }
        AppendEscaped(c, "\\u%04x", out);
        ++i;
    }
    out.push_back('"');
    return out;
}

std::string Quoted(std::string_view text) {
    std::string out = "\"";
    for (char ch : text) {
        const auto c = static_cast<unsigned char>(ch);
        AppendEscaped(c, "\\x%02x", out);
    }
    out.push_back('"');
    return out;
}

std::size_t WordDistance(std::string_view a, std::string_view b, bool ignoreCase) {
    auto same = [ignoreCase](char x, char y) {
        if (!ignoreCase) return x == y;
        return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
    };
    const std::size_t n = a.size();
    const std::size_t m = b.size();
    // Three rows: the one before the previous is needed for transpositions.
    std::vector<std::size_t> before(m + 1), previous(m + 1), current(m + 1);
    for (std::size_t j = 0; j <= m; ++j) previous[j] = j;
    for (std::size_t i = 1; i <= n; ++i) {
        current[0] = i;
        for (std::size_t j = 1; j <= m; ++j) {
            const std::size_t cost = same(a[i - 1], b[j - 1]) ? 0 : 1;
            current[j] = std::min({previous[j] + 1, current[j - 1] + 1, previous[j - 1] + cost});
            if (i > 1 && j > 1 && same(a[i - 1], b[j - 2]) && same(a[i - 2], b[j - 1]))
                current[j] = std::min(current[j], before[j - 2] + 1);
        }
        std::swap(before, previous);
        std::swap(previous, current);
    }
    return previous[m];
}

std::string ClosestWord(std::string_view word, const std::vector<std::string>& candidates, bool ignoreCase) {
    // Short words allow fewer edits, so that "ref" doesn't suggest "set".
    const std::size_t allowed = word.size() <= 4 ? 1 : word.size() <= 8 ? 2 : 3;
    // Of two candidates equally close, the one that shares the longer start
    // with the word: "uint16_t" is nearer to "uint16_6" than to "int16_t".
    auto sharedStart = [&](const std::string& candidate) {
        std::size_t n = 0;
        while (n < word.size() && n < candidate.size() &&
               (ignoreCase ? std::tolower(static_cast<unsigned char>(word[n])) ==
                                 std::tolower(static_cast<unsigned char>(candidate[n]))
                           : word[n] == candidate[n]))
            ++n;
        return n;
    };
    std::string best;
    std::size_t bestDistance = allowed + 1;
    std::size_t bestShared = 0;
    for (const std::string& candidate : candidates) {
        const std::size_t distance = WordDistance(word, candidate, ignoreCase);
        if (distance == 0 || distance > allowed || distance > bestDistance) continue;
        const std::size_t shared = sharedStart(candidate);
        if (distance < bestDistance || shared > bestShared) {
            best = candidate;
            bestDistance = distance;
            bestShared = shared;
        }
    }
    return best;
}

std::string DidYouMean(const std::string& suggestion) {
    return suggestion.empty() ? std::string() : "; did you mean '" + suggestion + "'?";
}

const std::string& StandardInput() {
    static const std::string text(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>{});
    return text;
}

}  // namespace zemcli
