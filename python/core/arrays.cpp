#include "arrays.h"

#include <limits>
#include <stdexcept>
#include <string>

using TESK_ZAN::Point3;
namespace py = pybind11;

TableView::TableView(const py::array& array, py::ssize_t numColumns)
{
    if (array.ndim() != 2 || array.shape(1) != numColumns)
        throw std::invalid_argument("an array needs the shape (n, " + std::to_string(numColumns) + ")");
    if (array.dtype().byteorder() == '>')
        throw std::invalid_argument("an array needs the machine's order of bytes");
    pData = static_cast<const char*>(array.data());
    numRows = static_cast<std::size_t>(array.shape(0));
    rowStride = array.strides(0);
    columnStride = array.strides(1);
    itemSize = array.itemsize();
}

CloudView::CloudView(const py::array& xyz, const std::optional<py::array>& rgba) : xyzTable(xyz, 3)
{
    if (xyz.dtype().kind() != 'f' || (xyz.itemsize() != sizeof(float) && xyz.itemsize() != sizeof(double)))
        throw std::invalid_argument("coordinates must be float32 or float64");
    if (!rgba)
        return;
    rgbaTable.emplace(*rgba, 4);
    if (rgba->dtype().kind() != 'u' || rgba->itemsize() != 1 || rgbaTable->getNumRows() != size())
        throw std::invalid_argument("colours must be uint8, one row for each point");
}

Point3 CloudView::at(std::size_t i) const
{
    Point3 point;
    if (xyzTable.getItemSize() == sizeof(double))
        point.set(xyzTable.at<double>(i, 0), xyzTable.at<double>(i, 1), xyzTable.at<double>(i, 2));
    else
        point.set(double(xyzTable.at<float>(i, 0)), double(xyzTable.at<float>(i, 1)),
                  double(xyzTable.at<float>(i, 2)));
    if (!rgbaTable)
        return point;
    unsigned char bytes[4];
    for (std::size_t channel = 0; channel < 4; ++channel)
        bytes[channel] = rgbaTable->at<unsigned char>(i, channel);
    if (bytes[0] != 0 || bytes[1] != 0 || bytes[2] != 0 || bytes[3] != 0)
        point.setColor(bytes[0], bytes[1], bytes[2], bytes[3]);
    return point;
}

std::vector<Point3> CloudView::copy() const
{
    std::vector<Point3> vPoints;
    vPoints.reserve(size());
    for (std::size_t i = 0; i < size(); ++i)
        vPoints.push_back(at(i));
    return vPoints;
}

SoupView::SoupView(const py::array& xyz, const std::optional<py::array>& rgba, const py::array& triangles)
    : vertices(xyz, rgba), triangleTable(triangles, 3)
{
    if (triangles.dtype().kind() != 'i' || (triangles.itemsize() != 4 && triangles.itemsize() != 8))
        throw std::invalid_argument("indices must be int32 or int64");
}

std::size_t SoupView::indexAt(std::size_t row, std::size_t corner) const
{
    const std::int64_t index = triangleTable.getItemSize() == 8 ? triangleTable.at<std::int64_t>(row, corner)
                                                                : triangleTable.at<std::int32_t>(row, corner);
    const auto numVertices = static_cast<std::int64_t>(vertices.size());
    if (index < 0 || index >= numVertices)
        throw std::invalid_argument("triangle " + std::to_string(row) + " names vertex " +
                                    std::to_string(index) + " of " + std::to_string(numVertices));
    return static_cast<std::size_t>(index);
}

std::vector<Point3> SoupView::corners() const
{
    std::vector<Point3> vCorners;
    vCorners.reserve(3 * triangleTable.getNumRows());
    for (std::size_t row = 0; row < triangleTable.getNumRows(); ++row)
        for (std::size_t corner = 0; corner < 3; ++corner)
            vCorners.push_back(vertices.at(indexAt(row, corner)));
    return vCorners;
}

std::vector<int> SoupView::indices() const
{
    if (vertices.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        throw std::invalid_argument("more vertices than int32 can count");
    std::vector<int> vIndices;
    vIndices.reserve(3 * triangleTable.getNumRows());
    for (std::size_t row = 0; row < triangleTable.getNumRows(); ++row)
        for (std::size_t corner = 0; corner < 3; ++corner)
            vIndices.push_back(static_cast<int>(indexAt(row, corner)));
    return vIndices;
}
