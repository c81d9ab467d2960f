#include "Progress.h"

#include "zanAssert.h"

#include <algorithm>
#include <cmath>
#include <thread>
#include <vector>

namespace TESK_ZAN
{

namespace
{

constexpr double NUM_NOTIFICATIONS = 200.0; // aimed at, over a whole tree
constexpr double UNKNOWN_WEIGHT = 10.0;     // of a phase that the tree did not foresee
constexpr const char* NO_TREE = "empty";

// The roots of all threads, of ended ones too: the system gives their ids out again, so the map is never
// larger than the most threads that were alive at a time.
struct RootRegistry {
    std::mutex lock; // guards the map alone: never held while a root is locked
    std::map<std::thread::id, std::unique_ptr<Progress>> mThreadRoot;
};

RootRegistry& rootRegistry()
{
    static auto* pRegistry = new RootRegistry; // never deleted: threads and static subscribers end after it
    return *pRegistry;
}

// Binds a root to the life of its thread: at both ends the root has no tree and no subscriber.
struct RootOfThread {
    Progress* pRoot;

    RootOfThread() : pRoot(findOrMake()) { reset(); }
    ~RootOfThread() { reset(); }
    RootOfThread(const RootOfThread&) = delete;
    RootOfThread& operator=(const RootOfThread&) = delete;

    static Progress* findOrMake()
    {
        RootRegistry& registry = rootRegistry();
        const std::lock_guard<std::mutex> guard(registry.lock);
        std::unique_ptr<Progress>& pSlot = registry.mThreadRoot[std::this_thread::get_id()];
        if (pSlot == nullptr)
            pSlot = std::make_unique<Progress>(NO_TREE, 1.0);
        return pSlot.get();
    }

