// How the shop library writes amounts, set once by the money-format bean.
#pragma once

#include <cstdio>
#include <string>

namespace shop {

struct SMoneyFormat {
    std::string symbol = "?";
    int decimals = 2;
};

SMoneyFormat& MoneyFormat();

inline std::string FormatMoney(double amount) {
    char text[64];
    std::snprintf(text, sizeof text, "%s %.*f", MoneyFormat().symbol.c_str(), MoneyFormat().decimals, amount);
    return text;
}

}  // namespace shop
