#include "MeshHandle.h"

#include "arrays.h"

#include <stdexcept>
#include <utility>
#include <vector>

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

py::tuple MeshHandle::arrays()
{
    const Inside inside(*this);
    std::vector<Point3*> vVertices;
    std::vector<int> vIndices;
    {
        const py::gil_scoped_release release;
        pMesh->getVertexIndexData(vVertices, vIndices);
    }
    const py::tuple points =
        pointArrays(vVertices.size(), [&](std::size_t i) -> const Point3& { return *vVertices[i]; });
    return py::make_tuple(getGeneration(), points[0], triangleArray(std::move(vIndices)), points[1]);
}
