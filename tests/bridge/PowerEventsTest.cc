// Power notifications that arrive while the process has no script engine:
// the wake-up callbacks do nothing at all, the power-off callback writes its
// first line only, the power-state callback logs and drops the event.
#include <chrono>
#include <string>
#include <vector>

#include "QDUtilBridge.h"
#include "TarnProcessManager.h"
#include "V8TestEnvironment.h"
#include "tarn/host/LogCapture.h"
#include "tvsim/Simulator.h"

namespace {

using Bridge::QDUtilBridge;

class PowerEventsTest : public testing_v8::V8Test {};

std::vector<std::string> BridgeTexts(const std::vector<tarn::util::LogRecord>& records) {
  std::vector<std::string> texts;
  for (const auto& record : records) {
    if (record.logger == "tarn.qdutil.bridge") texts.push_back(record.text);
  }
  return texts;
}

// How many trace markers the bridge wrote through prctl.
size_t TraceMarkers() {
  size_t count = 0;
  for (const auto& entry : tvsim::Simulator::journal()) {
    if (entry.library == "libc" && entry.operation == "prctl") ++count;
  }
  return count;
}

void Fire(const std::string& event, int value) {
  std::string error;
  ASSERT_TRUE(tvsim::Simulator::fire(event, Json::Value(value), &error)) << error;
  ASSERT_TRUE(tvsim::Simulator::waitForNotifications(std::chrono::seconds(5)));
}

TEST_F(PowerEventsTest, NotificationsBeforeAnyScriptEngineSendNothing) {
  ASSERT_EQ(TarnProcessManager::Instance()->Runtime(), nullptr) << "no engine runtime in this test";
  v8::HandleScope scope(isolate());
  v8::Local<v8::Context> context = v8::Context::New(isolate());
  v8::Context::Scope contextScope(context);
  QDUtilBridge bridge;
  Bridge::ScriptArray none;
  ASSERT_TRUE(QDUtilBridge::HandleRegisterWakeUp(&bridge, none).asBool());
  ASSERT_TRUE(QDUtilBridge::HandleRegisterLateWakeUp(&bridge, none).asBool());
  ASSERT_TRUE(QDUtilBridge::HandleRegisterSuspend(&bridge, none).asBool());
  ASSERT_TRUE(QDUtilBridge::HandleRegisterPowerChanged(&bridge, none).asBool());
  Fire("powerState", 0);

  tarn::host::LogCapture capture;
  tvsim::Simulator::clearJournal();
  Fire("wakeup", 1);
  EXPECT_EQ(BridgeTexts(capture.take()), std::vector<std::string>{})
      << "the wake-up callbacks write nothing without a script engine";
  EXPECT_EQ(TraceMarkers(), 0u) << "nor any wake-up trace marker";

  Fire("powerOff", 0x40000000);
  EXPECT_EQ(BridgeTexts(capture.take()),
            (std::vector<std::string>{"[TARN] >>>>>>>>>>>>>>>> Engine On_Suspend Call! ",
                                      "[onPowerChanged]"}))
      << "the power-off callback logs before its check, then stops";

  Fire("powerState", 2);
  EXPECT_EQ(BridgeTexts(capture.take()),
            (std::vector<std::string>{"[onPowerChanged]",
                                      "[onPowerChanged] Power State is changed to Standby!"}))
      << "the standby change is logged and dropped, without a crash";

  QDUtilBridge::HandleUnRegisterWakeUp(&bridge, none);
  QDUtilBridge::HandleUnRegisterLateWakeUp(&bridge, none);
  QDUtilBridge::HandleUnRegisterSuspend(&bridge, none);
  // The power-state subscription has no unregister method; it stays.
}

}  // namespace
