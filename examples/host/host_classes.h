// The demo host's own bean classes: the receipt printer and the day's sales
// log. They live in the host program, not in a class library, so the host
// registers them on the local library before it loads a configuration.
#pragma once

#include <cstdio>
#include <string>

#include <zem/class.h>

#include "shop/shop.h"

namespace host {

// Prints receipts on the console, each line behind a margin.
class ConsolePrinter : public ZEM::IObject, public shop::IReceiptPrinter {
public:
    explicit ConsolePrinter(const char* margin) : margin_(margin) {}
    void Print(const std::string& line) override { std::printf("      %s %s\n", margin_.c_str(), line.c_str()); }

private:
    std::string margin_;
};

inline ZEM::CClass<ConsolePrinter> BindConsolePrinter() {
    return ZEM::CClass<ConsolePrinter>().Constructor<const char*>();
}

// Adds up what the tills take.
class DailyTotals : public ZEM::IObject, public shop::ISalesLog {
public:
    void Record(const std::string&, double amount, bool cash) override {
        ++sales_;
        (cash ? cash_ : card_) += amount;
    }
    int Sales() const { return sales_; }
    double Cash() const { return cash_; }
    double Card() const { return card_; }

private:
    int sales_ = 0;
    double cash_ = 0;
    double card_ = 0;
};

inline ZEM::CClass<DailyTotals> BindDailyTotals() { return ZEM::CClass<DailyTotals>().Constructor<>(); }

}  // namespace host
