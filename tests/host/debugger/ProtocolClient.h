// The DevTools-protocol client of debug_client: tarn-run as a child process,
// HTTP discovery and a WebSocket session, each wait with a deadline.
#pragma once

#include <json/json.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/asio.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <exception>
#include <functional>
#include <map>
#include <mutex>
#include <regex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

extern char** environ;

namespace debugclient {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
namespace websocket = beast::websocket;
using tcp = asio::ip::tcp;
using Clock = std::chrono::steady_clock;

// Generous: under the ARM emulator V8 starts slowly.
constexpr std::chrono::seconds kWait{60};

struct TestFailure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

[[noreturn]] inline void Fail(const std::string& what) { throw TestFailure(what); }

inline void Expect(bool ok, const std::string& what) {
  if (!ok) Fail(what);
}

inline std::string Compact(const Json::Value& value) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  builder["emitUTF8"] = true;
  return Json::writeString(builder, value);
}

inline Json::Value Parse(const std::string& text, const std::string& what) {
  Json::CharReaderBuilder builder;
  std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  Json::Value value;
  std::string errors;
  if (!reader->parse(text.data(), text.data() + text.size(), &value, &errors)) {
    Fail(what + " is not JSON (" + errors + "): " + text.substr(0, 500));
  }
  return value;
}

inline Json::Value Object(std::initializer_list<std::pair<const char*, Json::Value>> members) {
  Json::Value object(Json::objectValue);
  for (const auto& member : members) object[member.first] = member.second;
  return object;
}

// --- tarn-run as a child process ------------------------------------------

class Child {
 public:
  // A failing scenario shows what tarn-run printed.
  ~Child() {
    Kill();
    if (reader_.joinable()) reader_.join();
    if (std::uncaught_exceptions() > 0) {
      std::printf("--- tarn-run's stdout\n%s--- tarn-run's stderr\n%s---\n", out_.c_str(),
                  err_.c_str());
    }
  }

  void Start(const std::vector<std::string>& args) {
    std::vector<std::string> command;
    if (const char* emulator = std::getenv("TARN_EMULATOR"); emulator && *emulator) {
      command.push_back(emulator);
    }
    command.insert(command.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (std::string& word : command) argv.push_back(word.data());
    argv.push_back(nullptr);
    int out[2], err[2];
    if (pipe(out) != 0 || pipe(err) != 0) Fail("pipe failed");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], 1);
    posix_spawn_file_actions_adddup2(&actions, err[1], 2);
    for (int fd : {out[0], out[1], err[0], err[1]}) posix_spawn_file_actions_addclose(&actions, fd);
    setenv("TARN_LOG_LEVEL", "warn", 1);
    int rc = posix_spawn(&pid_, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(out[1]);
    close(err[1]);
    if (rc != 0) {
      close(out[0]);
      close(err[0]);
      pid_ = -1;
      Fail("cannot start " + command[0]);
    }
    std::printf("started:");
    for (const std::string& word : command) std::printf(" %s", word.c_str());
    std::printf("\n");
    reader_ = std::thread([this, outFd = out[0], errFd = err[0]] { Read(outFd, errFd); });
  }

  // Waits until stderr (or stdout) holds a match of `pattern`; its groups.
  std::vector<std::string> WaitFor(const std::string& pattern, bool onStderr = true) {
    std::regex re(pattern);
    std::unique_lock<std::mutex> lock(mutex_);
    auto deadline = Clock::now() + kWait;
    for (;;) {
      const std::string& text = onStderr ? err_ : out_;
      std::smatch match;
      if (std::regex_search(text, match, re)) {
        std::vector<std::string> groups;
        for (const auto& group : match) groups.push_back(group.str());
        return groups;
      }
      if (closed_) Fail("tarn-run ended its output without printing /" + pattern + "/");
      if (changed_.wait_until(lock, deadline) == std::cv_status::timeout) {
        Fail("timed out waiting for /" + pattern + "/ on " + (onStderr ? "stderr" : "stdout"));
      }
    }
  }

  std::string Stdout() {
    std::lock_guard<std::mutex> lock(mutex_);
    return out_;
  }
  std::string Stderr() {
    std::lock_guard<std::mutex> lock(mutex_);
    return err_;
  }

  bool Running() {
    if (pid_ <= 0) return false;
    int status = 0;
    pid_t done = waitpid(pid_, &status, WNOHANG);
    if (done == 0) return true;
    pid_ = -1;
    status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return false;
  }

