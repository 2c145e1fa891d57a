// The second walk over a document's files that gives bean records their
// places. It follows the readers step by step: the same include paths, the
// same loop walker and substitution, the same choice among the value forms,
// and the same library for each bean and inner bean. Substitution failures
// can't happen on a document that read cleanly; where they do, the walk stops
// and the records behind it stay without a place.
#include "source_map.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <deque>

#include "cli.h"
#include "foundation/string_convert.h"
#include "platform/module.h"
#include "platform/text.h"
#include "platform/utf8.h"
#include "substitution/loops.h"
#include "zem/exception.h"

namespace zemcli {

namespace {

// The parser steps through text by the lead byte of each character.
std::size_t StepWidth(unsigned char lead) {
    if (lead == 0) return 0;
    if (lead >= 0xC2 && lead <= 0xDF) return 2;
    if (lead >= 0xE0 && lead <= 0xEF) return 3;
    if (lead >= 0xF0 && lead <= 0xF4) return 4;
    return 1;
}

std::string Substituted(const char* text, const ZEM::ParameterMap& parameters) {
    return ZEM::Narrow(ZEM::SubstituteParameters(text, parameters).View());
}

SSpot SpotOf(const SSourceFile& file, const ZEM::XMLNode& element) { return SSpot{&file, element.SourceOffset()}; }

// One walk over one file's libraries, appending bean spots in reading order.
class CBeanWalker {
public:
    CBeanWalker(const SSourceFile& file, std::vector<SBeanSpots>& beans) : file_(file), beans_(beans) {}

    void Beans(const ZEM::XMLNode& element, const std::string& library, const ZEM::ParameterMap& parameters) {
        static const std::vector<const char*> kTags{"bean", "service"};
        ZEM::ForEachElement(
            element, kTags, parameters,
            [&](const ZEM::XMLNode& child) {
                SBeanSpots spots;
                Bean(child, spots, parameters, library);
                beans_.push_back(std::move(spots));
            },
            [&](const ZEM::XMLNode& loop, const ZEM::ParameterMap& loopParameters) {
                Beans(loop, library, loopParameters);
            });
    }

private:
    void Bean(const ZEM::XMLNode& element, SBeanSpots& spots, const ZEM::ParameterMap& parameters,
              const std::string& library) {
        const char* classText = element.AttributeValue("class");
        std::string className = classText != nullptr ? Substituted(classText, parameters) : std::string();
        spots.library = library;
        const std::size_t at = className.find('@');
        if (at != std::string::npos && at > 0) {
            spots.library = className.substr(at + 1);
            className.resize(at);
        }
        spots.className = className;
        spots.at = SpotOf(file_, element);

        // The children in the readers' fixed order. Arguments and properties
        // get the enclosing library, not the one behind a '@'.
        if (ZEM::XMLNode arguments = element.NextChild("constructor-arg"); !arguments.IsEmpty()) {
            const int count = arguments.ChildCount("argument");
            std::int32_t position = 0;
            for (int i = 0; i < count; ++i)
                spots.arguments.push_back(Argument(arguments.NextChild("argument", &position), parameters, library));
        }
        if (ZEM::XMLNode properties = element.NextChild("properties"); !properties.IsEmpty())
            Properties(properties, spots, parameters, library);
        if (ZEM::XMLNode provides = element.NextChild("provides"); !provides.IsEmpty())
            Provides(provides, spots, parameters);
        if (ZEM::XMLNode dependsOn = element.NextChild("depends-on"); !dependsOn.IsEmpty()) {
            const int count = dependsOn.ChildCount("bean-name");
            std::int32_t position = 0;
            for (int i = 0; i < count; ++i)
                spots.dependsOn.push_back(SpotOf(file_, dependsOn.NextChild("bean-name", &position)));
        }
    }

    void Properties(const ZEM::XMLNode& element, SBeanSpots& spots, const ZEM::ParameterMap& parameters,
                    const std::string& library) {
        static const std::vector<const char*> kTags{"property"};
        ZEM::ForEachElement(
            element, kTags, parameters,
            [&](const ZEM::XMLNode& child) {
                SPropertySpots property;
                property.at = SpotOf(file_, child);
                ZEM::XMLNode arguments = child.NextChild("arguments");
                if (arguments.IsEmpty()) {
                    property.arguments.push_back(Argument(child, parameters, library));
                } else {
                    const int count = arguments.ChildCount("argument");
                    std::int32_t position = 0;
                    for (int i = 0; i < count; ++i)
                        property.arguments.push_back(
                            Argument(arguments.NextChild("argument", &position), parameters, library));
                }
                spots.properties.push_back(std::move(property));
            },
            [&](const ZEM::XMLNode& loop, const ZEM::ParameterMap& loopParameters) {
                Properties(loop, spots, loopParameters, library);
            });
    }

