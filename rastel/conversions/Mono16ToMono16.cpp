#include <rastel/conversions/Registration.h>
#include <rastel/conversions/SameType.h>

namespace rastel::impl
{

TImage<unsigned short>& convert(TImage<unsigned short> const& src, TImage<unsigned short>& dst)
{
    return convert_same_type(src, dst);
}

bool const Mono16ToMono16_rows = add_row<unsigned short, unsigned short>();

} // namespace rastel::impl
