#include "Top.h"

#include "Holex.h"
#include "Point3.h"
#include "messages.h"

#include <vector>

namespace TESK_ZAN
{

void Top::fillHoles(Voro* /*pVoro*/)
{
    ZAN_INFO("Top::fillHoles() calls Holex - experimental");
    std::vector<Point3> vPixels;
    Holex(pMesh, pCalc).run(vPixels);
}

} // namespace TESK_ZAN
