// The price rules of the shop, each a service of shop::IPriceRule: a discount
// on a category, a discount for large baskets, and the VAT note, which reads
// its rates from a tax table that only this library may use.
#include <cstdio>
#include <map>
#include <memory>
#include <string>

#include <zem/class.h>

#include "money.h"
#include "shop.h"

// The interface name that configurations write in <interface> and
// <ref service>, registered when the library is loaded.
ZEM_REGISTER_INTERFACE(shop::IPriceRule);

namespace shop {

namespace {

int ItemCount(const std::vector<SPricedLine>& lines) {
    int count = 0;
    for (const SPricedLine& line : lines) count += line.quantity;
    return count;
}

std::string Percent(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%g%%", value);
    return text;
}

}  // namespace

class CategoryDiscount : public ZEM::IObject, public IPriceRule {
public:
    CategoryDiscount(std::string category, int percent) : category_(std::move(category)), percent_(percent) {}
    void SetBanner(const std::string& banner) { banner_ = banner; }

    std::string Describe() const override {
        return Percent(percent_) + " off " + category_ + " (\"" + banner_ + "\")";
    }
    double Apply(const std::vector<SPricedLine>& lines, double, std::string& note) const override {
        double amount = 0;
        for (const SPricedLine& line : lines)
            if (line.category == category_) amount += line.Amount();
        if (amount == 0) return 0;
        note = banner_ + " -" + Percent(percent_);
        return -amount * percent_ / 100;
    }

private:
    std::string category_;
    int percent_;
    std::string banner_;
};

ZEM::CClass<CategoryDiscount> BindCategoryDiscount() {
    return ZEM::CClass<CategoryDiscount>()
        .Constructor<std::string, int>()
        .Property("Banner", &CategoryDiscount::SetBanner);
}

class BulkDiscount : public ZEM::IObject, public IPriceRule {
public:
    BulkDiscount(unsigned int minimumItems, double amountOff) : minimum_(minimumItems), amountOff_(amountOff) {}

    std::string Describe() const override {
        return FormatMoney(amountOff_) + " off baskets of " + std::to_string(minimum_) + " items or more";
    }
    double Apply(const std::vector<SPricedLine>& lines, double, std::string& note) const override {
        if (ItemCount(lines) < static_cast<int>(minimum_)) return 0;
        note = std::to_string(minimum_) + "+ items";
        return -amountOff_;
    }

private:
    unsigned int minimum_;
    double amountOff_;
};

ZEM::CClass<BulkDiscount> BindBulkDiscount() {
    return ZEM::CClass<BulkDiscount>().Constructor<unsigned int, double>();
}

// The VAT rates by category; not exported, so only beans of this library
// can be given it.
class TaxTable : public ZEM::IObject {
public:
    explicit TaxTable(float standardRate) : standard_(standardRate) {}
    void SetReducedRate(const std::string& category, float rate) { reduced_[category] = rate; }

    float RateFor(const std::string& category) const {
        auto found = reduced_.find(category);
        return found == reduced_.end() ? standard_ : found->second;
    }
    std::string Describe() const {
        std::string text = Percent(standard_);
        for (const auto& [category, rate] : reduced_) text += ", " + category + " " + Percent(rate);
        return text;
    }

private:
    float standard_;
    std::map<std::string, float> reduced_;
};

ZEM::CClass<TaxTable> BindTaxTable() {
    return ZEM::CClass<TaxTable>()
        .Constructor<float>()
        .Property("ReducedRate", &TaxTable::SetReducedRate);
}

// Prices include VAT; this rule changes nothing and only shows it.
class VatRule : public ZEM::IObject, public IPriceRule {
public:
    explicit VatRule(std::shared_ptr<TaxTable> table) : table_(std::move(table)) {}

    std::string Describe() const override {
        return table_ ? "VAT included: " + table_->Describe() : "VAT: no tax table";
    }
    double Apply(const std::vector<SPricedLine>& lines, double total, std::string& note) const override {
        if (!table_) return 0;
        double subtotal = 0;
        double tax = 0;
        for (const SPricedLine& line : lines) {
            double rate = table_->RateFor(line.category);
            subtotal += line.Amount();
            tax += line.Amount() * rate / (100 + rate);
        }
        if (subtotal > 0) tax *= total / subtotal;  // discounts lower the tax in proportion
        note = "(incl. VAT " + FormatMoney(tax) + ")";
        return 0;
    }

private:
    std::shared_ptr<TaxTable> table_;
};

ZEM::CClass<VatRule> BindVatRule() {
    return ZEM::CClass<VatRule>().Constructor<std::shared_ptr<TaxTable>>();
}

}  // namespace shop

ZEM_EXPORT_CLASS(shop::BindCategoryDiscount, shop, CategoryDiscount)
ZEM_EXPORT_CLASS(shop::BindBulkDiscount, shop, BulkDiscount)
ZEM_EXPORT_CLASS(shop::BindTaxTable, shop, TaxTable)
ZEM_EXPORT_CLASS(shop::BindVatRule, shop, VatRule)
