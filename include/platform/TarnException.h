// Exception family with which native bridge code reports errors to script.
// Only the binding frame throws these; the router turns the runtime ones into
// a script Error whose message is what().
#pragma once

#include <exception>
#include <string>

class TarnException : public std::exception {
 public:
  // A null message is taken as the empty text.
  explicit TarnException(const char* message) : message_(message ? message : "") {}
  ~TarnException() override = default;
  const char* what() const noexcept override { return message_.c_str(); }
  virtual const char* msg() const noexcept { return message_.c_str(); }

 protected:
  std::string message_;
};

// Adds where a script error came from; native code leaves these empty.
class TarnJsException : public TarnException {
 public:
  explicit TarnJsException(const char* message) : TarnException(message) {}
  ~TarnJsException() override = default;

  std::string fileName;
  std::string sourceLine;
  std::string stackTrace;
  int lineNumber = 0;
  int column = 0;
};

class TarnJsRuntimeException : public TarnJsException {
 public:
  explicit TarnJsRuntimeException(const char* message) : TarnJsException(message) {}
  ~TarnJsRuntimeException() override = default;
};

class TarnJsBadTypeException : public TarnJsRuntimeException {
 public:
  explicit TarnJsBadTypeException(const char* message)
      : TarnJsRuntimeException(("Bad Type: " + std::string(message ? message : "")).c_str()) {}
  ~TarnJsBadTypeException() override = default;
};
