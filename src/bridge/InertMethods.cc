// Methods kept only so that existing scripts that call them keep working:
// window-system, key-registration, window-property and capture operations of
// older sets. They read no argument, touch nothing and answer a fixed value;
// the values differ (true, false, 0, "") and scripts depend on each one, so
// "sharedExitKey" answers the number 0 although "lwSharedKey" answers true.
#include "QDUtilBridge.h"
#include "binding/BridgeLog.h"
#include "system_info.h"

namespace Bridge {

namespace {
// System-information key of the panel resolution.
constexpr int kPanelResolutionKey = 129;
}  // namespace

ScriptObject QDUtilBridge::HandleQDAnnotate(QDUtilBridge*, const ScriptArray&) { return true; }
ScriptObject QDUtilBridge::HandleQDRaiseXWindow(QDUtilBridge*, const ScriptArray&) { return true; }
ScriptObject QDUtilBridge::HandleScreenCapture(QDUtilBridge*, const ScriptArray&) { return true; }
ScriptObject QDUtilBridge::HandleChangeXPropertyNormal(QDUtilBridge*, const ScriptArray&) {
  return true;
}
ScriptObject QDUtilBridge::HandleSetXPropertyTransparentRect(QDUtilBridge*, const ScriptArray&) {
  return true;
}
ScriptObject QDUtilBridge::HandleSetXPropertyCover(QDUtilBridge*, const ScriptArray&) {
  return true;
}
ScriptObject QDUtilBridge::HandleSetXPropertyRectWindow(QDUtilBridge*, const ScriptArray&) {
  return true;
}
ScriptObject QDUtilBridge::HandleRegisterKey(QDUtilBridge*, const ScriptArray&) { return true; }
ScriptObject QDUtilBridge::HandleRegisterKeyFS(QDUtilBridge*, const ScriptArray&) { return true; }
ScriptObject QDUtilBridge::HandleRegisterKeyFSForCH(QDUtilBridge*, const ScriptArray&) {
  return true;
}
ScriptObject QDUtilBridge::HandleSetShowActor(QDUtilBridge*, const ScriptArray&) { return true; }
ScriptObject QDUtilBridge::HandleVolumeRegisterKey(QDUtilBridge*, const ScriptArray&) {
  return true;
}
ScriptObject QDUtilBridge::HandleVolumeUnRegisterKey(QDUtilBridge*, const ScriptArray&) {
  return true;
}
ScriptObject QDUtilBridge::HandleExitRegisterKey(QDUtilBridge*, const ScriptArray&) { return true; }
ScriptObject QDUtilBridge::HandleExitUnRegisterKey(QDUtilBridge*, const ScriptArray&) {
  return true;
}
ScriptObject QDUtilBridge::HandleSetTVSourceType(QDUtilBridge*, const ScriptArray&) { return true; }
ScriptObject QDUtilBridge::HandlelwRegisterKeyRF(QDUtilBridge*, const ScriptArray&) { return true; }
ScriptObject QDUtilBridge::HandlelwRegisterKeySTB(QDUtilBridge*, const ScriptArray&) {
  return true;
}
ScriptObject QDUtilBridge::HandleSharedKey(QDUtilBridge*, const ScriptArray&) { return true; }
ScriptObject QDUtilBridge::HandleRegistEXTRA(QDUtilBridge*, const ScriptArray&) { return true; }
ScriptObject QDUtilBridge::HandleChangeNormal(QDUtilBridge*, const ScriptArray&) { return true; }
ScriptObject QDUtilBridge::HandleChangeNoti(QDUtilBridge*, const ScriptArray&) { return true; }
ScriptObject QDUtilBridge::HandleChangeDemandAttention(QDUtilBridge*, const ScriptArray&) {
  return true;
}
ScriptObject QDUtilBridge::HandleChangeBelow(QDUtilBridge*, const ScriptArray&) { return true; }
ScriptObject QDUtilBridge::HandleXPointingControl(QDUtilBridge*, const ScriptArray&) {
  return true;
}
ScriptObject QDUtilBridge::HandleRemoveKey(QDUtilBridge*, const ScriptArray&) { return true; }
ScriptObject QDUtilBridge::HandleRegisterNoneKey(QDUtilBridge*, const ScriptArray&) { return true; }
ScriptObject QDUtilBridge::HandleSkipFocus(QDUtilBridge*, const ScriptArray&) { return true; }
ScriptObject QDUtilBridge::HandleDCCapture(QDUtilBridge*, const ScriptArray&) { return true; }
ScriptObject QDUtilBridge::HandleDCCaptureStart(QDUtilBridge*, const ScriptArray&) { return true; }
ScriptObject QDUtilBridge::HandleDCCaptureEnd(QDUtilBridge*, const ScriptArray&) { return true; }
ScriptObject QDUtilBridge::HandleSearchAllExitRegisterKey(QDUtilBridge*, const ScriptArray&) {
  return true;
}
ScriptObject QDUtilBridge::HandleSearchAllExitUnRegisterKey(QDUtilBridge*, const ScriptArray&) {
  return true;
}

ScriptObject QDUtilBridge::HandleGetXWindowID(QDUtilBridge*, const ScriptArray&) { return 0; }
ScriptObject QDUtilBridge::HandleGetFocusedWindowID(QDUtilBridge*, const ScriptArray&) { return 0; }
ScriptObject QDUtilBridge::HandleSharedExitKey(QDUtilBridge*, const ScriptArray&) { return 0; }
ScriptObject QDUtilBridge::HandleSetWindowOpaque(QDUtilBridge*, const ScriptArray&) { return 0; }
ScriptObject QDUtilBridge::HandleGetAppInfo(QDUtilBridge*, const ScriptArray&) { return false; }
ScriptObject QDUtilBridge::HandleCheckFsHide(QDUtilBridge*, const ScriptArray&) { return false; }
ScriptObject QDUtilBridge::HandleGetTopWindow(QDUtilBridge*, const ScriptArray&) {
  return ScriptObject("");
}

ScriptObject QDUtilBridge::HandleSet3dMode(QDUtilBridge*, const ScriptArray&) {
  QD_LOG(logger_, kLogInfo, "HandleSet3dMode was deprecated.");
  return false;
}

ScriptObject QDUtilBridge::HandleGet3dMode(QDUtilBridge*, const ScriptArray&) {
  QD_LOG(logger_, kLogInfo, "HandleGet3dMode was deprecated.");
  return false;
}

// A failed query leaves the preset 0, which is the answer then.
ScriptObject QDUtilBridge::HandleGetResolution(QDUtilBridge*, const ScriptArray&) {
  int resolution = 0;
  system_info_get_value_int(kPanelResolutionKey, &resolution);
  return resolution;
}

}  // namespace Bridge
