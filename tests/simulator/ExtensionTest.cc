// The tarn-run extension: options parsed by GOption, state-file errors that
// stop the run, and the `tarn.sim` script object in a real V8.
#include <unistd.h>
#include <v8.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <vector>

#include "SimulatorExtension.h"
#include "SimulatorFixture.h"
#include "TvServiceGateway.h"

namespace fs = std::filesystem;

namespace {

// V8 itself is set up once for the program by tests/support/V8TestEnvironment.cc.

class ExtensionTest : public SimulatorTest {
 protected:
  void TearDown() override {
    for (const auto& f : files) std::remove(f.c_str());
    SimulatorTest::TearDown();
  }

  // Parses `arguments` with the extension's option group, then starts it.
  bool startWith(std::vector<std::string> arguments, std::string* error) {
    arguments.insert(arguments.begin(), "tarn-run");
    std::vector<char*> argv;
    for (auto& a : arguments) argv.push_back(&a[0]);
    int argc = static_cast<int>(argv.size());
    char** args = argv.data();
    GOptionContext* context = g_option_context_new(nullptr);
    g_option_context_add_group(context, extension.optionGroup());
    GError* gerror = nullptr;
    const bool parsed = g_option_context_parse(context, &argc, &args, &gerror);
    g_option_context_free(context);
    if (!parsed) {
      *error = gerror->message;
      g_error_free(gerror);
      return false;
    }
    return extension.start(error);
  }

  std::string file(const std::string& name, const std::string& text) {
    const std::string path =
        (fs::temp_directory_path() / (name + "-" + std::to_string(getpid()))).string();
    std::ofstream(path) << text;
    files.push_back(path);
    return path;
  }

  // Runs `source` with `tarn.sim` installed; the result as JSON text, or
  // "Error: ..." when the script threw.
  std::string script(const std::string& source) {
    v8::Isolate::CreateParams params;
    std::unique_ptr<v8::ArrayBuffer::Allocator> allocator(
        v8::ArrayBuffer::Allocator::NewDefaultAllocator());
    params.array_buffer_allocator = allocator.get();
    v8::Isolate* isolate = v8::Isolate::New(params);
    std::string out;
    {
      v8::Isolate::Scope isolateScope(isolate);
      v8::HandleScope handles(isolate);
      v8::Local<v8::Context> context = v8::Context::New(isolate);
      v8::Context::Scope contextScope(context);
      v8::Local<v8::Object> tarn = v8::Object::New(isolate);
      extension.install(isolate, context, tarn);
      context->Global()
          ->Set(context, v8::String::NewFromUtf8Literal(isolate, "tarn"), tarn)
          .Check();
      v8::TryCatch tryCatch(isolate);
      v8::Local<v8::String> text =
          v8::String::NewFromUtf8(isolate, ("JSON.stringify((() => {" + source + "})())").c_str())
              .ToLocalChecked();
      v8::Local<v8::Script> compiled;
      v8::Local<v8::Value> result;
      if (v8::Script::Compile(context, text).ToLocal(&compiled) &&
          compiled->Run(context).ToLocal(&result)) {
        v8::String::Utf8Value utf8(isolate, result);
        out = *utf8 ? *utf8 : "undefined";
      } else {
        v8::String::Utf8Value utf8(isolate, tryCatch.Exception());
        out = *utf8 ? *utf8 : "?";
      }
    }
    isolate->Dispose();
    return out;
  }

