// Named options of a conversion, and their text form.
//
//     rastel::RastelFlagSet flags(rastel::BAYER_DECODING_EDGE_SENSE);
//     flags.set(rastel::NEAREST);
//     picture.properties.put("CONVERSION FLAGS", flags.to_string());   // "BAYER_DECODING_EDGE_SENSE|NEAREST"
#pragma once

#include <functional>
#include <initializer_list>
#include <set>
#include <string>
#include <utility>

namespace rastel
{

/// An option that is nothing but its identity: each flag made by the default constructor differs from all others.
class RastelFlag
{
public:
    RastelFlag();
    bool operator==(RastelFlag const& other) const { return id_ == other.id_; }
    bool operator!=(RastelFlag const& other) const { return id_ != other.id_; }
    bool operator<(RastelFlag const& other) const { return id_ < other.id_; }
    /// The number of this identity, 1 or more, the same for the life of the process.
    unsigned int id() const { return id_; }

private:
    friend class RastelFlagSet;
    explicit RastelFlag(unsigned int id) : id_(id) {}
    unsigned int id_;
};

/// A set of flags.
///
/// Its text is the flags' names joined by '|'. A flag without a name stands as '#' and its identity number, behind the
/// named ones.
class RastelFlagSet
{
public:
    RastelFlagSet() = default;
    RastelFlagSet(RastelFlag const& flag);

    /// Reads the text form; blanks around names don't count, and an empty text is the empty set. Throws
    /// std::runtime_error, which quotes the word, if a word is no flag's name.
    RastelFlagSet(std::string const& text);

    void set(RastelFlag const& flag);
    bool test(RastelFlag const& flag) const;
    std::string to_string() const;

private:
    std::set<RastelFlag> flags_;
};

namespace impl
{

/// The place of a group of names in the text form.
enum class FlagGroup { conversions, operations };

/// Gives flags their names, in the order in which the text form lists them. For static initialisers alone.
bool name_flags(FlagGroup group, std::initializer_list<std::pair<RastelFlag, char const*>> names);

} // namespace impl
} // namespace rastel
