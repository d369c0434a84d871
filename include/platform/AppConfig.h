// Configuration of the application the engine runs.
#pragma once

#include <string>

class AppConfig {
 public:
  static AppConfig* Instance();

  // The running app's private data directory.
  std::string GetTarnDataPath() const;
  // Where the app may write its own files (heap snapshots among them).
  std::string GetAppDataPath() const;

  // Texture-atlas settings of the renderer.
  void set_gATLAS_WIDTH(int width);
  void set_gATLAS_HEIGHT(bool height);
  int gATLAS_WIDTH() const;
  bool gATLAS_HEIGHT() const;

  // Set by the engine host from its command line.
  void SetTarnDataPath(const std::string& path);
  void SetAppDataPath(const std::string& path);

 private:
  AppConfig();
  std::string tarnDataPath_;
  std::string appDataPath_;
  int atlasWidth_;
  bool atlasHeight_;
};
