// Subsystem: real mesh. Builds on: RMesh, flipLoops. Used by: Hal.
// Prepares a real mesh for everything that follows, and flips its edges.
#pragma once

#include <map>
#include <vector>

namespace TESK_ZAN
{

class Point3;
class REdge;
class RMesh;

// Works on the mesh of another owner.
class RTop
{
public:
    explicit RTop(RMesh* pRMesh);

    // What a fresh mesh needs first: no twins, one orientation in each patch, no flat triangles.
    void run();

    // The flips of flipLoops.h, and the whole annealing: greedy, all temperatures, greedy. Nothing flat is
    // removed afterwards.
    void edgeFlips();
    void edgeFlipsSimA(double temperature);
    void runFlips();

    // Flips edges that lie opposite an angle of 170 degrees or more, where that costs hardly any
    // straightness; the highest penalty first. Returns the number of flips.
    int flipExtremeCaps();

    // What such a flip costs, in degrees: how much the dihedral and the largest of the angles opposite the
    // edge grow, at most 2.0 and mostly negative. DBL_MAX if it is not allowed: the degree is not 2, a normal
    // is missing, the angle opposite is below 170 or would not become smaller, or the dihedral would grow by
    // more than 2. The four angles are in degrees; they are 0.0 as far as it did not come to them. curDih is
    // 360.0 if there is no normal now.
    double getFlipPenalty(REdge* pRE, double& curLargestIntra, double& altLargestIntra, double& curDih,
                          double& altDih) const;

    // True if the edge (p0, p1) has degree 2, an edge (pOpp0, pOpp1) is not there, the four vertices differ,
    // p0 comes before p1 by number, and the two triangles after the flip turn by less than maxAngle degrees
    // against each other. Some refusals give a warning.
    bool canFlip(const Point3* p0, const Point3* p1, const Point3* pOpp0, const Point3* pOpp1,
                 double maxAngle) const;

    // Appends the edges of degree 2 whose triangles turn by angleDeg degrees or more against each other, in
    // order of creation. An edge without both normals is passed over with a warning.
    void getEdgesForOptimization(double angleDeg, std::vector<REdge*>& vRE) const;

    // --- RTop_collapse.cpp ---

    // Moves both endpoints of an edge to a new vertex at midPoint. False, and nothing changes: a vertex
    // stands there, the edge is dead or longer than maxSqLen (a squared length), a triangle would turn by
    // more than maxAngle degrees or lose its normal, or two would coincide. On success the edges at the new
    // vertex go into mmPrioq under their squared lengths, as far as these are within maxSqLen.
    bool tryCollapseMid(REdge* pRE, const Point3& midPoint, double maxSqLen, double maxAngle,
                        std::multimap<double, REdge*>& mmPrioq);

    // The same for the collapse onto pEnd, an endpoint of the edge.
    bool tryCollapseEnd(REdge* pRE, Point3* pEnd, double maxSqLen, double maxAngle,
                        std::multimap<double, REdge*>& mmPrioq);

    // As RMesh::laplacianSmoothing, without phases of its own.
    void laplacianSmoothing(int iterations);

private:
    bool flipCap(REdge* pRE);

    RMesh* pRMesh; // not owned
};

} // namespace TESK_ZAN
