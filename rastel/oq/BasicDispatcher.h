// A table of functions keyed by the run-time types of two arguments.
#pragma once

#include <cstddef>
#include <map>
#include <stdexcept>
#include <utility>

namespace oq
{

/// The classes of both arguments give a record with an `id`: a static `type_info()` of the type, and a virtual
/// `image_type_info()` of an object.
template <class Source, class Destination, class Result, class Function>
class BasicDispatcher
{
public:
    /// Stores the function for the pair of types, in place of one that is there already.
    template <class S, class D>
    void Add(Function function)
    {
        functions_[Key(S::type_info()->id, D::type_info()->id)] = function;
    }

    /// Calls the function of both objects' types. Throws std::runtime_error "Function not found" if there is none.
    Result Go(Source& source, Destination& destination) const
    {
        auto const found = functions_.find(Key(source.image_type_info()->id, destination.image_type_info()->id));
        if (found == functions_.end())
            throw std::runtime_error("Function not found");
        return found->second(source, destination);
    }

    /// Pairs that have a function.
    std::size_t Size() const { return functions_.size(); }

private:
    using Key = std::pair<unsigned int, unsigned int>;
    std::map<Key, Function> functions_;
};

} // namespace oq
