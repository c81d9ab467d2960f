#include "Holex.h"

#include "CMesh.h"
#include "Chain.h"
#include "ChainMgr.h"
#include "Hole.h"
#include "Loop.h"
#include "Visualizer3.h"
#include "messages.h"
#include "zanAssert.h"

#include <ostream>
#include <string>
#include <utility>

namespace TESK_ZAN
{

namespace
{

constexpr int LINE_WIDTH = 2;
constexpr int POINT_SIZE = 3;
constexpr int MAX_DRAWN_DEGREE = 5;

void writeEdges(Visualizer3& visualizer, const CMesh& mesh, const std::vector<CEdge*>& vCE,
                const std::string& color)
{
    std::vector<Visualizer3::Segment> vSegments;
    for (const CEdge* pCE : vCE)
        vSegments.emplace_back(mesh.getVtx(pCE->getV0()), mesh.getVtx(pCE->getV1()));
    visualizer.writeSegments(vSegments, LINE_WIDTH, color);
}

} // namespace

Holex::Holex(CMesh* pMesh, const Calc* pCalc_) : pOldMesh(pMesh), pCalc(pCalc_), filler(pMesh, pCalc_)
{
    const bool bCodesFit = pOldMesh->checkCCD("CTOR of Holex");
    zanAssertText(bCodesFit, "pOldMesh->checkCCD(\"CTOR of Holex\")");
}

Holex::~Holex() = default;

bool Holex::run(std::vector<Point3>& /*vPixels*/)
{
    if (bWriteScenes)
        writeEdgesByDegree();
    determineHoles();
    messageStream() << "Still need to fill the pixels vector" << std::endl;
    return !vHoles.empty();
}

void Holex::determineHoles()
{
    std::vector<CEdge*> vBorder;
    pOldMesh->getDegN(1, vBorder);
    vHoles.clear();
    pChainMgr.reset();
    pChainMgr = std::make_unique<ChainMgr>(pOldMesh, getEdgeMap(vBorder), true);
    for (u64 i = 0; i < pChainMgr->getNumChains(); ++i) {
        Chain* pChain = pChainMgr->getChain(i);
        if (bWriteScenes)
            writeChain(*pChain);
        if (!pChain->isClosed() || !pChain->isGoodHole())
            continue;
        vHoles.push_back(std::make_unique<Hole>(pOldMesh, pChain));
        vHoles.back()->setWriteScenes(bWriteScenes);
        std::vector<std::pair<u64, Point3>> vCCD2Zero;
        vHoles.back()->run(vCCD2Zero);
    }
    messageStream() << "Number of Hole objects: " << vHoles.size() << std::endl;
    if (bWriteScenes)
        writeEnd();
}

std::unique_ptr<CMesh> Holex::createBorderMesh(Chain* pChain, std::vector<CEdge*>& vBorderCE)
{
    return filler.createBorderMesh(pChain, vBorderCE);
}

std::unique_ptr<Loop> Holex::createLoop(CMesh* pMesh, std::vector<CEdge*>& vBorderCE)
{
    return HoleToCCD::createLoop(pMesh, vBorderCE);
}

// ---- debug scenes ----------------------------------------------------------------------------------------

void Holex::writeEdgesByDegree() const
{
    Visualizer3 visualizer("holex_deg.list", pCalc, true);
    for (int deg = 1; deg <= MAX_DRAWN_DEGREE; ++deg) {
        std::vector<CEdge*> vCE;
        pOldMesh->getDegN(deg, vCE);
        writeEdges(visualizer, *pOldMesh, vCE, Visualizer3::getSceneColor(deg));
    }
}

void Holex::writeChain(const Chain& chain) const
{
    const std::string kind = chain.isClosed() ? "closed_" : "open_";
    Visualizer3 visualizer(kind + std::to_string(chain.getId()) + ".list", pCalc, true);
    std::vector<CEdge*> vCE;
    chain.getEdges(vCE);
    writeEdges(visualizer, *pOldMesh, vCE, Visualizer3::getSceneColor(0));
}

void Holex::writeEnd() const
{
    std::vector<Point3> vZeros;
    for (const auto& pHole : vHoles)
        for (const auto& [ccd, point] : pHole->getZeroCells())
            vZeros.push_back(point);
    Visualizer3 cells("holex_endR.list", pCalc, true);
    if (!vZeros.empty())
        cells.writePoints(vZeros, POINT_SIZE, Visualizer3::getSceneColor(0));

    std::vector<CTriangle*> vCT;
    pOldMesh->getAliveT(vCT);
    std::vector<Visualizer3::Triangle> vTriangles;
    for (const CTriangle* pCT : vCT)
        vTriangles.push_back(
            {pOldMesh->getVtx(pCT->getC0()), pOldMesh->getVtx(pCT->getC1()), pOldMesh->getVtx(pCT->getC2())});
    Visualizer3("holex_endC.list", pCalc, true).writeTriangles(vTriangles, Visualizer3::getSceneColor(1));
}

} // namespace TESK_ZAN
