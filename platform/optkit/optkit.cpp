#include "optkit/optkit.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <list>
#include <map>
#include <new>
#include <optional>
#include <set>
#include <span>
#include <vector>

#include "utilkit/scaled_number.h"

namespace optkit {
namespace {

using utilkit::variant_t;

/// A number as utilkit reads it, of at most 32 bits.
std::optional<std::uint64_t> parseUnsigned(const std::string& text) {
    const auto value = utilkit::parseScaled(text);
    return value && *value <= UINT32_MAX ? value : std::nullopt;
}

std::optional<std::uint64_t> parseBoolean(const std::string& text) {
    if (text == "true" || text == "1")
        return 1;
    if (text == "false" || text == "0")
        return 0;
    return std::nullopt;
}

struct Option : IOption {
    std::string name, description;
    int type = otNone;
    std::string shortNames;
    variant_t defaultValue;
    std::string given;  ///< the text on the command line

    IOption* addShortName(const char* shortName) override {
        shortNames += shortName;
        return this;
    }
    IOption* setDefault(const variant_t& value) override {
        defaultValue = value;
        return this;
    }

    [[nodiscard]] bool takesValue() const { return type == otUnsigned || type == otString; }
    [[nodiscard]] bool isGiven() const { return declared->count() != 0; }

    void declareTo(CLI::App& app) {
        given.clear();
        if (takesValue())
            declared = app.add_option(allNames(","), given)->type_name("value");
        else
            declared = app.add_flag(allNames(","), given);
        declared->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
        if (type == otNone)
            declared->disable_flag_override();
    }

    /// The value of the given text, or nothing where it is malformed.
    [[nodiscard]] std::optional<variant_t> value() const {
        if (type == otString || type == otNone)
            return variant_t::ofString(given);
        const auto number = type == otUnsigned ? parseUnsigned(given) : parseBoolean(given);
        if (!number)
            return std::nullopt;
        return type == otUnsigned ? variant_t::ofUnsigned(*number)
                                  : variant_t::ofBoolean(*number != 0);
    }

    [[nodiscard]] std::string malformedText() const {
        return "--" + name + ": '" + given +
               (type == otUnsigned
                    ? "' is not a number from 0 to 4294967295 (a suffix K, M or G is allowed)"
                    : "' is not one of true, false, 1, 0");
    }

    [[nodiscard]] std::string helpLine() const {
        constexpr std::size_t descriptionColumn = 24;
        std::string line = "  " + allNames(", ");
        if (takesValue())
            line += type == otUnsigned ? " N" : " TEXT";
        line.resize(std::max(line.size() + 2, descriptionColumn), ' ');
        line += description;
        if (!defaultValue.holdsNothing())
            line += " (default: " + defaultText() + ")";
        return line;
    }

  private:
    /// All names as the command line takes them: "-s" and "--stride".
    [[nodiscard]] std::string allNames(const char* separator) const {
        std::string names;
        for (const char c : shortNames)
            names += std::string("-") + c + separator;
        return names + "--" + name;
    }

    [[nodiscard]] std::string defaultText() const {
        if (type == otString)
            return defaultValue.text;
        if (type == otBoolean)
            return defaultValue.payload != 0 ? "true" : "false";
        return std::to_string(defaultValue.payload);
    }

    CLI::Option* declared = nullptr;
};

class Results : public IResults {
  public:
    bool has(const char* name) override { return given.contains(name); }
    Value get(const char* name) override {
        const auto found = values.find(name);
        return Value(found != values.end() ? found->second : variant_t());
    }

    std::set<std::string> given;
    std::map<std::string, variant_t> values;
};

class Parser : public IParser {
  public:
    int createResults(IResults** out) override {
        *out = new (std::nothrow) Results;
        return *out != nullptr ? 0 : fail("No memory");
    }

    IOption* addOption(const char* name, const char* description, int type) override {
        Option& option = options.emplace_back();
        option.name = name;
        option.description = description;
        option.type = type;
        return &option;
    }

    int parse(unsigned argc, char** argv, IResults* results) override {
        CLI::App app;
        app.set_help_flag();  // help is an option like the others here
        app.allow_extras();   // to be named one by one, as they were typed
        for (Option& option : options)
            option.declareTo(app);
        try {
            app.parse(reversedArguments(argc, argv));
        } catch (const CLI::Error& failure) {
            return fail(failure.what());
        }
        for (const std::string& word : app.remaining())
            if (word != "--")  // which the parser keeps in front of what follows it
                return fail("'" + word + "' is not an option");
        return convert(static_cast<Results&>(*results));
    }

    const char* errorText() override { return error.c_str(); }

    const char* helpText() override {
        help = "Options:";
        for (const Option& option : options)
            help += "\n" + option.helpLine();
        return help.c_str();
    }

  private:
    int fail(std::string text) {
        error = std::move(text);
        return 1;
    }

    /// The arguments as CLI11 takes them: last first, without the program's name. It would take
    /// the value of "--name=" from the next argument, and a boolean's as true; what is meant is a
    /// second argument, empty, and a blank, which is no boolean.
    std::vector<std::string> reversedArguments(unsigned argc, char** argv) {
        std::vector<std::string> arguments;
        for (const char* argument : std::span(argv, argc).subspan(argc == 0 ? 0 : 1)) {
            arguments.emplace_back(argument);
            for (const Option& option : options) {
                if ("--" + option.name + "=" != argument)
                    continue;
                if (option.takesValue()) {
                    arguments.back().pop_back();
                    arguments.emplace_back();
                } else {
                    arguments.back() += ' ';
                }
            }
        }
        std::ranges::reverse(arguments);
        return arguments;
    }

    int convert(Results& results) {
        std::string malformed;
        bool switchGiven = false;
        for (const Option& option : options) {
            results.values[option.name] = option.defaultValue;
            if (!option.isGiven())
                continue;
            results.given.insert(option.name);
            switchGiven |= option.type == otNone;
            if (const auto value = option.value())
                results.values[option.name] = *value;
            else if (malformed.empty())
                malformed = option.malformedText();
        }
        return malformed.empty() || switchGiven ? 0 : fail(malformed);
    }

    std::list<Option> options;
    std::string error, help;
};

}  // namespace

int createParser(IParser** out) {
    *out = new (std::nothrow) Parser;
    return *out != nullptr ? 0 : 1;
}

}  // namespace optkit