    void Provides(const ZEM::XMLNode& element, SBeanSpots& spots, const ZEM::ParameterMap& parameters) {
        static const std::vector<const char*> kTags{"interface"};
        ZEM::ForEachElement(
            element, kTags, parameters,
            [&](const ZEM::XMLNode& child) { spots.interfaceNames.push_back(Substituted(child.Text(), parameters)); },
            [&](const ZEM::XMLNode& loop, const ZEM::ParameterMap& loopParameters) {
                Provides(loop, spots, loopParameters);
            });
    }

    // The element of the value form that decides, in the readers' order. An
    // inner bean joins the list now, before the bean that holds it.
    SSpot Argument(const ZEM::XMLNode& element, const ZEM::ParameterMap& parameters, const std::string& library) {
        for (const char* form : {"value", "nullptr", "ref"}) {
            if (ZEM::XMLNode child = element.NextChild(form); !child.IsEmpty()) return SpotOf(file_, child);
        }
        if (ZEM::XMLNode inner = element.NextChild("bean"); !inner.IsEmpty()) {
            SBeanSpots spots;
            Bean(inner, spots, parameters, library);
            beans_.push_back(std::move(spots));
            return SpotOf(file_, inner);
        }
        return SpotOf(file_, element);
    }

    const SSourceFile& file_;
    std::vector<SBeanSpots>& beans_;
};

// The directory part of a path as the document reader finds it: up to the
// last backslash, else the last slash.
std::string BaseDirectory(const std::string& path) {
    std::size_t cut = path.rfind('\\');
    if (cut == std::string::npos) cut = path.rfind('/');
    return cut == std::string::npos ? std::string() : path.substr(0, cut + 1);
}

constexpr int kMaxIncludeDepth = 64;

}  // namespace

void IndexLines(SSourceFile& file) {
    file.lineStarts.assign(1, 0);
    const std::string& text = file.text;
    for (std::size_t i = 0; i < text.size();) {
        const auto c = static_cast<unsigned char>(text[i]);
        i += StepWidth(c);
        if (c == '\n') file.lineStarts.push_back(static_cast<std::int32_t>(i));
    }
}

SLineColumn SSourceFile::Locate(std::int32_t offset) const {
    if (offset < 0 || lineStarts.empty()) return {};
    const auto after = std::upper_bound(lineStarts.begin(), lineStarts.end(), offset);
    const auto line = static_cast<int>(after - lineStarts.begin());
    std::size_t i = static_cast<std::size_t>(*(after - 1));
    int column = 1;
    while (i < text.size() && i < static_cast<std::size_t>(offset)) {
        i += StepWidth(static_cast<unsigned char>(text[i]));
        ++column;
    }
    return {line, column};
}

std::uint32_t ReadDocumentText(const std::string& path, std::string& text) {
    text.clear();
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) return ZEM::XmlFileNotFound;
    struct stat info {};
    if (fstat(fileno(file), &info) != 0 || S_ISDIR(info.st_mode)) {
        std::fclose(file);
        return ZEM::XmlFileNotFound;
    }
    // Read whole, with the four zero bytes behind that end a UTF-16 text of
    // odd length as they end it for the XML layer.
    std::string bytes(static_cast<std::size_t>(info.st_size) + 4, '\0');
    const std::size_t size = std::fread(bytes.data(), 1, static_cast<std::size_t>(info.st_size), file);
    std::fclose(file);
    if (size == 0) return ZEM::XmlEmptyFile;
    bytes.resize(size + 4);

    const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
    if (ZEM::platform::LooksLikeUtf16(data, size)) {
        std::size_t skip = 0;
        if (size >= 2 && ((data[0] == 0xFF && data[1] == 0xFE) || (data[0] == 0xEF && data[1] == 0xFF))) skip = 2;
        ZEM::platform::EncodeUtf16Le(data + skip, (size - skip + 1) / 2, text);
    } else {
        const std::size_t skip = size >= 3 && data[0] == 0xEF && data[1] == 0xBB && data[2] == 0xBF ? 3 : 0;
        bytes.resize(size);
        bytes.erase(0, skip);
        text = std::move(bytes);
    }
    // The parser reads up to the first zero byte.
    text.resize(std::strlen(text.c_str()));
    return ZEM::XmlNoError;
}

SSourceFile* CSourceMap::Parse(const std::string& shown, const std::string& opened, bool fromInput) {
    if (auto found = byPath_.find(opened); found != byPath_.end() && !fromInput) return found->second;
    auto file = std::make_unique<SSourceFile>();
    file->path = shown;
    file->fromInput = fromInput;
    if (fromInput) {
        file->text = StandardInput();
        file->text.resize(std::strlen(file->text.c_str()));
    } else {
        file->parse.error = ReadDocumentText(opened, file->text);
    }
    if (file->parse.error == ZEM::XmlNoError) file->root = ZEM::ParseText(file->text.c_str(), "zem", &file->parse);
    if (file->parse.error != ZEM::XmlNoError) file->root = ZEM::XMLNode();
    IndexLines(*file);
    SSourceFile* raw = file.get();
    files_.push_back(std::move(file));
    byPath_[opened] = raw;
    return raw;
}

