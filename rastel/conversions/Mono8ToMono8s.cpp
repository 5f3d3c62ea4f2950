#include <rastel/conversions/Registration.h>
#include <rastel/conversions/SignChange.h>

namespace rastel::impl
{

TImage<signed char>& convert(TImage<unsigned char> const& src, TImage<signed char>& dst)
{
    return change_sign(src, dst);
}

bool const Mono8ToMono8s_rows = add_row<unsigned char, signed char>();

} // namespace rastel::impl
