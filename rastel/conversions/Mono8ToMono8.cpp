#include <rastel/conversions/Registration.h>
#include <rastel/conversions/SameType.h>

namespace rastel::impl
{

TImage<unsigned char>& convert(TImage<unsigned char> const& src, TImage<unsigned char>& dst)
{
    return convert_same_type(src, dst);
}

bool const Mono8ToMono8_rows = add_row<unsigned char, unsigned char>();

} // namespace rastel::impl
