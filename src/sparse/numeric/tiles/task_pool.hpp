// The ready tasks of the dynamic engine. Its callers hold the task lock.
#pragma once

#include "sparse/tile_records.hpp"

namespace ovrelin {

/// Empties all lists.
void resetTasks(TaskPool& tasks);

/// Appends a task to the list of `priority`, 0 the most urgent. When all records are in use the
/// pool grows to twice its size; false when the memory pool refuses that.
[[nodiscard]] bool pushTask(TaskPool& tasks, int priority, const TileTask& task);

/// How many tasks are looked at for one that the asking thread prefers.
inline constexpr int preferenceDepth = 8;

/// Takes record t, which follows `before` in the list of `priority`, -1 at its head, out of it.
void unlinkTask(TaskPool& tasks, int priority, std::int32_t before, std::int32_t t);

/// Takes a task of the most urgent list: of the oldest few the first that is preferred, or else the
/// oldest; false when all lists are empty.
template <class Preferred>
[[nodiscard]] bool popTask(TaskPool& tasks, TileTask& task, Preferred preferred) {
    for (int p = 0; p < numPriorities; ++p) {
        if (tasks.first[p] == -1) continue;
        std::int32_t before = -1, t = tasks.first[p];
        int depth = 0;
        while (t != -1 && depth < preferenceDepth && !preferred(tasks.task[t])) {
            before = t;
            t = tasks.link[t];
            ++depth;
        }
        if (t == -1 || depth == preferenceDepth) {
            before = -1;
            t = tasks.first[p];
        }
        task = tasks.task[t];
        unlinkTask(tasks, p, before, t);
        return true;
    }
    return false;
}

}  // namespace ovrelin
