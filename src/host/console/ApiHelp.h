// The reference text of a QDUtil method or constant, for the prompt's `.help NAME` and
// the debugger's console: the same entries as docs/api.md, generated from
// the bridge's vocabulary list.
#pragma once

#include <string>

namespace tarn {
namespace host {

// The entry of the method or constant a topic names ("getAppId",
// "q.getAppId", "q.getAppId()", "NB_MODE"). For any other name, a line saying
// so, with the names close to it (a different case, a letter or two
// apart).
std::string ApiHelpText(const std::string& topic);

}  // namespace host
}  // namespace tarn