  // The exit status (128 + n for signal n); fails when it does not exit in
  // time (it is then killed).
  int WaitExit() {
    auto deadline = Clock::now() + kWait;
    while (Running()) {
      if (Clock::now() > deadline) Fail("tarn-run did not exit in time");
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    if (reader_.joinable()) reader_.join();
    return status_;
  }

  pid_t Pid() const { return pid_; }

  void Kill() {
    if (pid_ <= 0) return;
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    pid_ = -1;
  }

 private:
  void Read(int outFd, int errFd) {
    pollfd fds[2] = {{outFd, POLLIN, 0}, {errFd, POLLIN, 0}};
    int open = 2;
    while (open > 0) {
      if (poll(fds, 2, -1) < 0) {
        if (errno == EINTR) continue;
        break;
      }
      for (pollfd& fd : fds) {
        if (fd.fd < 0 || !(fd.revents & (POLLIN | POLLHUP | POLLERR))) continue;
        char buffer[4096];
        ssize_t n = read(fd.fd, buffer, sizeof buffer);
        if (n <= 0) {
          close(fd.fd);
          fd.fd = -1;
          --open;
          continue;
        }
        std::lock_guard<std::mutex> lock(mutex_);
        (fd.fd == outFd ? out_ : err_).append(buffer, static_cast<size_t>(n));
        changed_.notify_all();
      }
    }
    std::lock_guard<std::mutex> lock(mutex_);
    closed_ = true;
    changed_.notify_all();
  }

  pid_t pid_ = -1;
  int status_ = -1;
  std::thread reader_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::string out_, err_;
  bool closed_ = false;
};

// --- HTTP -------------------------------------------------------------------

struct HttpAnswer {
  int status = 0;
  std::string contentType;
  std::string body;
};

// One GET to 127.0.0.1:port with the given Host header.
inline HttpAnswer Get(uint16_t port, const std::string& target, const std::string& host) {
  asio::io_context ioc;
  beast::tcp_stream stream(ioc);
  stream.expires_after(kWait);
  beast::error_code error;
  auto step = [&](const char* what) {
    ioc.run();
    ioc.restart();
    if (error) Fail(std::string("GET ") + target + ": " + what + ": " + error.message());
  };
  stream.async_connect(tcp::endpoint(asio::ip::make_address("127.0.0.1"), port),
                       [&](beast::error_code e) { error = e; });
  step("connect");
  http::request<http::empty_body> request(http::verb::get, target, 11);
  request.set(http::field::host, host);
  request.set(http::field::user_agent, "debug_client");
  http::async_write(stream, request, [&](beast::error_code e, size_t) { error = e; });
  step("write");
  beast::flat_buffer buffer;
  http::response<http::string_body> response;
  http::async_read(stream, buffer, response, [&](beast::error_code e, size_t) { error = e; });
  step("read");
  return HttpAnswer{static_cast<int>(response.result_int()),
                    std::string(response[http::field::content_type]), response.body()};
}

// --- a protocol session -----------------------------------------------------

class Session {
 public:
  explicit Session(std::string name) : name_(std::move(name)), ws_(ioc_) {}

  // False when the server refuses the WebSocket handshake.
  bool Connect(uint16_t port, const std::string& path) {
    beast::error_code error;
    auto& stream = beast::get_lowest_layer(ws_);
    stream.expires_after(kWait);
    stream.async_connect(tcp::endpoint(asio::ip::make_address("127.0.0.1"), port),
                         [&](beast::error_code e) { error = e; });
    ioc_.run();
    ioc_.restart();
    if (error) Fail(name_ + ": cannot connect: " + error.message());
    ws_.async_handshake("127.0.0.1:" + std::to_string(port), path,
                        [&](beast::error_code e) { error = e; });
    ioc_.run();
    ioc_.restart();
    stream.expires_never();
    ws_.read_message_max(256u << 20);
    return !error;
  }

  // Sends a command and returns its result; the events that arrive before the
  // answer are kept for WaitEvent.
  Json::Value Call(const std::string& method, Json::Value params = Json::Value(Json::objectValue)) {
    int id = nextId_++;
    Write(Object({{"id", id}, {"method", method}, {"params", params}}));
    auto deadline = Clock::now() + kWait;
    for (;;) {
      Json::Value message = Read(deadline, method);
      if (message.isMember("id") && message["id"] == id) {
        if (message.isMember("error")) {
          Fail(name_ + ": " + method + " failed: " + Compact(message["error"]));
        }
        return message["result"];
      }
      events_.push_back(message);
    }
  }

