// Between numpy's arrays and the library's points. The arrays are read where they lie, whatever their
// strides.
#pragma once

#include <zan/Point3.h>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstdint>
#include <cstring>
#include <optional>
#include <vector>

// The numbers of an array of two dimensions. Made with the interpreter's lock, read without: the array must
// outlive it. Elements may be unaligned.
class TableView
{
public:
    TableView() = default;

    // Throws std::invalid_argument unless the array has numColumns columns and elements of numBytes bytes in
    // the machine's own order.
    TableView(const pybind11::array& array, pybind11::ssize_t numColumns);

    std::size_t getNumRows() const { return numRows; }
    pybind11::ssize_t getItemSize() const { return itemSize; }

    template <class T>
    T at(std::size_t row, std::size_t column) const
    {
        T value;
        std::memcpy(&value,
                    pData + static_cast<pybind11::ssize_t>(row) * rowStride +
                        static_cast<pybind11::ssize_t>(column) * columnStride,
                    sizeof(T));
        return value;
    }

private:
    const char* pData = nullptr;
    std::size_t numRows = 0;
    pybind11::ssize_t rowStride = 0;
    pybind11::ssize_t columnStride = 0;
    pybind11::ssize_t itemSize = 0;
};

// A cloud: (n, 3) of float32 or float64, and (n, 4) of uint8 if it has colours. As in files, a point whose
// colour and alpha are 0 has none.
class CloudView
{
public:
    CloudView(const pybind11::array& xyz, const std::optional<pybind11::array>& rgba);

    std::size_t size() const { return xyzTable.getNumRows(); }
    TESK_ZAN::Point3 at(std::size_t i) const;
    std::vector<TESK_ZAN::Point3> copy() const;

private:
    TableView xyzTable;
    std::optional<TableView> rgbaTable;
};

// Indexed triangles: a cloud of vertices, and (m, 3) of int32 or int64.
class SoupView
{
public:
    SoupView(const pybind11::array& xyz, const std::optional<pybind11::array>& rgba,
             const pybind11::array& triangles);

    // Three corners a triangle. Throws std::invalid_argument for an index that is no vertex.
    std::vector<TESK_ZAN::Point3> corners() const;

    // The same as they are. indices() throws as corners() does.
    std::vector<TESK_ZAN::Point3> points() const { return vertices.copy(); }
    std::vector<int> indices() const;

private:
    std::size_t indexAt(std::size_t row, std::size_t corner) const;

    CloudView vertices;
    TableView triangleTable;
};

// (n, 3) of float64. For getPoint, here and below, a function from 0 <= i < num to a const Point3&. With the
// interpreter's lock, which is released while the numbers are copied.
template <class GetPoint>
pybind11::array coordinateArray(std::size_t num, const GetPoint& getPoint)
{
    namespace py = pybind11;
    py::array_t<double> xyz({static_cast<py::ssize_t>(num), py::ssize_t(3)});
    double* p = xyz.mutable_data();
    const py::gil_scoped_release release;
    for (std::size_t i = 0; i < num; ++i, p += 3)
        getPoint(i).xyz(p[0], p[1], p[2]);
    return xyz;
}

// (n, 4) of uint8, or None if no point has a colour.
template <class GetPoint>
pybind11::object colorArray(std::size_t num, const GetPoint& getPoint)
{
    namespace py = pybind11;
    bool bColor = false;
    {
        const py::gil_scoped_release release;
        for (std::size_t i = 0; i < num && !bColor; ++i)
            bColor = getPoint(i).hasColor();
    }
    if (!bColor)
        return py::none();
    py::array_t<unsigned char> rgba({static_cast<py::ssize_t>(num), py::ssize_t(4)});
    unsigned char* p = rgba.mutable_data();
    const py::gil_scoped_release release;
    for (std::size_t i = 0; i < num; ++i, p += 4)
        getPoint(i).getColor_255(p[0], p[1], p[2], p[3]);
    return rgba;
}
