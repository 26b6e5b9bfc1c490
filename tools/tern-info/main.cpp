/// tern-info: what the system layer knows of this machine.
#include <cstdio>
#include <string>
#include <string_view>

#include "output.h"
#include "system_text.h"

namespace {

constexpr int failure = 255;

constexpr const char* help =
    "Usage: tern-info [--json]\n"
    "Shows what is known of this machine: system, processor, topology and caches.\n"
    "\n"
    "  --json  one JSON object instead of a page; frequencies are in hertz, sizes in bytes\n"
    "  --help  this text\n"
    "\n"
    "What the machine does not tell reads \"unknown\", in JSON null.\n";

int print(const std::string& text) {
    if (std::fputs(text.c_str(), stdout) != EOF && std::fflush(stdout) == 0)
        return 0;
    std::perror("tern-info: standard output");
    return failure;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string_view option = argc > 1 ? argv[1] : "";
    const bool known = argc <= 1 || option == "--json" || option == "--help";
    if (argc > 2 || !known) {
        const std::string_view culprit = known ? argv[2] : option;
        std::fprintf(stderr, "tern-info: unknown argument '%s', try --help\n",
                     printable(culprit).c_str());
        return failure;
    }
    if (option == "--help")
        return print(help);
    return print(option == "--json" ? json_text(gather_facts()) : page(gather_facts()));
}
