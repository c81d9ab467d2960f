// Subsystem: volumes. Builds on: nothing. Used by: Component, Filler.
// The relation of two components that are near each other.
#pragma once

namespace TESK_ZAN
{

class Component;

struct ConnectionStruct {
    Component* pComponent0; // of the lower id
    Component* pComponent1;
    double score; // above 0: upper side continues in upper side as the two stand; below: in the lower one

    Component* getOther(const Component* pComponent) const
    {
        return pComponent == pComponent0 ? pComponent1 : pComponent0;
    }
};

} // namespace TESK_ZAN
