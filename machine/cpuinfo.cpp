#include "machine/cpuinfo.h"

#include <algorithm>
#include <map>

#include "machine/reading.h"
#include "machine/text.h"

namespace machine {

namespace {

using Fields = std::map<std::string, std::string, std::less<>>;  ///< of one entry

std::optional<unsigned> number(const Fields& fields, std::string_view name) {
    const auto found = fields.find(name);
    const auto value = found == fields.end() ? std::nullopt : parseNumber(found->second);
    return value && *value <= INT32_MAX ? std::optional(static_cast<unsigned>(*value))
                                        : std::nullopt;
}

std::optional<std::string> text(const Fields& fields, std::string_view name) {
    const auto found = fields.find(name);
    return found == fields.end() ? std::nullopt : told(validText(found->second));
}

void add(Cpuinfo& cpuinfo, const Fields& fields) {
    const auto cpu = number(fields, "processor");
    if (!cpu)
        return;
    if (cpuinfo.entries.empty()) {
        cpuinfo.vendor = text(fields, "vendor_id");
        cpuinfo.name = text(fields, "model name");
        cpuinfo.microcode = text(fields, "microcode");
        cpuinfo.family = number(fields, "cpu family");
        cpuinfo.model = number(fields, "model");
        cpuinfo.stepping = number(fields, "stepping");
    }
    Cpuinfo::Entry entry{.cpu = *cpu, .package = {}, .core = {}};
    if (number(fields, "siblings")) {
        entry.package = number(fields, "physical id");
        entry.core = number(fields, "core id");
    }
    cpuinfo.entries.push_back(entry);
}

}  // namespace

const Cpuinfo::Entry* Cpuinfo::find(unsigned cpu) const {
    const auto entry = std::ranges::find(entries, cpu, &Entry::cpu);
    return entry == entries.end() ? nullptr : &*entry;
}

Cpuinfo readCpuinfo(const Sources& sources) {
    Cpuinfo cpuinfo;
    Fields fields;
    eachField(readFile(sources, "/proc/cpuinfo").value_or(""),
              [&](std::string_view name, std::string_view value) {
                  if (name == "processor") {
                      add(cpuinfo, fields);
                      fields.clear();
                  }
                  fields.emplace(name, value);
              });
    add(cpuinfo, fields);
    std::ranges::sort(cpuinfo.entries, {}, &Cpuinfo::Entry::cpu);
    return cpuinfo;
}

}  // namespace machine
