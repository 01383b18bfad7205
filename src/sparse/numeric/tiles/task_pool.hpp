// The ready tasks of the dynamic engine. Its callers hold the task lock.
#pragma once

#include "sparse/tile_records.hpp"

namespace ovrelin {

/// Empties all lists.
void resetTasks(TaskPool& tasks);

/// Appends a task to the list of `priority`, 0 the most urgent. When all records are in use the
/// pool grows to twice its size; false when the memory pool refuses that.
[[nodiscard]] bool pushTask(TaskPool& tasks, int priority, const TileTask& task);

/// Takes the oldest task of the most urgent list; false when all are empty.
[[nodiscard]] bool popTask(TaskPool& tasks, TileTask& task);

}  // namespace ovrelin
