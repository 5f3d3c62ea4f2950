#include <rastel/conversions/Registration.h>
#include <rastel/conversions/SignChange.h>

namespace rastel::impl
{

TImage<unsigned char>& convert(TImage<signed char> const& src, TImage<unsigned char>& dst)
{
    return change_sign(src, dst);
}

bool const Mono8sToMono8_rows = add_row<signed char, unsigned char>();

} // namespace rastel::impl
