// The search for an operation's function in a matrix.
#pragma once

#include <rastel/operations/BasicOperations.h>

#include <map>
#include <stdexcept>
#include <string>

namespace rastel::impl
{

/// "Fill not registered for " and the type's name.
std::string not_registered(std::string const& name, Rastel const& image);

/// The table's function for the image's type; null if there is none.
template <class Function>
Function find_function(std::map<unsigned int, Function> const& table, Rastel const& image)
{
    auto const found = table.find(image.image_type_info()->id);
    return found == table.end() ? nullptr : found->second;
}

/// The same; throws unregistered_call if there is none.
template <class Function>
Function registered_function(std::map<unsigned int, Function> const& table, char const* name, Rastel const& image)
{
    Function const function = find_function(table, image);
    if (function == nullptr)
        throw unregistered_call(name, image);
    return function;
}

/// The same; throws a plain std::runtime_error.
template <class Function>
Function known_function(std::map<unsigned int, Function> const& table, char const* name, Rastel const& image)
{
    Function const function = find_function(table, image);
    if (function == nullptr)
        throw std::runtime_error(not_registered(name, image));
    return function;
}

} // namespace rastel::impl
