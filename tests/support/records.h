// Building configuration records by hand, as the document readers do, and
// loading them into a factory the way a container loads a document: merge,
// then the eager beans, under the startup mutex. Header-only, so that test
// executables which never touch a factory don't pull one in.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "config/configuration.h"
#include "container/bean_factory.h"
#include "container/process_objects.h"
#include "foundation/string_convert.h"
#include "platform/module.h"
#include "support/fixture_log.h"
#include "zem/exception.h"

namespace zem_support {

// The path of a fixture class library built by the test build.
inline std::string FixturePath(const std::string& name) {
    return std::string(ZEM_FIXTURE_DIR) + "/lib" + name + ".so";
}
inline std::string RecordingLibrary() { return FixturePath("recording"); }

inline ZEM::SArgument Arg(const std::string& type, const std::string& value = "") {
    return ZEM::SArgument{type, ZEM::Widen(value)};
}

// A bean definition with the defaults of a fresh record; the factory method
// is the class's short name, as the reader derives it.
class Bean {
public:
    Bean(const std::string& name, const std::string& className) {
        bean_.name = name;
        bean_.className = className;
        std::size_t colon = className.rfind(':');
        bean_.factoryMethod = colon != std::string::npos && colon > 0 ? className.substr(colon + 1) : className;
    }
    Bean& Method(const std::string& method) { bean_.factoryMethod = method; return *this; }
    Bean& Arg(const std::string& type, const std::string& value = "") {
        bean_.arguments.push_back(zem_support::Arg(type, value));
        return *this;
    }
    Bean& Property(const std::string& name, std::vector<ZEM::SArgument> arguments) {
        bean_.properties.push_back(ZEM::SProperty{name, std::move(arguments)});
        return *this;
    }
    Bean& Init(const std::string& method) { bean_.initMethod = method; return *this; }
    Bean& Exit(const std::string& method) { bean_.exitMethod = method; return *this; }
    Bean& DependsOn(const std::string& name) { bean_.dependsOn.push_back(name); return *this; }
    Bean& Singleton() { bean_.singleton = true; return *this; }
    Bean& Hidden() { bean_.exported = false; return *this; }
    Bean& Autoname() { bean_.autoname = true; return *this; }
    Bean& Eager() { bean_.lazy = false; return *this; }
    Bean& FactoryBean(const std::string& name) { bean_.factoryBean = name; return *this; }
    Bean& Provides(const std::string& typeId) { bean_.interfaces.push_back(typeId); return *this; }