void CSourceMap::Read(const std::string& file) {
    if (file == "-") {
        WalkRoot(*Parse(file, file, true));
        return;
    }
    WalkFile(file, 0);
}

void CSourceMap::WalkFile(const std::string& path, int depth) {
    // `path` is in the reader's form: an include's text has '/' read as '\',
    // and the file system gets the joined path with '/' throughout.
    std::string opened = path;
    std::replace(opened.begin(), opened.end(), '\\', '/');
    if (depth > kMaxIncludeDepth || std::find(open_.begin(), open_.end(), opened) != open_.end()) return;
    const SSourceFile* file = Parse(depth == 0 ? path : opened, opened, false);
    if (file->root.IsEmpty()) return;
    open_.push_back(opened);
    // Includes first, each with all it includes.
    const std::string base = BaseDirectory(path);
    const int count = file->root.ChildCount("include");
    std::int32_t position = 0;
    for (int i = 0; i < count; ++i) {
        const char* target = file->root.NextChild("include", &position).AttributeValue("path");
        if (target == nullptr || *target == '\0') break;  // the reader stops here with its message
        std::string joined = target;
        std::replace(joined.begin(), joined.end(), '/', '\\');
        WalkFile(base + joined, depth + 1);
    }
    open_.pop_back();
    WalkRoot(*file);
}

void CSourceMap::WalkRoot(const SSourceFile& file) {
    if (file.root.IsEmpty()) return;
    CBeanWalker walker(file, beans_);
    const int count = file.root.ChildCount("library");
    std::int32_t position = 0;
    try {
        for (int i = 0; i < count; ++i) {
            ZEM::XMLNode library = file.root.NextChild("library", &position);
            const char* path = library.AttributeValue("path");
            std::string key = path != nullptr ? path : "";
            if (key.empty()) key = ZEM::platform::ExecutablePath();
            if (ZEM::XMLNode beans = library.NextChild("beans"); !beans.IsEmpty())
                walker.Beans(beans, key, ZEM::ParameterMap());
        }
    } catch (const ZEM::CException&) {
        // The reader has stopped at the same place with its message.
    }
}

void CSourceMap::Attach(const ZEM::CConfigurationStore& store) {
    attached_.clear();
    std::map<std::string, std::deque<const SBeanSpots*>> byLibrary;
    for (const SBeanSpots& spots : beans_) byLibrary[spots.library].push_back(&spots);
    for (const auto& library : store.libraries) {
        std::deque<const SBeanSpots*>& queue = byLibrary[library->path];
        for (const ZEM::SBean& bean : library->beans) {
            // Once the two orders part, nothing behind can be trusted.
            if (queue.empty() || queue.front()->className != bean.className) break;
            attached_[&bean] = queue.front();
            queue.pop_front();
        }
    }
}

const SBeanSpots* CSourceMap::Find(const ZEM::SBean& bean) const {
    const auto found = attached_.find(&bean);
    return found != attached_.end() ? found->second : nullptr;
}

std::int32_t AttributeOffset(const SSourceFile& file, std::int32_t elementOffset, int index) {
    // The start tag is read with the parser's token rules: names run to white
    // space, '=', '<', '>' or "/>", and a quote that meets '<' or the end
    // before its partner is plain text.
    const std::string& text = file.text;
    if (elementOffset < 0 || static_cast<std::size_t>(elementOffset) >= text.size()) return elementOffset;
    std::size_t i = static_cast<std::size_t>(elementOffset) + 1;
    auto isSpace = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
    auto readWord = [&] {
        while (i < text.size() && !isSpace(text[i]) && text[i] != '<' && text[i] != '=' && text[i] != '>' &&
               !(text[i] == '/' && i + 1 < text.size() && text[i + 1] == '>'))
            i += std::max<std::size_t>(1, StepWidth(static_cast<unsigned char>(text[i])));
    };
    if (i < text.size() && text[i] == '?') ++i;
    while (i < text.size() && isSpace(text[i])) ++i;
    readWord();  // the element's name
    int attribute = -1;
    bool expectValue = false;
    while (i < text.size()) {
        while (i < text.size() && isSpace(text[i])) ++i;
        if (i >= text.size() || text[i] == '>' || text[i] == '<' ||
            (text[i] == '/' && i + 1 < text.size() && text[i + 1] == '>'))
            break;
        if (text[i] == '=') {
            expectValue = true;
            ++i;
            continue;
        }
        if (expectValue) {
            expectValue = false;
            if (text[i] == '"' || text[i] == '\'') {
                const std::size_t close = text.find_first_of(std::string(1, text[i]) + "<", i + 1);
                if (close != std::string::npos && text[close] == text[i]) {
                    i = close + 1;
                    continue;
                }
            }
            readWord();
            continue;
        }
        if (++attribute == index) return static_cast<std::int32_t>(i);
        readWord();
    }
    return elementOffset;
}

}  // namespace zemcli
