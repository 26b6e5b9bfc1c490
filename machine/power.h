/// Who sets the clocks.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "machine/number_list.h"
#include "machine/sources.h"

namespace machine {

/// The CPUs whose clock one rule sets.
struct Governor {
    std::string name;  ///< performance, powersave, schedutil, …
    NumberList cpus;
};

struct Power {
    std::vector<Governor> governors;  ///< by name; none where the kernel sets no clocks
    std::optional<std::string> scalingDriver;
    std::optional<bool> boost;  ///< clocks above the nominal one are allowed
    /// Two threads a core: on, off, forceoff, notsupported, notimplemented.
    std::optional<std::string> smtControl;
};

Power gatherPower(const Sources& sources, const NumberList& online);

}  // namespace machine
