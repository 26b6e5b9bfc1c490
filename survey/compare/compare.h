/// Two surveys, point by point. Functions of what the files hold, nothing else.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "survey/compare/difference.h"
#include "survey/compare/fact_differences.h"
#include "survey/compare/variation.h"
#include "survey/record.h"

namespace survey {

inline constexpr const char* comparisonSchema = "kestrel-comparison/1";

/// The texts that stand in JSON and in tables: "worse", "better", "cannot tell", "same".
std::string_view nameOf(Conclusion conclusion);

/// A point in one survey.
struct ComparedSide {
    std::vector<double> headlines;  ///< of the sessions in which the point was ok
    std::size_t sessions = 0;       ///< in which it stands
    double value = 0;     ///< the headlines' geometric mean; of all sessions where none was ok
    std::string trouble;  ///< of the last session in which it was not ok: "noisy: clock"

    /// Ok in at least half of the sessions; the others are left out.
    [[nodiscard]] bool isTrusted() const {
        return !headlines.empty() && 2 * headlines.size() >= sessions;
    }
};

struct ComparedPoint {
    Parameters parameters;
    Kind kind;
    ComparedSide before, after;
    std::optional<Difference> difference;  ///< absent: not trusted on both sides, cannot be told

    [[nodiscard]] Conclusion conclusion() const {
        return difference ? difference->conclusion : Conclusion::unclear;
    }
    /// After over before, less one, trusted or not. Nothing where a side has no figure.
    [[nodiscard]] std::optional<double> change() const;
};

struct Comparison {
    std::vector<ComparedPoint> points;          ///< measured on both sides; what matters first
    std::size_t onlyBefore = 0, onlyAfter = 0;  ///< points of one side only
    std::size_t sharedSessions = 0;             ///< that stand in both files
    std::vector<FactDifference> facts;          ///< in which the hosts or programs differ

    [[nodiscard]] std::size_t count(Conclusion conclusion) const;
    /// No point has two sessions on a side, so that only the published variation speaks.
    [[nodiscard]] bool leansOnPublished() const;
};

Comparison compare(const Survey& before, const Survey& after, std::span<const Variation> published);

}  // namespace survey
