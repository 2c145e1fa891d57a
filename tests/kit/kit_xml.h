// Small builders of configuration text for the kit tests, so that a test
// shows the beans it defines and not the angle brackets around them.
#pragma once

#include <initializer_list>
#include <string>
#include <utility>

namespace zem_test::xml {

inline std::string Value(const std::string& type, const std::string& text) {
    return "<value type='" + type + "'>" + text + "</value>";
}
inline std::string Ref(const std::string& bean) { return "<ref bean='" + bean + "'/>"; }
inline std::string Argument(const std::string& form) { return "<argument>" + form + "</argument>"; }
inline std::string ConstructorArgs(const std::string& arguments) {
    return "<constructor-arg>" + arguments + "</constructor-arg>";
}
inline std::string Property(const std::string& name, const std::string& form) {
    return "<property name='" + name + "'>" + form + "</property>";
}
inline std::string Properties(const std::string& properties) { return "<properties>" + properties + "</properties>"; }
// Constructor arguments of plain values, each a type and a text.
inline std::string ConstructorValues(std::initializer_list<std::pair<const char*, const char*>> values) {
    std::string arguments;
    for (const auto& [type, text] : values) arguments += Argument(Value(type, text));
    return ConstructorArgs(arguments);
}

// A bean element: `attributes` is written as it stands, `children` inside.
inline std::string Bean(const std::string& name, const std::string& className, const std::string& attributes = "",
                        const std::string& children = "") {
    return "<bean name='" + name + "' class='" + className + "' " + attributes + ">" + children + "</bean>";
}

// A document with one library; no path means the host's own classes.
inline std::string Document(const std::string& beans, const std::string& libraryPath = "") {
    std::string library = libraryPath.empty() ? "<library>" : "<library path='" + libraryPath + "'>";
    return "<zem>" + library + "<beans>" + beans + "</beans></library></zem>";
}

}  // namespace zem_test::xml
