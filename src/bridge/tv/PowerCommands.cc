// Power commands: off, standby, normal and picture off, the power state, the
// welcome screen, the front panel's pre-power key and press counter, and the
// TV's audio and video mutes. Traps: normal power goes through setPowerState
// while standby and picture off go through setDevicePowerState; the welcome
// screen's screen-state lines name another operation and are kept so; the
// press-count command is the argument's low byte.
#include "AvOutputClient.h"
#include "PanelMcuClient.h"
#include "QDUtilBridge.h"
#include "TvPowerClient.h"
#include "TvServiceGateway.h"
#include "binding/Args.h"
#include "binding/BridgeLog.h"

namespace Bridge {

namespace {

// The power-off request carries the suspend bit of the power-off notice.
constexpr int kPowerOffRequest = 0x40000000;
constexpr int kPictureOffState = 1;
constexpr int kStandbyState = 2;
constexpr int kNormalState = 0;
constexpr int kSetStateFlag = 1;
constexpr int kScreenOn = 1;
constexpr unsigned char kPressCountReset = 0;
constexpr unsigned char kPressCountRead = 1;
// AV control used for the mutes.
constexpr int kAvProfile = 1;
constexpr int kAvIndex = 0;

constexpr const char* kPrePowerFail =
    "~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~[KOVA] HandleSetPrePowerKey fail";

// A new AV control per call, as the gateway hands them out. A gateway that
// gives no control counts as a failed mute instead of a crash.
TvServiceGateway::AvControl* newAvControl() {
  TvServiceGateway::AvControl* control = nullptr;
  TvServiceGateway::createAvControl(kAvProfile, kAvIndex, &control);
  return control;
}

}  // namespace

ScriptObject QDUtilBridge::HandlePowerOff(QDUtilBridge*, const ScriptArray&) {
  QD_LOG(logger_, kLogDetail, "[KOVA] excute PowerOff");
  if (TvPowerClient::requestPowerOff(kPowerOffRequest) == 0) {
    QD_LOG(logger_, kLogDetail, "[KOVA] PowerOff success");
    return true;
  }
  QD_LOG(logger_, kLogDetail, "[KOVA] PowerOff fail");
  return false;
}

ScriptObject QDUtilBridge::HandlePowerStanby(QDUtilBridge*, const ScriptArray&) {
  QD_LOG(logger_, kLogDetail, "[KOVA] excute PowerStanby");
  if (TvPowerClient::setDevicePowerState(kStandbyState, kSetStateFlag) == 0) {
    QD_LOG(logger_, kLogDetail, "[KOVA] PowerStanby success");
    return true;
  }
  QD_LOG(logger_, kLogDetail, "[KOVA] PowerStanby fail");
  return false;
}

ScriptObject QDUtilBridge::HandlePowerNormal(QDUtilBridge*, const ScriptArray&) {
  QD_LOG(logger_, kLogDetail, "[KOVA] excute PowerNormal");
  if (TvPowerClient::setPowerState(kNormalState, kSetStateFlag) == 0) {
    QD_LOG(logger_, kLogDetail, "[KOVA] PowerNormal success");
    return true;
  }
  QD_LOG(logger_, kLogDetail, "[KOVA] PowerNormal fail");
  return false;
}

ScriptObject QDUtilBridge::HandlePictureOff(QDUtilBridge*, const ScriptArray&) {
  QD_LOG(logger_, kLogDetail, "[KOVA] excute PictureOff");
  if (TvPowerClient::setDevicePowerState(kPictureOffState, kSetStateFlag) == 0) {
    QD_LOG(logger_, kLogDetail, "[KOVA] PictureOff success");
    return true;
  }
  QD_LOG(logger_, kLogDetail, "[KOVA] PictureOff fail");
  return false;
}

ScriptObject QDUtilBridge::HandlePowerCheckState(QDUtilBridge*, const ScriptArray&) {
  QD_LOG(logger_, kLogDetail, "[KOVA] excute PowerCheckState");
  return TvPowerClient::getPowerState();
}

// Mode 0 gives welcome value 1, mode 1 turns the screen on and gives 0, any
// other mode is the value. A failed screen-state call does not change the
// answer.
ScriptObject QDUtilBridge::HandlePowerSetWelcomeScreen(QDUtilBridge*, const ScriptArray& args) {
  QD_LOG(logger_, kLogDetail, "[KOVA] excute PowerSetWelcomeScreen");
  const int mode = args::integer(args, 0);
  const bool skipOutput = args::flag(args, 1);
  int value = mode;
  if (mode == 0) {
    value = 1;
  } else if (mode == 1) {
    if (TvPowerClient::setScreenState(kScreenOn) == 0) {
      QD_LOG(logger_, kLogDetail, "[KOVA] unsubscribePreWakeup success");
    } else {
      QD_LOG(logger_, kLogDetail, "[KOVA] unsubscribePreWakeup fail");
    }
    value = 0;
  }
  if (skipOutput) {
    QD_LOG(logger_, kLogDetail, "[KOVA] PowerSetWelcomeScreen success");
    return true;
  }
  if (AvOutputClient::setWelcomeMode(value) == 0) {
    QD_LOG(logger_, kLogDetail, "[KOVA] PowerSetWelcomeScreen success");
    return true;
  }
  QD_LOG(logger_, kLogDetail, "[KOVA] PowerSetWelcomeScreen fail");
  return false;
}

// Turning off ignores the first read; turning on needs it to have worked and
// does nothing when the key is already on.
ScriptObject QDUtilBridge::HandleSetPrePowerKey(QDUtilBridge*, const ScriptArray& args) {
  QD_LOG(logger_, kLogDetail, "[KOVA] excute HandleSetPrePowerKey");
  int state = 0;
  const int status = PanelMcuClient::getPrePower(&state);
  const bool on = args::flag(args, 0);
  QD_LOG(logger_, kLogDetail, "[KOVA] HandleSetPrePowerKey pastState : " << state);
  if (!on) {
    if (PanelMcuClient::setPrePower(0) == 0) {
      QD_LOG(logger_, kLogDetail,
             "[KOVA] [HandleSetPrePowerKey success] State is changed to OFF!!!");
      return true;
    }
    QD_LOG(logger_, kLogDetail, kPrePowerFail);
    return false;
  }
  if (status != 0) {
    QD_LOG(logger_, kLogDetail, kPrePowerFail);
    return false;
  }
  if (state != 0) {
    PanelMcuClient::getPrePower(&state);
    QD_LOG(logger_, kLogDetail,
           "[KOVA] [HandleSetPrePowerKey success] State is already ON!!! currentState : " << state);
    return true;
  }
  if (PanelMcuClient::setPrePower(1) == 0) {
    QD_LOG(logger_, kLogDetail, "[KOVA] [HandleSetPrePowerKey success] State is changed to ON!!!");
    return true;
  }
  QD_LOG(logger_, kLogDetail, kPrePowerFail);
  return false;
}

// The command is the low byte of the truncated number: 257 reads like 1.
ScriptObject QDUtilBridge::HandleGetPowerKeyPressCount(QDUtilBridge*, const ScriptArray& args) {
  QD_LOG(logger_, kLogDetail, "[KOVA] excute GetPowerKeyPressCount");
  const unsigned char command = static_cast<unsigned char>(args::uint32(args, 0) & 0xFFu);
  int count = 0;
  if (PanelMcuClient::controlPowerKeyPressCount(command, &count) != 0) return false;
  if (command == kPressCountRead) return count;
  if (command == kPressCountReset) return true;
  return false;
}

ScriptObject QDUtilBridge::HandleTVAudioMute(QDUtilBridge*, const ScriptArray& args) {
  QD_LOG(logger_, kLogDetail, "[KOVA] excute TVAudioMute");
  TvServiceGateway::AvControl* control = newAvControl();
  const bool mute = args::flag(args, 0);
  if (control && control->setAudioMute(mute) >= 1) {
    QD_LOG(logger_, kLogDetail, "[KOVA] TVAudioMute success");
    return true;
  }
  QD_LOG(logger_, kLogDetail, "[KOVA] TVAudioMute fail");
  return false;
}

ScriptObject QDUtilBridge::HandleTVVideoMute(QDUtilBridge*, const ScriptArray& args) {
  QD_LOG(logger_, kLogDetail, "[KOVA] excute TVVideoMute");
  TvServiceGateway::AvControl* control = newAvControl();
  const bool mute = args::flag(args, 0);
  if (control && control->setVideoMute(mute) >= 1) {
    QD_LOG(logger_, kLogDetail, "[KOVA] TVVideoMute success");
    return true;
  }
  QD_LOG(logger_, kLogDetail, "[KOVA] TVVideoMute fail");
  return false;
}

// Handlers: HandlePowerOff, HandlePowerStanby, HandlePowerNormal,
// HandlePictureOff, HandlePowerCheckState, HandlePowerSetWelcomeScreen,
// HandleSetPrePowerKey, HandleGetPowerKeyPressCount, HandleTVAudioMute,
// HandleTVVideoMute.

}  // namespace Bridge
