// lint --load: binds each class library the way the factory does at first
// need, bean by bean, so that one missing maker doesn't hide the rest, asks
// each wrapper what its properties declare, and compares every bean with the
// parameters of a class that declares them.
#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <stdexcept>

#include "cli.h"
#include "foundation/string_convert.h"
#include "library/library.h"
#include "lint.h"
#include "platform/module.h"
#include "types/type_check.h"
#include "zem/typed_wrapper.h"
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

// Warns of property values that the class declares no type for, which
// binding refuses, and, for a class that doesn't declare its parameters in
// full, of values given in another type than the declared one. Returns the
// properties warned of.
std::set<std::size_t> CheckProperties(const ZEM::SBean& bean, const SBeanSpots* spots,
                                      const ZEM::IBeanWrapper& wrapper, CFindings& findings) {
    const bool typed = dynamic_cast<const ZEM::ITypedWrapper*>(&wrapper) != nullptr;
    std::set<std::size_t> warned;
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
                warned.insert(p);
            } else if (!typed && argument.type != "nullptr" && WithoutBlanks(type) != WithoutBlanks(argument.type)) {
                findings.Warn(at, where + ": argument " + std::to_string(i + 1) + " is given as '" + argument.type +
                                      "', the class declares '" + type + "'");
            }
        }
    }
    return warned;
}

// The place of an argument, a property or the whole bean.
SSpot SpotOf(const SBeanSpots* spots, std::size_t property, std::size_t argument) {
    if (spots == nullptr) return {};
    if (property == ZEM::kWholeCall)
        return argument != ZEM::kWholeCall && argument < spots->arguments.size() ? spots->arguments[argument] : spots->at;
    if (property >= spots->properties.size()) return spots->at;
    const SPropertySpots& place = spots->properties[property];
    return argument != ZEM::kWholeCall && argument < place.arguments.size() ? place.arguments[argument] : place.at;
}

// The wrapper made for one bean, and the bean.
struct SMadeWrapper {
    std::shared_ptr<ZEM::IBeanWrapper> wrapper;
    const ZEM::SBean* bean = nullptr;
};

// The wrapper that makes the objects of `bean`: its own, or its factory bean's.
const SMadeWrapper* CreatorOf(const ZEM::SBean& bean, const std::map<std::string, SMadeWrapper>& made) {
    auto found = made.find(bean.factoryBean.empty() ? bean.name : bean.factoryBean);
    return found != made.end() ? &found->second : nullptr;
}

// What the class declares against what the bean gives: types, counts, and
// the classes of referenced beans where the referenced class is known.
void CheckTypes(const ZEM::SBean& bean, const SBeanSpots* spots, const std::set<std::size_t>& warned,
                const std::map<std::string, SMadeWrapper>& made, CFindings& findings) {
    auto ownFound = made.find(bean.name);
    const SMadeWrapper* creator = CreatorOf(bean, made);
    if (ownFound == made.end() || creator == nullptr) return;
    const ZEM::STypeCheck check =
        ZEM::CheckBeanTypes(bean, *creator->wrapper, creator->bean->className, *ownFound->second.wrapper);
    for (const ZEM::STypeProblem& problem : check.problems)
        if (problem.property == ZEM::kWholeCall || warned.count(problem.property) == 0)
            findings.Warn(SpotOf(spots, problem.property, problem.argument), Utf8(problem.message));
    for (const ZEM::SReferenceCheck& reference : check.references) {
        const ZEM::SArgument& argument = reference.property == ZEM::kWholeCall
                                             ? bean.arguments[reference.argument]
                                             : bean.properties[reference.property].arguments[reference.argument];
        if (argument.type != "bean") continue;
        auto target = made.find(argument.value);
        if (target == made.end()) continue;
        const SMadeWrapper* targetCreator = CreatorOf(*target->second.bean, made);
        if (targetCreator != nullptr &&
            ZEM::MadeOfOtherClass(reference, *target->second.bean, *targetCreator->wrapper))
            findings.Warn(SpotOf(spots, reference.property, reference.argument),
                          Utf8(ZEM::WrongClassMessage(bean, reference, argument, target->second.bean->className)));
    }
}

}  // namespace

void LintClasses(const ZEM::CConfigurationStore& store, const CBeanIndex& index, const CSourceMap& map,
                 CFindings& findings) {
    // A library without a path is the host program, whose makers only the
    // host itself has.
    const std::string hostProgram = ZEM::platform::ExecutablePath();
    std::map<std::string, SMadeWrapper> made;  // by bean name, the definitions a request finds
    std::vector<std::pair<const ZEM::SBean*, std::set<std::size_t>>> checked;
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
            std::unique_ptr<ZEM::IBeanWrapper> wrapper = MakeWrapper(maker, failure);
            if (!failure.empty())
                findings.Warn(at, "the maker of class '" + bean.className + "' failed: " + failure);
            else if (!wrapper)
                findings.Warn(at, "the maker of class '" + bean.className + "' gives no wrapper");
            else {
                checked.emplace_back(&bean, CheckProperties(bean, spots, *wrapper, findings));
                made.emplace(bean.name, SMadeWrapper{std::shared_ptr<ZEM::IBeanWrapper>(wrapper.release()), &bean});
            }
        }
    }
    for (const auto& [bean, warned] : checked) CheckTypes(*bean, map.Find(*bean), warned, made, findings);

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
