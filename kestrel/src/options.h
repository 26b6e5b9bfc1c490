/// The options of the command line and how they become settings.
#pragma once

#include "optkit/optkit.h"
#include "settings.h"

namespace Kestrel {

/// Declares all options to the parser.
void registerOptions(optkit::IParser* parser);

/// Fills the settings from a parsed command line.
void readSettings(optkit::IResults* results, BenchmarkSettings& settings);

}  // namespace Kestrel
