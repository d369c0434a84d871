// Stage hints, the process's message language, the screen saver and short
// feedback sounds. Traps: the sound is played later on the engine's task
// queue, never inside the call; the selector-to-pattern table is not
// monotonic on purpose (4→68, 6→67, 7→73, 8→72) and 9 and 10 play nothing;
// one screen-saver argument makes all five read (missing ones as undefined).
#include <clocale>
#include <cstdint>
#include <functional>
#include <string>

#include "QDUtilBridge.h"
#include "ScreenSaverClient.h"
#include "TaskDispatcher.h"
#include "binding/Args.h"
#include "binding/BridgeLog.h"
#include "clutter.h"
#include "feedback.h"

namespace Bridge {

namespace {

// Pattern of each selector; kNoSound for the two selectors that play nothing.
constexpr int kNoSound = -2;

int feedbackPattern(int selector) {
  switch (selector) {
    case 2:
      return 65;
    case 3:
      return 66;
    case 4:
      return 68;
    case 5:
      return 69;
    case 6:
      return 67;
    case 7:
      return 73;
    case 8:
      return 72;
    case 9:
    case 10:
      return kNoSound;
    default:
      return FEEDBACK_PATTERN_NONE;
  }
}

// Runs on the script thread from the engine's task queue, after playAudio
// has returned.
void playFeedbackSound(int selector) {
  if (feedback_initialize() == 0) {
    QD_LOG(staticLogger, kLogDetail, "feedback initialize success");
  } else {
    QD_LOG(staticLogger, kLogDetail, "feedback initialize fail");
  }
  const int pattern = feedbackPattern(selector);
  if (pattern == kNoSound || feedback_play(pattern) != 0) {
    QD_LOG(staticLogger, kLogInfo, "feedback play fail");
  }
}

}  // namespace

ScriptObject QDUtilBridge::HandleSetClutterStageHint(QDUtilBridge*, const ScriptArray& args) {
  const std::string key = args::text(args, 0);
  const std::string value = args::text(args, 1);
  QD_LOG(logger_, kLogInfo, "Hint Key[" << key << "] Value[" << value << "]");
  clutter_stage_aux_hint_add(CLUTTER_STAGE(clutter_stage_get_default()), key.c_str(),
                             value.c_str());
  return true;
}

ScriptObject QDUtilBridge::HandleUpdateWindowLanguage(QDUtilBridge*, const ScriptArray& args) {
  const std::string locale = args::text(args, 0);
  QD_LOG(logger_, kLogDetail, "HandleUpdateWindowLanguage :" << locale);
  setlocale(LC_MESSAGES, locale.c_str());
  return true;
}

ScriptObject QDUtilBridge::HandleActivateScreenSaver(QDUtilBridge*, const ScriptArray& args) {
  std::string type = "DEFAULT";
  std::uint32_t a = 0, b = 0, c = 2, d = 2;
  if (args.Length() > 0) {
    type = args::text(args, 0);
    a = args::uint32(args, 1);
    b = args::uint32(args, 2);
    c = args::uint32(args, 3);
    d = args::uint32(args, 4);
  }
  return ScreenSaverClient::activate(type.c_str(), a, b, c, d) == 0;
}

ScriptObject QDUtilBridge::HandleDeactivateScreenSaver(QDUtilBridge*, const ScriptArray&) {
  return ScreenSaverClient::deactivate() == 0;
}

ScriptObject QDUtilBridge::HandlePlayAudio(QDUtilBridge*, const ScriptArray& args) {
  const int selector = args::integer(args, 0);
  tarn::util::TaskDispatcher::Instance()->AddTask(std::bind(playFeedbackSound, selector));
  return true;
}

// Handlers: HandleSetClutterStageHint, HandleUpdateWindowLanguage,
// HandleActivateScreenSaver, HandleDeactivateScreenSaver, HandlePlayAudio.

}  // namespace Bridge
