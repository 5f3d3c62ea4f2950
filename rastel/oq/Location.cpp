#include <rastel/oq/Location.h>

namespace oq
{

using std::string;

string __Location_ClassMethod(string const& signature) // NOLINT(bugprone-reserved-identifier)
{
    std::size_t const scope = signature.find("::");
    // npos + 1 is 0, the start, where no space is found.
    std::size_t const space = scope == string::npos ? signature.find(' ') : signature.rfind(' ', scope);
    std::size_t const begin = space + 1;
    std::size_t const end = signature.find('(', scope == string::npos ? begin : scope);
    return signature.substr(begin, end == string::npos ? end : end - begin);
}

string __Location_Class(string const& signature) // NOLINT(bugprone-reserved-identifier)
{
    std::size_t const parenthesis = signature.rfind('(');
    if (parenthesis == string::npos)
        return signature;
    auto const last_before = [&signature](char const* text, std::size_t position) {
        return position == 0 || position == string::npos ? string::npos : signature.rfind(text, position - 1);
    };
    std::size_t const method = last_before("::", parenthesis);
    std::size_t begin = last_before("::", method);
    if (begin == string::npos)
        begin = last_before(" ", method);
    if (begin == string::npos)
        begin = 0;
    return signature.substr(begin, method == string::npos ? method : method - begin);
}

} // namespace oq
