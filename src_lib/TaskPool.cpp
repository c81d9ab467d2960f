#include "TaskPool.h"

#include "messages.h"

#include <algorithm>
#include <map>
#include <string>
#include <system_error>
#include <utility>

namespace TESK_ZAN
{

namespace
{

thread_local int layerOfThread = 0;

int numHardwareThreads()
{
    return std::clamp(int(std::thread::hardware_concurrency()), 1, MAX_NUM_CPU); // 0: not known
}

struct PoolRegistry {
    std::mutex lock;
    std::map<int, std::shared_ptr<TaskPool>> mLayerPool;
};

PoolRegistry& poolRegistry()
{
    static auto* pRegistry = new PoolRegistry; // never deleted: see getTaskPool
    return *pRegistry;
}

} // namespace

int setNumCPU(int n)
{
    static std::atomic<int> numCPU(numHardwareThreads());
    if (n > MAX_NUM_CPU) {
        ZAN_WARNING("numCPU=" + std::to_string(n) + " is too large, " + std::to_string(MAX_NUM_CPU) +
                    " is used");
        n = MAX_NUM_CPU;
    }
    if (n >= 0)
        numCPU = n == 0 ? numHardwareThreads() : n;
    return numCPU;
}

int getNumCPU()
{
    return setNumCPU(-1);
}

TaskPool::TaskPool(int layerOfPool, int numThreads) : layer(layerOfPool)
{
    resize(numThreads);
}

TaskPool::~TaskPool()
{
    stop(true);
}

void TaskPool::enqueue(Task task)
{
    {
        const std::lock_guard<std::mutex> guard(lock);
        if (!vWorkers.empty()) {
            queue.push_back(std::move(task));
            condition.notify_one();
            return;
        }
    }
    task(0);
}

void TaskPool::resize(int n)
{
    const std::lock_guard<std::mutex> guard(resizeLock);
    if (isDone)
        return;
    joinRetired(false);
    const size_t numWanted = size_t(std::max(n, 1));
    const size_t numNow = size_t(size());
    if (numWanted > numNow)
        grow(numWanted);
    else if (numWanted < numNow)
        shrink(numWanted);
}

void TaskPool::grow(size_t n)
{
    for (size_t id = size_t(size()); id < n; ++id) {
        Worker worker;
        worker.flagStop = std::make_shared<std::atomic<bool>>(false);
        worker.flagLeft = std::make_shared<std::atomic<bool>>(false);
        const std::lock_guard<std::mutex> guard(lock); // the new worker waits here for its first look
        vWorkers.reserve(n);
        try {
            worker.thread = std::thread([this, id, flagStop = worker.flagStop, flagLeft = worker.flagLeft] {
                workerLoop(int(id), *flagStop);
                *flagLeft = true;
            });
        } catch (const std::system_error&) {
            if (!std::exchange(bRefused, true))
                ZAN_WARNING("the system gives " + std::to_string(id) + " of " + std::to_string(n) +
                            " threads");
            return;
        }
        vWorkers.push_back(std::move(worker));
    }
}

void TaskPool::shrink(size_t n)
{
    vRetired.reserve(vRetired.size() + size_t(size()) - n);
    const std::lock_guard<std::mutex> guard(lock);
    while (vWorkers.size() > n) {
        *vWorkers.back().flagStop = true;
        vRetired.push_back(std::move(vWorkers.back()));
        vWorkers.pop_back();
    }
    condition.notify_all();
}

void TaskPool::joinRetired(bool bAll)
{
    std::erase_if(vRetired, [bAll](Worker& worker) {
        const bool bJoin = bAll || *worker.flagLeft;
        if (bJoin)
            worker.thread.join();
        return bJoin;
    });
}

void TaskPool::stop(bool isWait)
{
    const std::lock_guard<std::mutex> guard(resizeLock);
    std::vector<Worker> vEnding;
    std::deque<Task> vDropped; // goes after the lock: the end of a task may run a destructor of the caller's
    {
        const std::lock_guard<std::mutex> guardQueue(lock);
        isDone = true;
        vEnding.swap(vWorkers);
        if (!isWait) {
            for (const Worker& worker : vEnding)
                *worker.flagStop = true;
            vDropped.swap(queue);
        }
        condition.notify_all();
    }
    for (Worker& worker : vEnding)
        worker.thread.join();
    joinRetired(true);
}

int TaskPool::size() const
{
    const std::lock_guard<std::mutex> guard(lock);
    return int(vWorkers.size());
}

void TaskPool::workerLoop(int id, const std::atomic<bool>& flagStop)
{
    layerOfThread = layer + 1;
    Task task;
    while (nextTask(task, flagStop)) {
        task(id);
        task = nullptr; // what it owns goes now, not at the next task
        if (flagStop)
            return;
    }
}

// False when the worker is to end. Looks at the queue and waits under one lock, so no notification gets lost.
bool TaskPool::nextTask(Task& task, const std::atomic<bool>& flagStop)
{
    std::unique_lock<std::mutex> guard(lock);
    ++nWaiting;
    condition.wait(guard, [&] { return !queue.empty() || isDone || flagStop; });
    --nWaiting;
    if (queue.empty())
        return false;
    task = std::move(queue.front());
    queue.pop_front();
    return true;
}

std::shared_ptr<TaskPool> shareTaskPool()
{
    PoolRegistry& registry = poolRegistry();
    const std::lock_guard<std::mutex> guard(registry.lock);
    std::shared_ptr<TaskPool>& pPool = registry.mLayerPool[layerOfThread];
    if (pPool == nullptr)
        pPool = std::make_shared<TaskPool>(layerOfThread, getNumCPU());
    else if (pPool->size() != getNumCPU())
        pPool->resize(getNumCPU());
    return pPool;
}

TaskPool* getTaskPool(bool bDestroy)
{
    if (!bDestroy)
        return shareTaskPool().get();
    std::map<int, std::shared_ptr<TaskPool>> mGone; // ends after the lock: a task may need it to end
    PoolRegistry& registry = poolRegistry();
    const std::lock_guard<std::mutex> guard(registry.lock);
    mGone.swap(registry.mLayerPool);
    return nullptr;
}

} // namespace TESK_ZAN
