// Configuration records built by hand, as the readers build them, loaded into
// a factory the way a container loads a document. Header-only, so that test
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
#include "support/message_of.h"
#include "zem/exception.h"

namespace zem_support {

using Lines = std::vector<std::string>;

// The path of a fixture class library built by the test build.
inline std::string FixturePath(const std::string& name) {
    return std::string(ZEM_FIXTURE_DIR) + "/lib" + name + ZEM_MODULE_SUFFIX;
}
inline std::string RecordingLibrary() { return FixturePath("recording"); }

inline ZEM::SArgument Arg(const std::string& type, const std::string& value = "") {
    return ZEM::SArgument{type, value};
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

// The document a reader would turn into the same records as Build(), for the
// containers that read text: names, classes, factory methods, the singleton
// and lazy flags, init methods and constructor arguments.
inline std::string Document(std::initializer_list<Library> libraries) {
    std::string xml = "<zem>";
    for (const Library& library : libraries) {
        xml += "<library path=\"" + library.path + "\"><beans>";
        for (const Bean& entry : library.beans) {
            const ZEM::SBean& bean = entry.Record();
            xml += "<bean name=\"" + bean.name + "\" class=\"" + bean.className + "\" factory-method=\"" +
                   bean.factoryMethod + "\" singleton=\"" + (bean.singleton ? "true" : "false") + "\" lazy=\"" +
                   (bean.lazy ? "true" : "false") + "\"";
            if (!bean.initMethod.empty()) xml += " init-method=\"" + bean.initMethod + "\"";
            xml += ">";
            if (!bean.arguments.empty()) xml += "<constructor-arg>";
            for (const ZEM::SArgument& argument : bean.arguments) {
                const std::string& value = argument.value;
                xml += "<argument>" + (argument.type == "bean" ? "<ref bean=\"" + value + "\"/>"
                                                               : "<value type=\"" + argument.type + "\">" + value + "</value>") +
                       "</argument>";
            }
            if (!bean.arguments.empty()) xml += "</constructor-arg>";
            xml += "</bean>";
        }
        xml += "</beans></library>";
    }
    return xml + "</zem>";
}

// The paths of a store's libraries, and the names of a library's beans, in order.
inline Lines LibraryPaths(const ZEM::CConfiguration& configuration) {
    Lines paths;
    for (const auto& library : configuration.Store().libraries) paths.push_back(library->path);
    return paths;
}
inline Lines BeanNames(const ZEM::SLibrary& library) {
    Lines names;
    for (const ZEM::SBean& bean : library.beans) names.push_back(bean.name);
    return names;
}

// What a configuring container does after reading: merge, then the eager
// beans, under the startup mutex.
inline void Load(ZEM::CBeanFactoryImpl& factory, std::initializer_list<Library> libraries) {
    ZEM::CConfiguration configuration = Build(&factory, libraries);
    std::lock_guard<std::mutex> startup(ZEM::StartupMutex());
    factory.LoadConfiguration(configuration);
    factory.CreateEagerBeans();
}

// Collects the failures that a factory's bean requests drop.
class Failures {
public:
    explicit Failures(ZEM::CBeanFactoryImpl& factory) : factory_(factory) {
        factory.SetFailureHandler(
            [this](const char* name, const std::wstring& message, const std::vector<std::string>&) {
                entries_.push_back(std::string(name) + ": " + ZEM::Narrow(message));
            });
    }
    ~Failures() { factory_.SetFailureHandler(nullptr); }

    // "name: message" of each failure so far; the list is emptied.
    std::vector<std::string> Take() { return std::exchange(entries_, {}); }

private:
    ZEM::CBeanFactoryImpl& factory_;
    std::vector<std::string> entries_;
};

// A test whose fixture log starts empty, with serial numbers from 1, and a
// factory of its own.
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

    std::shared_ptr<ZEM::CBeanFactoryImpl> factory_ = std::make_shared<ZEM::CBeanFactoryImpl>();
};

}  // namespace zem_support
