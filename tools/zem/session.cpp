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

void CSession::Load(const std::string& file, bool eager, const StepWatch& watch) {
    auto tell = [&](const char* step, bool started) {
        if (watch) watch(step, started);
    };
    ZEM::CBeanFactoryImpl& impl = Impl();
    const CBeanOutputGuard guard;
    impl.ResetFactory();
    tell("(read)", true);
    ZEM::CConfiguration configuration = file == "-" ? ZEM::ReadConfigurationText(&impl, StandardInput().c_str())
                                                    : ZEM::ReadConfigurationFile(&impl, ZEM::Widen(file).c_str());
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

bool LoadOrTell(CSession& session, const std::string& file, bool eager) {
    try {
        session.Load(file, eager);
        return true;
    } catch (const ZEM::CException& error) {
        const std::string text = FailureText(error);
        PrintDiagnostic(std::cerr, PlaceOfMessage(file, text), ESeverity::kError, text);
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

}  // namespace zemcli
