/// tern-info: what is known of this machine.
#include <cstdio>
#include <exception>
#include <span>
#include <string>
#include <string_view>

#include "machine/json.h"
#include "machine/page.h"
#include "machine/text.h"
#include "versionkit/version.h"

namespace {

constexpr int failure = 255;

constexpr const char* help =
    "Usage: tern-info [--json | --version | --help]\n"
    "Shows what is known of this machine: system, processor, clocks, memory, NUMA nodes, caches,\n"
    "CPUs, and what of it this process may use.\n"
    "\n"
    "  --json     one JSON object instead of a page\n"
    "  --version  the version, and the commit that it was built from\n"
    "  --help     this text\n"
    "\n"
    "What the machine does not tell reads \"unknown\", in JSON null. CPU numbers are the "
    "kernel's.\n";

int print(const std::string& text) {
    if (std::fputs(text.c_str(), stdout) != EOF && std::fflush(stdout) == 0)
        return 0;
    std::perror("tern-info: standard output");
    return failure;
}

}  // namespace

int main(int argc, char** argv) {
    bool wantsHelp = false, wantsVersion = false, wantsJson = false;
    for (const std::string_view option :
         std::span(argv, static_cast<std::size_t>(argc)).subspan(argc > 0)) {
        wantsHelp |= option == "--help";
        wantsVersion |= option == "--version";
        wantsJson |= option == "--json";
        if (option != "--help" && option != "--version" && option != "--json") {
            std::fprintf(stderr, "tern-info: unknown argument '%s', try --help\n",
                         machine::printable(machine::validText(option)).c_str());
            return failure;
        }
    }
    try {
        if (wantsHelp)
            return print(help);
        if (wantsVersion)
            return print(versionkit::text("tern-info") + '\n');
        const machine::Facts facts = machine::gatherFacts();
        return print(wantsJson ? machine::toJson(facts).dump(2) + '\n' : machine::page(facts));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "tern-info: %s\n", error.what());
        return failure;
    }
}
