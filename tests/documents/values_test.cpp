// The words that completions offer are those that the programs know.
#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>

#include "pattern_table.h"
#include "survey/run/plan.h"

namespace {

using Words = std::multiset<std::string, std::less<>>;

Words offered(const std::string& name) {
    std::ifstream table(COMPLETIONS_TABLE);
    for (std::string line; std::getline(table, line);)
        if (const std::string start = "values " + name + ' '; line.starts_with(start)) {
            std::istringstream rest(line.substr(start.size()));
            return {std::istream_iterator<std::string>(rest), {}};
        }
    return {};
}

TEST(Completions, OfferWhatThereIs) {
    Words patterns, plans;
    for (const Kestrel::PatternRow& row : Kestrel::allPatterns())
        patterns.emplace(row.name);
    for (const survey::Plan& plan : survey::allPlans())
        plans.emplace(plan.name);
    EXPECT_EQ(offered("pattern"), patterns);
    EXPECT_EQ(offered("plan"), plans);
}

}  // namespace
