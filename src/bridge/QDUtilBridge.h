// The "QDUtil" script class: one native bridge object per engine, whose static
// Handle… functions serve the class's script methods. Script names, handler
// names and constant values are fixed by the scripts already in the field,
// irregular spellings included.
#pragma once

#include <string>
#include <vector>

#include "Logger.h"
#include "ScriptBridge.h"
#include "ScriptObject.h"

namespace Bridge {

class QDUtilBridge : public ScriptInstanceBridge {
 public:
  static const std::string LOGGER_NAME;
  static tarn::util::Logger logger_;

  QDUtilBridge();
  ~QDUtilBridge() override;

  const char* getScriptClassName() const override;
  void mapScriptInterface(ScriptContext& context) override;
  void* constructFromScript(const ScriptArray& args) override;
  void destroyFromScript(void* native) override;

  // Numeric constants of the class. Writes are accepted and ignored.
  int getAPP_TYPE_TARN_APP() { return 0; }
  int getAPP_TYPE_WEB_APP() { return 1; }
  int getAPP_TYPE_GAME_APP() { return 2; }
  int getAPP_TYPE_EFL_APP() { return 3; }
  int getAPP_TYPE_SOURCE() { return 4; }
  int getAPP_TYPE_CHANNEL() { return 5; }
  int getAPP_TYPE_SPORTS() { return 6; }
  int getNB_APP_TYPE() { return 7; }
  int getMODE_SCREEN() { return 0; }
  int getMODE_VIDEO() { return 1; }
  int getMODE_VIDEO_MAIN_ONLY() { return 2; }
  int getMODE_VIDEO_SUB_ONLY() { return 3; }
  int getMODE_ENCODER_INPUT() { return 4; }
  int getNB_MODE() { return 5; }
  int getCOMP_TYPE_PNG() { return 0; }
  int getCOMP_TYPE_JPEG() { return 1; }
  int getON_FS_RECENT_CHANGED() { return 0; }
  int getON_FS_INSTALL_NOTIFY() { return 1; }
  int getON_FS_PVR_POPUP_EVENT() { return 2; }
  int getON_FS_EXTERNAL_EVENT() { return 3; }
  int getON_FS_AVAILABLE_NOTIFY() { return 4; }
  int getON_FS_YOUTUBE_NOTIFY() { return 5; }
  int getON_FS_BROWSER_NOTIFY() { return 6; }
  void setAPP_TYPE_TARN_APP(int) {}
  void setAPP_TYPE_WEB_APP(int) {}
  void setAPP_TYPE_GAME_APP(int) {}
  void setAPP_TYPE_EFL_APP(int) {}
  void setAPP_TYPE_SOURCE(int) {}
  void setAPP_TYPE_CHANNEL(int) {}
  void setAPP_TYPE_SPORTS(int) {}
  void setNB_APP_TYPE(int) {}
  void setMODE_SCREEN(int) {}
  void setMODE_VIDEO(int) {}
  void setMODE_VIDEO_MAIN_ONLY(int) {}
  void setMODE_VIDEO_SUB_ONLY(int) {}
  void setMODE_ENCODER_INPUT(int) {}
  void setNB_MODE(int) {}
  void setCOMP_TYPE_PNG(int) {}
  void setCOMP_TYPE_JPEG(int) {}
  void setON_FS_RECENT_CHANGED(int) {}
  void setON_FS_INSTALL_NOTIFY(int) {}
  void setON_FS_PVR_POPUP_EVENT(int) {}
  void setON_FS_EXTERNAL_EVENT(int) {}
  void setON_FS_AVAILABLE_NOTIFY(int) {}
  void setON_FS_YOUTUBE_NOTIFY(int) {}
  void setON_FS_BROWSER_NOTIFY(int) {}

  // Kept so that existing scripts keep working: they read no argument and
  // answer a fixed value (InertMethods.cc).
  static ScriptObject HandleGetXWindowID(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleQDAnnotate(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleQDRaiseXWindow(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleScreenCapture(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleChangeXPropertyNormal(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleSetXPropertyTransparentRect(QDUtilBridge* self,
                                                        const ScriptArray& args);
  static ScriptObject HandleSetXPropertyCover(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleSetXPropertyRectWindow(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleRegisterKey(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleRegisterKeyFS(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleRegisterKeyFSForCH(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleGetFocusedWindowID(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleSetShowActor(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleVolumeRegisterKey(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleVolumeUnRegisterKey(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleExitRegisterKey(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleExitUnRegisterKey(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleGetAppInfo(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleSetWindowOpaque(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleSetTVSourceType(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleCheckFsHide(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandlelwRegisterKeyRF(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandlelwRegisterKeySTB(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleSharedKey(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleSharedExitKey(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleRegistEXTRA(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleChangeNormal(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleChangeNoti(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleChangeDemandAttention(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleChangeBelow(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleXPointingControl(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleRemoveKey(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleRegisterNoneKey(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleSkipFocus(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleDCCapture(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleDCCaptureStart(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleDCCaptureEnd(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleGetTopWindow(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleSearchAllExitRegisterKey(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleSearchAllExitUnRegisterKey(QDUtilBridge* self, const ScriptArray& args);

  // Deprecated: log and answer false.
  static ScriptObject HandleSet3dMode(QDUtilBridge* self, const ScriptArray& args);
  static ScriptObject HandleGet3dMode(QDUtilBridge* self, const ScriptArray& args);

  // Panel resolution from system information.
  static ScriptObject HandleGetResolution(QDUtilBridge* self, const ScriptArray& args);

 private:
  // Script function that receives bonded Bluetooth devices; null until a
  // script registers one.
  ScriptFunction btDeviceCallback;
};

}  // namespace Bridge

// Entry point the engine host looks up by its plain name.
extern "C" std::vector<Bridge::ScriptBridge*> loadBridges();
