#include "sparse/numeric/tiles/task_pool.hpp"

namespace ovrelin {

namespace {

using std::int32_t;

constexpr int32_t none = -1;

/// Links the records from `begin` on into the free list, which must be empty.
void freeFrom(TaskPool& tasks, int32_t begin) {
    const auto end = static_cast<int32_t>(tasks.link.size());
    for (int32_t t = begin; t < end; ++t) tasks.link[t] = t + 1 < end ? t + 1 : none;
    tasks.firstFree = begin < end ? begin : none;
}

bool grow(TaskPool& tasks) {
    const std::size_t before = tasks.link.size();
    const std::size_t wanted = before == 0 ? 1 : 2 * before;
    // The links tell the size: a refusal between the two leaves a pool that works.
    if (!isOk(tasks.task.resize(nullptr, wanted)) || !isOk(tasks.link.resize(nullptr, wanted)))
        return false;
    freeFrom(tasks, static_cast<int32_t>(before));
    return true;
}

void count(TaskPool& tasks, int32_t change) {
    __atomic_add_fetch(&tasks.numReady, change, __ATOMIC_RELAXED);
}

}  // namespace

void resetTasks(TaskPool& tasks) {
    freeFrom(tasks, 0);
    for (int p = 0; p < numPriorities; ++p) tasks.first[p] = tasks.last[p] = none;
    tasks.numReady = 0;
}

bool pushTask(TaskPool& tasks, int priority, const TileTask& task) {
    if (tasks.firstFree == none && !grow(tasks)) return false;
    const int32_t t = tasks.firstFree;
    tasks.firstFree = tasks.link[t];
    tasks.task[t] = task;
    tasks.link[t] = none;
    if (tasks.last[priority] == none)
        tasks.first[priority] = t;
    else
        tasks.link[tasks.last[priority]] = t;
    tasks.last[priority] = t;
    count(tasks, 1);
    return true;
}

void unlinkTask(TaskPool& tasks, int priority, int32_t before, int32_t t) {
    const int32_t next = tasks.link[t];
    (before == none ? tasks.first[priority] : tasks.link[before]) = next;
    if (next == none) tasks.last[priority] = before;
    tasks.link[t] = tasks.firstFree;
    tasks.firstFree = t;
    count(tasks, -1);
}

}  // namespace ovrelin
