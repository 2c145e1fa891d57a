// The tills of the shop, the baskets the customers fill, and the cash
// rounding each till is given: the classes that put the others to work.
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <zem/class.h>

#include "money.h"
#include "shop.h"

namespace shop {

}  // namespace shop

// The tills' `ref service` names the printer interface. The host registers it
// too, for its own printer's `provides`, which is read before this library
// loads; registering it here lets the shop load in a program that has no
// printer (for example `zem profile`), where the reference then finds nothing.
ZEM_REGISTER_INTERFACE(shop::IReceiptPrinter);

namespace shop {

class Basket : public ZEM::IObject, public IBasket {
public:
    void SetMaxLines(unsigned short maxLines) { maxLines_ = maxLines; }
    bool Add(const std::string& product, int quantity) override {
        if (lines_.size() >= maxLines_) return false;
        lines_.push_back({product, quantity});
        return true;
    }
    const std::vector<SLine>& Lines() const override { return lines_; }

private:
    std::size_t maxLines_ = 10;
    std::vector<SLine> lines_;
};

ZEM::CClass<Basket> BindBasket() {
    return ZEM::CClass<Basket>().Constructor<>().Property("MaxLines", &Basket::SetMaxLines);
}

// Rounds cash payments to the smallest coin in use.
class CashRounding : public ZEM::IObject {
public:
    explicit CashRounding(double step) : step_(step) {}
    double Round(double amount) const { return step_ > 0 ? std::round(amount / step_) * step_ : amount; }
    double Step() const { return step_; }

private:
    double step_;
};

ZEM::CClass<CashRounding> BindCashRounding() {
    return ZEM::CClass<CashRounding>().Constructor<double>();
}

class Till : public ZEM::IObject, public ITill {
public:
    Till(int number, std::shared_ptr<ICatalog> catalog) : number_(number), catalog_(std::move(catalog)) {}

    void SetName(const std::string& name) { name_ = name; }
    void SetPrinter(std::shared_ptr<IReceiptPrinter> printer) { printer_ = std::move(printer); }
    void SetPayment(std::shared_ptr<IPaymentTerminal> payment) { payment_ = std::move(payment); }
    void SetLog(std::shared_ptr<ISalesLog> log) { log_ = std::move(log); }
    void SetRounding(std::shared_ptr<CashRounding> rounding) { rounding_ = std::move(rounding); }

    // The init method: a till that lacks a part refuses to open.
    bool Open() {
        bool ready = catalog_ && printer_ && payment_ && log_ && rounding_;
        std::printf("  [%s] till number %d %s\n", name_.c_str(), number_, ready ? "open" : "not ready");
        return ready;
    }

    const std::string& Name() const override { return name_; }
    std::string Describe() const override {
        return "at " + catalog_->StoreName() + ", cards via " + payment_->Provider() + ", cash rounded to " +
               FormatMoney(rounding_->Step()) + " by an inner bean";
    }

    double RingUp(const IBasket& basket, const std::vector<std::shared_ptr<IPriceRule>>& rules, bool cash) override {
        Print(catalog_->StoreName() + ", " + name_, "");
        std::vector<SPricedLine> lines;
        double total = 0;
        for (const SLine& entry : basket.Lines()) {
            SPricedLine line{entry.product, "", entry.quantity, 0};
            if (!catalog_->Price(line)) {
                Print("(not in the catalog: " + entry.product + ")", "");
                continue;
            }
            lines.push_back(line);
            total += line.Amount();
            Print(std::to_string(line.quantity) + " x " + line.product, FormatMoney(line.Amount()));
        }
        for (const std::shared_ptr<IPriceRule>& rule : rules) {
            std::string note;
            double change = rule->Apply(lines, total, note);
            total += change;
            if (!note.empty()) Print(note, change != 0 ? FormatMoney(change) : "");
        }
        Print("Total", FormatMoney(total));
        double paid = total;
        if (cash) {
            paid = rounding_->Round(total);
            Print("Paid in cash", FormatMoney(paid));
        } else if (payment_->Charge(total)) {
            Print("Paid by card (" + payment_->Provider() + ")", FormatMoney(paid));
        } else {
            Print("Card declined", "");
            return 0;
        }
        log_->Record(name_, paid, cash);
        return paid;
    }

private:
    void Print(const std::string& left, const std::string& right) {
        // Amounts right-aligned in a receipt 40 characters wide.
        std::size_t used = left.size() + right.size();
        std::string gap(right.empty() ? 0 : used < 40 ? 40 - used : 1, ' ');
        printer_->Print(left + gap + right);
    }

    int number_;
    std::string name_;
    std::shared_ptr<ICatalog> catalog_;
    std::shared_ptr<IReceiptPrinter> printer_;
    std::shared_ptr<IPaymentTerminal> payment_;
    std::shared_ptr<ISalesLog> log_;
    std::shared_ptr<CashRounding> rounding_;
};

ZEM::CClass<Till> BindTill() {
    return ZEM::CClass<Till>()
        .Constructor<int, std::shared_ptr<ICatalog>>()
        .Method("SetName", &Till::SetName)
        .Property("Printer", &Till::SetPrinter)
        .Property("Payment", &Till::SetPayment)
        .Property("Log", &Till::SetLog)
        .Property("Rounding", &Till::SetRounding)
        .Method("Open", &Till::Open);
}

}  // namespace shop

ZEM_EXPORT_CLASS(shop::BindBasket, shop, Basket)
ZEM_EXPORT_CLASS(shop::BindCashRounding, shop, CashRounding)
ZEM_EXPORT_CLASS(shop::BindTill, shop, Till)