    void reset()
    {
        pRoot->setSubscriber(nullptr);
        pRoot->clear();
    }
};

} // namespace

ProgressBase::ProgressBase() = default;
ProgressBase::ProgressBase(const ProgressBase&) = default;
ProgressBase& ProgressBase::operator=(const ProgressBase&) = default;

ProgressBase::~ProgressBase()
{
    // The roots are told after the registry is free again: one of them may be inside a subscriber's call that
    // needs the registry to end.
    std::vector<Progress*> vRoots;
    {
        RootRegistry& registry = rootRegistry();
        const std::lock_guard<std::mutex> guard(registry.lock);
        for (const auto& [id, pRoot] : registry.mThreadRoot)
            vRoots.push_back(pRoot.get());
    }
    for (Progress* pRoot : vRoots)
        pRoot->dropSubscriber(this);
}

Progress* getRootProgress()
{
    thread_local RootOfThread root;
    return root.pRoot;
}

Progress::Progress(const std::string& nameGiven, double weightGiven) : name(nameGiven), weight(weightGiven) {}

std::string Progress::getName() const
{
    return name;
}

void Progress::setName(const std::string& nameGiven)
{
    name = nameGiven;
}

void Progress::createChild(const std::string& nameChild, double weightChild)
{
    zanAssertText(this->name != NO_TREE, "this->name!=\"empty\"");
    const std::lock_guard<std::recursive_mutex> guard(lock);
    std::unique_ptr<Progress>& pKid = mNameKids[nameChild];
    if (pKid != nullptr)
        return;
    pKid = std::make_unique<Progress>(nameChild, weightChild);
    pKid->pParent = this;
}

Progress* Progress::getChildProgressSetTodo(const std::string& nameChild, u64 numTodoChild)
{
    const std::lock_guard<std::recursive_mutex> guard(lock);
    numTodo = std::max<u64>(numTodo, 1);
    if (mNameKids.find(nameChild) == mNameKids.end())
        createChild(nameChild, UNKNOWN_WEIGHT);
    Progress* pKid = mNameKids[nameChild].get();
    const std::lock_guard<std::recursive_mutex> guardKid(pKid->lock);
    if (pKid->numDone == 0) {
        pKid->setTodo(numTodoChild);
        return pKid;
    }
    const double fraction = pKid->getFraction();
    const u64 total = numTodoChild + pKid->numDone;
    // below 1.0 the product stays below 2^64, above it would not fit into an integer
    pKid->numDone = fraction < 1.0 ? u64(double(total) * fraction) : total;
    pKid->setTodo(total);
    return pKid;
}

// With the locks of the parent and of this node held.
void Progress::setTodo(u64 n)
{
    numTodo = n;
    if (numDone == 0)
        setNotifyStep(n);
    notifyStep = std::max<u64>(notifyStep, 1);
}

// A step of the tree is about 1/200 of the whole, so a phase with a small weight notifies rarely per step of
// its own.
void Progress::setNotifyStep(u64 n)
{
    if (pParent == nullptr || !(weight > 0.0)) {
        notifyStep = n / u64(NUM_NOTIFICATIONS);
        return;
    }
    double sumWeights = 0.0;
    for (const auto& [nameSibling, pSibling] : pParent->mNameKids)
        sumWeights += pSibling->weight;
    if (!(sumWeights > 0.0))
        return;
    double step = std::ceil((double(n) / NUM_NOTIFICATIONS) * (sumWeights / weight));
    if (!(step <= double(n)))
        step = std::ceil(double(n) * 0.75); // at least once before the end
    notifyStep = step < double(n) ? u64(step) : n;
}

void Progress::notifyAfterTick()
{
    {
        const std::lock_guard<std::recursive_mutex> guard(lock);
        sinceNotify = 0;
    }
    notify();
}

void Progress::tickN(u64 n)
{
    numDone += n;
    sinceNotify += n;
    if (sinceNotify >= notifyStep || numDone == numTodo)
        notifyAfterTick();
}

// Walks up without locks, which pParent does not need: holding one here would break the order from the root
// to the leaves.
void Progress::notify()
{
    Progress* pRoot = this;
    while (pRoot->pParent != nullptr)
        pRoot = pRoot->pParent;
    pRoot->notifySubscriber();
}

void Progress::notifySubscriber()
{
    const std::lock_guard<std::recursive_mutex> guard(lock);
    const double fraction = getFraction();
    if (fraction == lastValue)
        return;
    lastValue = fraction;
    if (ProgressBase* p = pSubscriber)
        p->progressChanged(name, fraction);
}

double Progress::getFraction() const
{
    const std::lock_guard<std::recursive_mutex> guard(lock);
    if (numTodo == 0)
        return 1.0;
    if (mNameKids.empty())
        return std::min(1.0, double(numDone) / double(numTodo));
    double sum = 0.0;
    double sumWeights = 0.0;
    for (const auto& [nameKid, pKid] : mNameKids) {
        sum += pKid->weight * pKid->getFraction();
        sumWeights += pKid->weight;
    }
    return sumWeights > 0.0 ? std::clamp(sum / sumWeights, 0.0, 1.0) : 0.0;
}

void Progress::finish(bool bNotify)
{
    {
        const std::lock_guard<std::recursive_mutex> guard(lock);
        if (mNameKids.empty())
            numDone = numTodo;
        for (const auto& [nameKid, pKid] : mNameKids)
            pKid->finish(false);
    }
    if (bNotify)
        notify();
}

void Progress::clear()
{
    const std::lock_guard<std::recursive_mutex> guard(lock);
    for (const auto& [nameKid, pKid] : mNameKids)
        pKid->setName("invalid"); // shows up in a debugger where a stage kept the pointer
    mNameKids.clear();
    name = NO_TREE;
    numTodo = 1;
    numDone = 0;
    notifyStep = 1;
    sinceNotify = 0;
    lastValue = -1.0;
}

void Progress::setSubscriber(ProgressBase* p)
{
    const std::lock_guard<std::recursive_mutex> guard(lock);
    pSubscriber = p;
}

void Progress::dropSubscriber(const ProgressBase* p)
{
    if (pSubscriber != p)
        return;
    const std::lock_guard<std::recursive_mutex> guard(lock);
    if (pSubscriber == p)
        pSubscriber = nullptr;
}

} // namespace TESK_ZAN
