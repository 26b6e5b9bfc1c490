#include "survey/point.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>
#include <stdexcept>
#include <utility>

namespace survey {
namespace {

using Kestrel::ArrayUse;
using Kestrel::LooksAt;

constexpr std::array<std::pair<Unit, UnitText>, 4> unitTexts{{
    {Unit::bytesPerSecond, {"B/s", "GB/s", 1e-9, true}},
    {Unit::operationsPerSecond, {"flop/s", "Gflop/s", 1e-9, true}},
    {Unit::secondsPerLoad, {"s/load", "ns a load", 1e9, false}},
    {Unit::secondsPerAccess, {"s/op", "ns an access", 1e9, false}},
}};

constexpr std::array<std::pair<Kestrel::PageKind, std::string_view>, 4> pageNames{{
    {Kestrel::pkSystem, "system"},
    {Kestrel::pk4K, "4K"},
    {Kestrel::pk2M, "2M"},
    {Kestrel::pk1G, "1G"},
}};

}  // namespace

const UnitText& textOf(Unit unit) {
    return unitTexts[static_cast<std::size_t>(unit)].second;
}

std::optional<Unit> unitNamed(std::string_view inFile) {
    for (const auto& [unit, text] : unitTexts)
        if (text.inFile == inFile)
            return unit;
    return std::nullopt;
}

const Kestrel::PatternRow& rowOf(const Parameters& parameters) {
    const Kestrel::PatternRow* const row = Kestrel::findPattern(parameters.pattern);
    if (row == nullptr)
        throw std::runtime_error("there is no pattern '" + parameters.pattern + "'");
    return *row;
}

Unit unitOf(const Parameters& parameters) {
    const Kestrel::PatternRow& row = rowOf(parameters);
    if (row.arrayUse == ArrayUse::none)
        return Unit::operationsPerSecond;
    if (row.countsAccesses())
        return Unit::secondsPerAccess;
    return row.looksAt == LooksAt::stride ? Unit::secondsPerLoad : Unit::bytesPerSecond;
}

std::optional<Kestrel::PageKind> pageKindNamed(std::string_view name) {
    for (const auto& [kind, text] : pageNames)
        if (text == name)
            return kind;
    return std::nullopt;
}

std::string_view nameOf(Kestrel::PageKind kind) {
    return pageNames[kind - Kestrel::pkSystem].second;
}

Parameters normalised(Parameters parameters) {
    const Kestrel::PatternRow& row = rowOf(parameters);
    const bool hasArray = row.arrayUse != ArrayUse::none;
    const bool hasSize = hasArray && row.arrayUse != ArrayUse::slots;
    if (hasSize && parameters.strideBytes.value_or(0) == 0)
        parameters.strideBytes = parameters.wordBytes;
    if (row.arrayUse == ArrayUse::slots)
        parameters.strideBytes = parameters.strideBytes.value_or(0);
    if (!hasSize)
        parameters.sizeBytes.reset();
    if (row.looksAt != LooksAt::wordAndStride)
        parameters.wordBytes.reset();
    if (row.looksAt == LooksAt::nothing)
        parameters.strideBytes.reset();
    if (!hasArray) {
        parameters.nodes.reset();
        parameters.pages.reset();
    }
    return parameters;
}

std::string sizeText(std::uint64_t bytes) {
    static constexpr std::array<const char*, 4> units{"B", "KiB", "MiB", "GiB"};
    std::size_t unit = 0;
    auto amount = static_cast<double>(bytes);
    for (; amount >= 1024 && unit + 1 < units.size(); ++unit)
        amount /= 1024;
    std::array<char, 32> text;
    std::snprintf(text.data(), text.size(), "%.4g %s", amount, units[unit]);
    return text.data();
}

std::string cpusText(const std::vector<unsigned>& cpus) {
    if (std::ranges::adjacent_find(cpus, std::greater_equal()) == cpus.end())
        return machine::listText(cpus);
    std::string text;
    for (const unsigned cpu : cpus)
        text += (text.empty() ? "" : ",") + std::to_string(cpu);
    return text;
}

std::string textOf(const Parameters& parameters) {
    std::string text = parameters.pattern;
    if (parameters.sizeBytes)
        text += " " + sizeText(*parameters.sizeBytes);
    if (parameters.wordBytes)
        text += " word " + std::to_string(*parameters.wordBytes);
    if (parameters.strideBytes && parameters.strideBytes != parameters.wordBytes)
        text += " stride " + std::to_string(*parameters.strideBytes);
    text += " cpus " + cpusText(parameters.cpus);
    if (parameters.nodes)
        text += " nodes " + machine::listText(*parameters.nodes);
    if (parameters.pages && *parameters.pages != Kestrel::pkSystem)
        text += " pages " + std::string(nameOf(*parameters.pages));
    if (!parameters.loadCpus.empty())
        text += " beside readers on " + cpusText(parameters.loadCpus);
    return text;
}

}  // namespace survey
