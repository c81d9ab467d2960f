// Subsystem: mesh on codes. Builds on: RankedCells, mixBits. Used by: CMesh.
// The vertices of a CMesh: dense records in order of arrival, and a flat index from code to record.
#pragma once

#include "RankedCells.h"
#include "definitions.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace TESK_ZAN
{

struct Bundle;

// One vertex. The edges of degree above 0 that end here form a chain through CEdge::next0 and next1.
struct CVertex {
    u64 ccd;
    Bundle* pBundle;         // null while nobody has given the vertex a place
    std::uint32_t firstEdge; // number of the first edge of the chain, meaningful if numEdges > 0
    std::uint32_t numEdges;  // length of the chain
};

// Records are never removed singly. Those that came sorted at the start are found by their rank, without a
// look at a record. For later ones an index holds record numbers only, since the codes stand in the records:
// 6 to 11 bytes a vertex where a map of its own would take 40. A reference is valid until the next add or
// reserve; numbers stay.
class VertexTable
{
public:
    static constexpr std::uint32_t NONE = RankedCells::NONE;

    // Takes the vertices over, which ascend by code. The table must be empty.
    void setSorted(std::vector<CVertex> vVertices_srt);

    // Makes room for n vertices in all.
    void reserve(std::size_t n);

    // The number of the record, or NONE. O(1).
    std::uint32_t find(u64 ccd) const;

    // The number of the record; a new vertex comes without bundle and edges.
    std::uint32_t findOrAdd(u64 ccd);

    CVertex& operator[](std::uint32_t number) { return vVertices[number]; }
    const CVertex& operator[](std::uint32_t number) const { return vVertices[number]; }

    // All records in order of arrival.
    std::vector<CVertex>& getAll() { return vVertices; }
    const std::vector<CVertex>& getAll() const { return vVertices; }

private:
    std::size_t probe(u64 ccd) const;
    void rehash(std::size_t newCapacity);

    std::vector<CVertex> vVertices;
    RankedCells first;                 // the codes that came sorted: rank is record number
    std::vector<std::uint32_t> vSlots; // later record numbers or NONE; the size is 0 or a power of two
};

} // namespace TESK_ZAN
