#pragma once

// Reading a command's arguments: one parser (Qt's) for every command, so that
// "--name value" and "--name=value" work alike everywhere and "--" ends the options.
#include <initializer_list>
#include <iosfwd>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace korvalume::cli {

struct OptionSpec {
    std::vector<std::string_view> names; // without dashes: {"o", "output"}
    // Without it the option is a flag; with it, what a missing value is called in the
    // error ("a value", "a file name").
    std::optional<std::string_view> value = std::nullopt;
};

class ParsedArgs {
public:
    bool isSet(std::string_view name) const { return values_.contains(std::string(name)); }
    // Every value given, in order, under any of the option's names.
    std::vector<std::string> values(std::string_view name) const;
    // The last value given.
    std::optional<std::string> value(std::string_view name) const;
    const std::vector<std::string>& positional() const { return positional_; }

private:
    friend std::optional<ParsedArgs> parseArgs(std::span<const std::string>,
                                               std::initializer_list<OptionSpec>, std::string_view,
                                               std::ostream&);
    std::map<std::string, std::vector<std::string>> values_; // by the option's first name
    std::vector<std::string> positional_;
};

// Reads `args` against the command's options. On a mistake says what it is
// ("korvalume COMMAND: unknown option '--x'", "korvalume COMMAND: -o needs a file name")
// and gives nothing.
std::optional<ParsedArgs> parseArgs(std::span<const std::string> args,
                                    std::initializer_list<OptionSpec> specs,
                                    std::string_view command, std::ostream& err);

} // namespace korvalume::cli
