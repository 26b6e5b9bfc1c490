// The options of kestrel-survey run.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <iterator>
#include <memory>

#include "mask.h"
#include "patterns/array_patterns.h"
#include "survey/command.h"
#include "survey/run/run.h"
#include "survey/run/sizes.h"
#include "utilkit/scaled_number.h"

namespace survey {
namespace {

std::vector<std::string> itemsOf(const std::string& list) {
    std::vector<std::string> items;
    std::size_t start = 0;
    for (std::size_t comma = 0; comma != std::string::npos; start = comma + 1) {
        comma = list.find(',', start);
        items.push_back(list.substr(start, comma - start));
    }
    return items;
}

std::vector<std::string> parsePatterns(const std::string& list) {
    auto items = itemsOf(list);
    for (const std::string& name : items)
        if (Kestrel::findPattern(name) == nullptr)
            throw UsageError("--pattern: there is no pattern '" + name + "'");
    return items;
}

std::vector<std::uint32_t> parseNumbers(const char* option, const std::string& list) {
    std::vector<std::uint32_t> numbers;
    for (const std::string& item : itemsOf(list)) {
        const auto number = utilkit::parseScaled(item);
        if (!number || *number > UINT32_MAX)
            throw UsageError(std::string(option) + ": '" + item + "' is not a number of bytes");
        numbers.push_back(static_cast<std::uint32_t>(*number));
    }
    return numbers;
}

std::vector<std::uint32_t> parseWords(const std::string& list) {
    auto words = parseNumbers("--word", list);
    for (const std::uint32_t word : words)
        if (std::ranges::find(Kestrel::wordSizes, word) == std::end(Kestrel::wordSizes))
            throw UsageError("--word: there are no words of " + std::to_string(word) + " bytes");
    return words;
}

std::vector<Kestrel::PageKind> parsePages(const std::string& list) {
    std::vector<Kestrel::PageKind> kinds;
    for (const std::string& item : itemsOf(list)) {
        const auto kind = pageKindNamed(item);
        if (!kind)
            throw UsageError("--pages: '" + item + "' is not one of system, 4K, 2M, 1G");
        kinds.push_back(*kind);
    }
    return kinds;
}

std::vector<unsigned> parseCpus(const std::string& text) {
    std::vector<unsigned> cpus;
    if (Kestrel::parseMask(text, cpus) != Kestrel::meOk)
        throw UsageError("--cpu: '" + text + "' is not a list of CPUs such as 0,2-3");
    return cpus;
}

machine::NumberList parseNodeSet(const std::string& text) {
    unsigned long bits = 0;
    if (!Kestrel::parseNodes(text, bits))
        throw UsageError("--node: '" + text + "' is not a list of nodes 0 to 31 such as 0,2-3");
    machine::NumberList nodes;
    for (unsigned node = 0; node < Kestrel::nodeBitCount; ++node)
        if ((bits >> node & 1) != 0)
            nodes.push_back(node);
    return nodes;
}

/// "90", "90s", "5m", "1h".
double parseSpan(const std::string& text) {
    std::size_t end = 0;
    double number = 0;
    try {
        number = std::stod(text, &end);
    } catch (const std::exception&) {
        end = 0;
    }
    const std::string unit = text.substr(end);
    const double scale = unit.empty() || unit == "s" ? 1
                         : unit == "m"               ? 60
                         : unit == "h"               ? 3600
                                                     : 0;
    if (end == 0 || scale == 0 || !(number > 0))
        throw UsageError("--budget: '" + text + "' is not a span such as 90s, 5m or 1h");
    return number * scale;
}

/// The texts of the command line, as they were typed.
struct RunTexts {
    std::string pattern, size, word, stride, pages, budget;
    std::vector<std::string> cpus, nodes;
};

void addRun(CLI::App& app, RunOrder& order, RunTexts& texts) {
    std::string plans = "what to measure:";
    for (const Plan& plan : allPlans())
        plans.append("\n  ").append(plan.name).append(": ").append(plan.text);
    app.add_option("plan", order.plan, plans)->capture_default_str();
    app.add_option("--pattern", texts.pattern,
                   "points of your own: patterns of kestrel, as in a-l,l-r");
    app.add_option("--size", texts.size,
                   "array sizes: 16K,8M; 4K-1M doubles, 4K-1M/2 has two an octave");
    app.add_option("--word", texts.word, "word sizes in bytes: 8,16,32,64");
    app.add_option("--stride", texts.stride, "strides in bytes; 0 is the word");
    app.add_option("--pages", texts.pages, "page kinds: system,4K,2M,1G");
    app.add_option("--cpu", texts.cpus,
                   "CPUs that work together, as in 0,2-3; again for another set")
        ->allow_extra_args(false);
    app.add_option("--node", texts.nodes, "nodes to spread memory over; again for another set")
        ->allow_extra_args(false);
    app.add_flag("--all", order.choices.allPairs,
                 "sharing: all pairs of CPUs, not one of each class");
    auto* const rounds =
        app.add_option("--rounds", order.rounds, "samples of each point at least (5)")
            ->check(CLI::Range(1, 1000));
    app.add_option_function<unsigned>(
           "--sample",
           [&order](unsigned ms) { order.times.measured = std::chrono::milliseconds(ms); },
           "milliseconds that a sample takes at least (60)")
        ->check(CLI::Range(1, 60000));
    app.add_option("--budget", texts.budget, "time that it may take: 90s, 5m, 1h");
    auto* const seed = app.add_option("--seed", order.seed, "decides the order of the samples");
    auto* const label = app.add_option("--label", order.label, "a text to know the session by");
    app.add_option("--name", order.hostName, "the host's name in the file");
    auto* const output = app.add_option("-o,--output", order.output, "write a survey file");
    auto* const append = app.add_option("--append", order.append, "add a session to a survey file");
    auto* const resume =
        app.add_option("--resume", order.resume, "go on with a file's last session, cut short");
    output->excludes(append)->excludes(resume);
    append->excludes(resume);
    // The session that goes on has its own.
    resume->excludes(rounds)->excludes(seed)->excludes(label);
    app.add_flag("--dry-run", order.dryRun, "only print the points and the time");
    app.add_flag("--progress", order.progressLines, "a line every ten seconds, without a terminal");
}

void readTexts(const RunTexts& texts, RunOrder& order) {
    Choices& choices = order.choices;
    if (findPlan(order.plan) == nullptr)
        throw UsageError("there is no plan '" + order.plan + "'");
    if (!texts.pattern.empty())
        choices.patterns = parsePatterns(texts.pattern);
    try {
        if (!texts.size.empty())
            choices.sizes = parseSizes(texts.size, 4096);
    } catch (const std::invalid_argument& failure) {
        throw UsageError(std::string("--size: ") + failure.what());
    }
    if (!texts.word.empty())
        choices.words = parseWords(texts.word);
    if (!texts.stride.empty())
        choices.strides = parseNumbers("--stride", texts.stride);
    if (!texts.pages.empty())
        choices.pages = parsePages(texts.pages);
    for (const std::string& text : texts.cpus)
        choices.cpus.push_back(parseCpus(text));
    for (const std::string& text : texts.nodes)
        choices.nodes.push_back(parseNodeSet(text));
    if (!texts.budget.empty())
        order.budgetSeconds = parseSpan(texts.budget);
}

}  // namespace

Command addRunCommand(CLI::App& app, const std::string& commandLine) {
    const auto order = std::make_shared<RunOrder>();
    const auto texts = std::make_shared<RunTexts>();
    addRun(app, *order, *texts);
    order->command = commandLine;
    return [&app, order, texts] {
        readTexts(*texts, *order);
        if (order->choices.hasPoints() && app.count("plan") != 0)
            throw UsageError(
                "a plan and points of your own (--pattern, --size, --word, --stride) "
                "exclude each other");
        return run(*order, std::cout);
    };
}

}  // namespace survey
