// Subsystem: runtime. Builds on: TaskPool, zanAssert. Used by: all stages with large vectors.
// The parallel primitives: sort, loops over a vector, transforms. A caller sees a call that returns when all
// of the work is done.
//
// For all of them: below MIN_PARALLEL elements, or with a thread count of 1, everything runs on the calling
// thread. Functors and comparators are shared by the workers, so they must be safe to call from several
// threads at once; they do not tick progress and do not take from a pool of records. Results do not depend on
// the thread count, as long as the functor looks at its element alone. An exception of a functor is rethrown
// on the calling thread once all tasks of the round have ended; of several, the one of the lowest range.
#pragma once

#include "TaskPool.h"
#include "zanAssert.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <functional>
#include <future>
#include <iterator>
#include <memory>
#include <numeric>
#include <type_traits>
#include <vector>

namespace TESK_ZAN
{

constexpr size_t MIN_PARALLEL = 1000;

// Some tasks that run side by side on the pool of this layer, and are all over before their storage goes.
//
// An exception is kept here and not in the task's future: a worker lets go of a future only after it is
// ready, so the exception could end on the worker while the caller is still about to look at it. Here the
// worker has let go before, and the exception lives and ends on the calling thread.
class TaskRound
{
public:
    explicit TaskRound(size_t numTasks) : pPool(shareTaskPool()), vErrors(numTasks)
    {
        vFutures.reserve(numTasks);
    }

    // Nobody may leave while a task still uses the caller's stack.
    ~TaskRound() { waitForAll(); }
    TaskRound(const TaskRound&) = delete;
    TaskRound& operator=(const TaskRound&) = delete;

    // The task is called in place; it must live until the end of this object. At most numTasks of them.
    template <class Task>
    void push(Task& task)
    {
        std::exception_ptr& error = vErrors[vFutures.size()];
        vFutures.push_back(pPool->push([&task, &error](int idWorker) {
            try {
                task(idWorker);
            } catch (...) {
                error = std::current_exception();
            }
        }));
    }

    // Waits for all tasks, then throws the exception of the first that has one.
    void finish()
    {
        finish([] {});
    }

    // The same, and calls onDone() for each task as soon as it and all before it are over.
    template <class F>
    void finish(F onDone)
    {
        for (std::future<void>& future : vFutures) {
            future.wait();
            onDone();
        }
        for (const std::exception_ptr& error : vErrors)
            if (error != nullptr)
                std::rethrow_exception(error);
    }

private:
    void waitForAll()
    {
        for (std::future<void>& future : vFutures)
            future.wait();
    }

    std::shared_ptr<TaskPool> pPool;
    std::vector<std::exception_ptr> vErrors; // by task; not resized, since workers write into it
    std::vector<std::future<void>> vFutures;
};

// ---- sort ------------------------------------------------------------------------------------------------

// Moves the elements before the pivot to the front; split is where the others begin.
template <class Iter, class Cmp>
struct PartitionTask2 {
    using Value = typename std::iterator_traits<Iter>::value_type;
    Iter first;
    Iter last;
    const Cmp& cmp;
    Value pivot;
    Iter split;

    int operator()(int)
    {
        split = std::partition(first, last, [this](const Value& value) { return cmp(value, pivot); });
        return 0;
    }
};

template <class Iter, class Cmp>
struct SortTask2 {
    Iter first;
    Iter last;
    const Cmp& cmp;

