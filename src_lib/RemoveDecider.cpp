#include "RemoveDecider.h"

#include "Calc.h"
#include "removalRules.h"

namespace TESK_ZAN
{

RemoveDecider::RemoveDecider(const std::vector<u64>& vCCD, const Calc* pCalc) : rcdStore(pCalc, {})
{
    for (const u64 ccd : vCCD)
        rcdStore.add(Calc::ccdToRCD(ccd));
}

bool RemoveDecider::exists(u64 ccd) const
{
    return rcdStore.isSet(Calc::ccdToRCD(ccd));
}

bool RemoveDecider::mayRemove(u64 ccd) const
{
    const u64 rcd = Calc::ccdToRCD(ccd);
    return rcdStore.isSet(rcd) && RemovalRules::get().isInner(rcdStore.getConfiguration(rcd));
}

void RemoveDecider::remove(u64 ccd)
{
    rcdStore.unset(Calc::ccdToRCD(ccd));
}

} // namespace TESK_ZAN
