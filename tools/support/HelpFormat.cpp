#include "tools/support/HelpFormat.h"

#include <algorithm>
#include <sstream>
#include <vector>

namespace {
constexpr std::size_t kWidth = 80;

// An option's type as CLI11 tells it, "TYPE:what its check says of itself:...", in its two parts.
std::string TypeOf(const CLI::Option* option)
{
    const std::string whole = option->get_type_name();
    return whole.substr(0, whole.find(':'));
}

std::string CheckOf(const CLI::Option* option)
{
    const std::string whole = option->get_type_name();
    const std::size_t colon = whole.find(':');
    return colon == std::string::npos ? "" : whole.substr(colon + 1);
}

// "1 to 65535" of "INT in [1 - 65535]", else nothing.
std::string RangeOf(const std::string& check)
{
    const std::size_t begin = check.find('[');
    const std::size_t dash = check.find(" - ", begin);
    if (begin == std::string::npos || dash == std::string::npos || check.back() != ']') {
        return "";
    }
    return check.substr(begin + 1, dash - begin - 1) + " to " +
           check.substr(dash + 3, check.size() - dash - 4);
}

// Within parentheses behind the option's text.
std::string Facts(const CLI::Option* option)
{
    std::vector<std::string> facts;
    const std::string range = RangeOf(CheckOf(option));
    if (!range.empty()) {
        facts.push_back(range);
    }
    for (const CLI::Option* other : option->get_excludes()) {
        facts.push_back("not with " + other->get_name());
    }
    std::string otherwise = option->get_default_str();
    if (!option->get_envname().empty()) {
        otherwise = "$" + option->get_envname() + " or " + otherwise;
    }
    if (!otherwise.empty()) {
        facts.push_back("default: " + otherwise);
    }
    return facts.empty() ? "" : " (" + CLI::detail::join(facts, "; ") + ")";
}

std::string Wrapped(const std::string& text, std::size_t width)
{
    std::istringstream words(text);
    std::string lines;
    std::size_t length = 0;
    for (std::string word; words >> word;) {
        const bool fits = length + 1 + word.size() <= width;
        if (!lines.empty()) {
            lines += fits ? ' ' : '\n';
        }
        lines += word;
        length = lines.size() - (lines.rfind('\n') + 1);
    }
    return lines;
}
}  // namespace

std::string HelpFormat::make_option_name(const CLI::Option* option, bool isPositional) const
{
    if (isPositional) {
        return option->get_name(true, false);
    }
    return CLI::detail::find_and_replace(option->get_name(false, true), ",", ", ");
}

std::string HelpFormat::make_option_opts(const CLI::Option* option) const
{
    std::string value = TypeOf(option);
    if (option->get_positional() || value.empty()) {
        return "";
    }
    const std::string check = CheckOf(option);
    if (!check.empty() && check.front() == '{') {
        value = check.substr(1, check.size() - 2);
        std::replace(value.begin(), value.end(), ',', '|');
    }
    if (option->get_expected_min() == 0) {
        value = "[" + value + "]";
    }
    const bool repeated = option->get_expected_max() == CLI::detail::expected_max_vector_size;
    return " " + value + (repeated ? " ..." : "");
}

std::string HelpFormat::make_option_desc(const CLI::Option* option) const
{
    return Wrapped(option->get_description() + Facts(option), kWidth - get_column_width());
}
