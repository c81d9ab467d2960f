#include "Mesh.h"

#include "RMesh.h"
#include "Visualizer3.h"
#include "meshWriters.h"

namespace TESK_ZAN
{

Mesh::Mesh(RMesh* pRMesh_) : pRMesh(pRMesh_) {}

Mesh::~Mesh()
{
    delete pRMesh;
    pRMesh = nullptr;
}

size_t Mesh::getNumT() const
{
    return pRMesh->getNumT();
}

void Mesh::getTriangles(std::vector<Point3*>& vCorners) const
{
    pRMesh->getCornerVtx(vCorners);
}

void Mesh::getPoints(std::vector<Point3*>& vPoints) const
{
    pRMesh->getPoints(vPoints);
}

void Mesh::getVertexIndexData(std::vector<Point3*>& vVertices, std::vector<int>& vIndices) const
{
    pRMesh->getVertexIndexData(vVertices, vIndices);
}

double Mesh::getAverageEdgeLength() const
{
    return pRMesh->getAverageEdgeLength();
}

double Mesh::getCellSize() const
{
    return pRMesh->getCellSize();
}

void Mesh::printStatistics(const std::string& name) const
{
    pRMesh->printStatistics(name);
}

void Mesh::colorizeFilledHoles()
{
    pRMesh->colorizeFilledHoles();
}

void Mesh::contrastSpread(double lowFraction, double highFraction)
{
    pRMesh->contrastSpread(lowFraction, highFraction);
}

bool Mesh::writePly_BIN(const std::string& name) const
{
    return PLY::writePly(pRMesh, name, true);
}

bool Mesh::writePly_ASCII(const std::string& name) const
{
    return PLY::writePly(pRMesh, name, false);
}

bool Mesh::writeStl_ASCII(const std::string& name) const
{
    return writeSTL(pRMesh, name);
}

bool Mesh::writeGeomview_ASCII(const std::string& name) const
{
    Visualizer3 visualizer(name, nullptr, true);
    if (!visualizer.isOpen())
        return false;
    pRMesh->writeToScene(visualizer, pRMesh->hasColor() ? Visualizer3::VERTEXCOLORS : "0 1 0 0.5", false,
                         true);
    return visualizer.closeScene();
}

} // namespace TESK_ZAN
