#include "MeshHandle.h"

#include "arrays.h"

#include <stdexcept>
#include <utility>

using TESK_ZAN::Mesh;
using TESK_ZAN::Point3;
namespace py = pybind11;

namespace
{

// The array takes the vector over: no copy.
py::array_t<int> triangleArray(std::vector<int>&& vIndices)
{
    const auto rows = static_cast<py::ssize_t>(vIndices.size() / 3);
    auto pOwned = std::make_unique<std::vector<int>>(std::move(vIndices));
    int* pData = pOwned->data();
    const py::capsule owner(pOwned.get(), [](void* p) { delete static_cast<std::vector<int>*>(p); });
    pOwned.release(); // NOLINT(bugprone-unused-return-value): the capsule has it
    return py::array_t<int>({rows, py::ssize_t(3)}, pData, owner);
}

} // namespace

MeshHandle::Inside::Inside(MeshHandle& handle_) : handle(handle_)
{
    if (handle.idInside == std::this_thread::get_id())
        throw std::runtime_error("this mesh is being worked on: a progress callable must leave it alone");
    const py::gil_scoped_release release;
    handle.lock.lock();
    handle.idInside = std::this_thread::get_id();
}

MeshHandle::Inside::~Inside()
{
    handle.idInside = std::thread::id();
    handle.lock.unlock();
}

MeshHandle::MeshHandle(std::shared_ptr<Mesh> pMesh_) : pMesh(std::move(pMesh_)) {}

std::vector<Point3*> MeshHandle::points() const
{
    const py::gil_scoped_release release;
    std::vector<Point3*> vPoints;
    pMesh->getPoints(vPoints);
    return vPoints;
}

py::array MeshHandle::vertices()
{
    const Inside inside(*this);
    const std::vector<Point3*> vPoints = points();
    return coordinateArray(vPoints.size(), [&](std::size_t i) -> const Point3& { return *vPoints[i]; });
}

py::array MeshHandle::triangles()
{
    const Inside inside(*this);
    std::vector<Point3*> vVertices;
    std::vector<int> vIndices;
    {
        const py::gil_scoped_release release;
        pMesh->getVertexIndexData(vVertices, vIndices);
    }
    return triangleArray(std::move(vIndices));
}

py::object MeshHandle::colors()
{
    const Inside inside(*this);
    const std::vector<Point3*> vPoints = points();
    return colorArray(vPoints.size(), [&](std::size_t i) -> const Point3& { return *vPoints[i]; });
}

py::tuple MeshHandle::state()
{
    const Inside inside(*this);
    std::vector<Point3*> vVertices;
    std::vector<int> vIndices;
    {
        const py::gil_scoped_release release;
        pMesh->getVertexIndexData(vVertices, vIndices);
    }
    const auto getPoint = [&](std::size_t i) -> const Point3& { return *vVertices[i]; };
    return py::make_tuple(coordinateArray(vVertices.size(), getPoint), triangleArray(std::move(vIndices)),
                          colorArray(vVertices.size(), getPoint), pMesh->getCellSize());
}
