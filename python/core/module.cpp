// zan._core: the library's calls for the package's Python files, which check the arguments and turn messages
// into exceptions and log records. Every call that may take long runs without the interpreter's lock.
#include "MeshHandle.h"
#include "ProgressListener.h"
#include "arrays.h"
#include "messages.h"

#include <zan/zan_api_functions.h>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

using namespace TESK_ZAN;
namespace py = pybind11;

namespace
{

using Colors = std::optional<py::array>;
using MeshPtr = std::shared_ptr<Mesh>;

// None where the library has built nothing.
std::unique_ptr<MeshHandle> handleOf(MeshPtr pMesh)
{
    return pMesh == nullptr ? nullptr : std::make_unique<MeshHandle>(std::move(pMesh));
}

py::tuple arraysOf(const std::vector<Point3>& vPoints)
{
    const auto getPoint = [&](std::size_t i) -> const Point3& { return vPoints[i]; };
    return py::make_tuple(coordinateArray(vPoints.size(), getPoint), colorArray(vPoints.size(), getPoint));
}

std::unique_ptr<MeshHandle> reconstructCloud(const py::array& xyz, const Colors& rgba,
                                             const std::optional<double>& spacing, double spacingFactor,
                                             int fillSize, const py::object& progress)
{
    const CloudView cloud(xyz, rgba);
    return handleOf(runCall(progress, [&] {
        std::vector<Point3> vPoints = cloud.copy();
        return spacing ? reconstruct_abs(vPoints, *spacing, fillSize)
                       : reconstruct_auto(vPoints, spacingFactor, fillSize);
    }));
}

std::unique_ptr<MeshHandle> meltSoup(const py::array& xyz, const py::array& triangles, double spacing,
                                     double featureAngle, const py::object& progress)
{
    const SoupView soup(xyz, {}, triangles);
    return handleOf(runCall(progress, [&] {
        std::vector<Point3> vCorners = soup.corners();
        return melt(vCorners, spacing, featureAngle);
    }));
}

std::unique_ptr<MeshHandle> meshOfSoup(const py::array& xyz, const Colors& rgba, const py::array& triangles,
                                       double cellSize, const py::object& progress)
{
    const SoupView soup(xyz, rgba, triangles);
    return handleOf(
        runCall(progress, [&] { return meshFromIndexed(soup.points(), soup.indices(), cellSize); }));
}

// None where no triangle is left.
py::object cloudOfSoup(const py::array& xyz, const py::array& triangles, double spacing, double featureAngle,
                       const py::object& progress)
{
    const SoupView soup(xyz, {}, triangles);
    const std::vector<Point3> vResult = runCall(progress, [&] {
        std::vector<Point3> vCorners = soup.corners();
        std::vector<Point3> vPoints;
        toCloud(vCorners, spacing, featureAngle, vPoints);
        return vPoints;
    });
    return vResult.empty() ? py::none() : py::object(arraysOf(vResult));
}

py::object cloudOverGaps(const py::array& xyz, const py::array& triangles, double spacing,
                         double featureAngle, int growSteps, const py::object& progress)
{
    const SoupView soup(xyz, {}, triangles);
    const std::vector<Point3> vResult = runCall(progress, [&] {
        std::vector<Point3> vCorners = soup.corners();
        std::vector<Point3> vPoints;
        fillGaps(vCorners, spacing, featureAngle, growSteps, vPoints);
        return vPoints;
    });
    return vResult.empty() ? py::none() : py::object(arraysOf(vResult));
}

double spacingOf(const py::array& xyz, const py::object& progress)
{
    const CloudView cloud(xyz, {});
    return runCall(progress, [&] {
        std::vector<Point3> vPoints = cloud.copy();
        return estimateAvgSpacing(vPoints);
    });
}

// None if the file could not be read.
py::object readCloud(const std::string& path, int colorColumn)
{
    std::vector<Point3> vPoints;
    bool bRead = false;
    {
        const py::gil_scoped_release release;
        bRead = loadPoints(path, vPoints, colorColumn);
    }
    return bRead ? py::object(arraysOf(vPoints)) : py::none();
}

bool writeCloud(const std::string& path, const py::array& xyz, const Colors& rgba, bool bAscii)
{
    const CloudView cloud(xyz, rgba);
    const py::gil_scoped_release release;
    std::vector<Point3> vPoints = cloud.copy();
    return savePoints(path, vPoints, bAscii);
}

// None if the file could not be read, or holds no triangle.
std::unique_ptr<MeshHandle> readMesh(const std::string& path, const py::object& progress)
{
    return handleOf(runCall(progress, [&]() -> MeshPtr {
        std::vector<Point3> vCorners;
        return loadTriangles(path, vCorners) ? meshFromTriangles(vCorners) : nullptr;
    }));
}

bool writeMesh(MeshHandle& handle, const std::string& path, bool bAscii)
{
    return handle.read([&](const MeshPtr& pMesh) { return saveMesh(path, pMesh, bAscii); });
}

py::tuple sample()
{
    std::vector<Point3> vPoints;
    {
        const py::gil_scoped_release release;
        sampleScan(vPoints);
    }
    return arraysOf(vPoints);
}

py::tuple version()
{
    int major = 0;
    int minor = 0;
    getVersion(major, minor);
    return py::make_tuple(major, minor);
}

void addMesh(py::module_& core)
{
    py::class_<MeshHandle>(core, "Mesh")
        .def("vertices", &MeshHandle::vertices)
        .def("triangles", &MeshHandle::triangles)
        .def("colors", &MeshHandle::colors)
        .def("state", &MeshHandle::state)
        .def("num_triangles",
             [](MeshHandle& handle) {
                 return handle.read([](const MeshPtr& pMesh) { return pMesh->getNumT(); });
             })
        .def("cell_size",
             [](MeshHandle& handle) {
                 return handle.read([](const MeshPtr& pMesh) { return pMesh->getCellSize(); });
             })
        .def("average_edge_length",
             [](MeshHandle& handle) {
                 return handle.read([](const MeshPtr& pMesh) { return pMesh->getAverageEdgeLength(); });
             })
        .def("edge_flips",
             [](MeshHandle& handle, const py::object& progress) {
                 handle.change(progress, [](const MeshPtr& pMesh) { edgeFlips(pMesh); });
             })
        .def("anneal",
             [](MeshHandle& handle, const py::object& progress) {
                 handle.change(progress, [](const MeshPtr& pMesh) { edgeFlipsSimA(pMesh); });
             })
        .def("reduce",
             [](MeshHandle& handle, double maxLength, double maxAngle, const py::object& progress) {
                 return handle.change(
                     progress, [&](const MeshPtr& pMesh) { return reduce(pMesh, maxLength, maxAngle); });
             })
        .def("smooth",
             [](MeshHandle& handle, int numIterations, const py::object& progress) {
                 handle.change(progress,
                               [&](const MeshPtr& pMesh) { laplacianSmoothing(pMesh, numIterations); });
             })
        .def("repair_shapes",
             [](MeshHandle& handle, const py::object& progress) {
                 return handle.change(progress, [](const MeshPtr& pMesh) { return repairShapes(pMesh); });
             })
        .def("close_holes",
             [](MeshHandle& handle, int maxEdges, const py::object& progress) {
                 return handle.change(progress,
                                      [&](const MeshPtr& pMesh) { return closeHoles(pMesh, maxEdges); });
             })
        .def("sharpen_edges",
             [](MeshHandle& handle, double featureAngle, const py::object& progress) {
                 return handle.change(
                     progress, [&](const MeshPtr& pMesh) { return sharpenEdges(pMesh, featureAngle); });
             })
        .def("contrast_spread",
             [](MeshHandle& handle, double low, double high) {
                 handle.change(py::none(), [&](const MeshPtr& pMesh) { pMesh->contrastSpread(low, high); });
             })
        .def("colorize_filled_holes",
             [](MeshHandle& handle) {
                 handle.change(py::none(), [](const MeshPtr& pMesh) { pMesh->colorizeFilledHoles(); });
             })
        .def("write", &writeMesh);
}

} // namespace

PYBIND11_MODULE(_core, core)
{
    collectMessages();
    py::register_exception<ZanBugException>(core, "InternalError", PyExc_RuntimeError);
    addMesh(core);
    core.def("reconstruct", &reconstructCloud);
    core.def("melt", &meltSoup);
    core.def("mesh_from_triangles", &meshOfSoup);
    core.def("to_cloud", &cloudOfSoup);
    core.def("fill_gaps", &cloudOverGaps);
    core.def("estimate_spacing", &spacingOf);
    core.def("read_points", &readCloud);
    core.def("write_points", &writeCloud);
    core.def("read_mesh", &readMesh);
    core.def("sample_scan", &sample);
    core.def("set_num_threads", &setGlobalNumCPU);
    core.def("end_threads", &destroySingletons, py::call_guard<py::gil_scoped_release>());
    core.def("take_messages", &takeMessages);
    core.def("version", &version);
}
