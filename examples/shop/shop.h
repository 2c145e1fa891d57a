// The interfaces of the shop class library, shared with the programs that
// host it. The library's classes implement them; a host sees its objects only
// through these and ZEM::IObject.
#pragma once

#include <memory>
#include <string>
#include <vector>

// The interfaces cross the boundary between host and library, so they keep
// default visibility although the library is built with hidden symbols.
// (Windows compares type information by name and needs no mark for them.)
#if defined(_WIN32) || !defined(__GNUC__)
#  define SHOP_API
#else
#  define SHOP_API __attribute__((visibility("default")))
#endif

namespace shop {

// One line of a basket as the customer puts it together.
struct SLine {
    std::string product;
    int quantity = 0;
};

// A basket line with what the catalog knows about the product.
struct SPricedLine {
    std::string product;
    std::string category;
    int quantity = 0;
    double unitPrice = 0;
    double Amount() const { return quantity * unitPrice; }
};

class SHOP_API ICatalog {
public:
    virtual ~ICatalog() = default;
    virtual const std::string& StoreName() const = 0;
    virtual std::size_t ProductCount() const = 0;
    // Fills in category and price of `line.product`; false if it isn't listed.
    virtual bool Price(SPricedLine& line) const = 0;
};

class SHOP_API IBasket {
public:
    virtual ~IBasket() = default;
    // False if the basket is full.
    virtual bool Add(const std::string& product, int quantity) = 0;
    virtual const std::vector<SLine>& Lines() const = 0;
};

class SHOP_API IPriceRule {
public:
    virtual ~IPriceRule() = default;
    virtual std::string Describe() const = 0;
    // What the rule adds to `total` (negative for a discount), with the
    // receipt line in `note`; `note` stays empty if the rule doesn't apply.
    virtual double Apply(const std::vector<SPricedLine>& lines, double total, std::string& note) const = 0;
};

class SHOP_API IPaymentTerminal {
public:
    virtual ~IPaymentTerminal() = default;
    virtual const std::string& Provider() const = 0;
    // False if the payment is declined.
    virtual bool Charge(double amount) = 0;
};

class SHOP_API IReceiptPrinter {
public:
    virtual ~IReceiptPrinter() = default;
    virtual void Print(const std::string& line) = 0;
};

class SHOP_API ISalesLog {
public:
    virtual ~ISalesLog() = default;
    virtual void Record(const std::string& till, double amount, bool cash) = 0;
};

class SHOP_API ITill {
public:
    virtual ~ITill() = default;
    virtual const std::string& Name() const = 0;
    virtual std::string Describe() const = 0;
    // Prices the basket, applies the rules in order, takes the payment and
    // prints the receipt; the amount paid.
    virtual double RingUp(const IBasket& basket, const std::vector<std::shared_ptr<IPriceRule>>& rules,
                          bool cash) = 0;
};

}  // namespace shop
