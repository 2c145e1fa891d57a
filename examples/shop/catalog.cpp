// The catalog of the shop (products with category and price) and the bean
// that sets how amounts are written. Both are bound with the kit and
// exported as shop::Catalog and shop::MoneyFormat.
#include <cstdio>
#include <map>
#include <string>

#include <zem/class.h>

#include "money.h"
#include "shop.h"

namespace shop {

SMoneyFormat& MoneyFormat() {
    static SMoneyFormat format;
    return format;
}

class Catalog : public ZEM::IObject, public ICatalog {
public:
    Catalog(const char* storeName, int capacity) : storeName_(storeName), capacity_(capacity) {}

    // A product as the configuration lists it; false once the catalog is full.
    bool AddProduct(const std::string& name, const std::string& category, double price) {
        if (static_cast<int>(products_.size()) >= capacity_) return false;
        products_[name] = {name, category, 0, price};
        return true;
    }
    // The init method: a catalog without products is no use to anyone.
    bool Open() {
        std::printf("  [catalog] %s opens with %zu products (room for %d)\n", storeName_.c_str(), products_.size(),
                    capacity_);
        return !products_.empty();
    }
    // The exit method.
    void Close() { std::printf("  [catalog] %s closes\n", storeName_.c_str()); }

    const std::string& StoreName() const override { return storeName_; }
    std::size_t ProductCount() const override { return products_.size(); }
    bool Price(SPricedLine& line) const override {
        auto found = products_.find(line.product);
        if (found == products_.end()) return false;
        line.category = found->second.category;
        line.unitPrice = found->second.unitPrice;
        return true;
    }

private:
    std::string storeName_;
    int capacity_;
    std::map<std::string, SPricedLine> products_;
};

ZEM::CClass<Catalog> BindCatalog() {
    return ZEM::CClass<Catalog>()
        .Constructor<const char*, int>()
        .Property("Product", &Catalog::AddProduct)
        .Method("Open", &Catalog::Open)
        .Method("Close", &Catalog::Close);
}

// Holds the format until its init method installs it for the whole library.
class MoneyFormatBean : public ZEM::IObject {
public:
    std::string symbol = "EUR";
    unsigned char decimals = 2;

    void Install() {
        MoneyFormat() = {symbol, decimals};
        std::printf("  [money-format] amounts are written like %s\n", FormatMoney(1234.5).c_str());
    }
};

ZEM::CClass<MoneyFormatBean> BindMoneyFormat() {
    return ZEM::CClass<MoneyFormatBean>()
        .Constructor<>("MoneyFormat")
        .Property("Symbol", &MoneyFormatBean::symbol)
        .Property("Decimals", &MoneyFormatBean::decimals)
        .Method("Install", &MoneyFormatBean::Install);
}

}  // namespace shop

ZEM_EXPORT_CLASS(shop::BindCatalog, shop, Catalog)
ZEM_EXPORT_CLASS(shop::BindMoneyFormat, shop, MoneyFormat)
