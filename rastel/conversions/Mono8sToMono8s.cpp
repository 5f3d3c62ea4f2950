#include <rastel/conversions/Registration.h>
#include <rastel/conversions/SameType.h>

namespace rastel::impl
{

// Signed grey stays out of the table: the operator is for direct calls alone.
TImage<signed char>& convert(TImage<signed char> const& src, TImage<signed char>& dst)
{
    return convert_same_type(src, dst);
}

} // namespace rastel::impl
