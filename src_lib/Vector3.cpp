#include "Vector3.h"

#include "messages.h"

#include <algorithm>
#include <limits>
#include <ostream>

namespace TESK_ZAN
{

double Vector3::getCartesian(int i) const
{
    switch (i) {
    case 0:
        return _x;
    case 1:
        return _y;
    case 2:
        return _z;
    default:
        complaintStream() << "getCartesian for i=" << i << std::endl;
        return std::numeric_limits<double>::max();
    }
}

double Vector3::getMaxComponent() const
{
    return std::max({_x, _y, _z});
}

double Vector3::getMaxAbsComponent() const
{
    return std::max({std::fabs(_x), std::fabs(_y), std::fabs(_z)});
}

int Vector3::getMaxAbsIndex() const
{
    const double ax = std::fabs(_x);
    const double ay = std::fabs(_y);
    const double az = std::fabs(_z);
    if (ax >= ay && ax >= az)
        return 0;
    return ay >= az ? 1 : 2;
}

Vector3 normalize(const Vector3& v)
{
    const double len = v.length();
    if (len == 0.0) [[unlikely]] {
        complaintStream() << "\n\n** warning: normalize(const Vector3& other), Null length vector!"
                          << std::endl;
        return Vector3();
    }
    return v / len;
}

} // namespace TESK_ZAN
