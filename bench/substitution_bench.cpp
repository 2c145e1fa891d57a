// Cost of loops and substitution as the element readers meet them: a for
// loop over a bean with ten substituted attributes, walked at two sizes to
// show the time per iteration stays flat, and the price of a value without
// '%' inside a loop against a plain UTF-8 decode.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

#include "foundation/string_convert.h"
#include "substitution/loops.h"
#include "substitution/reading.h"
#include "substitution/substitute.h"
#include "xml/xml_document.h"

namespace {

using ZEM::ParameterMap;
using ZEM::XMLNode;

const char* const kAttributes[] = {"class",    "name",        "singleton",   "lazy",         "autoname",
                                   "exported", "init-method", "exit-method", "factory-bean", "factory-method"};

std::string LoopDocument(int iterations) {
    char head[96];
    std::snprintf(head, sizeof head, R"(<beans><for first="1" last="%d" substitute="i">)", iterations);
    return std::string(head) +
           R"(<bean class="demo::Widget%i%" name="widget-%i%" singleton="%i%" lazy="%.i%"
                    autoname="%_i%" exported="%^i%" init-method="Init%i%" exit-method="Exit%i%"
                    factory-bean="maker%i%" factory-method="Make%i%"/></for></beans>)";
}

void Walk(const XMLNode& parent, const ParameterMap& map, ZEM::CReading& reading, std::size_t& characters) {
    ZEM::ForEachElement(
        parent, {"bean", "service"}, map, reading,
        [&](const XMLNode& bean) {
            for (const char* attribute : kAttributes)
                characters += ZEM::SubstituteParameters(bean.AttributeValue(attribute), map, &reading).Length();
        },
        [&](const XMLNode& loop, const ParameterMap& inner) { Walk(loop, inner, reading, characters); });
}

// Time per loop iteration; each iteration reads one bean of ten attributes.
void BM_ForLoopWalk(benchmark::State& state) {
    const int iterations = static_cast<int>(state.range(0));
    std::string text = LoopDocument(iterations);
    ZEM::SXmlParseResult result;
    XMLNode beans = ZEM::ParseText(text.c_str(), "beans", &result);
    if (result.error != 0) {
        state.SkipWithError("parse failed");
        return;
    }
    ParameterMap empty;
    std::size_t characters = 0;
    for (auto _ : state) {
        ZEM::CReading reading;
        Walk(beans, empty, reading, characters);
    }
    benchmark::DoNotOptimize(characters);
    state.counters["per_iteration"] = benchmark::Counter(
        static_cast<double>(iterations), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_ForLoopWalk)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);

std::string PlainValue(std::size_t length) {
    std::string value = "demo::Widget";
    while (value.size() < length) value += "Plain";
    value.resize(length);
    return value;
}

ParameterMap LoopMap() {
    ParameterMap map;
    map[KtWStr(L"i")] = KtWStr(L"42");
    map[KtWStr(L"name")] = KtWStr(L"Big Name");
    return map;
}

// A value without '%' inside a loop: one decode into the result.
void BM_SubstitutePlainInLoop(benchmark::State& state) {
    std::string value = PlainValue(static_cast<std::size_t>(state.range(0)));
    ParameterMap map = LoopMap();
    for (auto _ : state) benchmark::DoNotOptimize(ZEM::SubstituteParameters(value.c_str(), map));
}
BENCHMARK(BM_SubstitutePlainInLoop)->Arg(16)->Arg(64)->Arg(256);

// The same value outside every loop.
void BM_SubstitutePlainNoLoop(benchmark::State& state) {
    std::string value = PlainValue(static_cast<std::size_t>(state.range(0)));
    ParameterMap empty;
    for (auto _ : state) benchmark::DoNotOptimize(ZEM::SubstituteParameters(value.c_str(), empty));
}
BENCHMARK(BM_SubstitutePlainNoLoop)->Arg(16)->Arg(64)->Arg(256);

// The yardstick: the same text decoded into a reference-counted wide string.
void BM_DecodeOnly(benchmark::State& state) {
    std::string value = PlainValue(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(ZEM::WidenStr(value));
}
BENCHMARK(BM_DecodeOnly)->Arg(16)->Arg(64)->Arg(256);

// A value with two patterns and flags, for scale.
void BM_SubstitutePatterns(benchmark::State& state) {
    ParameterMap map = LoopMap();
    for (auto _ : state) benchmark::DoNotOptimize(ZEM::SubstituteParameters("demo::%.name%_%i%", map));
}
BENCHMARK(BM_SubstitutePatterns);

}  // namespace

BENCHMARK_MAIN();
