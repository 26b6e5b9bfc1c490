/// The command-line parser's interface.
///
/// Syntax: "--name value", "--name=value", "-n value", "-nvalue"; a boolean option alone means
/// true, "--name=true|false|1|0" says which. The last of repeated options wins; names are not
/// abbreviated; a word that belongs to no option is an error. A number is decimal, 0 to
/// 4294967295, and may end in K, M or G (1024, 1024 squared, 1024 cubed; either case).
#pragma once

#include <memory>
#include <string>

#include "utilkit/variant.h"

namespace optkit {

/// Type codes of option values.
enum OptionType : int { otBoolean = 0, otUnsigned = 7, otString = 12, otNone = 17 };

/// The value of one option.
class Value {
  public:
    explicit Value(utilkit::variant_t held) : held(std::move(held)) {}

    /// For T = const char*: the text, which lives as long as this value.
    template <class T>
    [[nodiscard]] T as() const;
    [[nodiscard]] const utilkit::variant_t& variant() const { return held; }

  private:
    utilkit::variant_t held;
};

template <>
inline const char* Value::as<const char*>() const {
    return held.text.c_str();
}

/// What a command line held. Names are the long ones.
class IResults {
  public:
    /// True when the option is on the command line.
    virtual bool has(const char* name) = 0;
    /// The option's value, or its default; a value that holds nothing where there is neither.
    virtual Value get(const char* name) = 0;
    virtual ~IResults() = default;
};

/// One declared option; owned by the parser. Both operations return the option itself.
class IOption {
  public:
    /// Adds a name of one character.
    virtual IOption* addShortName(const char* name) = 0;
    virtual IOption* setDefault(const utilkit::variant_t& value) = 0;
    virtual ~IOption() = default;
};

class IParser {
  public:
    /// Makes an empty container; the caller deletes it. Returns 0 on success.
    virtual int createResults(IResults** out) = 0;
    /// Declares an option. `type` is an OptionType; otNone is a switch without a value.
    virtual IOption* addOption(const char* name, const char* description, int type) = 0;
    /// Parses `argv`, program name included. Returns 0 on success. A malformed value is no error
    /// beside a switch (otNone), which asks for something else than a run.
    virtual int parse(unsigned argc, char** argv, IResults* results) = 0;
    /// What the last failure was, in one line.
    virtual const char* errorText() = 0;
    /// The options with their descriptions and defaults, one under the other.
    virtual const char* helpText() = 0;
    virtual ~IParser() = default;
};

/// Makes a parser; the caller deletes it. Returns 0 on success.
int createParser(IParser** out);

}  // namespace optkit
