/// The operating system and its settings that show in figures.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "machine/number_list.h"
#include "machine/sources.h"

namespace machine {

struct System {
    std::optional<std::string> operatingSystem;  ///< the distribution's name for itself
    std::optional<std::string> kernelRelease, architecture, hostName, bootId, clockSource;
    std::optional<std::string> hypervisor;  ///< its own name; "None" where none is seen
    /// The words of the kernel's command line that change figures, in order. The others are not
    /// collected: they may tell more than a report should.
    std::optional<std::vector<std::string>> kernelParameters;
    std::optional<NumberList> isolatedCpus;  ///< left out by the scheduler
};

System gatherSystem(const Sources& sources);

}  // namespace machine