  // The parameters of the first event `method` (satisfying `accept`), kept or
  // still to come.
  Json::Value WaitEvent(const std::string& method,
                        const std::function<bool(const Json::Value&)>& accept = nullptr) {
    for (auto it = events_.begin(); it != events_.end(); ++it) {
      if ((*it)["method"] == method && (!accept || accept((*it)["params"]))) {
        Json::Value params = (*it)["params"];
        events_.erase(it);
        return params;
      }
    }
    auto deadline = Clock::now() + kWait;
    for (;;) {
      Json::Value message = Read(deadline, method);
      if (message["method"] == method && (!accept || accept(message["params"]))) {
        return message["params"];
      }
      events_.push_back(message);
    }
  }

  // Whether an event has arrived so far (nothing more is read).
  bool Received(const std::string& method) const {
    for (const Json::Value& event : events_) {
      if (event["method"] == method) return true;
    }
    return false;
  }

  // Sends text as it is; the first answer (a message with an id or an error).
  Json::Value SendRaw(const std::string& text) {
    WriteText(text);
    auto deadline = Clock::now() + kWait;
    for (;;) {
      Json::Value message = Read(deadline, "the answer to " + text);
      if (message.isMember("id") || message.isMember("error")) return message;
      events_.push_back(message);
    }
  }

  // Goes without a closing handshake, as a crashed client would.
  void Drop() {
    beast::error_code ignored;
    beast::get_lowest_layer(ws_).socket().close(ignored);
  }

  Json::Value Evaluate(const std::string& expression) {
    const Json::Value result = Call("Runtime.evaluate", Object({{"expression", expression}}));
    if (result.isMember("exceptionDetails")) {
      Fail(name_ + ": " + expression + " threw: " + Compact(result["exceptionDetails"]));
    }
    return result["result"];
  }

  void Close() {
    beast::error_code error;
    bool done = false;
    ws_.async_close(websocket::close_code::normal, [&](beast::error_code e) {
      error = e;
      done = true;
    });
    ioc_.restart();
    ioc_.run_for(kWait);
    if (!done) Fail(name_ + ": closing timed out");
  }

 private:
  void Write(const Json::Value& message) { WriteText(Compact(message)); }

  void WriteText(const std::string& text) {
    beast::error_code error;
    bool done = false;
    ws_.text(true);
    ws_.async_write(asio::buffer(text), [&](beast::error_code e, size_t) {
      error = e;
      done = true;
    });
    ioc_.restart();
    ioc_.run_for(kWait);
    if (!done) Fail(name_ + ": sending timed out");
    if (error) Fail(name_ + ": sending failed: " + error.message());
  }

  Json::Value Read(Clock::time_point deadline, const std::string& awaited) {
    beast::error_code error;
    bool done = false;
    ws_.async_read(buffer_, [&](beast::error_code e, size_t) {
      error = e;
      done = true;
    });
    ioc_.restart();
    while (!done && Clock::now() < deadline && ioc_.run_one_until(deadline) > 0) {
    }
    if (!done) {
      beast::error_code ignored;
      beast::get_lowest_layer(ws_).socket().close(ignored);
      ioc_.restart();
      ioc_.run();
      Fail(name_ + ": nothing arrived in time while waiting for " + awaited);
    }
    if (error)
      Fail(name_ + ": the connection ended while waiting for " + awaited + ": " + error.message());
    std::string text = beast::buffers_to_string(buffer_.data());
    buffer_.consume(buffer_.size());
    return Parse(text, name_ + "'s message");
  }

  std::string name_;
  asio::io_context ioc_;
  websocket::stream<beast::tcp_stream> ws_;
  beast::flat_buffer buffer_;
  std::deque<Json::Value> events_;
  int nextId_ = 1;
};

// --- scenarios ----------------------------------------------------------------

struct Setup {
  std::string tarnRun;
  std::string scripts;
};

const char* const kUuid = "[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}";

struct Listening {
  uint16_t port;
  std::string id;
};

// The "Debugger listening on ws://HOST:PORT/ID" line, printed as node prints it.
inline Listening WaitListening(Child& child, const std::string& host) {
  std::vector<std::string> groups = child.WaitFor("Debugger listening on ws://" + host +
                                                  ":([0-9]+)/(" + kUuid + ")\nFor help, see: ");
  int port = std::atoi(groups[1].c_str());
  Expect(port > 0 && port < 65536, "the printed port is a real one: " + groups[1]);
  return Listening{static_cast<uint16_t>(port), groups[2]};
}

inline std::string Str(const Json::Value& value) {
  return value.isString() ? value.asString() : "";
}

}  // namespace debugclient
