/// kestrel-survey run.
#pragma once

#include <optional>
#include <ostream>
#include <string>

#include "survey/command.h"
#include "survey/run/collect.h"
#include "survey/run/plan.h"

namespace survey {

/// What the command line said.
struct RunOrder {
    std::string plan = "hierarchy";
    Choices choices;
    std::optional<unsigned> rounds;
    std::optional<double> budgetSeconds;
    SampleTimes times;
    std::optional<std::uint64_t> seed;
    std::string label, hostName, command;
    std::string output, append, resume;  ///< files; one of them at most
    bool dryRun = false, progressLines = false;
};

/// Measures and writes; the tables go to `out`. Returns the exit status: 0; 3 where nothing could
/// be measured or the file not be written; 130 and 143 after SIGINT and SIGTERM. Throws UsageError
/// and FileError before anything is measured.
int run(const RunOrder& order, std::ostream& out);

}  // namespace survey
