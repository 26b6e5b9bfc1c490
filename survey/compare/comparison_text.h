/// A comparison for people and for programs.
#pragma once

#include <ostream>

#include "survey/compare/compare.h"

namespace survey {

/// One of the two files that are compared.
struct ComparedFile {
    std::string path;
    const Survey& survey;
};

/// What matters first, 80 columns wide at most but for file names and facts. Points that are the
/// same are only counted unless `all`.
void showComparison(std::ostream& out, const Comparison& comparison, const ComparedFile& before,
                    const ComparedFile& after, bool all);

/// "kestrel-comparison/1".
Json toJson(const Comparison& comparison, const ComparedFile& before, const ComparedFile& after);

}  // namespace survey
