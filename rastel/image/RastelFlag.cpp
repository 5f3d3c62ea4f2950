#include <rastel/image/RastelFlag.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <stdexcept>
#include <vector>

namespace rastel
{
namespace
{

std::atomic<unsigned int> identities{0};

using NamedFlag = std::pair<RastelFlag, std::string>;

/// The groups in the order of the text form. A function-local static, since any source file may name its flags first.
std::array<std::vector<NamedFlag>, 2>& named_flags()
{
    static std::array<std::vector<NamedFlag>, 2> groups;
    return groups;
}

std::string without_blanks(std::string const& text)
{
    constexpr char const* blanks = " \t\r\n";
    std::size_t const first = text.find_first_not_of(blanks);
    if (first == std::string::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// The number behind a '#', or 0 if the word is not of that form or names no identity yet handed out.
unsigned int numbered_identity(std::string const& word)
{
    if (word.size() < 2 || word[0] != '#' || word[1] == '0')
        return 0;
    unsigned long long number = 0;
    for (std::size_t i = 1; i < word.size(); ++i) {
        if (word[i] < '0' || word[i] > '9')
            return 0;
        number = number * 10 + static_cast<unsigned int>(word[i] - '0');
        if (number > identities.load())
            return 0;
    }
    return static_cast<unsigned int>(number);
}

} // namespace

RastelFlag::RastelFlag() : id_(++identities) {}

RastelFlagSet::RastelFlagSet(RastelFlag const& flag) : flags_{flag} {}

RastelFlagSet::RastelFlagSet(std::string const& text)
{
    if (without_blanks(text).empty())
        return;
    for (std::size_t start = 0; start <= text.size();) {
        std::size_t const bar = std::min(text.find('|', start), text.size());
        std::string const word = without_blanks(text.substr(start, bar - start));
        start = bar + 1;

        RastelFlag flag(numbered_identity(word));
        for (auto const& group : named_flags())
            for (NamedFlag const& named : group)
                if (named.second == word)
                    flag = named.first;
        if (flag.id() == 0)
            throw std::runtime_error("unknown conversion flag \"" + word + "\"");
        flags_.insert(flag);
    }
}

void RastelFlagSet::set(RastelFlag const& flag) { flags_.insert(flag); }

bool RastelFlagSet::test(RastelFlag const& flag) const { return flags_.count(flag) != 0; }

std::string RastelFlagSet::to_string() const
{
    std::set<RastelFlag> nameless = flags_;
    std::string text;
    auto const append = [&text](std::string const& word) { text += text.empty() ? word : "|" + word; };
    for (auto const& group : named_flags())
        for (NamedFlag const& named : group)
            if (nameless.erase(named.first) != 0)
                append(named.second);
    for (RastelFlag const& flag : nameless)
        append("#" + std::to_string(flag.id()));
    return text;
}

bool impl::name_flags(FlagGroup group, std::initializer_list<std::pair<RastelFlag, char const*>> names)
{
    named_flags()[static_cast<std::size_t>(group)].assign(names.begin(), names.end());
    return true;
}

} // namespace rastel
