#include "RMesh.h"

#include "Visualizer3.h"
#include "messages.h"

#include <algorithm>
#include <map>
#include <ostream>
#include <set>

namespace TESK_ZAN
{

namespace
{

bool hasRepeatedOppCorner(const REdge& edge)
{
    std::vector<RTriangle*> vRT;
    std::vector<Point3*> vOpp;
    edge.getAliveT(vRT);
    for (const RTriangle* pRT : vRT)
        vOpp.push_back(pRT->getThirdPoint(edge.getVtx0(), edge.getVtx1()));
    sortUniqueByNumber(vOpp);
    return vOpp.size() != vRT.size();
}

bool isSlotRight(const RTriangle& triangle, int ici)
{
    const REdge* pRE = triangle.getRE(ici);
    return pRE->has(triangle.getCorner((ici + 1) % 3)) && pRE->has(triangle.getCorner((ici + 2) % 3));
}

Visualizer3::Segment segmentOf(const REdge& edge)
{
    return {edge.getVtx0(), edge.getVtx1()};
}

} // namespace

// Each of the tests looks at one invariant and returns what is broken, or an empty text.

std::string RMesh::findBrokenPosition() const
{
    for (const RVertex* pRecord : vVtx)
        if (mPointVertex.find(pRecord->point) != &pRecord->point)
            return "1: a vertex is not found at its position";
    return mPointVertex.size() == vVtx.size() ? "" : "1: positions and vertices differ in number";
}

std::string RMesh::findBrokenIncidence() const
{
    for (const RVertex* pRecord : vVtx)
        for (const std::uint32_t number : pRecord->vTNumbers)
            if (number >= vT.size() || !vT[number]->isAlive() || !vT[number]->has(&pRecord->point))
                return "2: a vertex lists a triangle that is dead or elsewhere";
    return "";
}

std::string RMesh::findBrokenKey() const
{
    for (const REdge* pRE : vRE) {
        if (numberOf(pRE->getVtx0()) >= numberOf(pRE->getVtx1()))
            return "3: the endpoints of an edge do not ascend";
        const REdge* pFound = getRE(pRE->getVtx0(), pRE->getVtx1());
        if (pRE->isAlive() && pFound != pRE)
            return "3: an edge is not found under its endpoints";
    }
    size_t numDead = 0;
    for (const REdge* pRE : vRE)
        if (!pRE->isAlive() && getRE(pRE->getVtx0(), pRE->getVtx1()) == pRE)
            ++numDead;
    return numDead == mDeadRE.size() ? "" : "3: the map of dead edges holds others";
}

std::string RMesh::findBrokenEdge() const
{
    for (const REdge* pRE : vRE) {
        for (const RTriangle* pRT : pRE->vRT) {
            if (!pRT->isAlive() || !pRT->hasEdge(pRE->getVtx0(), pRE->getVtx1()))
                return "4: a triangle of an edge is dead or elsewhere";
            if (pRT->getRE(pRT->getICI(pRE->getVtx0(), pRE->getVtx1())) != pRE)
                return "4: a triangle of an edge does not know it";
        }
        if (hasRepeatedOppCorner(*pRE))
            return "4: bUniqueOppVtx";
    }
    return "";
}

std::string RMesh::findBrokenTriangle() const
{
    for (const RTriangle* pRT : vT) {
        if (!pRT->isAlive())
            continue;
        for (int ici = 0; ici < 3; ++ici) {
            if (!isSlotRight(*pRT, ici))
                return "5: an edge of a triangle has other endpoints";
            const auto& vAtEdge = pRT->getRE(ici)->vRT;
            if (std::count(vAtEdge.begin(), vAtEdge.end(), pRT) != 1)
                return "5: a triangle is not checked in on its edge once";
            const auto& vNumbers = recordOf(pRT->getCorner(ici)).vTNumbers;
            if (std::count(vNumbers.begin(), vNumbers.end(), pRT->getNumber()) != 1)
                return "5: a corner does not list its triangle once";
        }
    }
    return "";
}

bool RMesh::checkDataStructures(const std::string& name) const
{
    messageStream() << "RMesh::checkDataStructures(" << name << ") starts..." << std::endl;
    for (const auto test : {&RMesh::findBrokenPosition, &RMesh::findBrokenIncidence, &RMesh::findBrokenKey,
                            &RMesh::findBrokenEdge, &RMesh::findBrokenTriangle}) {
        const std::string broken = (this->*test)();
        if (broken.empty())
            continue;
        messageStream() << "RMesh::checkDataStructures(" << name << ") invariant " << broken << std::endl;
        return false;
    }
    messageStream() << "RMesh::checkDataStructures(" << name << ") survived" << std::endl;
    return true;
}

bool RMesh::checkNoDups(const std::string& name) const
{
    const bool bGood = std::none_of(vRE.begin(), vRE.end(), [](const REdge* pRE) {
        return pRE->getDegree() > 1 && hasRepeatedOppCorner(*pRE);
    });
    if (!name.empty())
        messageStream() << "RMesh::checkNoDups(" << name
                        << "): " << (bGood ? "survived" : "has duplicate triangles") << std::endl;
    return bGood;
}

bool RMesh::checkNoDegenerate(const std::string& name, bool bWriteScene) const
{
    std::vector<Visualizer3::Triangle> vDegenerateT;
    for (const RTriangle* pRT : vT)
        if (pRT->isAlive() && pRT->isDegenerate())
            vDegenerateT.push_back({pRT->getCorner(0), pRT->getCorner(1), pRT->getCorner(2)});
    if (bWriteScene && !vDegenerateT.empty()) {
        Visualizer3 visualizer("degenerateT.list", nullptr, true);
        visualizer.writeTriangles(vDegenerateT, Visualizer3::getSceneColor(0));
    }
    if (!name.empty()) {
        messageStream() << "RMesh::checkNoDegenerate(" << name << "): ";
        if (vDegenerateT.empty())
            messageStream() << "survived" << std::endl;
        else
            messageStream() << "has " << vDegenerateT.size() << " degenerate triangles!" << std::endl;
    }
    return vDegenerateT.empty();
}

void RMesh::printStatistics(const std::string& name) const
{
    std::map<int, size_t> mDegreeCount;
    for (const REdge* pRE : vRE)
        if (pRE->isAlive())
            ++mDegreeCount[pRE->getDegree()];
    std::ostream& out = messageStream();
    out << "\nRMesh::printStatistics(" << name << ")\n NumTriangles: " << getNumT() << "\n";
    for (const auto& [degree, count] : mDegreeCount)
        out << " Degree " << degree << ": " << count << "\n";
    out << std::endl;
}

void RMesh::writeToScene(Visualizer3& visualizer, const std::string& color, bool bNormals, bool bEdges) const
{
    std::vector<Visualizer3::Triangle> vTriangles;
    for (const RTriangle* pRT : vT)
        if (pRT->isAlive())
            vTriangles.push_back({pRT->getCorner(0), pRT->getCorner(1), pRT->getCorner(2)});
    visualizer.writeTriangles(vTriangles, color, bNormals);
    if (!bEdges)
        return;

    std::map<int, std::vector<Visualizer3::Segment>> mDegreeSegments;
    for (const REdge* pRE : vRE)
        if (pRE->isAlive() && pRE->getDegree() != 2)
            mDegreeSegments[pRE->getDegree()].push_back(segmentOf(*pRE));
    for (const auto& [degree, vSegments] : mDegreeSegments) {
        const char* edgeColor = degree == 1   ? "1 0 0 0.5"
                                : degree == 3 ? "0.627 0.125 0.941 0.5"
                                : degree == 4 ? "0 0.70 .9 0.5"
                                              : "1 0.411 0.705 0.5";
        visualizer.writeSegments(vSegments, 1, edgeColor);
    }
}

void writeHolesScene(const RMesh& mesh)
{
    std::vector<REdge*> vBorderRE;
    std::vector<Visualizer3::Segment> vSegments;
    mesh.getDegN(1, vBorderRE);
    for (const REdge* pRE : vBorderRE)
        vSegments.push_back(segmentOf(*pRE));
    Visualizer3 visualizer("holes.list", nullptr, true);
    mesh.writeToScene(visualizer, "1 1 1 0.5", false, true);
    visualizer.writeSegments(vSegments, 1, "1 0 0 0.5");
}

} // namespace TESK_ZAN
