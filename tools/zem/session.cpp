// Loading a document into a private factory as a host does, and listening to
// the failures that its bean requests drop.
#include "session.h"

#include <iostream>
#include <mutex>

#include "bean_index.h"
#include "cli.h"
#include "output.h"
#include "config/document_reader.h"
#include "container/process_objects.h"
#include "foundation/string_convert.h"
#include "library/library.h"
#include "source_map.h"
#include "zem/diagnostics.h"
#include "zem/exception.h"

namespace zemcli {

CSession::CSession() : container_(nullptr) {}

CSession::~CSession() {
    ZEM::SetBeanFailureHandler(container_.Factory(), nullptr);
    // The end of the factory runs exit methods and destructors of bean code.
    const CBeanOutputGuard guard;
    const ZEM::CContainer ending = std::move(container_);
}

ZEM::CBeanFactoryImpl& CSession::Impl() const {
    // A private container always holds the library's own factory.
    return dynamic_cast<ZEM::CBeanFactoryImpl&>(container_.Factory());
}

void CSession::RecordFailures() {
    ZEM::SetBeanFailureHandler(container_.Factory(), [this](const char* name, const std::wstring& reason,
                                                            const std::vector<std::string>& chain) {
        SDroppedFailure failure{name != nullptr ? name : "", Utf8(reason), chain};
        // A request that fails before it starts making its bean (finding or
        // binding the definition) isn't on the chain yet.
        if (failure.chain.empty() || failure.chain.back() != failure.bean) failure.chain.push_back(failure.bean);
        failures_.push_back(std::move(failure));
    });
}

std::vector<SDroppedFailure> CSession::TakeFailures() {
    std::vector<SDroppedFailure> taken;
    taken.swap(failures_);
    return taken;
}

void CSession::Load(const std::string& file, bool eager, const StepWatch& watch, CSourceMap* map) {
    auto tell = [&](const char* step, bool started) {
        if (watch) watch(step, started);
    };
    ZEM::CBeanFactoryImpl& impl = Impl();
    const CBeanOutputGuard guard;
    impl.ResetFactory();
    ZEM::CReading reading(impl.ReadingLimits());
    if (watch) reading.parseWatch = [&](bool started) { tell("(parse)", started); };
    if (map != nullptr) map->Listen(reading, file == "-");
    tell("(read)", true);
    ZEM::CConfiguration configuration =
        file == "-" ? ZEM::ReadConfigurationText(&impl, StandardInput().c_str(), reading)
                    : ZEM::ReadConfigurationFile(&impl, ZEM::Widen(file).c_str(), reading);
    tell("(read)", false);
    std::lock_guard<std::mutex> startup(ZEM::StartupMutex());
    tell("(merge)", true);
    impl.LoadConfiguration(configuration);
    tell("(merge)", false);
    if (!eager) return;
    tell("(eager beans)", true);
    impl.CreateEagerBeans();
    tell("(eager beans)", false);
}

std::string FailureText(const ZEM::CException& error) {
    std::string text = Utf8(error.GetMessageW());
    if (const auto* failure = dynamic_cast<const ZEM::CLoadFailure*>(&error)) text += " (" + failure->Reason() + ")";
    return text;
}

namespace {

// The parser's error in words, with the names it found.
std::string ParseCause(const ZEM::SXmlParseResult& result) {
    const std::string endTag = "'" + result.endTag + "'";
    const std::string open = "'" + result.openElement + "'";
    switch (result.error) {
        case ZEM::XmlMissingEndTag:
            if (result.endTag.empty()) return "the text ends inside the element " + open;
            return "end tag " + endTag + " does not match the open element " + open;
        case ZEM::XmlNoTagFound: return "no element found";
        case ZEM::XmlEmptyFile: return "the file is empty";
        case ZEM::XmlMissingTagName: return "'<' is not followed by a name";
        case ZEM::XmlMissingEndTagName: return "'</' is not followed by a name and '>'";
        case ZEM::XmlUnmatchedEndTag: return "end tag " + endTag + " closes no open element";
        case ZEM::XmlUnterminatedClear: return "a comment, CDATA or DOCTYPE section has no end";
        case ZEM::XmlUnexpectedToken: return "unexpected text in a tag";
        case ZEM::XmlRootNotFound: return "no element 'zem'";
        case ZEM::XmlUnknownEntity: return "an unknown entity or a malformed character reference";
        case ZEM::XmlCodeAbove255: return "a character reference above 255";
        case ZEM::XmlConversionFailed: return "no memory to convert the UTF-16 text";
        case ZEM::XmlTooDeep: return "elements nested more than " + std::to_string(ZEM::kXmlMaxDepth) + " deep";
        case ZEM::XmlFileTooLarge: return "the file is too large";
        default: return "error " + std::to_string(result.error);
    }
}

}  // namespace

std::vector<SDiagnostic> FailureDiagnostics(const ZEM::CException& error, const std::string& file) {
    SPlace place{file};
    const auto* failure = dynamic_cast<const ZEM::CParseFailure*>(&error);
    if (failure != nullptr) {
        const ZEM::SXmlParseResult& result = failure->Result();
        if (!failure->File().empty()) place.file = ZEM::Narrow(failure->File());
        if (result.line > 0) {
            place.line = static_cast<int>(result.line);
            place.column = static_cast<int>(result.column);
        }
    }
    std::vector<SDiagnostic> told{{place, ESeverity::kError, FailureText(error)}};
    if (failure != nullptr) told.push_back({place, ESeverity::kError, ParseCause(failure->Result())});
    return told;
}

bool LoadOrTell(CSession& session, const std::string& file, bool eager, CSourceMap* map) {
    try {
        session.Load(file, eager, {}, map);
        return true;
    } catch (const ZEM::CException& error) {
        for (const SDiagnostic& diagnostic : FailureDiagnostics(error, file))
            PrintDiagnostic(std::cerr, diagnostic.place, diagnostic.severity, diagnostic.message);
        return false;
    }
}

SStoreCounts CountStore(const ZEM::CConfigurationStore& store) {
    SStoreCounts counts;
    counts.libraries = store.libraries.size();
    for (const auto& library : store.libraries) counts.beans += library->beans.size();
    for (const auto& entry : store.services) counts.services += entry.value.size();
    return counts;
}

std::string DescribeFailure(const SDroppedFailure& failure, const CBeanIndex& index) {
    std::string text = "'" + index.Display(failure.bean) + "' failed: " + failure.reason;
    if (failure.chain.size() > 1) {
        text += " (via ";
        for (std::size_t i = 0; i < failure.chain.size(); ++i)
            text += (i != 0 ? " -> " : "") + index.Display(failure.chain[i]);
        text += ")";
    }
    return text;
}

SPlace BeanPlace(const ZEM::SBean& bean, const CSourceMap& map, const std::string& file) {
    const SBeanSpots* spots = map.Find(bean);
    if (spots == nullptr || spots->at.file == nullptr || spots->at.offset < 0) return SPlace{file};
    const SLineColumn at = spots->at.file->Locate(spots->at.offset);
    return SPlace{spots->at.file->path, at.line, at.column};
}

SPlace FailurePlace(const SDroppedFailure& failure, const CBeanIndex& index, const CSourceMap& map,
                    const std::string& file) {
    for (auto name = failure.chain.rbegin(); name != failure.chain.rend(); ++name) {
        const std::size_t entry = index.Find(*name);
        if (entry != kNoEntry) return BeanPlace(*index.Entries()[entry].bean, map, file);
    }
    return SPlace{file};
}

}  // namespace zemcli
