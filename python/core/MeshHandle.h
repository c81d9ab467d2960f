// A mesh as Python holds it: one thread inside at a time.
#pragma once

#include "ProgressListener.h"

#include <zan/Mesh.h>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

// Threads that want a mesh while another is inside wait, without the interpreter's lock. A thread that is
// inside already, in a progress callable, gets an exception instead of waiting for itself.
class MeshHandle
{
public:
    // Takes the pointer over. It must not be null.
    explicit MeshHandle(std::shared_ptr<TESK_ZAN::Mesh> pMesh_);
    MeshHandle(const MeshHandle&) = delete;
    MeshHandle& operator=(const MeshHandle&) = delete;

    // New arrays: float64 (n, 3); int32 (m, 3); uint8 (n, 4), or None if no vertex has a colour.
    pybind11::array vertices();
    pybind11::array triangles();
    pybind11::object colors();

    // All three of one moment, and the cell size.
    pybind11::tuple state();

    // f(const std::shared_ptr<Mesh>&), which changes the mesh, without the interpreter's lock.
    template <class F>
    auto change(const pybind11::object& progress, const F& f)
    {
        const Inside inside(*this);
        return runCall(progress, [&] { return f(pMesh); });
    }

    // The same for what leaves the mesh as it is.
    template <class F>
    auto read(const F& f)
    {
        const Inside inside(*this);
        const pybind11::gil_scoped_release release;
        return f(pMesh);
    }

private:
    // The right to be inside, from its constructor to its destructor.
    class Inside
    {
    public:
        explicit Inside(MeshHandle& handle_);
        ~Inside();
        Inside(const Inside&) = delete;
        Inside& operator=(const Inside&) = delete;

    private:
        MeshHandle& handle;
    };

    // In the order of their indices. Only while inside.
    std::vector<TESK_ZAN::Point3*> points() const;

    std::shared_ptr<TESK_ZAN::Mesh> pMesh;
    std::mutex lock; // waited for without the interpreter's lock, so the two never wait for each other
    std::atomic<std::thread::id> idInside{};
};
