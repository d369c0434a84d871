// Suggestions for mistyped names: an unknown operation, event or state member
// is answered with the known name nearest to it, when one is near enough to
// be what was meant.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>
#include <vector>

#include "Core.h"

namespace tvsim {
namespace detail {

namespace {

// Edit distance, case-insensitive: "PowerOff" is one step from "powerOff"
// only in what it looks like, so case is not counted at all.
std::size_t distance(const std::string& a, const std::string& b) {
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t above = row[j];
      const bool same = std::tolower(static_cast<unsigned char>(a[i - 1])) ==
                        std::tolower(static_cast<unsigned char>(b[j - 1]));
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (same ? 0 : 1)});
      diagonal = above;
    }
  }
  return row[b.size()];
}

}  // namespace

std::string nearestName(const std::string& word, const std::vector<std::string>& names) {
  // Long or empty words are not guessed at: a wrong guess misleads more
  // than none.
  if (word.empty() || word.size() > 200) return "";
  const std::size_t allowed = std::max<std::size_t>(2, word.size() / 3);
  std::string best;
  std::size_t bestDistance = allowed + 1;
  for (const auto& name : names) {
    if (name.size() > word.size() + allowed || word.size() > name.size() + allowed) continue;
    const std::size_t d = distance(word, name);
    if (d < bestDistance) {
      best = name;
      bestDistance = d;
    }
  }
  return best;
}

std::string didYouMean(const std::string& word, const std::vector<std::string>& names) {
  const std::string nearest = nearestName(word, names);
  return nearest.empty() ? std::string() : " (did you mean \"" + nearest + "\"?)";
}

std::string shortOperationName(const char* operation) {
  const char* dot = std::strrchr(operation, '.');
  return dot ? dot + 1 : operation;
}

std::vector<const OperationInfo*> operationsNamed(const std::string& name) {
  std::vector<const OperationInfo*> found;
  for (const auto& op : operationTable()) {
    if (name == std::string(op.library) + "." + op.operation) return {&op};
  }
  for (const auto& op : operationTable()) {
    if (name == op.operation || name == shortOperationName(op.operation)) found.push_back(&op);
  }
  return found;
}

}  // namespace detail
}  // namespace tvsim
