// Subsystem: runtime. Builds on: ProgressBase, zanAssert. Used by: every stage, progressTrees, Hal, Mesh.
// A tree of named phases with relative weights. Stages count their own steps in a phase that they open by
// name; the weighted mean of the leaves is the number that the subscriber of the thread's root gets.
#pragma once

#include "ProgressBase.h"
#include "definitions.h"

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace TESK_ZAN
{

// Order of calls, for a main call: clear on the root, setName, createChild for each phase; the stages call
// getChildProgressSetTodo, tick, finish(true); at the end the root gets finish(true) and clear. Whatever can
// throw in between needs a guard that clears the root.
//
// Invariants:
// 1. A root without a tree has the name "empty"; a node of that name never gets a child.
// 2. Only the thread of the root touches a tree. Other threads reach no more than a root's subscriber, when a
//    subscriber dies.
// 3. Locks are taken from the root towards the leaves, never upwards, so they cannot wait for each other.
// 4. A node lives until clear() of an ancestor: a stage keeps no Progress* beyond its own run.
class Progress
{
public:
    // A root. Its children make themselves known with createChild only.
    Progress(const std::string& nameGiven, double weightGiven);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    std::string getName() const;
    void setName(const std::string& nameGiven);

    // Adds a phase; one that exists stays as it is, its weight too. Fails on a node with the name "empty".
    void createChild(const std::string& nameChild, double weightChild);

    // Opens a phase of numTodo steps and returns it. One that is missing is made with weight 10.0, so a stage
    // works in every tree. One that has steps done already keeps its fraction, but for the truncation to
    // whole steps, and gets numTodo steps more. O(number of siblings).
    Progress* getChildProgressSetTodo(const std::string& nameChild, u64 numTodoChild);

    // One step. Made for loops over millions of items: no lock and no call, but for every notifyStep-th.
    void tick()
    {
        if (numDone == numTodo) // a phase opened again starts complete: its fraction stays, nothing to tell
            return;
        ++numDone;
        ++sinceNotify;
        if (numDone > numTodo)
            numDone = numTodo;
        if (sinceNotify >= notifyStep || numDone == numTodo)
            notifyAfterTick();
    }

    // n steps. Not capped: beyond the end the fraction stays 1.0, and the notification of the end comes from
    // finish.
    void tickN(u64 n);

    // Sets all leaves of this subtree to complete, and tells the subscriber if bNotify.
    void finish(bool bNotify);

    // Turns a root back into an empty tree. All nodes below are deleted, the subscriber stays. Never throws.
    void clear();

    // 0.0 to 1.0. The weighted mean over the children, 0.0 if their weights sum up to nothing. O(subtree).
    double getFraction() const;

    // Only of use on a root. Null takes the subscriber off. Not owned.
    void setSubscriber(ProgressBase* p);

    // Takes p off this root if it is its subscriber; the one call that any thread may make. Waits only if p
    // is being called.
    void dropSubscriber(const ProgressBase* p);

    u64 getNumTodo() const { return numTodo; }
    u64 getNumDone() const { return numDone; }
    u64 getNotifyStep() const { return notifyStep; }

private:
    void setTodo(u64 n);
    void setNotifyStep(u64 n);
    void notifyAfterTick();
    void notify();
    void notifySubscriber();

    std::map<std::string, std::unique_ptr<Progress>> mNameKids;
    std::string name;
    double weight;
    std::atomic<ProgressBase*> pSubscriber{
        nullptr};                // atomic, so that dropSubscriber can look without the lock
    Progress* pParent = nullptr; // null on a root; never changes once the node is in a tree
    mutable std::recursive_mutex lock;
    u64 numTodo = 1;
    u64 numDone = 0;
    u64 notifyStep = 1;      // steps between notifications
    u64 sinceNotify = 0;     // steps since the last one
    double lastValue = -1.0; // the last fraction sent
};

// The calling thread's root, made on first use with the name "empty". A thread always starts without tree and
// subscriber, also when the system gives it the id of one that has ended. The pointer stays valid for the
// rest of the thread.
Progress* getRootProgress();

} // namespace TESK_ZAN
