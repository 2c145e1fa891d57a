// The name under which the container looks for the maker of a class. Shared
// by the container's binding and the kit's registrations, so both spell it
// the same way.
#pragma once

#include <string>
#include <string_view>

namespace ZEM::kit {

// "create_" + the class name with each "::" written "_" + "_Wrapper".
inline std::string MakerSymbol(std::string_view className) {
    std::string symbol = "create_";
    symbol.reserve(className.size() + 16);
    for (std::size_t i = 0; i < className.size(); ++i) {
        if (className[i] == ':' && i + 1 < className.size() && className[i + 1] == ':') {
            symbol.push_back('_');
            ++i;
        } else {
            symbol.push_back(className[i]);
        }
    }
    return symbol + "_Wrapper";
}

}  // namespace ZEM::kit
