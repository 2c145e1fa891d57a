// lint --load: binds each class library the way the factory does at first
// need, bean by bean, so that one missing maker doesn't hide the rest, and
// asks each wrapper what its properties declare.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <stdexcept>

#include "cli.h"
#include "foundation/string_convert.h"
#include "library/library.h"
#include "lint.h"
#include "platform/module.h"
#include "zem/exception.h"

namespace zemcli {

namespace {

// Type names compare as the type table looks them up: without blanks.
std::string WithoutBlanks(std::string text) {
    text.erase(std::remove(text.begin(), text.end(), ' '), text.end());
    return text;
}

ZEM::WrapperMaker FindMaker(const ZEM::ILibrary& module, const std::string& symbol) {
    void* address = module.GetSymbol(symbol.c_str());  // the module's own maker wins
    if (address == nullptr) address = ZEM::LocalLibrary().GetSymbol(symbol.c_str());
    return reinterpret_cast<ZEM::WrapperMaker>(reinterpret_cast<std::uintptr_t>(address));
}

std::unique_ptr<ZEM::IBeanWrapper> MakeWrapper(ZEM::WrapperMaker maker, std::string& failure) {
    try {
        return std::unique_ptr<ZEM::IBeanWrapper>(maker());
    } catch (const ZEM::CException& error) {
        failure = Utf8(error.GetMessageW());
    } catch (const std::exception& error) {
        failure = error.what();
    } catch (...) {
        failure = "unknown exception";
    }
    return nullptr;
}

void CheckProperties(const ZEM::SBean& bean, const SBeanSpots* spots, const ZEM::IBeanWrapper& wrapper,
                     CFindings& findings) {
    for (std::size_t p = 0; p < bean.properties.size(); ++p) {
        const ZEM::SProperty& property = bean.properties[p];
        const SPropertySpots* place =
            spots != nullptr && p < spots->properties.size() ? &spots->properties[p] : nullptr;
        std::vector<std::string> declared;
        wrapper.GetArgumentTypes(property.name.c_str(), property.arguments.size(), declared);
        // References take no entry of the declared list; every other value
        // takes the next one, and a missing entry counts as empty.
        std::size_t next = 0;
        for (std::size_t i = 0; i < property.arguments.size(); ++i) {
            const ZEM::SArgument& argument = property.arguments[i];
            if (argument.type == "bean" || argument.type == "service") continue;
            const std::string type = next < declared.size() ? declared[next] : std::string();
            ++next;
            SSpot at = place != nullptr ? (i < place->arguments.size() ? place->arguments[i] : place->at)
                                        : (spots != nullptr ? spots->at : SSpot{});
            const std::string where = "property '" + property.name + "' of bean '" + bean.name + "'";
            if (type.empty()) {
                findings.Warn(at, where + " has no declared type for argument " + std::to_string(i + 1) +
                                      ": binding fails with \"Missing argument type for property '" + property.name +
                                      "'\"");
            } else if (argument.type != "nullptr" && WithoutBlanks(type) != WithoutBlanks(argument.type)) {
                findings.Warn(at, where + ": argument " + std::to_string(i + 1) + " is given as '" + argument.type +
                                      "', the class declares '" + type + "'");
            }
        }
    }
}

}  // namespace

void LintClasses(const ZEM::CConfigurationStore& store, const CBeanIndex& index, const CSourceMap& map,
                 CFindings& findings) {
    // A library without a path is the host program, whose makers only the
    // host itself has.
    const std::string hostProgram = ZEM::platform::ExecutablePath();
    for (const auto& library : store.libraries) {
        if (library->beans.empty() || library->path == hostProgram) continue;
        std::unique_ptr<ZEM::CDynamicLibrary> module;
        try {
            module = std::make_unique<ZEM::CDynamicLibrary>(library->path.c_str());
        } catch (const ZEM::CException& error) {
            findings.Warn(BeanSpot(map, library->beans.front()), Utf8(error.GetMessageW()));
            continue;
        }
        for (const ZEM::SBean& bean : library->beans) {
            const SBeanSpots* spots = map.Find(bean);
            const SSpot at = spots != nullptr ? spots->at : SSpot{};
            const std::string symbol = ZEM::MakerSymbol(bean.className);
            const ZEM::WrapperMaker maker = FindMaker(*module, symbol);
            if (maker == nullptr) {
                findings.Warn(at, "no wrapper maker '" + symbol + "' for class '" + bean.className + "' in '" +
                                      library->path + "'");
                continue;
            }
            std::string failure;
            const std::unique_ptr<ZEM::IBeanWrapper> wrapper = MakeWrapper(maker, failure);
            if (!failure.empty())
                findings.Warn(at, "the maker of class '" + bean.className + "' failed: " + failure);
            else if (!wrapper)
                findings.Warn(at, "the maker of class '" + bean.className + "' gives no wrapper");
            else
                CheckProperties(bean, spots, *wrapper, findings);
        }
    }

    // A service reference needs the type id of its interface when the bean
    // is made; class libraries register theirs as they load.
    for (const SBeanEntry& entry : index.Entries()) {
        const ZEM::SBean& bean = *entry.bean;
        auto checkService = [&](const ZEM::SArgument& argument, SSpot at) {
            if (argument.type != "service") return;
            const std::string& name = argument.value;
            try {
                ZEM::LocalLibrary().GetTypeId(name.c_str());
            } catch (const ZEM::CException& error) {
                findings.Warn(at, Utf8(error.GetMessageW()));
            }
        };
        const SBeanSpots* spots = map.Find(bean);
        for (std::size_t i = 0; i < bean.arguments.size(); ++i)
            checkService(bean.arguments[i],
                         spots != nullptr && i < spots->arguments.size() ? spots->arguments[i] : SSpot{});
        for (std::size_t p = 0; p < bean.properties.size(); ++p)
            for (std::size_t i = 0; i < bean.properties[p].arguments.size(); ++i) {
                SSpot at;
                if (spots != nullptr && p < spots->properties.size() && i < spots->properties[p].arguments.size())
                    at = spots->properties[p].arguments[i];
                checkService(bean.properties[p].arguments[i], at);
            }
    }
}

}  // namespace zemcli
