/// Names of hosts as Slurm and ClusterShell write them: "n[01-32],login".
#pragma once

#include <string>
#include <vector>

namespace survey {

/// The names of a list between commas, in its order and none twice; a range in brackets keeps the
/// leading zeros of its first number. Throws std::invalid_argument, which names the item, for what
/// is no such list, a name with several brackets, a range that runs backwards, and more than
/// 100,000 names.
std::vector<std::string> parseNodeList(const std::string& text);

/// The shortest such list of the names, sorted: by their last number where the rest is equal.
std::string nodeListText(const std::vector<std::string>& names);

}  // namespace survey
