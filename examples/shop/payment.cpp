// Card payments: a terminal per payment provider, made by the factory class
// shop::PaymentProviders, whose binding also names the terminal's exit
// method, since the container reaches a factory's products through it.
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

#include <zem/class.h>

#include "money.h"
#include "shop.h"

namespace shop {

class CardTerminal : public ZEM::IObject, public IPaymentTerminal {
public:
    CardTerminal(const char* provider, float feePercent) : provider_(provider), feePercent_(feePercent) {
        // Stands for the handshake with the provider, the slow part of a
        // real terminal's start: `zem profile` shows it as the slowest bean.
        std::this_thread::sleep_for(std::chrono::milliseconds(25));
        std::printf("  [card] connected to %s (fee %.1f%%)\n", provider_.c_str(), feePercent_);
    }

    const std::string& Provider() const override { return provider_; }
    bool Charge(double amount) override {
        ++payments_;
        fees_ += amount * feePercent_ / 100;
        return amount > 0;
    }
    // The exit method.
    void Disconnect() {
        std::printf("  [card] %s disconnected after %d payment(s), fees %s\n", provider_.c_str(), payments_,
                    FormatMoney(fees_).c_str());
    }

private:
    std::string provider_;
    float feePercent_;
    int payments_ = 0;
    double fees_ = 0;
};

// Every class a configuration names needs a maker, also one whose objects
// only a factory makes: this wrapper serves the terminal's properties and
// init method, and has no constructor of its own.
ZEM::CClass<CardTerminal> BindCardTerminal() { return ZEM::CClass<CardTerminal>(); }

// A factory bean: beans that name it in factory-bean get their terminal
// from its factory method Connect.
class PaymentProviders : public ZEM::IObject {};

ZEM::CClass<PaymentProviders> BindPaymentProviders() {
    return ZEM::CClass<PaymentProviders>()
        .Constructor<>()
        .Creates<CardTerminal, const char*, float>("Connect")
        .Method("Disconnect", &CardTerminal::Disconnect);
}

}  // namespace shop

ZEM_EXPORT_CLASS(shop::BindCardTerminal, shop, CardTerminal)
ZEM_EXPORT_CLASS(shop::BindPaymentProviders, shop, PaymentProviders)
