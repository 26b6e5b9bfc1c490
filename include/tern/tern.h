/// The whole system layer: plain functions over Linux and the x86 processor.
#pragma once

#include "tern/run_services.h"
