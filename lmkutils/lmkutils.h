// Every public header of the library.
#ifndef LMKUTILS_LMKUTILS_H
#define LMKUTILS_LMKUTILS_H

#include "lmkutils/export.h"
#include "lmkutils/files/file_spec.h"
#include "lmkutils/memory/common_allocated.h"
#include "lmkutils/memory/common_allocator.h"
#include "lmkutils/memory/ref_counted.h"
#include "lmkutils/memory/smart_ptr.h"
#include "lmkutils/platform/environment.h"
#include "lmkutils/platform/lm_info.h"
#include "lmkutils/platform/lm_sys_info.h"
#include "lmkutils/platform/process.h"
#include "lmkutils/text/encoding.h"
#include "lmkutils/text/hash.h"
#include "lmkutils/text/hash_map.h"
#include "lmkutils/text/hash_sizing.h"
#include "lmkutils/text/symbol.h"
#include "lmkutils/time/clock.h"
#include "lmkutils/time/time_val.h"
#include "lmkutils/time/timer.h"
#include "lmkutils/trace/lm_debug_tracer.h"
#include "lmkutils/trace/lm_null_tracer.h"
#include "lmkutils/trace/lm_trace_controller.h"
#include "lmkutils/trace/lm_tracer.h"
#include "lmkutils/trace/printf_formatter.h"
#include "lmkutils/trace/trace_consumer.h"
#include "lmkutils/trace/trace_controller.h"
#include "lmkutils/trace/trace_formatter.h"

#endif
