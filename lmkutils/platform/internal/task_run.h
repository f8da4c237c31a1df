// How one task of du::TaskPool is run.
#ifndef LMKUTILS_PLATFORM_INTERNAL_TASK_RUN_H
#define LMKUTILS_PLATFORM_INTERNAL_TASK_RUN_H

#include "lmkutils/platform/task_pool.h"

namespace du::internal {

// Each traces what the task throws.
void RunTask(Task& task) noexcept;
void AbortTask(Task& task) noexcept;

}  // namespace du::internal

#endif