    int operator()(int)
    {
        std::sort(first, last, cmp);
        return 0;
    }
};

// A value near the middle of the range: the median of 1000 to 1999 elements taken at even steps, of all
// elements if there are fewer. An empty range gives the value at first, which must be readable then.
template <class Iter, class Cmp>
typename std::iterator_traits<Iter>::value_type estimateMid2(Iter first, Iter last, const Cmp& cmp)
{
    using Difference = typename std::iterator_traits<Iter>::difference_type;
    if (first == last)
        return *first;
    constexpr Difference GOAL = 1000;
    const Difference n = last - first;
    const Difference step = std::max<Difference>(1, n / GOAL);
    std::vector<typename std::iterator_traits<Iter>::value_type> vSample;
    vSample.reserve(size_t((n - 1) / step + 1));
    for (Difference i = 0; i < n; i += step)
        vSample.push_back(first[i]);
    zanAssert(!vSample.empty());
    std::sort(vSample.begin(), vSample.end(), cmp);
    return vSample[vSample.size() / 2];
}

template <class Iter>
struct SortRange {
    Iter first;
    Iter last;
};

// One level of partitions: two ranges for each one, all elements of a range before those of the next. An
// empty range gives two empty ones, so the number always doubles.
template <class Iter, class Cmp>
std::vector<SortRange<Iter>> splitRanges(const std::vector<SortRange<Iter>>& vRanges, const Cmp& cmp)
{
    std::vector<PartitionTask2<Iter, Cmp>> vTasks;
    vTasks.reserve(vRanges.size());
    for (const SortRange<Iter>& range : vRanges)
        if (range.first != range.last)
            vTasks.push_back(
                {range.first, range.last, cmp, estimateMid2(range.first, range.last, cmp), range.last});
    TaskRound round(vTasks.size());
    for (PartitionTask2<Iter, Cmp>& task : vTasks)
        round.push(task);
    round.finish();

    std::vector<SortRange<Iter>> vHalves;
    vHalves.reserve(2 * vRanges.size());
    size_t indexTask = 0;
    for (const SortRange<Iter>& range : vRanges) {
        const Iter split = range.first == range.last ? range.last : vTasks[indexTask++].split;
        vHalves.push_back({range.first, split});
        vHalves.push_back({split, range.last});
    }
    return vHalves;
}

// Sorts [first, last) by cmp, a strict weak order. Not stable: where the order of equal elements can be
// observed, cmp must compare the whole record. Partitions the range by sampled pivots until there is a range
// for each thread, then sorts these; there is nothing to merge. O(n log n); uneven ranges (many equal
// elements) cost balance only.
template <class Iter, class Cmp>
void sortMT(Iter first, Iter last, Cmp cmp)
{
    const int numCPU = getNumCPU();
    const size_t vectorSize = size_t(last - first);
    if (numCPU < 2 || vectorSize < MIN_PARALLEL) {
        std::sort(first, last, cmp);
        return;
    }
    std::vector<SortRange<Iter>> vRanges = {{first, last}};
    while (vRanges.size() < size_t(numCPU))
        vRanges = splitRanges(vRanges, cmp);

    std::vector<SortTask2<Iter, Cmp>> vTasks;
    vTasks.reserve(vRanges.size());
    size_t sumSize = 0;
    for (const SortRange<Iter>& range : vRanges) {
        sumSize += size_t(range.last - range.first);
        if (range.first != range.last)
            vTasks.push_back({range.first, range.last, cmp});
    }
    zanAssert(sumSize == vectorSize);
    TaskRound round(vTasks.size());
    for (SortTask2<Iter, Cmp>& task : vTasks)
        round.push(task);
    round.finish();
}

template <class Iter>
void sortMT(Iter first, Iter last)
{
    sortMT(first, last, std::less<typename std::iterator_traits<Iter>::value_type>());
}

// Sorts, and leaves one of equal elements.
template <class T>
void sortUniqueMT(std::vector<T>& v)
{
    sortMT(v.begin(), v.end());
    v.erase(std::unique(v.begin(), v.end()), v.end());
}

// ---- loops over parts of a range -------------------------------------------------------------------------

// The tasks of one call, each for the elements [start, end) of a range.

template <class F>
struct RangeTask {
    size_t start;
    size_t end;
    F& f;

