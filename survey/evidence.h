/// What can disturb a sample, kind by kind.
#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace survey {

/// Values by the kind's key. A kind that the machine did not tell is missing: not known, which is
/// not the same as fine.
using Evidence = std::map<std::string, double, std::less<>>;

/// A row says what a value means and when it speaks against a sample.
struct EvidenceKind {
    std::string_view key;    ///< its name in the file, unit included
    std::string_view cause;  ///< how a verdict names it
    std::string_view text;   ///< the same in a sentence for people
    enum class Speaks {
        above,      ///< where the value is above the limit
        belowBest,  ///< where it is below the limit times the best of the session
        together,   ///< of all samples of a point together, which the verdict looks at
        never,      ///< it only describes
    } speaks;
    double limit;
    /// Above this, or below this share of the best, the sample is spoilt however little the samples
    /// differ: the figure is that of a part of the CPU. 0: never.
    double severe;
};

/// All kinds, the ones first that explain most when they speak.
std::span<const EvidenceKind> evidenceKinds();

/// The best value of each kind that is judged by a best one. Absent: none is known.
using EvidenceBest = std::map<std::string_view, double>;

bool speaks(const EvidenceKind& kind, const Evidence& evidence, const EvidenceBest& best);
bool isSevere(const EvidenceKind& kind, const Evidence& evidence, const EvidenceBest& best);

}  // namespace survey
