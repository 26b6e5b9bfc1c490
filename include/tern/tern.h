/// The whole system layer: plain functions over Linux and the x86 processor.
#pragma once

#include "tern/allocator.h"
#include "tern/assertion.h"
#include "tern/bitset.h"
#include "tern/cpu_info.h"
#include "tern/environment.h"
#include "tern/files.h"
#include "tern/line_reader.h"
#include "tern/memory.h"
#include "tern/os_info.h"
#include "tern/processor.h"
#include "tern/registers.h"
#include "tern/run_services.h"
#include "tern/threads.h"
#include "tern/time.h"
