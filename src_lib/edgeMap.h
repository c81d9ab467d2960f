// Subsystem: holes. Builds on: CEdge. Used by: Chain, ChainMgr, Loop, HoleFiller and the drivers above them.
// Edges filed under both of their ends: what chains and loops take their edges from.
#pragma once

#include "definitions.h"

#include <map>
#include <vector>

namespace TESK_ZAN
{

class CEdge;

// Every edge stands in it twice, under each end. The edges under one end stand in order of entry, so who
// enters them by creation number gets the same chains and loops on every run.
using EdgeMap = std::multimap<u64, CEdge*>;

// The edges in this order. None may stand in vCE twice.
EdgeMap getEdgeMap(const std::vector<CEdge*>& vCE);

void enterEdge(EdgeMap& mmVCD2CE, CEdge* pCE);

// Under both ends, if it is there. Linear in the entries at the two ends.
void removeEdge(EdgeMap& mmVCD2CE, const CEdge* pCE);

} // namespace TESK_ZAN
