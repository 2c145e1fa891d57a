// The demo host: a small shop whose parts come from the shop class library
// and from this program, wired by the container from two configuration files.
// It shows what the container made and then puts the parts to work.
//
//     demo [path/to/demo.xml]
//
// Without an argument it reads demo-config/demo.xml beside the executable.
#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <zem/class.h>
#include <zem/zem.h>

#include "host/host_classes.h"
#include "shop/shop.h"

namespace {

const char* YesNo(bool value) { return value ? "yes" : "no"; }

// A bean the demo can't do without. GetBean gives an empty pointer for a bean
// that can't be made (the failure handler installed in main says why); Exists
// binds the bean's class library again and throws if that is what failed.
template <class T>
std::shared_ptr<T> Need(const ZEM::CContainer& shop, const char* name) {
    std::shared_ptr<T> bean = shop.GetBean<T>(name);
    if (bean) return bean;
    if (!shop.Exists(name)) throw std::runtime_error(std::string("no bean '") + name + "' is defined");
    throw std::runtime_error(std::string("the bean '") + name + "' could not be made");
}

// demo-config/demo.xml beside the program: found through /proc where there
// is one, else through the program's name as it was started.
std::filesystem::path DefaultConfiguration(const char* programName) {
    std::error_code error;
    std::filesystem::path executable = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error || executable.empty()) executable = programName;
    return executable.parent_path() / "demo-config" / "demo.xml";
}

void Section(const char* title) { std::printf("\n%s\n", title); }

// Step 1: classes and interfaces of the host itself.
void RegisterHostClasses() {
    Section("1. The host registers its own classes on the local library");
    ZEM::RegisterClass<&host::BindConsolePrinter>("host::ConsolePrinter");
    ZEM::RegisterClass<&host::BindDailyTotals>("host::DailyTotals");
    // The shop library registers shop::IPriceRule itself when it is loaded;
    // this interface is the one the host implements.
    ZEM::RegisterInterface<shop::IReceiptPrinter>("shop::IReceiptPrinter");
    std::printf("  classes host::ConsolePrinter and host::DailyTotals, interface shop::IReceiptPrinter\n");
}

// Step 3: what the configuration asked for, as the host sees it.
std::vector<std::shared_ptr<shop::IPriceRule>> ShowWiring(const ZEM::CContainer& shop) {
    Section("3. What the container wired");
    auto catalog = Need<shop::ICatalog>(shop, "catalog");
    std::printf("  catalog: %s, %zu products; a singleton, so asking again gives the same object: %s\n",
                catalog->StoreName().c_str(), catalog->ProductCount(),
                YesNo(catalog == shop.GetBean<shop::ICatalog>("catalog")));

    auto basket = Need<shop::IBasket>(shop, "basket");
    std::printf("  basket: not a singleton, so asking again gives a new basket: %s\n",
                YesNo(basket != shop.GetBean<shop::IBasket>("basket")));

    for (const char* name : {"till-1", "till-2"}) {
        auto till = Need<shop::ITill>(shop, name);
        std::printf("  %s (from a <for> loop, told its name \"%s\"): %s\n", name, till->Name().c_str(),
                    till->Describe().c_str());
    }
    auto card = Need<shop::IPaymentTerminal>(shop, "card");
    std::printf("  card: the %s terminal, made by the factory bean \"payments\"\n", card->Provider().c_str());

    std::printf("  tax-table: defined: %s; given to the host: %s (exported=\"false\": only the shop library sees it)\n",
                YesNo(shop.Exists("tax-table")), YesNo(shop.GetBean("tax-table") != nullptr));

    std::uint32_t count = shop.GetServiceCount<shop::IPriceRule>();
    std::printf("  price rules: %u services of shop::IPriceRule, in the order of their list:\n", count);
    std::vector<std::shared_ptr<shop::IPriceRule>> rules;
    for (std::uint32_t i = 0; i < count; ++i) {
        rules.push_back(shop.GetService<shop::IPriceRule>(i));
        if (!rules.back()) throw std::runtime_error("price rule " + std::to_string(i + 1) + " could not be made");
        std::printf("    %u. %s\n", i + 1, rules.back()->Describe().c_str());
    }
    return rules;
}

// Step 4: two customers at two tills.
void Serve(const ZEM::CContainer& shop, const std::vector<std::shared_ptr<shop::IPriceRule>>& rules) {
    Section("4. Two customers");
    struct SCustomer {
        const char* till;
        bool cash;
        std::vector<shop::SLine> items;
    } const customers[] = {
        {"till-1", false, {{"Dune", 2}, {"Catan", 1}}},
        {"till-2", true, {{"Pencil", 4}, {"Notebook", 2}, {"Eraser", 1}}},
    };
    for (const SCustomer& customer : customers) {
        auto basket = Need<shop::IBasket>(shop, "basket");
        for (const shop::SLine& line : customer.items) basket->Add(line.product, line.quantity);
        std::printf("  at %s, paying %s:\n", customer.till, customer.cash ? "cash" : "by card");
        Need<shop::ITill>(shop, customer.till)->RingUp(*basket, rules, customer.cash);
    }
    auto totals = Need<host::DailyTotals>(shop, "daily-totals");
    std::printf("  the day's takings (host::DailyTotals): %d sales, %.2f in cash, %.2f by card\n", totals->Sales(),
                totals->Cash(), totals->Card());
}

}  // namespace

int main(int argc, char** argv) {
    std::filesystem::path configuration = argc > 1 ? std::filesystem::path(argv[1]) : DefaultConfiguration(argv[0]);
    std::printf("zem demo: a shop wired by the container\n");
    try {
        RegisterHostClasses();

        Section("2. Loading the configuration; eager beans are made now");
        // The shared factory first, so that the failure handler is in place
        // before the eager beans are made; FromFile then loads the file into it.
        ZEM::CContainer shared;
        ZEM::SetBeanFailureHandler(shared.Factory(), [](const char* name, const std::wstring& reason,
                                                        const std::vector<std::string>&) {
            std::fprintf(stderr, "demo: the bean '%s' was not made: %ls\n", name, reason.c_str());
        });
        const std::string file = configuration.filename().string();
        std::printf("  reading %s (it includes shop.xml and pricing.xml)\n", file.c_str());
        ZEM::CContainer shop = ZEM::CContainer::FromFile(configuration, true);
        std::printf("  (catalog and the tills are eager; the tills pulled in money-format through\n"
                    "   depends-on, and card, printer and daily-totals through their properties)\n");

        {
            std::vector<std::shared_ptr<shop::IPriceRule>> rules = ShowWiring(shop);
            Serve(shop, rules);
        }

        Section("5. Reset: the container lets go of its singletons, exit methods run");
        shop.Reset();
        std::printf("  the container is empty now: catalog defined: %s\n", YesNo(shop.Exists("catalog")));
    } catch (const ZEM::CException& failure) {
        std::fprintf(stderr, "demo: %ls\n", failure.GetMessageW().c_str());
        return 1;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "demo: %s\n", failure.what());
        return 1;
    }
    std::printf("\nDone.\n");
    return 0;
}