    const ZEM::SBean& Record() const { return bean_; }

private:
    ZEM::SBean bean_;
};

struct Library {
    std::string path;
    std::vector<Bean> beans;
};

// A store filled as a reader fills one: libraries by path in order of first
// mention, beans in order, eager names as they are read.
inline ZEM::CConfiguration Build(ZEM::IBeanFactory* factory, std::initializer_list<Library> libraries) {
    ZEM::CConfiguration configuration(factory);
    for (const Library& library : libraries) {
        ZEM::SLibrary* record = configuration.FindOrAddLibrary(library.path);
        for (const Bean& bean : library.beans) {
            if (!bean.Record().lazy) configuration.Store().eagerBeans.push_back(bean.Record().name);
            record->beans.push_back(bean.Record());
        }
    }
    return configuration;
}

inline std::string XmlEscape(const std::string& text) {
    std::string out;
    for (char c : text) {
        switch (c) {
            case '&': out += "&amp;"; break;
            case '<': out += "&lt;"; break;
            case '>': out += "&gt;"; break;
            case '"': out += "&quot;"; break;
            default: out.push_back(c);
        }
    }
    return out;
}

inline std::string XmlValue(const ZEM::SArgument& argument) {
    std::string value = XmlEscape(ZEM::Narrow(argument.value));
    if (argument.type == "nullptr") return "<nullptr/>";
    if (argument.type == "bean" || argument.type == "service")
        return "<ref " + argument.type + "=\"" + value + "\"/>";
    return "<value type=\"" + XmlEscape(argument.type) + "\">" + value + "</value>";
}

// The document a reader would turn into the same records as Build(), for the
// containers that read text. Interfaces are left out: a document names them
// by class, the records by type id.
inline std::string Document(std::initializer_list<Library> libraries) {
    std::string xml = "<zem>";
    for (const Library& library : libraries) {
        xml += "<library path=\"" + XmlEscape(library.path) + "\"><beans>";
        for (const Bean& entry : library.beans) {
            const ZEM::SBean& bean = entry.Record();
            auto attribute = [&](const char* name, const std::string& value) {
                xml += std::string(" ") + name + "=\"" + XmlEscape(value) + "\"";
            };
            xml += "<bean";
            attribute("name", bean.name);
            attribute("class", bean.className);
            attribute("factory-method", bean.factoryMethod);
            attribute("singleton", bean.singleton ? "true" : "false");
            attribute("lazy", bean.lazy ? "true" : "false");
            attribute("exported", bean.exported ? "true" : "false");
            attribute("autoname", bean.autoname ? "true" : "false");
            if (!bean.factoryBean.empty()) attribute("factory-bean", bean.factoryBean);
            if (!bean.initMethod.empty()) attribute("init-method", bean.initMethod);
            if (!bean.exitMethod.empty()) attribute("exit-method", bean.exitMethod);
            xml += ">";
            if (!bean.arguments.empty()) {
                xml += "<constructor-arg>";
                for (const ZEM::SArgument& argument : bean.arguments) xml += "<argument>" + XmlValue(argument) + "</argument>";
                xml += "</constructor-arg>";
            }
            if (!bean.properties.empty()) {
                xml += "<properties>";
                for (const ZEM::SProperty& property : bean.properties) {
                    xml += "<property name=\"" + XmlEscape(property.name) + "\"><arguments>";
                    for (const ZEM::SArgument& argument : property.arguments)
                        xml += "<argument>" + XmlValue(argument) + "</argument>";
                    xml += "</arguments></property>";
                }
                xml += "</properties>";
            }
            if (!bean.dependsOn.empty()) {
                xml += "<depends-on>";
                for (const std::string& name : bean.dependsOn) xml += "<bean-name>" + XmlEscape(name) + "</bean-name>";
                xml += "</depends-on>";
            }
            xml += "</bean>";
        }
        xml += "</beans></library>";
    }
    return xml + "</zem>";
}

// What a configuring container does after reading.
inline void Load(ZEM::CBeanFactoryImpl& factory, ZEM::CConfiguration&& configuration) {
    std::lock_guard<std::mutex> startup(ZEM::StartupMutex());
    factory.LoadConfiguration(configuration);
    factory.CreateEagerBeans();
}
inline void Load(ZEM::CBeanFactoryImpl& factory, std::initializer_list<Library> libraries) {
    Load(factory, Build(&factory, libraries));
}

// The message of the CException that `action` throws; "" if none.
inline std::wstring MessageOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const ZEM::CException& failure) {
        return failure.GetMessageW();
    }
    return L"";
}

// Collects the failures that a factory's bean requests drop.
class Failures {
public:
    explicit Failures(ZEM::CBeanFactoryImpl& factory) : factory_(factory) {
        factory.SetFailureHandler(
            [this](const char* name, const std::wstring& message, const std::vector<std::string>& chain) {
                entries_.push_back(std::string(name) + ": " + ZEM::Narrow(message));
                chains_.push_back(chain);
            });
    }
    ~Failures() { factory_.SetFailureHandler(nullptr); }
    Failures(const Failures&) = delete;
    Failures& operator=(const Failures&) = delete;

    // "name: message" of each failure so far; the list is emptied.
    std::vector<std::string> Take() {
        chains_.clear();
        return std::exchange(entries_, {});
    }
    // The requests being made on the thread at each failure, outermost first.
    const std::vector<std::vector<std::string>>& Chains() const { return chains_; }

private:
    ZEM::CBeanFactoryImpl& factory_;
    std::vector<std::string> entries_;
    std::vector<std::vector<std::string>> chains_;
};

// A test whose fixture log starts empty, with serial numbers from 1.
class RecordingTest : public ::testing::Test {
protected:
    void SetUp() override { FixtureLog::Reset(); }
    void TearDown() override { FixtureLog::Enable(true); }

    static std::string Tag(const std::shared_ptr<ZEM::IObject>& object) { return FixtureLog::TagOf(object.get()); }

    // The log without the lines of binding (makers and declared types), which
    // come at the first need of a library.
    static std::vector<std::string> Calls() {
        std::vector<std::string> calls;
        for (std::string& line : FixtureLog::Take())
            if (line.rfind("maker ", 0) != 0 && line.rfind("types ", 0) != 0) calls.push_back(std::move(line));
        return calls;
    }
};

}  // namespace zem_support
