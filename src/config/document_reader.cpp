// The document level of the configuration reader: a file (with its includes)
// or a text becomes a new CConfiguration, and each `library` element is handed
// to the bean reader. Used by the container's configuring constructors and
// Reset forms; a document that fails leaves the factory untouched.
#include "config/document_reader.h"

#include <filesystem>
#include <new>
#include <string>
#include <system_error>
#include <vector>

#include "config/bean_reader.h"
#include "foundation/string_convert.h"
#include "platform/files.h"
#include "platform/module.h"
#include "substitution/loops.h"
#include "zem/exception.h"

namespace ZEM {

namespace {

constexpr const char* kRootName = "zem";

// Includes nested deeper than this are refused, so that a chain of files that
// name each other in ever new ways still ends.
constexpr std::size_t kMaxIncludeDepth = 64;

// The form in which a path reaches the file system: every '\' becomes '/'.
std::string FileSystemPath(const std::wstring& path) {
    std::string narrow = Narrow(path);
    for (char& c : narrow)
        if (c == '\\') c = '/';
    return narrow;
}

// The directory of `path`, with its own separator: up to the last backslash,
// else the last slash; empty if there is neither.
std::wstring BaseDirectory(const std::wstring& path) {
    std::size_t at = path.rfind(L'\\');
    if (at == std::wstring::npos) at = path.rfind(L'/');
    return at == std::wstring::npos ? std::wstring() : path.substr(0, at + 1);
}

// The path with links, "." and ".." resolved as far as it exists; as given
// if that fails.
std::string Canonical(const std::string& fileSystemPath) {
    return platform::CanonicalPath(fileSystemPath);
}

// What identifies one reading among those under way: the file, however its
// path is written, and the directory its includes are joined to. The base
// directory is cut by the last backslash, so it need not be the file's own
// directory, and a file reached through a link resolves its includes next to
// the link: one file read against two directories is no cycle.
std::string ReadingIdentity(const std::string& fileSystemPath, const std::wstring& base) {
    const std::string directory = FileSystemPath(base);
    return Canonical(fileSystemPath) + '\n' + Canonical(directory.empty() ? "." : directory);
}

thread_local ParseWatch t_parseWatch;

// The span of one parse, for the watch of this thread if there is one.
class CParseSpan {
public:
    CParseSpan() {
        if (t_parseWatch) t_parseWatch(true);
    }
    ~CParseSpan() {
        try {
            if (t_parseWatch) t_parseWatch(false);
        } catch (...) {
        }
    }
    CParseSpan(const CParseSpan&) = delete;
    CParseSpan& operator=(const CParseSpan&) = delete;
};

// One file being read: parsed, its includes read up to `next`, each merged
// into its configuration as soon as it was read.
struct SOpenFile {
    std::wstring path;
    std::wstring base;
    std::string identity;  // as ReadingIdentity gives it
    XMLNode root;
    CConfiguration configuration;
    int includes = 0;
    int next = 0;
    std::int32_t position = 0;
};

// Parses `path` into a new entry of `open`, refusing a file that is already
// being read against the same base directory, and a chain of includes
// deeper than the limit.
void OpenFile(IBeanFactory* factory, std::wstring path, std::vector<SOpenFile>& open) {
    const std::string fileSystemPath = FileSystemPath(path);
    std::wstring base = BaseDirectory(path);
    std::string identity = ReadingIdentity(fileSystemPath, base);
    for (const SOpenFile& file : open)
        if (file.identity == identity) throw CException(L"Include cycle at file '" + path + L"'");
    if (open.size() >= kMaxIncludeDepth)
        throw CException(L"Includes nested too deeply at file '" + path + L"'");

    SXmlParseResult result;
    XMLNode root;
    {
        CParseSpan span;
        root = ParseFile(fileSystemPath.c_str(), kRootName, &result);
    }
    if (result.error == XmlOutOfMemory) throw std::bad_alloc();
    if (result.error == XmlFileNotFound) throw CException(L"File '" + path + L"' not found");
    if (result.error != XmlNoError)
        throw CException(L"Error while parsing file '" + path + L"': " +
                         DescribeParseError(result, kRootName));

    const int includes = root.ChildCount("include");
    open.push_back(SOpenFile{std::move(path), std::move(base), std::move(identity), std::move(root),
                             CConfiguration(factory), includes});
}

// The path of the next include of `file`, joined to its base directory.
std::wstring NextInclude(SOpenFile& file) {
    XMLNode include = file.root.NextChild("include", &file.position);
    ++file.next;
    const char* includePath = include.AttributeValue("path");
    if (includePath == nullptr || *includePath == '\0') throw CException(L"Missing argument 'path' in include tag");
    std::wstring relative = Widen(includePath);
    for (wchar_t& c : relative)
        if (c == L'/') c = L'\\';
    return file.base + relative;
}

// Includes come before everything else in a file, depth first, each merged
// as soon as it is read, so that a name clash names the first file that
// repeats it. The chain of open files is kept on the heap, not the stack.
CConfiguration ReadFile(IBeanFactory* factory, const std::wstring& path) {
    CLoopReading reading;
    std::vector<SOpenFile> open;
    OpenFile(factory, path, open);
    for (;;) {
        SOpenFile& file = open.back();
        if (file.next < file.includes) {
            OpenFile(factory, NextInclude(file), open);
            continue;
        }
        file.configuration.Store().path = file.path;
        reading.SetFile(file.path);
        ReadLibraries(file.configuration, file.root);
        CConfiguration done = std::move(file.configuration);
        open.pop_back();
        if (open.empty()) return done;
        open.back().configuration.MergeConfiguration(done);
    }
}

}  // namespace

void SetParseWatch(ParseWatch watch) { t_parseWatch = std::move(watch); }

CConfiguration ReadConfigurationFile(IBeanFactory* factory, const wchar_t* path) {
    return ReadFile(factory, path != nullptr ? std::wstring(path) : std::wstring());
}

CConfiguration ReadConfigurationText(IBeanFactory* factory, const char* text) {
    CConfiguration configuration(factory);
    if (text == nullptr || *text == '\0') return configuration;
    CLoopReading reading;

    SXmlParseResult result;
    XMLNode root;
    {
        CParseSpan span;
        root = ParseText(text, kRootName, &result);
    }
    if (result.error == XmlOutOfMemory) throw std::bad_alloc();
    if (result.error != XmlNoError)
        throw CException(L"Error while parsing xml: " + DescribeParseError(result, kRootName));

    ReadLibraries(configuration, root);
    return configuration;
}

void ReadLibraries(CConfiguration& configuration, const XMLNode& root) {
    const int count = root.ChildCount("library");
    std::int32_t position = 0;
    for (int i = 0; i < count; ++i) {
        XMLNode element = root.NextChild("library", &position);

        // Taken as written: a library path is not resolved against the
        // document's directory. No path means the host's own executable.
        const char* written = element.AttributeValue("path");
        std::string path = written != nullptr ? written : "";
        if (path.empty()) {
            path = platform::ExecutablePath();
            if (path.empty())
                throw CException(L"Error (path not found) when parsing library in file '" +
                                 configuration.Store().path + L"'");
        }

        SLibrary* library = configuration.FindOrAddLibrary(path);

        XMLNode beans = element.NextChild("beans");
        if (!beans.IsEmpty()) {
            ParameterMap parameters;
            ReadBeans(configuration, beans, library, parameters);
        }
    }
}

std::wstring DescribeParseError(const SXmlParseResult& result, const char* rootName) {
    if (result.error == XmlNoError) return std::wstring();
    std::string text = "Error when parssing '";
    text += rootName != nullptr ? rootName : "";
    text += "'";
    if (result.line != 0)
        text += " at line " + std::to_string(result.line) + ", column " + std::to_string(result.column);
    text += ".";
    return Widen(text);
}

}  // namespace ZEM
