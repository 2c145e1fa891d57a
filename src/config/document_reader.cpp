// The document level of the configuration reader: a file (with its includes)
// or a text becomes a new CConfiguration, and each `library` element is handed
// to the bean reader. Used by the container's configuring constructors and
// Reset forms; a document that fails leaves the factory untouched.
#include "config/document_reader.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <new>
#include <string_view>
#include <string>
#include <system_error>
#include <vector>

#include "config/bean_reader.h"
#include "foundation/string_convert.h"
#include "platform/file.h"
#include "platform/files.h"
#include "platform/module.h"
#include "substitution/loops.h"
#include "zem/exception.h"

namespace ZEM {

namespace {

constexpr const char* kRootName = "zem";

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

// The folder a document stands in, as the file system knows it and made
// absolute, since a class library is loaded long after the reading, when the
// current directory may have changed; the current directory for a text.
std::string DocumentFolder(const std::wstring& base) {
    std::string folder = FileSystemPath(base);
    if (folder.empty()) folder = ".";
    std::string absolute = platform::AbsoluteFolder(folder);
    return absolute.empty() ? folder : absolute;
}

// `path` with every %zem:dir% replaced by `folder`.
std::string WithDocumentFolder(std::string path, const std::string& folder) {
    constexpr std::string_view kVariable = kDocumentFolderVariable;
    for (std::size_t at = path.find(kVariable); at != std::string::npos; at = path.find(kVariable, at + folder.size()))
        path.replace(at, kVariable.size(), folder);
    return path;
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

// The span of one parse, for the load's watch if there is one.
class CParseSpan {
public:
    explicit CParseSpan(const CReading& reading) : reading_(reading) {
        if (reading_.parseWatch) reading_.parseWatch(true);
    }
    ~CParseSpan() {
        try {
            if (reading_.parseWatch) reading_.parseWatch(false);
        } catch (...) {
        }
    }
    CParseSpan(const CParseSpan&) = delete;
    CParseSpan& operator=(const CParseSpan&) = delete;

private:
    const CReading& reading_;
};

struct SBufferFree {
    void operator()(unsigned char* buffer) const { std::free(buffer); }
};

// Opens and parses the file at `path`, refusing what is not a regular file
// and what the load can't afford, before a byte of it is read.
XMLNode ParseDocumentFile(const std::wstring& path, const std::string& fileSystemPath, CReading& reading,
                          std::uint32_t& number) {
    platform::CInputFile input;
    switch (input.Open(fileSystemPath.c_str())) {
        case platform::CInputFile::Opened: break;
        case platform::CInputFile::NotRegular: throw CException(L"File '" + path + L"' is not a regular file");
        default: throw CException(L"File '" + path + L"' not found");
    }
    number = reading.ChargeFile(path, input.Size());

    SXmlParseResult result;
    XMLNode root;
    std::string text;
    {
        CParseSpan span(reading);
        const auto size = static_cast<std::size_t>(input.Size());
        std::unique_ptr<unsigned char, SBufferFree> buffer(static_cast<unsigned char*>(std::malloc(size + 4)));
        if (buffer == nullptr) throw std::bad_alloc();
        std::size_t read = 0;
        if (!input.Read(buffer.get(), size, read)) throw CException(L"File '" + path + L"' not found");
        root = ParseFileContent(buffer.get(), read, kRootName, &result, reading.onDocument ? &text : nullptr);
    }
    if (result.error == XmlOutOfMemory) throw std::bad_alloc();
    if (result.error != XmlNoError)
        throw CParseFailure(L"Error while parsing file '" + path + L"': " + DescribeParseError(result, kRootName), path,
                            std::move(result));
    if (reading.onDocument) reading.onDocument(number, path, std::move(text), root);
    return root;
}

// One file being read: parsed, its includes read up to `next`, each merged
// into its configuration as soon as it was read.
struct SOpenFile {
    std::wstring path;
    std::wstring base;
    std::string identity;  // as ReadingIdentity gives it
    XMLNode root;
    CConfiguration configuration;
    std::uint32_t number = 0;  // among the files of the load
    int includes = 0;
    int next = 0;
    std::int32_t position = 0;
};

// Parses `path` into a new entry of `open`, refusing a file that is already
// being read against the same base directory, and a chain of includes
// deeper than the limit.
void OpenFile(IBeanFactory* factory, std::wstring path, std::vector<SOpenFile>& open, CReading& reading) {
    const std::string fileSystemPath = FileSystemPath(path);
    std::wstring base = BaseDirectory(path);
    std::string identity = ReadingIdentity(fileSystemPath, base);
    for (const SOpenFile& file : open)
        if (file.identity == identity) throw CException(L"Include cycle at file '" + path + L"'");
    if (open.size() >= reading.Limits().includeDepth)
        throw CException(L"Includes nested too deeply at file '" + path + L"'");

    std::uint32_t number = 0;
    XMLNode root = ParseDocumentFile(path, fileSystemPath, reading, number);
    const int includes = root.ChildCount("include");
    open.push_back(SOpenFile{std::move(path), std::move(base), std::move(identity), std::move(root),
                             CConfiguration(factory), number, includes});
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
CConfiguration ReadFile(IBeanFactory* factory, const std::wstring& path, CReading& reading) {
    std::vector<SOpenFile> open;
    OpenFile(factory, path, open, reading);
    for (;;) {
        SOpenFile& file = open.back();
        if (file.next < file.includes) {
            OpenFile(factory, NextInclude(file), open, reading);
            continue;
        }
        file.configuration.Store().path = file.path;
        reading.SetFile(file.path, file.number);
        ReadLibraries(file.configuration, reading, file.root, DocumentFolder(file.base));
        CConfiguration done = std::move(file.configuration);
        open.pop_back();
        if (open.empty()) return done;
        open.back().configuration.MergeConfiguration(done);
    }
}

}  // namespace

CConfiguration ReadConfigurationFile(IBeanFactory* factory, const wchar_t* path, CReading& reading) {
    return ReadFile(factory, path != nullptr ? std::wstring(path) : std::wstring(), reading);
}

CConfiguration ReadConfigurationFile(IBeanFactory* factory, const wchar_t* path) {
    CReading reading;
    return ReadConfigurationFile(factory, path, reading);
}

CConfiguration ReadConfigurationText(IBeanFactory* factory, const char* text, CReading& reading) {
    CConfiguration configuration(factory);
    if (text == nullptr || *text == '\0') return configuration;
    const std::size_t length = std::strlen(text);
    reading.ChargeText(length);

    SXmlParseResult result;
    XMLNode root;
    {
        CParseSpan span(reading);
        root = ParseText(text, length, kRootName, &result);
    }
    if (result.error == XmlOutOfMemory) throw std::bad_alloc();
    if (result.error != XmlNoError)
        throw CParseFailure(L"Error while parsing xml: " + DescribeParseError(result, kRootName), std::wstring(),
                            std::move(result));
    reading.SetFile(std::wstring(), 0);
    if (reading.onDocument) reading.onDocument(0, std::wstring(), std::string(text, length), root);

    ReadLibraries(configuration, reading, root, DocumentFolder(std::wstring()));
    return configuration;
}

CConfiguration ReadConfigurationText(IBeanFactory* factory, const char* text) {
    CReading reading;
    return ReadConfigurationText(factory, text, reading);
}

void ReadLibraries(CConfiguration& configuration, CReading& reading, const XMLNode& root,
                   const std::string& folder) {
    const int count = root.ChildCount("library");
    std::int32_t position = 0;
    for (int i = 0; i < count; ++i) {
        XMLNode element = root.NextChild("library", &position);

        // Taken as written: a library path is not resolved against the
        // document's directory, unless it names that folder itself. No path
        // means the host's own executable.
        const char* written = element.AttributeValue("path");
        std::string path = WithDocumentFolder(written != nullptr ? written : "", folder);
        if (path.empty()) {
            path = platform::ExecutablePath();
            if (path.empty())
                throw CException(L"Error (path not found) when parsing library in file '" +
                                 configuration.Store().path + L"'");
        }

        SLibrary* library = configuration.FindOrAddLibrary(path, written != nullptr ? written : "");

        XMLNode beans = element.NextChild("beans");
        if (!beans.IsEmpty()) {
            ParameterMap parameters;
            ReadBeans(configuration, reading, beans, library, parameters);
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
