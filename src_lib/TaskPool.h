// Subsystem: runtime. Builds on: messages. Used by: sortMT, zan_api_functions, Cloud.
// The worker threads, and the process-wide thread count. What runs on them goes through sortMT.h.
#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <thread>
#include <type_traits>
#include <vector>

namespace TESK_ZAN
{

// The most threads that setNumCPU grants.
constexpr int MAX_NUM_CPU = 256;

// The thread count of the process, and the one accessor to it: n > 0 sets it (above MAX_NUM_CPU: to that,
// with a warning), 0 resets it to the number of hardware threads, which is also its first value, n < 0 only
// reads. Returns the value. From any thread; takes effect on the next parallel call.
int setNumCPU(int n);
int getNumCPU();

// Workers that take tasks from one queue, first in, first out. push, resize and the getters may be called
// from any thread; stop and the destructor only when nobody else uses the pool, and not from one of its own
// tasks.
class TaskPool
{
public:
    // numThreads workers that set their own layer to layerOfPool + 1.
    TaskPool(int layerOfPool, int numThreads);
    ~TaskPool(); // stop(true)
    TaskPool(const TaskPool&) = delete;
    TaskPool& operator=(const TaskPool&) = delete;

    // Queues a callable that takes the worker's id. The future holds its result or exception. With
    // std::ref(task) the caller keeps the task alive until the future is ready. A pool that has no worker
    // (stopped, or the system gave no thread) runs the task at once, on the calling thread.
    template <class F>
    auto push(F&& f) -> std::future<std::invoke_result_t<F&, int>>
    {
        using Result = std::invoke_result_t<F&, int>;
        auto pTask = std::make_shared<std::packaged_task<Result(int)>>(std::forward<F>(f));
        std::future<Result> result = pTask->get_future();
        enqueue([pTask](int id) { (*pTask)(id); });
        return result;
    }

    // Changes the number of workers, to 1 at least. Surplus workers end their task first; this does not wait
    // for them. If the system refuses a thread, the pool stays smaller than asked for.
    void resize(int n);

    // Ends all workers and waits for them. With isWait the queue is run empty before. Without, waiting tasks
    // are dropped, and their futures throw std::future_error.
    void stop(bool isWait);

    int size() const;
    int getNumWaiting() const { return nWaiting; } // workers without work

private:
    using Task = std::function<void(int)>;
    using Flag = std::shared_ptr<std::atomic<bool>>;

    struct Worker {
        std::thread thread;
        Flag flagStop; // set by the pool: end after this task
        Flag flagLeft; // set by the worker: nothing but the join is left
    };

    void enqueue(Task task);
    void grow(size_t n);
    void shrink(size_t n);
    void joinRetired(bool bAll);
    void workerLoop(int id, const std::atomic<bool>& flagStop);
    bool nextTask(Task& task, const std::atomic<bool>& flagStop);

    std::vector<Worker> vWorkers;
    std::vector<Worker> vRetired; // told to end by resize, not yet joined
    std::deque<Task> queue;
    std::atomic<bool> isDone{false}; // drain the queue, then end; changes under both locks
    std::atomic<int> nWaiting{0};
    bool bRefused = false;   // the system gave fewer threads than asked for, and that was said
    mutable std::mutex lock; // guards queue, isDone and vWorkers; waiting workers look at them under it
    std::mutex resizeLock;   // guards vRetired and bRefused: one resize at a time; taken before lock
    std::condition_variable condition;
    const int layer;
};

// The pool of the calling thread's nesting layer: 0 on host threads, L + 1 on a worker of a pool of layer L.
// So a task that makes a parallel call itself never waits behind itself in a queue. Made on first use,
// brought to getNumCPU() workers on every call. Whoever holds the pointer keeps the pool alive; at the last
// one's end the workers are joined.
std::shared_ptr<TaskPool> shareTaskPool();

// bDestroy false: shareTaskPool() as a plain pointer, valid until somebody destroys the pools.
// bDestroy true: takes all pools out of use, ends those that nobody holds (the others end with the call that
// uses them), and returns null. The next parallel call makes new ones. Not from inside a task.
//
// Pools that are still there at the end of the process are left to the system: a join at that point could
// wait for threads that a fork or an exit from within a task has taken away. A host that unloads the library
// calls destroySingletons first.
TaskPool* getTaskPool(bool bDestroy);

} // namespace TESK_ZAN
