#include "RemoveDecider.h"

#include "Calc.h"
#include "removalRules.h"

#include <algorithm>

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

void RemoveDecider::pruneStrong(const std::vector<u64>& vCandidateCCD, std::vector<u64>& vKept,
                                std::vector<u64>& vDoomed)
{
    vKept = vCandidateCCD;
    vDoomed.clear();
    const auto goes = [&](u64 ccd) {
        if (!mayRemove(ccd))
            return false;
        remove(ccd);
        vDoomed.push_back(ccd);
        return true;
    };
    while (std::erase_if(vKept, goes) > 0) {
    }
    std::sort(vKept.begin(), vKept.end());
    std::sort(vDoomed.begin(), vDoomed.end());
}

} // namespace TESK_ZAN
