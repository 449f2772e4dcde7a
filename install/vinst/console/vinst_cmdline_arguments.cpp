#include "install/vinst/console/vinst_cmdline_arguments.h"

#include "install/vinst/base/vinst_text.h"
#include "install/vinst/console/vinst_cmdline_options.h"

#include <boost/program_options/parsers.hpp>
#include <boost/program_options/positional_options.hpp>

#include <algorithm>
#include <stdexcept>
#include <string_view>

namespace options = boost::program_options;

namespace
{

bool begins_with_byte_order_mark(std::string_view argument)
{
    constexpr std::string_view mark = "\xef\xbb\xbf";
    constexpr std::string_view mark_of_value = "=\xef\xbb\xbf";
    return argument.substr(0, mark.size()) == mark ||
           argument.find(mark_of_value) != std::string_view::npos;
}

/// The conversion to QString replaces bytes that are not UTF-8 and drops a byte order mark: a path
/// would then name another directory.
void require_convertible(int argc, const char* const* argv)
{
    for (int i = 1; i < argc; ++i)
    {
        const std::string argument = "argument " + std::to_string(i);
        if (!is_utf8(argv[i]))
            throw std::invalid_argument(argument + " is not valid UTF-8");
        if (begins_with_byte_order_mark(argv[i]))
            throw std::invalid_argument(argument + " contains a byte order mark before its text");
    }
}

bool names_option(const std::string& text, const options::options_description& all)
{
    constexpr std::string_view start = "--";
    if (text.compare(0, start.size(), start) != 0)
        return false;
    if (text == start)
        return true; // the end of the options
    const std::string name = text.substr(start.size(), text.find('=') - start.size());
    // An abbreviation is an option, too.
    return std::any_of(all.options().begin(), all.options().end(),
                       [&](const auto& option)
                       { return option->match(name, true, false, false) != option->no_match; });
}

/// The parser takes whatever follows an option as its value.
void require_values(const options::parsed_options& parsed, const options::options_description& all)
{
    for (const options::option& option : parsed.options)
        for (const std::string& value : option.value)
            if (names_option(value, all))
                throw std::invalid_argument("the required argument for option '--" +
                                            option.string_key + "' is missing");
}

/// Whether what follows the letter of an unknown option such as "-psecret" may be a value, as the
/// program has no options of one letter.
bool may_have_joined_value(const std::string& name, const options::options_description& all)
{
    constexpr std::string_view lower_case = "abcdefghijklmnopqrstuvwxyz-";
    if (name.size() <= 2 || name[0] != '-' || name[1] == '-')
        return false;
    if (name.find_first_not_of(lower_case) != std::string::npos)
        return true;
    // Of --proxy, --proxy-user and --url. Otherwise it is only a hyphen that is missing.
    return (name[1] == 'p' || name[1] == 'u') && !names_option("-" + name, all);
}

/// The length of an unknown option's name without what may be its value.
std::size_t shown_size(const std::string& name, const options::options_description& all)
{
    constexpr std::string_view secret_option = "--proxy-user";
    const std::string without_separated = name.substr(0, name.find_first_of("=:/@ "));
    if (may_have_joined_value(without_separated, all))
        return 2;
    if (without_separated.compare(0, secret_option.size(), secret_option) == 0)
        return secret_option.size();
    return without_separated.size();
}

/// The name of an unknown option includes its value if that isn't a separate argument.
std::string text_without_value(const options::error_with_option_name& error,
                               const options::options_description& all)
{
    std::string text = error.what();
    const std::string name = error.get_option_name();
    const std::size_t at = text.find(name);
    if (name.empty() || at == std::string::npos)
        return text;
    const std::size_t size = shown_size(name, all);
    return text.erase(at + size, name.size() - size);
}

}

std::string parse_arguments(int argc, const char* const* argv, options::variables_map& variables)
{
    const options::options_description all = VINST_OPTION_GROUPS({}).all();
    try
    {
        require_convertible(argc, argv);
        // There are no positional arguments: any is an error.
        const options::parsed_options parsed =
            options::command_line_parser(argc, argv)
                .options(all)
                .positional(options::positional_options_description())
                .run();
        require_values(parsed, all);
        options::store(parsed, variables);
        options::notify(variables);
    }
    catch (const options::error_with_option_name& error)
    {
        return text_without_value(error, all);
    }
    catch (const std::exception& error)
    {
        return error.what();
    }
    return {};
}

std::optional<std::string> given_value(int argc, const char* const* argv, std::string_view option)
{
    std::optional<std::string> value;
    for (int i = 1; i < argc; ++i)
    {
        const std::string_view argument = argv[i];
        if (argument.substr(0, argument.find('=')) != option)
            continue;
        const bool is_joined = argument.size() > option.size();
        if (value || (!is_joined && i + 1 == argc))
            return std::nullopt;
        value = is_joined ? argument.substr(option.size() + 1) : std::string_view(argv[++i]);
    }
    const bool is_clear = value && !value->empty() && value->front() != '-' && is_utf8(*value) &&
                          !begins_with_byte_order_mark(*value);
    return is_clear ? value : std::nullopt;
}

void overwrite_credentials(int argc, char** argv)
{
    constexpr std::string_view option = "--proxy-user";
    constexpr std::size_t shortest = std::string_view("--proxy-").size(); // less is ambiguous
    const auto overwrite = [](char* text)
    { std::fill(text, text + std::string_view(text).size(), '*'); };
    for (int i = 1; i < argc; ++i)
    {
        const std::string_view argument = argv[i];
        const std::string_view name = argument.substr(0, argument.find('='));
        if (name.size() < shortest || option.substr(0, name.size()) != name)
            continue;
        if (name.size() < argument.size())
            overwrite(argv[i] + name.size() + 1);
        else if (i + 1 < argc)
            overwrite(argv[++i]);
    }
}
