#include "options.h"

#include <string_view>

#include "debugkit/assert.h"
#include "pattern_table.h"

namespace Kestrel {
namespace {

using optkit::Value;
using utilkit::variant_t;

/// The number of a value whose type is at most `lastType`; 0 where it holds nothing.
std::uint64_t payload(const Value& value, int lastType) {
    const variant_t& variant = value.variant();
    if (variant.holdsNothing())
        return 0;
    if (variant.type < 0 || variant.type > lastType)
        debugkit::assertionFailed("variant.type >= 0 && variant.type <= lastType", "kestrel/src",
                                  __LINE__, __PRETTY_FUNCTION__);
    return variant.payload;
}

std::uint32_t asUnsigned(const Value& value) {
    constexpr int lastInteger = 7;
    return static_cast<std::uint32_t>(payload(value, lastInteger));
}

bool asBoolean(const Value& value) {
    constexpr int lastNumber = 9;
    return payload(value, lastNumber) != 0;
}

/// A row holds all that is known of an option: its names, how it is shown, and its field.
struct OptionRow {
    const char* name;
    std::string_view shortNames;
    int type;
    variant_t defaultValue;  ///< holds nothing for a switch
    const char* description;
    void (*read)(const Value&, BenchmarkSettings&);  ///< null for a switch
};

const OptionRow optionTable[] = {
    {"pattern", "p", optkit::otString, variant_t::ofString("a-l"),
     "Memory access pattern: a-l, a-lms, a-lls, a-fastmem, l-l, l-lms, s-a, s-l, s-lms, s-lms-l",
     [](const Value& value, BenchmarkSettings& settings) {
         if (const PatternRow* row = findPattern(value.as<const char*>()))
             settings.patternId = row->id;
     }},
    {"size", "S", optkit::otUnsigned, variant_t::ofUnsigned(16384),
     "Array size (bytes) to exercise on",
     [](const Value& value, BenchmarkSettings& settings) { settings.size = asUnsigned(value); }},
    {"node", "n", optkit::otString, variant_t::ofString("0"),
     "Node mask to allocate memory arrays on",
     [](const Value& value, BenchmarkSettings& settings) {
         settings.nodeMask = value.as<const char*>();
     }},
    {"cpu", "c", optkit::otString, variant_t::ofString("0"),
     "Cpu mask to allocate worker threads on",
     [](const Value& value, BenchmarkSettings& settings) {
         settings.cpuMask = value.as<const char*>();
     }},
    {"word", "w", optkit::otUnsigned, variant_t::ofUnsigned(16),
     "Word size (bytes) to exercise: 8,16,32,64",
     [](const Value& value, BenchmarkSettings& settings) { settings.word = asUnsigned(value); }},
    {"stride", "s", optkit::otUnsigned, variant_t::ofUnsigned(16),
     "Stride (bytes) for access pattern",
     [](const Value& value, BenchmarkSettings& settings) { settings.stride = asUnsigned(value); }},
    {"duration", "d", optkit::otUnsigned, variant_t::ofUnsigned(1),
     "Duration (sec) to exercise access pattern",
     [](const Value& value, BenchmarkSettings& settings) {
         settings.duration = asUnsigned(value);
     }},
    {"bandwidth", "B", optkit::otBoolean, variant_t::ofBoolean(false),
     "Calculate obtained average bandwidth (GB/s)",
     [](const Value& value, BenchmarkSettings& settings) {
         settings.bandwidth = asBoolean(value);
     }},
    {"help", "?h", optkit::otNone, variant_t(), "Display this help message", nullptr},
};

}  // namespace

void registerOptions(optkit::IParser* parser) {
    for (const OptionRow& row : optionTable) {
        optkit::IOption* const option = parser->addOption(row.name, row.description, row.type);
        for (const char shortName : row.shortNames)
            option->addShortName(std::string(1, shortName).c_str());
        if (!row.defaultValue.holdsNothing())
            option->setDefault(row.defaultValue);
    }
}

void readSettings(optkit::IResults* results, BenchmarkSettings& settings) {
    for (const OptionRow& row : optionTable)
        if (row.read != nullptr)
            row.read(results->get(row.name), settings);
}

}  // namespace Kestrel
