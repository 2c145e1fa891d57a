// zem xml: the tree as the library's XML layer parses a file, as JSON. Useful
// to see what the readers see: decoded entities, text pieces, the element
// that is taken as the root.
#include <iostream>
#include <string>

#include "cli.h"
#include "library_policy.h"
#include "output.h"
#include "verbs.h"
#include "xml/xml_document.h"
#include "xml/xml_node.h"

namespace zemcli {

namespace {

constexpr const char* kHelp =
    "usage: zem xml [--root NAME] FILE\n"
    "\n"
    "Parses FILE with the library's XML layer and prints the tree as JSON, one\n"
    "object per element:\n"
    "  {\"name\": ..., \"attributes\": [[name, value-or-null], ...],\n"
    "   \"texts\": [...], \"children\": [...]}\n"
    "Texts are the pieces the parser keeps, in document order; an attribute\n"
    "written without '=' has the value null. The root is chosen as the\n"
    "configuration reader chooses it with --root zem; without --root, the\n"
    "element (or the unnamed top node) that the parse gives. A parse failure\n"
    "prints the error code, line and column, and exits with 1. A FILE of '-'\n"
    "is read from standard input as UTF-8 text.\n"
    "\n"
    "options:\n"
    "  --root NAME   the element to show as the root\n";

const char* ErrorName(std::uint32_t code) {
    switch (code) {
        case ZEM::XmlMissingEndTag:
            return "missing end tag";
        case ZEM::XmlNoTagFound:
            return "no element found";
        case ZEM::XmlEmptyFile:
            return "empty file";
        case ZEM::XmlMissingTagName:
            return "missing tag name";
        case ZEM::XmlMissingEndTagName:
            return "missing end tag name";
        case ZEM::XmlUnmatchedEndTag:
            return "unmatched end tag";
        case ZEM::XmlUnterminatedClear:
            return "unterminated comment or section";
        case ZEM::XmlUnexpectedToken:
            return "unexpected token";
        case ZEM::XmlNoInput:
            return "no input";
        case ZEM::XmlFileNotFound:
            return "file not found";
        case ZEM::XmlRootNotFound:
            return "root element not found";
        case ZEM::XmlUnknownEntity:
            return "unknown entity";
        case ZEM::XmlCodeAbove255:
            return "character reference above 255";
        case ZEM::XmlConversionFailed:
            return "conversion failed";
        case ZEM::XmlTooDeep:
            return "nested too deep";
        case ZEM::XmlFileTooLarge:
            return "file too large";
        case ZEM::XmlOutOfMemory:
            return "out of memory";
        default:
            return "error";
    }
}

// Depth-first with an explicit stack: a tree may be nested as deep as the
// parser allows.
void PrintTree(const ZEM::XMLNode& root, std::string& out) {
    struct SFrame {
        ZEM::XMLNode node;
        int next;  // the next child to print
    };
    auto open = [&out](const ZEM::XMLNode& node) {
        out += "{\"name\":";
        out += node.Name() != nullptr ? JsonString(node.Name()) : "null";
        out += ",\"attributes\":[";
        for (int i = 0; i < node.AttributeCount(); ++i) {
            const char* value = node.AttributeValueAt(i);
            out += (i != 0 ? ",[" : "[") + JsonString(node.AttributeNameAt(i)) + "," +
                   (value != nullptr ? JsonString(value) : "null") + "]";
        }
        out += "],\"texts\":[";
        for (int i = 0; i < node.TextCount(); ++i) out += (i != 0 ? "," : "") + JsonString(node.Text(i));
        out += "],\"children\":[";
    };
    std::vector<SFrame> stack;
    open(root);
    stack.push_back({root, 0});
    while (!stack.empty()) {
        SFrame& frame = stack.back();
        if (frame.next < frame.node.ChildCount()) {
            if (frame.next != 0) out += ",";
            ZEM::XMLNode child = frame.node.ChildAtIndex(frame.next++);
            open(child);
            stack.push_back({child, 0});
            continue;
        }
        out += "]}";
        stack.pop_back();
    }
}

}  // namespace

int RunXml(const Args& args) {
    const std::optional<SParsedArgs> command = ParseCommand(args, {{"--root", true}}, kHelp, 1, 1, "FILE");
    if (!command) return kExitOk;
    const SParsedArgs& parsed = *command;
    RefuseEveryLibrary();  // reading a document runs none of its code
    const std::string& file = parsed.operands.front();
    const auto root = parsed.values.find("--root");
    const char* rootName = root != parsed.values.end() ? root->second.c_str() : nullptr;
    ZEM::SXmlParseResult result;
    const ZEM::XMLNode tree = file == "-" ? ZEM::ParseText(StandardInput().c_str(), rootName, &result)
                                          : ZEM::ParseFile(file.c_str(), rootName, &result);
    if (result.error != ZEM::XmlNoError) {
        PrintDiagnostic(std::cout, {file, result.line, result.column}, ESeverity::kError,
                        "parse error " + std::to_string(result.error) + " (" + ErrorName(result.error) + ")");
        return kExitFinding;
    }
    std::string out;
    PrintTree(tree, out);
    std::cout << out << "\n";
    return kExitOk;
}

}  // namespace zemcli