  tvsim::SimulatorExtension extension;
  std::vector<std::string> files;
};

TEST_F(ExtensionTest, StateFileAndSetsApplyAtStart) {
  std::string error;
  const std::string state = file("ext-state.json", R"({"power": {"wakeupReason": 4}})");
  ASSERT_TRUE(startWith({"--sim-state", state, "--sim-set", "vconf.memory/mls/state=1", "--sim-set",
                         "tv.channel.name=News 24"},
                        &error))
      << error;
  EXPECT_EQ(4, get("power.wakeupReason").asInt());
  EXPECT_EQ(1, get("vconf.memory/mls/state").asInt());
  EXPECT_EQ("News 24", get("tv.channel.name").asString());
}

TEST_F(ExtensionTest, MalformedStateFileStopsTheRunNamingThePlace) {
  std::string error;
  const std::string state = file("ext-bad.json", "{\n  \"bluetooth\": {\"devics\": []}\n}\n");
  EXPECT_FALSE(startWith({"--sim-state", state}, &error));
  EXPECT_EQ(0u, error.find(state + ":2:27: bluetooth.devics: unknown member \"devics\"")) << error;
}

TEST_F(ExtensionTest, BadSetStopsTheRun) {
  std::string error;
  EXPECT_FALSE(startWith({"--sim-set", "power.state=on"}, &error));
  EXPECT_EQ(
      "--sim-set power.state=on: set: power.state: expected an integer from 0 to 3, found the "
      "text \"on\"",
      error);
  EXPECT_FALSE(startWith({"--sim-set", "novalue"}, &error));
  EXPECT_EQ("--sim-set novalue: expected PATH=VALUE", error);
}

TEST_F(ExtensionTest, UnwritableJournalStopsTheRun) {
  std::string error;
  EXPECT_FALSE(startWith({"--sim-journal", "/nonexistent/dir/journal.jsonl"}, &error));
  EXPECT_EQ("--sim-journal: cannot write /nonexistent/dir/journal.jsonl", error);
}

TEST_F(ExtensionTest, ScriptsReadAndChangeState) {
  EXPECT_EQ("0", script("return tarn.sim.get('power.state');"));
  EXPECT_EQ("true", script("return tarn.sim.set('tv.sources.1.status', 0);"));
  EXPECT_EQ(0, get("tv.sources.1.status").asInt());
  EXPECT_EQ("\"HDMI1\"", script("return tarn.sim.get('tv.sources')[1].name;"));
  EXPECT_EQ("Error: set: power.state: expected an integer from 0 to 3, found the text \"x\"",
            script("return tarn.sim.set('power.state', 'x');"));
  EXPECT_EQ("Error: path must be a string", script("return tarn.sim.set(5, 1);"));
  EXPECT_EQ("Error: boom", script("return tarn.sim.set('power.state', {toJSON() { throw new "
                                  "Error('boom'); }});"));
  EXPECT_EQ(0, get("power.state").asInt());
}

TEST_F(ExtensionTest, ScriptsForceResultsFireEventsAndReadTheJournal) {
  EXPECT_EQ("true", script("return tarn.sim.forceResult('TvPowerClient.getPowerState', 7);"));
  EXPECT_EQ(7, TvPowerClient::getPowerState());
  EXPECT_EQ("true", script("return tarn.sim.fire('powerState', 2);"));
  EXPECT_EQ(TvPowerClient::POWER_STATE_STANDBY, TvPowerClient::getPowerState());
  EXPECT_EQ("[\"getPowerState\",7,true]",
            script("const j = tarn.sim.journal('getPowerState'); return [j[0].operation, "
                   "j[0].result, j[0].forced];"));
  EXPECT_EQ("Error: unknown operation 'nothing'",
            script("return tarn.sim.forceResult('nothing', 1);"));
  EXPECT_EQ("true", script("tarn.sim.clearJournal(); return tarn.sim.journal().length === 0;"));
  EXPECT_EQ("true",
            script("return tarn.sim.root().length > 0 && tarn.sim.waitForNotifications(5000);"));
}

// An interface's operation answers to its own name alone when no other
// operation has it, in the journal and in forced results alike.
TEST_F(ExtensionTest, UniqueShortOperationNamesWorkEverywhere) {
  TvServiceGateway::AvControl* av = nullptr;
  ASSERT_EQ(0, TvServiceGateway::createAvControl(1, 0, &av));
  EXPECT_EQ("true", script("tarn.sim.clearJournal(); return tarn.sim.forceResult("
                           "'getCurrentServiceInfo', -5);"));
  EXPECT_EQ("true", script("return tarn.sim.forceResult('setAudioMute', 9);"));
  EXPECT_EQ(9, av->setAudioMute(true));
  EXPECT_EQ(1, av->setAudioMute(true));
  EXPECT_EQ("[2,2,0,\"AvControl.setAudioMute\",true]",
            script("const j = tarn.sim.journal('setAudioMute'); "
                   "return [j.length, tarn.sim.journal('AvControl.setAudioMute').length, "
                   "tarn.sim.journal('setVideoMute').length, j[0].operation, j[0].forced];"));
  EXPECT_EQ("Error: unknown operation 'setAudioMut' (did you mean \"setAudioMute\"?)",
            script("return tarn.sim.forceResult('setAudioMut', 1);"));
  const std::string typo = script("return tarn.sim.journal('getCurrentServiceInf');");
  EXPECT_EQ(0u, typo.find("Error: journal: unknown operation 'getCurrentServiceInf' (did you "
                          "mean \"getCurrentServiceInfo\"?)"))
      << typo;
}

// A mistyped name is an error that names the nearest known one, never a
// silent empty answer.
TEST_F(ExtensionTest, MistypedNamesAreRefusedWithTheNearestKnownName) {
  const std::string journal = script("return tarn.sim.journal('vconf_get_itn');");
  EXPECT_EQ(0u, journal.find("Error: journal: unknown operation 'vconf_get_itn' (did you mean "
                             "\"vconf_get_int\"?); known: TvPowerClient.requestPowerOff, "))
      << journal;
  EXPECT_NE(std::string::npos, journal.find("vconf.vconf_get_str")) << journal;
  const std::string far = script("return tarn.sim.journal('typo');");
  EXPECT_EQ(0u, far.find("Error: journal: unknown operation 'typo'; known: ")) << far;
  // Known names that nothing has used yet still answer an empty list.
  EXPECT_EQ("[0,0,0,0]", script("tarn.sim.clearJournal(); return [tarn.sim.journal('vconf'), "
                                "tarn.sim.journal('vconf.vconf_get_int'), "
                                "tarn.sim.journal('fire.wakeup'), tarn.sim.journal('tvsim')]"
                                ".map(j => j.length);"));
  EXPECT_EQ("Error: unknown operation 'requestPowerOf' (did you mean \"requestPowerOff\"?)",
            script("return tarn.sim.forceResult('requestPowerOf', 1);"));
  EXPECT_EQ(
      "Error: unknown operation 'TvPowerClient.getPowerStat' (did you mean "
      "\"TvPowerClient.getPowerState\"?)",
      script("return tarn.sim.forceResult('TvPowerClient.getPowerStat', 1);"));
  EXPECT_EQ(
      "Error: fire wakeUp: unknown event (did you mean \"wakeup\"?) (known: wakeup, powerOff, "
      "powerState, powerKey, btConnection, btBonded, sourceStatus)",
      script("return tarn.sim.fire('wakeUp');"));
  EXPECT_EQ("Error: tv.sourcse: no such member (did you mean \"sources\"?)",
            script("return tarn.sim.set('tv.sourcse', 1);"));
  std::string error;
  EXPECT_FALSE(startWith({"--sim-set", "bluetooth.devics=[]"}, &error));
  EXPECT_EQ(
      "--sim-set bluetooth.devics=[]: bluetooth.devics: no such member (did you mean "
      "\"devices\"?)",
      error);
}

}  // namespace
