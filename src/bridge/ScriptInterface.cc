// The script vocabulary of "QDUtil", in binding order: methods, then the
// numeric constants between "registEXTRA" and "changeNormal", then the rest.
// Property enumeration on the class follows this order. The numbers are each
// method's place in the full table; places without a line are methods whose
// area is not part of this build yet. Names are case-sensitive and several are
// irregular on purpose ("SetXPropertyCover", "registEXTRA", "powerStanby"):
// field scripts call them so.
#include "QDUtilBridge.h"
#include "binding/BridgeLog.h"

namespace Bridge {

#define QD_CONSTANT(NAME) context.captureNumberProperty<B, int, &B::get##NAME, &B::set##NAME>(#NAME)

void QDUtilBridge::mapScriptInterface(ScriptContext& context) {
  using B = QDUtilBridge;
  QD_LOG(logger_, kLogInfo, "Mapping TarnUtil script interfaces");

  context.captureMethodCall<B, &B::HandleGetXWindowID>("getXWindowID");                    // 9
  context.captureMethodCall<B, &B::HandleQDAnnotate>("qd_annotate");                       // 10
  context.captureMethodCall<B, &B::HandleQDRaiseXWindow>("qd_raiseXWindow");               // 11
  context.captureMethodCall<B, &B::HandleGetResolution>("getResolution");                  // 13
  context.captureMethodCall<B, &B::HandleScreenCapture>("screenCapture");                  // 14
  context.captureMethodCall<B, &B::HandleChangeXPropertyNormal>("changeXPropertynormal");  // 15
  context.captureMethodCall<B, &B::HandleSetXPropertyTransparentRect>(
      "setXPropertyTranspRect");                                                             // 16
  context.captureMethodCall<B, &B::HandleSetXPropertyCover>("SetXPropertyCover");            // 17
  context.captureMethodCall<B, &B::HandleSetXPropertyRectWindow>("setXPropertyRectWindow");  // 18
  context.captureMethodCall<B, &B::HandleRegisterKey>("registerKey");                        // 19
  context.captureMethodCall<B, &B::HandleRegisterKeyFS>("registerKeyFS");                    // 20
  context.captureMethodCall<B, &B::HandleRegisterKeyFSForCH>("HandleRegisterKeyFSForCH");    // 21
  context.captureMethodCall<B, &B::HandleGetFocusedWindowID>("getFocusedWinId");             // 24
  context.captureMethodCall<B, &B::HandleSetShowActor>("setIsShowActor");                    // 34
  context.captureMethodCall<B, &B::HandleVolumeRegisterKey>("volumeRegisterKey");            // 37
  context.captureMethodCall<B, &B::HandleVolumeUnRegisterKey>("volumeUnregisterKey");        // 38
  context.captureMethodCall<B, &B::HandleExitRegisterKey>("exitRegisterKey");                // 39
  context.captureMethodCall<B, &B::HandleExitUnRegisterKey>("exitUnregisterKey");            // 40
  context.captureMethodCall<B, &B::HandleGetAppInfo>("getAppInfo");                          // 49
  context.captureMethodCall<B, &B::HandleSet3dMode>("set3dMode");                            // 51
  context.captureMethodCall<B, &B::HandleGet3dMode>("get3dMode");                            // 52
  context.captureMethodCall<B, &B::HandleSetWindowOpaque>("setWindowOpaque");                // 56
  context.captureMethodCall<B, &B::HandleSetTVSourceType>("setTVSourceType");                // 57
  context.captureMethodCall<B, &B::HandleCheckFsHide>("checkFsHide");                        // 58
  context.captureMethodCall<B, &B::HandlelwRegisterKeyRF>("lwRegisterKeyRF");                // 59
  context.captureMethodCall<B, &B::HandlelwRegisterKeySTB>("lwRegisterKeySTB");              // 60
  context.captureMethodCall<B, &B::HandleSharedKey>("lwSharedKey");                          // 61
  context.captureMethodCall<B, &B::HandleSharedExitKey>("sharedExitKey");                    // 62
  context.captureMethodCall<B, &B::HandleRegistEXTRA>("registEXTRA");                        // 69

  QD_CONSTANT(APP_TYPE_TARN_APP);
  QD_CONSTANT(APP_TYPE_WEB_APP);
  QD_CONSTANT(APP_TYPE_GAME_APP);
  QD_CONSTANT(APP_TYPE_EFL_APP);
  QD_CONSTANT(APP_TYPE_SOURCE);
  QD_CONSTANT(APP_TYPE_CHANNEL);
  QD_CONSTANT(APP_TYPE_SPORTS);
  QD_CONSTANT(NB_APP_TYPE);
  QD_CONSTANT(MODE_SCREEN);
  QD_CONSTANT(MODE_VIDEO);
  QD_CONSTANT(MODE_VIDEO_MAIN_ONLY);
  QD_CONSTANT(MODE_VIDEO_SUB_ONLY);
  QD_CONSTANT(MODE_ENCODER_INPUT);
  QD_CONSTANT(NB_MODE);
  QD_CONSTANT(COMP_TYPE_PNG);
  QD_CONSTANT(COMP_TYPE_JPEG);
  QD_CONSTANT(ON_FS_RECENT_CHANGED);
  QD_CONSTANT(ON_FS_INSTALL_NOTIFY);
  QD_CONSTANT(ON_FS_PVR_POPUP_EVENT);
  QD_CONSTANT(ON_FS_EXTERNAL_EVENT);
  QD_CONSTANT(ON_FS_AVAILABLE_NOTIFY);
  QD_CONSTANT(ON_FS_YOUTUBE_NOTIFY);
  QD_CONSTANT(ON_FS_BROWSER_NOTIFY);

  context.captureMethodCall<B, &B::HandleChangeNormal>("changeNormal");                    // 70
  context.captureMethodCall<B, &B::HandleChangeNoti>("changeNoti");                        // 71
  context.captureMethodCall<B, &B::HandleChangeDemandAttention>("changeDemandAttention");  // 72
  context.captureMethodCall<B, &B::HandleChangeBelow>("changeBelow");                      // 73
  context.captureMethodCall<B, &B::HandleXPointingControl>("XPointingControl");            // 94
  context.captureMethodCall<B, &B::HandleRemoveKey>("removeKey");                          // 95
  context.captureMethodCall<B, &B::HandleRegisterNoneKey>("registerNoneKey");              // 96
  context.captureMethodCall<B, &B::HandleSkipFocus>("skipFocus");                          // 97
  context.captureMethodCall<B, &B::HandleDCCapture>("DCCapture");                          // 104
  context.captureMethodCall<B, &B::HandleDCCaptureStart>("DCCaptureStart");                // 105
  context.captureMethodCall<B, &B::HandleDCCaptureEnd>("DCCaptureEnd");                    // 106
  context.captureMethodCall<B, &B::HandleGetTopWindow>("getTopWindow");                    // 112
  context.captureMethodCall<B, &B::HandleSearchAllExitRegisterKey>(
      "exitSearchAllRegisterKey");  // 125
  context.captureMethodCall<B, &B::HandleSearchAllExitUnRegisterKey>(
      "exitSearchAllUnregisterKey");  // 126
}

#undef QD_CONSTANT

}  // namespace Bridge