    int operator()(int)
    {
        f(start, end);
        return 0;
    }
};

template <class T, class F>
struct ForEachTask {
    size_t start;
    size_t end;
    std::vector<T>& v;
    F& f;

    int operator()(int)
    {
        for (size_t i = start; i < end; ++i)
            f(v[i]);
        return 0;
    }
};

template <class In, class Out, class F>
struct TransformTask {
    size_t start;
    size_t end;
    const std::vector<In>& in;
    std::vector<Out>& out;
    F& f;

    int operator()(int)
    {
        for (size_t i = start; i < end; ++i)
            out[i] = f(in[i]);
        return 0;
    }
};

template <class In, class Out, class F>
struct TransformTask_N {
    size_t start;
    size_t end;
    const std::vector<In>& in;
    Out* pOut; // where the results of element 0 begin
    F& f;
    size_t numResults;

    int operator()(int)
    {
        for (size_t i = start; i < end; ++i)
            f(in[i], pOut + i * numResults);
        return 0;
    }
};

// Cuts 0 .. n into about two parts a thread, which gives some balance where the work is uneven, and runs
// makeTask(start, end) of each; in one part on the calling thread where that is not worth it.
template <class MakeTask>
void runInParts(size_t n, const MakeTask& makeTask)
{
    const int numCPU = getNumCPU();
    if (n == 0)
        return;
    if (numCPU < 2 || n < MIN_PARALLEL) {
        makeTask(size_t{0}, n)(0);
        return;
    }
    const size_t numWanted = size_t(numCPU) * 2;
    const size_t chunkSize = std::max<size_t>(1, n / numWanted);
    std::vector<std::invoke_result_t<MakeTask, size_t, size_t>> vTasks;
    vTasks.reserve((n - 1) / chunkSize + 1);
    for (size_t start = 0; start < n; start += chunkSize)
        vTasks.push_back(makeTask(start, std::min(start + chunkSize, n)));
    TaskRound round(vTasks.size());
    for (auto& task : vTasks)
        round.push(task);
    round.finish();
}

// f(begin, end) on disjoint parts that cover 0 .. n, in no promised order; for writes to disjoint places.
// Where the parts begin depends on the thread count. Not called for n == 0.
template <class F>
void forRangeMT(size_t n, F f)
{
    runInParts(n, [&f](size_t start, size_t end) { return RangeTask<F>{start, end, f}; });
}

// The sum of f(element), block by block: the same for every thread count. f runs on all threads.
template <class T, class F>
double sumMT(const std::vector<T>& v, F f)
{
    constexpr size_t BLOCK_SIZE = 1024;
    std::vector<double> vSums((v.size() + BLOCK_SIZE - 1) / BLOCK_SIZE, 0.0);
    forRangeMT(vSums.size(), [&](size_t firstBlock, size_t endBlock) {
        for (size_t block = firstBlock; block < endBlock; ++block)
            for (size_t i = block * BLOCK_SIZE; i < std::min((block + 1) * BLOCK_SIZE, v.size()); ++i)
                vSums[block] += f(v[i]);
    });
    return std::accumulate(vSums.begin(), vSums.end(), 0.0);
}

// f(begin, end) on slices of a given length, and onDone() on the calling thread after each of them, in order:
// for stages that tell their progress.
template <class F, class OnDone>
void forSlicesMT(size_t n, size_t sliceSize, F f, OnDone onDone)
{
    zanAssert(sliceSize > 0);
    std::vector<RangeTask<F>> vTasks;
    for (size_t start = 0; start < n; start += sliceSize)
        vTasks.push_back({start, std::min(start + sliceSize, n), f});
    if (getNumCPU() < 2 || n < MIN_PARALLEL) {
        for (RangeTask<F>& task : vTasks) {
            task(0);
            onDone();
        }
        return;
    }
    TaskRound round(vTasks.size());
    for (RangeTask<F>& task : vTasks)
        round.push(task);
    round.finish(onDone);
}

// What f(begin, end, vOut) appends, on slices as above: a list for each, in order.
template <class Out, class F>
std::vector<std::vector<Out>> collectMT(size_t n, size_t sliceSize, F f)
{
    zanAssert(sliceSize > 0);
    std::vector<std::vector<Out>> vvOut((n + sliceSize - 1) / sliceSize);
    forSlicesMT(
        n, sliceSize, [&](size_t begin, size_t end) { f(begin, end, vvOut[begin / sliceSize]); }, [] {});
    return vvOut;
}

// Both, fBeside on another thread; this one runs f, which may use all primitives of this file.
template <class FBeside, class F>
void besideMT(FBeside fBeside, F f)
{
    if (getNumCPU() < 2) {
        fBeside();
        f();
        return;
    }
    const auto task = [&fBeside](int) { fBeside(); };
    TaskRound round(1);
    round.push(task);
    f();
    round.finish();
}

// f(T&) on every element, each a task of its own however few there are: for elements of much work. onDone()
// on the calling thread after each of them, in order.
template <class T, class F, class OnDone>
void forBlocksMT(std::vector<T>& vBlocks, F f, OnDone onDone)
{
    if (getNumCPU() < 2 || vBlocks.size() < 2) {
        for (T& block : vBlocks) {
            f(block);
            onDone();
        }
        return;
    }
    std::vector<ForEachTask<T, F>> vTasks;
    vTasks.reserve(vBlocks.size());
    for (size_t i = 0; i < vBlocks.size(); ++i)
        vTasks.push_back({i, i + 1, vBlocks, f});
    TaskRound round(vTasks.size());
    for (ForEachTask<T, F>& task : vTasks)
        round.push(task);
    round.finish(onDone);
}

// f(T&) on every element.
template <class T, class F>
void forEachMT(std::vector<T>& v, F f)
{
    static_assert(!std::is_same_v<T, bool>, "neighbours in a vector of bool share a byte");
    runInParts(v.size(), [&](size_t start, size_t end) { return ForEachTask<T, F>{start, end, v, f}; });
}

// out[i] = f(in[i]); out is resized to in.size(). out may be in itself. Out must be default-constructible.
template <class In, class Out, class F>
void transformMT(const std::vector<In>& in, std::vector<Out>& out, F f)
{
    static_assert(!std::is_same_v<Out, bool>, "neighbours in a vector of bool share a byte");
    out.resize(in.size());
    runInParts(in.size(), [&](size_t start, size_t end) {
        return TransformTask<In, Out, F>{start, end, in, out, f};
    });
}

// f(const In&, Out* p) writes N results to p[0] .. p[N-1]; they are appended to out in the order of in, N for
// each element. out must be another vector than in. N must be above 0.
template <class In, class Out, class F>
void transformMT_N(const std::vector<In>& in, std::vector<Out>& out, F f, int N)
{
    static_assert(!std::is_same_v<Out, bool>, "neighbours in a vector of bool share a byte");
    zanAssert(N > 0);
    const size_t oldSize = out.size();
    const size_t numResults = size_t(N);
    out.resize(oldSize + numResults * in.size());
    Out* pOut = out.data() + oldSize;
    runInParts(in.size(), [&](size_t start, size_t end) {
        return TransformTask_N<In, Out, F>{start, end, in, pOut, f, numResults};
    });
}

// The elements with pred(const T&), in their order.
template <class T, class Pred>
std::vector<T> selectMT(const std::vector<T>& v, Pred pred)
{
    std::vector<char> vChosen;
    transformMT(v, vChosen, [&pred](const T& value) -> char { return pred(value) ? 1 : 0; });
    std::vector<T> vSelected;
    for (size_t i = 0; i < v.size(); ++i)
        if (vChosen[i] != 0)
            vSelected.push_back(v[i]);
    return vSelected;
}

} // namespace TESK_ZAN
