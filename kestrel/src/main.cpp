#include <xmmintrin.h>

#include <iostream>
#include <memory>
#include <new>

#include "options.h"
#include "optkit/optkit.h"
#include "output.h"
#include "run.h"

namespace {

/// Filled from the command line.
Kestrel::BenchmarkSettings settings;

/// The workers' threads inherit the bit.
void flushDenormalsToZero() {
    constexpr unsigned flushToZero = 0x8000;  // MXCSR bit 15
    _mm_setcsr(_mm_getcsr() | flushToZero);
}

int parseAndRun(int argc, char** argv) {
    using Kestrel::fail;
    optkit::IParser* made = nullptr;
    if (optkit::createParser(&made) != 0)
        return fail("Failed to create command line parser");
    const std::unique_ptr<optkit::IParser> parser(made);
    Kestrel::registerOptions(parser.get());
    optkit::IResults* container = nullptr;
    if (parser->createResults(&container) != 0)
        return fail(parser->errorText());
    const std::unique_ptr<optkit::IResults> results(container);
    if (parser->parse(static_cast<unsigned>(argc), argv, results.get()) != 0)
        return fail(parser->errorText());

    if (argc <= 1 || results->has("help")) {
        Kestrel::printLine("Usage: kestrel [options]");
        Kestrel::printLine(parser->helpText());
        return 0;
    }
    Kestrel::readSettings(results.get(), settings);
    return Kestrel::runBenchmark(settings);
}

}  // namespace

int main(int argc, char** argv) {
    flushDenormalsToZero();
    int status = 0;
    try {
        status = parseAndRun(argc, argv);
    } catch (const std::bad_alloc&) {
        status = Kestrel::fail("No memory");
    }
    // Figures that nobody received (a full disk, a closed output) are no success.
    return std::cout.good() ? status : -1;
}
