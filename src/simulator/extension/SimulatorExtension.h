// The simulated TV as a tarn-run extension: command-line options to load a
// state file, choose the root folder, change state values and write the
// journal at exit, and the script object `tarn.sim` to steer and observe the
// platform while a script runs.
#pragma once

#include <glib.h>

#include <memory>

#include "tarn/host/Extension.h"

namespace tvsim {

class SimulatorExtension : public tarn::host::Extension {
 public:
  SimulatorExtension() = default;
  ~SimulatorExtension() override;
  SimulatorExtension(const SimulatorExtension&) = delete;
  SimulatorExtension& operator=(const SimulatorExtension&) = delete;

  const char* name() const override { return "sim"; }
  GOptionGroup* optionGroup() override;
  bool start(std::string* error) override;
  void install(v8::Isolate* isolate, v8::Local<v8::Context> context,
               v8::Local<v8::Object> tarn) override;
  void stop() override;

 private:
  // Filled by GOption; freed with g_free / g_strfreev.
  gchar* stateFile_ = nullptr;
  gchar* rootDir_ = nullptr;
  gchar* journalFile_ = nullptr;
  gchar** sets_ = nullptr;
};

std::unique_ptr<tarn::host::Extension> makeSimulatorExtension();

}  // namespace tvsim
