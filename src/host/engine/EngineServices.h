// Engine services inside the host that the script API shows to scripts.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace tarn {
namespace host {

// Window-system hints added to the default stage so far, in order.
std::vector<std::pair<std::string, std::string>> StageHints();

}  // namespace host
}  // namespace tarn
