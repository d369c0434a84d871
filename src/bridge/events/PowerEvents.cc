// Power life-cycle subscriptions: wake-up, late wake-up, power-off notices and
// power-state changes reach the script as engine interrupt events. Traps: the
// script's "WakeUp" is the platform's pre-wake-up and "LateWakeUp" its
// wake-up; several log texts read like failures on success and are kept so;
// the callbacks run on the power service's thread and touch no script value.
#include "QDUtilBridge.h"
#include "ScriptEngine.h"
#include "TarnEventArgsMap.h"
#include "TvPowerClient.h"
#include "binding/BridgeLog.h"
#include "events/Handoff.h"
#include "prctl_marker.h"

namespace Bridge {

namespace {

// Power-off notice: the suspend bit is tested before the reset reasons.
constexpr int kSuspendBit = 0x40000000;
constexpr int kFactoryResetReason = 14;
constexpr int kServiceResetReason = 13;
constexpr int kStandbyState = 2;

constexpr char kWakeupMarker[] = "------------------TARN WAKEUP------------------";
constexpr char kLateWakeupMarker[] = "------------------TARN LATEWAKEUP------------------";

// The engine of this process, or null before it has one. Any thread.
ScriptEngine* currentEngine() {
  TarnFullProcessRuntime* runtime = _GetTarnFullProcessRuntime();
  return runtime ? runtime->GetScriptEngine() : nullptr;
}

void traceMarker(const char* text, unsigned long length) {
  prctl(PR_TARN_TRACE_MARKER, text, length);
}

// Power service thread. The user datum is ignored: the runtime is looked up
// afresh, since it may have changed since subscribing.
int _onWakeup(int, void*) {
  try {
    ScriptEngine* engine = currentEngine();
    if (!engine) return 0;
    QD_LOG(staticLogger, kLogInfo, "[TARN] >>>>>>>>>>>>>>>> Engine On_Wake_Up Call!");
    traceMarker(kWakeupMarker, sizeof kWakeupMarker - 1);
    TarnEventArgsMap noArguments;
    engine->sendInteruptEvent(tarn::util::INTERUPT_EVENT_WAKEUP, noArguments);
    QD_LOG(staticLogger, kLogInfo, "Failed to Unsubscribe Poweroff\n");
  } catch (...) {
    // The event is lost; the power service must not see an exception.
  }
  return 0;
}

// Power service thread.
int _onLateWakeup(int, void*) {
  try {
    ScriptEngine* engine = currentEngine();
    if (!engine) return 0;
    QD_LOG(staticLogger, kLogInfo, "[TARN] >>>>>>>>>>>>>>>> Engine On_LateWake_Up Call!");
    traceMarker(kLateWakeupMarker, sizeof kLateWakeupMarker - 1);
    TarnEventArgsMap noArguments;
    engine->sendInteruptEvent(tarn::util::INTERUPT_EVENT_LATE_WAKEUP, noArguments);
    QD_LOG(staticLogger, kLogInfo, "Failed to Unsubscribe Late Poweroff\n");
  } catch (...) {
    // The event is lost.
  }
  return 0;
}

// Power service thread. The first line is written before any check.
int _onSuspend(int reason, void*) {
  try {
    QD_LOG(staticLogger, kLogInfo, "[TARN] >>>>>>>>>>>>>>>> Engine On_Suspend Call! ");
    ScriptEngine* engine = currentEngine();
    if (!engine) return 0;
    TarnEventArgsMap noArguments;
    if (reason & kSuspendBit) {
      QD_LOG(staticLogger, kLogInfo, "[TARN] >>>>>>>>>>>>>>>> Engine On_Suspend Call! ON_SUSPEND ");
      engine->sendInteruptEvent(tarn::util::INTERUPT_EVENT_SUSPEND, noArguments);
    } else if (reason == kFactoryResetReason) {
      QD_LOG(staticLogger, kLogInfo,
             "[TARN] >>>>>>>>>>>>>>>> Engine On_Suspend Call! ON_FACTORY_RESET");
      engine->sendInteruptEvent(tarn::util::INTERUPT_EVENT_FACTORY_RESET, noArguments);
    } else if (reason == kServiceResetReason) {
      QD_LOG(staticLogger, kLogInfo,
             "[TARN] >>>>>>>>>>>>>>>> Engine On_Suspend Call! ON_SERVICE_RESET");
      engine->sendInteruptEvent(tarn::util::INTERUPT_EVENT_SERVICE_RESET, noArguments);
    }
  } catch (...) {
    // The event is lost.
  }
  return 0;
}

// Power service thread. Catches nothing. A change that arrives while the
// process has no script engine has nowhere to go and is dropped after its
// log lines.
int onPowerChanged(int state, void*) {
  QD_LOG(staticLogger, kLogDetail, "[onPowerChanged]");
  if (state != kStandbyState) return 0;
  QD_LOG(staticLogger, kLogDetail, "[onPowerChanged] Power State is changed to Standby!");
  TarnEventArgsMap noArguments;
  if (ScriptEngine* engine = currentEngine()) {
    engine->sendInteruptEvent(tarn::util::INTERUPT_EVENT_POWER_STANDBY, noArguments);
  }
  return 0;
}

}  // namespace

ScriptObject QDUtilBridge::HandleRegisterWakeUp(QDUtilBridge*, const ScriptArray&) {
  if (TvPowerClient::subscribePreWakeup(_onWakeup, _GetTarnFullProcessRuntime()) >= 0) {
    QD_LOG(logger_, kLogInfo, "[TARN] >>>>>>>>>>>>>>>> Success to Unsubscribe wakeup\n");
    return true;
  }
  QD_LOG(logger_, kLogInfo, "[TARN] >>>>>>>>>>>>>>>> Failed to Unsubscribe wakeup\n");
  return false;
}

ScriptObject QDUtilBridge::HandleRegisterLateWakeUp(QDUtilBridge*, const ScriptArray&) {
  if (TvPowerClient::subscribeWakeup(_onLateWakeup, _GetTarnFullProcessRuntime()) >= 0) {
    QD_LOG(logger_, kLogInfo, "[TARN] >>>>>>>>>>>>>>>> Success to Unsubscribe late wakeup\n");
    return true;
  }
  QD_LOG(logger_, kLogInfo, "[TARN] >>>>>>>>>>>>>>>> Failed to Unsubscribe late wakeup\n");
  return false;
}

ScriptObject QDUtilBridge::HandleRegisterSuspend(QDUtilBridge*, const ScriptArray&) {
  if (TvPowerClient::subscribePowerOff(_onSuspend, _GetTarnFullProcessRuntime()) >= 0) {
    return true;
  }
  QD_LOG(logger_, kLogInfo, "[TARN] >>>>>>>>>>>>>>>> Failed to Subscribe Poweroff\n");
  return false;
}

// Unlike the other subscriptions, only exactly 0 is success here.
ScriptObject QDUtilBridge::HandleRegisterPowerChanged(QDUtilBridge*, const ScriptArray&) {
  if (TvPowerClient::subscribeStateChanged(onPowerChanged) == 0) {
    QD_LOG(logger_, kLogDetail, "[HandleRegisterPowerChanged] done");
    return true;
  }
  QD_LOG(logger_, kLogDetail, "[HandleRegisterPowerChanged] error");
  return false;
}

ScriptObject QDUtilBridge::HandleUnRegisterWakeUp(QDUtilBridge*, const ScriptArray&) {
  TvPowerClient::unsubscribePreWakeup(nullptr);
  return true;
}

ScriptObject QDUtilBridge::HandleUnRegisterLateWakeUp(QDUtilBridge*, const ScriptArray&) {
  TvPowerClient::unsubscribeWakeup(nullptr);
  return true;
}

ScriptObject QDUtilBridge::HandleUnRegisterSuspend(QDUtilBridge*, const ScriptArray&) {
  TvPowerClient::unsubscribePowerOff(nullptr);
  return true;
}

// The platform's reason number, passed through.
ScriptObject QDUtilBridge::HandleGetWakeupReason(QDUtilBridge*, const ScriptArray&) {
  return TvPowerClient::getWakeupReason();
}

// Handlers: HandleRegisterWakeUp, HandleRegisterLateWakeUp,
// HandleRegisterSuspend, HandleRegisterPowerChanged, HandleUnRegisterWakeUp,
// HandleUnRegisterLateWakeUp, HandleUnRegisterSuspend, HandleGetWakeupReason.
// Power service callbacks: _onWakeup, _onLateWakeup, _onSuspend,
// onPowerChanged.

}  // namespace Bridge
