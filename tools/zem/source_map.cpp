// Spots of the readers' records turned into files, lines and columns: the
// load tells the map of each document it parses, and the records carry the
// number of their file and their offsets. Nothing here reads a document again.
#include "source_map.h"

#include <algorithm>

#include "foundation/string_convert.h"
#include "library/library.h"
#include "platform/utf8.h"

namespace zemcli {

namespace {

std::size_t Width(const std::string& text, std::size_t at) {
    return std::max<std::size_t>(1, ZEM::platform::kUtf8Width[static_cast<unsigned char>(text[at])]);
}

bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

}  // namespace

void IndexLines(const SSourceFile& file) {
    file.lineStarts.assign(1, 0);
    const std::string& text = file.text;
    for (std::size_t i = 0; i < text.size();) {
        const char c = text[i];
        i += Width(text, i);
        if (c == '\n') file.lineStarts.push_back(static_cast<std::int32_t>(i));
    }
}

SLineColumn SSourceFile::Locate(std::int32_t offset) const {
    if (offset < 0) return {};
    if (lineStarts.empty()) IndexLines(*this);
    const auto after = std::upper_bound(lineStarts.begin(), lineStarts.end(), offset);
    const auto line = static_cast<int>(after - lineStarts.begin());
    std::size_t i = static_cast<std::size_t>(*(after - 1));
    int column = 1;
    for (; i < text.size() && i < static_cast<std::size_t>(offset); i += Width(text, i)) ++column;
    return {line, column};
}

SLineColumn CLocator::Locate(std::int32_t offset) {
    if (offset < 0) return {};
    if (file_.lineStarts.empty()) IndexLines(file_);
    const auto after = std::upper_bound(file_.lineStarts.begin(), file_.lineStarts.end(), offset);
    if (offset_ >= 0 && offset >= offset_ && *(after - 1) <= offset_) {
        // On the line of the last place, and behind it: count on from there.
        const std::string& text = file_.text;
        for (auto i = static_cast<std::size_t>(offset_); i < text.size() && i < static_cast<std::size_t>(offset);
             i += Width(text, i))
            ++at_.column;
    } else {
        at_ = file_.Locate(offset);
    }
    offset_ = offset;
    return at_;
}

void CSourceMap::Listen(ZEM::CReading& reading, bool fromInput) {
    fromInput_ = fromInput;
    reading.onDocument = [this](std::uint32_t number, const std::wstring& path, std::string&& text,
                                const ZEM::XMLNode& root) { Add(number, path, std::move(text), root); };
}

void CSourceMap::Add(std::uint32_t number, const std::wstring& path, std::string text, const ZEM::XMLNode& root) {
    const std::string shown = fromInput_ ? std::string("-") : ZEM::Narrow(path);
    if (byNumber_.size() <= number) byNumber_.resize(number + 1, nullptr);
    for (const auto& file : files_) {
        if (file->path == shown) {
            byNumber_[number] = file.get();
            return;
        }
    }
    auto file = std::make_unique<SSourceFile>();
    file->path = shown;
    file->text = std::move(text);
    if (keepTrees_) file->root = root;
    file->fromInput = fromInput_;
    byNumber_[number] = file.get();
    files_.push_back(std::move(file));
}

SSpot CSourceMap::SpotOf(const ZEM::SSourceSpot& spot) const {
    if (spot.file >= byNumber_.size() || byNumber_[spot.file] == nullptr) return {};
    return SSpot{byNumber_[spot.file], spot.offset};
}

void CSourceMap::Attach(const ZEM::CConfigurationStore& store) {
    attached_.clear();
    for (const auto& library : store.libraries) {
        for (const ZEM::SBean& bean : library->beans) {
            SBeanSpots& spots = attached_[&bean];
            spots.library = library->path;
            spots.at = SpotOf(bean.spot);
            for (const ZEM::SArgument& argument : bean.arguments) spots.arguments.push_back(SpotOf(argument.spot));
            for (const ZEM::SProperty& property : bean.properties) {
                SPropertySpots& place = spots.properties.emplace_back();
                place.at = SpotOf(property.spot);
                for (const ZEM::SArgument& argument : property.arguments)
                    place.arguments.push_back(SpotOf(argument.spot));
            }
            for (const ZEM::SSourceSpot& spot : bean.dependsOnSpots) spots.dependsOn.push_back(SpotOf(spot));
            // A type id that no class registered is the class name as written
            // (a library that was not loaded registers none).
            for (const std::string& typeId : bean.interfaces) {
                std::string name = ZEM::LocalLibrary().ClassNameOf(typeId);
                spots.interfaceNames.push_back(name.empty() ? typeId : std::move(name));
            }
        }
    }
}

const SBeanSpots* CSourceMap::Find(const ZEM::SBean& bean) const {
    const auto found = attached_.find(&bean);
    return found != attached_.end() ? &found->second : nullptr;
}

std::vector<std::int32_t> AttributeOffsets(const SSourceFile& file, std::int32_t elementOffset) {
    // The start tag is read with the parser's token rules: names run to white
    // space, '=', '<', '>' or "/>", and a quote that meets '<' or the end
    // before its partner is plain text.
    std::vector<std::int32_t> offsets;
    const std::string& text = file.text;
    if (elementOffset < 0 || static_cast<std::size_t>(elementOffset) >= text.size()) return offsets;
    std::size_t i = static_cast<std::size_t>(elementOffset) + 1;
    auto endsTag = [&] { return text[i] == '>' || text[i] == '<' || (text[i] == '/' && i + 1 < text.size() && text[i + 1] == '>'); };
    auto readWord = [&] {
        while (i < text.size() && !IsSpace(text[i]) && text[i] != '=' && !endsTag()) i += Width(text, i);
    };
    if (i < text.size() && text[i] == '?') ++i;
    while (i < text.size() && IsSpace(text[i])) ++i;
    readWord();  // the element's name
    bool expectValue = false;
    while (i < text.size()) {
        while (i < text.size() && IsSpace(text[i])) ++i;
        if (i >= text.size() || endsTag()) break;
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
        offsets.push_back(static_cast<std::int32_t>(i));
        readWord();
    }
    return offsets;
}

}  // namespace zemcli
