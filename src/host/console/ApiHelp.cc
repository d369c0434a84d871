// Looks up the generated reference entries. Method names are irregular on
// purpose ("powerStanby", "getCallerAppID"), so a miss lists the near names
// rather than nothing.
#include "console/ApiHelp.h"

#include <algorithm>
#include <cctype>
#include <vector>

#include "tarn/ApiHelp.h"

namespace tarn {
namespace host {

namespace {

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

// Edits (insertions, deletions, substitutions) from one text to the other.
size_t Distance(const std::string& a, const std::string& b) {
  std::vector<size_t> row(b.size() + 1);
  for (size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (size_t i = 1; i <= a.size(); ++i) {
    size_t diagonal = row[0];
    row[0] = i;
    for (size_t j = 1; j <= b.size(); ++j) {
      size_t above = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
      diagonal = above;
    }
  }
  return row[b.size()];
}

// "q.getAppId()" and " getAppId " both name getAppId.
std::string MethodName(const std::string& topic) {
  std::string name = topic;
  name.erase(0, name.find_first_not_of(" \t"));
  name.erase(name.find_last_not_of(" \t") + 1);
  if (name.size() > 2 && name.compare(name.size() - 2, 2, "()") == 0) name.resize(name.size() - 2);
  size_t dot = name.rfind('.');
  if (dot != std::string::npos) name.erase(0, dot + 1);
  return name;
}

}  // namespace

std::string ApiHelpText(const std::string& topic) {
  const std::string name = MethodName(topic);
  for (const ApiHelpEntry& entry : kApiHelp) {
    if (name == entry.name) {
      return entry.text;
    }
  }
  std::string near;
  const std::string lower = Lower(name);
  for (const ApiHelpEntry& entry : kApiHelp) {
    const std::string candidate = Lower(entry.name);
    if (candidate == lower || (!lower.empty() && Distance(candidate, lower) <= 2)) {
      near += near.empty() ? "" : ", ";
      near += entry.name;
    }
  }
  std::string text = "QDUtil has no method or constant \"" + name + "\"";
  if (!near.empty()) text += "; did you mean " + near + "?";
  return text + "\n";
}

}  // namespace host
}  // namespace tarn
