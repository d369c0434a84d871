// A DevTools-protocol client, as Chrome DevTools and VS Code are, that drives
// tarn-run --inspect and --inspect-brk over real sockets on 127.0.0.1:
//   debug_client SCENARIO TARN_RUN SCRIPTS_DIR
// It reads the debugger's address from tarn-run's stderr, asks /json/list and
// /json/version, and talks to the WebSocket. Every wait has a deadline; a
// tarn-run still running when a scenario ends is killed. A cross build's
// emulator (TARN_EMULATOR) starts tarn-run when it is set.
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

namespace {

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

[[noreturn]] void Fail(const std::string& what) { throw TestFailure(what); }

void Expect(bool ok, const std::string& what) {
  if (!ok) Fail(what);
}

std::string Compact(const Json::Value& value) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  builder["emitUTF8"] = true;
  return Json::writeString(builder, value);
}

Json::Value Parse(const std::string& text, const std::string& what) {
  Json::CharReaderBuilder builder;
  std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  Json::Value value;
  std::string errors;
  if (!reader->parse(text.data(), text.data() + text.size(), &value, &errors)) {
    Fail(what + " is not JSON (" + errors + "): " + text.substr(0, 500));
  }
  return value;
}

Json::Value Object(std::initializer_list<std::pair<const char*, Json::Value>> members) {
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
HttpAnswer Get(uint16_t port, const std::string& target, const std::string& host) {
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
Listening WaitListening(Child& child, const std::string& host) {
  std::vector<std::string> groups = child.WaitFor("Debugger listening on ws://" + host +
                                                  ":([0-9]+)/(" + kUuid + ")\nFor help, see: ");
  int port = std::atoi(groups[1].c_str());
  Expect(port > 0 && port < 65536, "the printed port is a real one: " + groups[1]);
  return Listening{static_cast<uint16_t>(port), groups[2]};
}

std::string Str(const Json::Value& value) { return value.isString() ? value.asString() : ""; }

// --inspect-brk: discovery, the stop on the first line, a breakpoint in a
// function, its locals, an evaluation with the bridge, console messages, and
// the exit status once the client has gone.
void SessionScenario(const Setup& setup) {
  const std::string script = setup.scripts + "/debug_target.js";
  const std::string url = "file://" + script;
  Child child;
  child.Start({setup.tarnRun, "--inspect-brk=127.0.0.1:0", script});
  Listening at = WaitListening(child, "127\\.0\\.0\\.1");
  Expect(child.Stderr().find("Warning") == std::string::npos,
         "no warning for a loopback address: " + child.Stderr());
  const std::string address = "127.0.0.1:" + std::to_string(at.port);

  HttpAnswer list = Get(at.port, "/json/list", address);
  std::printf("GET /json/list -> %d\n%s", list.status, list.body.c_str());
  Expect(list.status == 200, "/json/list answers 200");
  Expect(list.contentType.find("application/json") == 0, "/json/list is JSON: " + list.contentType);
  Json::Value targets = Parse(list.body, "/json/list");
  Expect(targets.isArray() && targets.size() == 1, "/json/list lists one target");
  const Json::Value& target = targets[0];
  const std::vector<std::string> fields = {
      "description", "devtoolsFrontendUrl", "devtoolsFrontendUrlCompat", "id", "title", "type",
      "url",         "webSocketDebuggerUrl"};
  for (const std::string& field : fields) {
    Expect(target[field].isString(), "/json/list has the text " + field);
  }
  Expect(!Str(target["description"]).empty(), "a description");
  Expect(Str(target["id"]) == at.id, "the id is the printed one");
  Expect(Str(target["type"]) == "node", "type node");
  Expect(Str(target["title"]) == script, "the title names the script: " + Str(target["title"]));
  Expect(Str(target["url"]) == url, "the url is the script's file URL: " + Str(target["url"]));
  Expect(Str(target["webSocketDebuggerUrl"]) == "ws://" + address + "/" + at.id,
         "webSocketDebuggerUrl: " + Str(target["webSocketDebuggerUrl"]));
  Expect(Str(target["devtoolsFrontendUrl"]) ==
             "devtools://devtools/bundled/js_app.html?experiments=true&v8only=true&ws=" + address +
                 "/" + at.id,
         "devtoolsFrontendUrl: " + Str(target["devtoolsFrontendUrl"]));
  Expect(Str(target["devtoolsFrontendUrlCompat"]) ==
             "devtools://devtools/bundled/inspector.html?experiments=true&v8only=true&ws=" +
                 address + "/" + at.id,
         "devtoolsFrontendUrlCompat: " + Str(target["devtoolsFrontendUrlCompat"]));
  HttpAnswer json = Get(at.port, "/json", address);
  Expect(json.status == 200 && json.body == list.body, "/json answers as /json/list");
  HttpAnswer version = Get(at.port, "/json/version", address);
  std::printf("GET /json/version -> %d\n%s", version.status, version.body.c_str());
  Json::Value versionJson = Parse(version.body, "/json/version");
  Expect(version.status == 200 && versionJson.isObject(), "/json/version answers an object");
  Expect(Str(versionJson["Browser"]).rfind("tarn-run/", 0) == 0,
         "Browser is tarn-run/VERSION: " + Str(versionJson["Browser"]));
  Expect(Str(versionJson["Protocol-Version"]) == "1.1", "Protocol-Version 1.1");
  Expect(Get(at.port, "/json/list", "attacker.example:" + std::to_string(at.port)).status == 400,
         "a Host header naming another host is refused");
  Expect(Get(at.port, "/no/such/thing", address).status == 400, "an unknown path is refused");
  {
    Session stranger("wrong id");
    Expect(!stranger.Connect(at.port, "/00000000-0000-4000-8000-000000000000"),
           "a WebSocket for another target is refused");
  }

  Session devtools("client");
  Expect(devtools.Connect(at.port, "/" + at.id), "the WebSocket handshake succeeds");
  child.WaitFor("Debugger attached\\.\n");
  devtools.Call("Runtime.enable");
  Json::Value created = devtools.WaitEvent("Runtime.executionContextCreated");
  std::printf("executionContextCreated: %s\n", Compact(created).c_str());
  Expect(Str(created["context"]["name"]) == "tarn-run[" + std::to_string(child.Pid()) + "]",
         "the context is named after the process");
  Expect(created["context"]["auxData"]["isDefault"] == true, "the context is the default one");
  devtools.Call("Debugger.enable");
  devtools.Call("Runtime.runIfWaitingForDebugger");
  Json::Value parsed = devtools.WaitEvent(
      "Debugger.scriptParsed", [&](const Json::Value& p) { return Str(p["url"]) == url; });
  const std::string scriptId = Str(parsed["scriptId"]);
  Json::Value paused = devtools.WaitEvent("Debugger.paused");
  std::printf("paused: reason %s at %s\n", Str(paused["reason"]).c_str(),
              Compact(paused["callFrames"][0]["location"]).c_str());
  Expect(Str(paused["reason"]) == "Break on start", "stopped on start");
  Expect(paused["callFrames"][0]["location"]["lineNumber"] == 0 &&
             Str(paused["callFrames"][0]["location"]["scriptId"]) == scriptId,
         "stopped on the script's first line");

  Json::Value breakpoint =
      devtools.Call("Debugger.setBreakpointByUrl", Object({{"lineNumber", 3}, {"url", url}}));
  Expect(breakpoint["locations"].size() == 1 && breakpoint["locations"][0]["lineNumber"] == 3,
         "the breakpoint resolves on line 4: " + Compact(breakpoint));
  devtools.Call("Debugger.resume");
  paused = devtools.WaitEvent("Debugger.paused");
  const Json::Value& frame = paused["callFrames"][0];
  std::printf("paused: hit %s in %s at %s\n", Compact(paused["hitBreakpoints"]).c_str(),
              Str(frame["functionName"]).c_str(), Compact(frame["location"]).c_str());
  Expect(paused["hitBreakpoints"][0] == breakpoint["breakpointId"], "the breakpoint was hit");
  Expect(Str(frame["functionName"]) == "add" && frame["location"]["lineNumber"] == 3,
         "stopped in add() on line 4");

  Json::Value local =
      devtools.Call("Debugger.evaluateOnCallFrame",
                    Object({{"callFrameId", frame["callFrameId"]}, {"expression", "sum * 10"}}));
  Expect(local["result"]["value"] == 50, "sum * 10 on the frame: " + Compact(local));
  const Json::Value& scope = frame["scopeChain"][0];
  Expect(Str(scope["type"]) == "local", "the innermost scope is the local one");
  Json::Value properties =
      devtools.Call("Runtime.getProperties",
                    Object({{"objectId", scope["object"]["objectId"]}, {"ownProperties", true}}));
  std::map<std::string, Json::Value> locals;
  for (const Json::Value& property : properties["result"]) {
    locals[Str(property["name"])] = property["value"]["value"];
  }
  std::printf("locals: a=%s b=%s sum=%s\n", Compact(locals["a"]).c_str(),
              Compact(locals["b"]).c_str(), Compact(locals["sum"]).c_str());
  Expect(locals["a"] == 2 && locals["b"] == 3 && locals["sum"] == 5,
         "the local scope holds a, b and sum: " + Compact(properties));

  Json::Value appType = devtools.Evaluate("new QDUtil().APP_TYPE_WEB_APP");
  Expect(appType["value"] == 1, "new QDUtil().APP_TYPE_WEB_APP is 1: " + Compact(appType));
  Expect(devtools.Evaluate("'é✓'.length")["value"] == 2, "text beyond ASCII reaches the script");
  Expect(Str(devtools.Evaluate("'é✓' + '!'")["value"]) == "é✓!",
         "text beyond ASCII comes back as sent");

  devtools.Call("Debugger.resume");
  Json::Value logged = devtools.WaitEvent("Runtime.consoleAPICalled");
  std::printf("consoleAPICalled: %s\n", Compact(logged["args"]).c_str());
  Expect(Str(logged["type"]) == "log", "console.log reported as a log");
  Expect(logged["args"].size() == 3 && Str(logged["args"][0]["value"]) == "sum is" &&
             logged["args"][1]["value"] == 5 && Str(logged["args"][2]["value"]) == "é✓",
         "console.log's arguments: " + Compact(logged["args"]));
  const Json::Value& top = logged["stackTrace"]["callFrames"][0];
  Expect(Str(top["url"]) == url && top["lineNumber"] == 3 && Str(top["functionName"]) == "add",
         "console.log's call site: " + Compact(top));
  child.WaitFor("sum is 5 é✓\n", false);

  // tarn.exit(3): as node, the process waits for the debugger to leave.
  child.WaitFor("Waiting for the debugger to disconnect\\.\\.\\.\n");
  devtools.WaitEvent("Runtime.executionContextDestroyed");
  Expect(child.Running(), "tarn-run waits while the client is attached");
  devtools.Close();
  int status = child.WaitExit();
  Expect(status == 3, "the exit status is the script's 3, not " + std::to_string(status));
  Expect(child.Stdout() == "sum is 5 é✓\n", "stdout: " + child.Stdout());
}

// Two clients at once, as node allows: both see the script's console, one
// pauses it while the other evaluates; the one that asked to be told of the
// end (as VS Code does) keeps the context until it leaves; the process waits
// for the last one.
void TwoClientsScenario(const Setup& setup) {
  Child child;
  child.Start(
      {setup.tarnRun, "--inspect-brk=127.0.0.1:0", setup.scripts + "/debug_two_clients.js"});
  Listening at = WaitListening(child, "127\\.0\\.0\\.1");
  Session first("first"), second("second");
  Expect(first.Connect(at.port, "/" + at.id), "the first client connects");
  Expect(second.Connect(at.port, "/" + at.id), "the second client connects");
  child.WaitFor("Debugger attached\\.\n(.|\n)*Debugger attached\\.\n");
  first.Call("Runtime.enable");
  first.Call("Debugger.enable");
  second.Call("Runtime.enable");
  second.Call("NodeRuntime.notifyWhenWaitingForDisconnect", Object({{"enabled", true}}));
  Expect(second.Evaluate("6 * 7")["value"] == 42, "the second client evaluates while waiting");
  first.Call("Runtime.runIfWaitingForDebugger");
  Json::Value paused = first.WaitEvent("Debugger.paused");
  Expect(Str(paused["reason"]) == "Break on start", "the first client stops on start");
  Expect(second.Evaluate("1 + 2")["value"] == 3, "the second client evaluates while paused");
  first.Call("Debugger.resume");
  for (Session* session : {&first, &second}) {
    Json::Value logged = session->WaitEvent("Runtime.consoleAPICalled");
    Expect(Str(logged["args"][0]["value"]) == "from the script",
           "each client sees console.log: " + Compact(logged));
  }
  second.WaitEvent("NodeRuntime.waitingForDisconnect");
  child.WaitFor("Waiting for the debugger to disconnect\\.\\.\\.\n");
  first.Close();
  // Still serving the second client, with the context kept for it.
  Expect(second.Evaluate("tarn.exitCode")["value"] == 4,
         "the second client still evaluates after the first left");
  Expect(!second.Received("Runtime.executionContextDestroyed"),
         "the context is kept for the client that asked");
  Expect(child.Running(), "tarn-run waits for the second client");
  second.Close();
  int status = child.WaitExit();
  Expect(status == 4, "the exit status is tarn.exitCode's 4, not " + std::to_string(status));
}

// --inspect alone: the script runs at once; a client pauses it in the middle
// of a busy loop (messages reach the script thread while a script runs),
// changes a variable and lets it finish.
void BusyScriptScenario(const Setup& setup) {
  const std::string script = setup.scripts + "/debug_busy.js";
  Child child;
  child.Start({setup.tarnRun, "--inspect=127.0.0.1:0", "--no-bridges", script});
  Listening at = WaitListening(child, "127\\.0\\.0\\.1");
  child.WaitFor("^busy\n", false);
  Session client("client");
  Expect(client.Connect(at.port, "/" + at.id), "the client connects");
  client.Call("Runtime.enable");
  client.Call("Debugger.enable");
  client.Call("Debugger.pause");
  Json::Value paused = client.WaitEvent("Debugger.paused");
  const Json::Value& frame = paused["callFrames"][0];
  std::printf("paused: reason %s at %s\n", Str(paused["reason"]).c_str(),
              Compact(frame["location"]).c_str());
  Json::Value line = frame["location"]["lineNumber"];
  Expect(line.isInt() && line.asInt() >= 3 && line.asInt() <= 5, "paused inside the loop");
  Json::Value turns = client.Call(
      "Debugger.evaluateOnCallFrame",
      Object({{"callFrameId", frame["callFrameId"]}, {"expression", "keepGoing = false, turns"}}));
  Expect(turns["result"]["value"].isNumeric() && turns["result"]["value"].asDouble() > 0,
         "the loop had turned: " + Compact(turns));
  client.Call("Debugger.resume");
  // The first console.log, made before the client came, is replayed to it.
  Json::Value logged = client.WaitEvent("Runtime.consoleAPICalled", [](const Json::Value& p) {
    return Str(p["args"][0]["value"]) != "busy";
  });
  Expect(Str(logged["args"][0]["value"]) == "stopped after some turns:" &&
             logged["args"][1]["value"] == true,
         "the script went on after the loop: " + Compact(logged));
  child.WaitFor("Waiting for the debugger to disconnect\\.\\.\\.\n");
  client.Close();
  Expect(child.WaitExit() == 0, "exit status 0");
  Expect(child.Stdout() == "busy\nstopped after some turns: true\n", "stdout: " + child.Stdout());
}

// 0.0.0.0: a warning before the address; a client on 127.0.0.1 gets URLs
// that name the address it used.
void PublicAddressScenario(const Setup& setup) {
  Child child;
  child.Start(
      {setup.tarnRun, "--inspect-brk=0.0.0.0:0", "--no-bridges", setup.scripts + "/print_one.js"});
  std::vector<std::string> warning = child.WaitFor(
      "Warning: the debugger listens on 0\\.0\\.0\\.0:([0-9]+), which other machines "
      "may reach\\. Anyone who connects can run any code in this process");
  Listening at = WaitListening(child, "0\\.0\\.0\\.0");
  Expect(warning[1] == std::to_string(at.port), "the warning names the port");
  Expect(child.Stderr().find("Warning") < child.Stderr().find("Debugger listening"),
         "the warning comes first");
  const std::string address = "127.0.0.1:" + std::to_string(at.port);
  Json::Value targets = Parse(Get(at.port, "/json/list", address).body, "/json/list");
  Expect(Str(targets[0]["webSocketDebuggerUrl"]) == "ws://" + address + "/" + at.id,
         "the URL names the address the client used: " + Compact(targets));
  Session client("client");
  Expect(client.Connect(at.port, "/" + at.id), "the client connects through 127.0.0.1");
  client.Call("Runtime.runIfWaitingForDebugger");
  child.WaitFor("^1\n", false);
  client.Close();
  Expect(child.WaitExit() == 0, "exit status 0");
}

// A port already taken: the message node prints, and the script runs
// without a debugger.
void PortInUseScenario(const Setup& setup) {
  asio::io_context ioc;
  tcp::acceptor taken(ioc, tcp::endpoint(asio::ip::make_address("127.0.0.1"), 0));
  const std::string port = std::to_string(taken.local_endpoint().port());
  Child child;
  child.Start({setup.tarnRun, "--inspect-brk=127.0.0.1:" + port, "--no-bridges",
               setup.scripts + "/print_one.js"});
  int status = child.WaitExit();
  std::printf("stderr: %s", child.Stderr().c_str());
  Expect(child.Stderr() ==
             "Starting inspector on 127.0.0.1:" + port + " failed: address already in use\n",
         "the message names the address");
  Expect(status == 0 && child.Stdout() == "1\n", "the script ran without waiting");
}

// An error that ends the run reaches the client's console as node reports
// it (Runtime.exceptionThrown), a thrown one and a rejected promise alike.
void UncaughtScenario(const Setup& setup) {
  struct Case {
    const char* script;
    const char* text;
    const char* description;
  };
  for (const Case& test :
       {Case{"debug_throws.js", "Uncaught", "Error: boom"},
        Case{"debug_rejects.js", "Uncaught (in promise)", "Error: nobody catches this"}}) {
    const std::string script = setup.scripts + "/" + test.script;
    Child child;
    child.Start({setup.tarnRun, "--inspect-brk=127.0.0.1:0", "--no-bridges", script});
    Listening at = WaitListening(child, "127\\.0\\.0\\.1");
    Session client("client");
    Expect(client.Connect(at.port, "/" + at.id), "the client connects");
    client.Call("Runtime.enable");
    client.Call("Runtime.runIfWaitingForDebugger");
    Json::Value thrown = client.WaitEvent("Runtime.exceptionThrown");
    const Json::Value& details = thrown["exceptionDetails"];
    std::printf("exceptionThrown: %s: %s\n", Str(details["text"]).c_str(),
                Str(details["exception"]["description"]).c_str());
    Expect(Str(details["text"]) == test.text, "reported as " + std::string(test.text));
    Expect(Str(details["exception"]["description"]).rfind(test.description, 0) == 0,
           "the error itself: " + Compact(details["exception"]));
    if (std::string(test.script) == "debug_throws.js") {
      Expect(Str(details["url"]) == "file://" + script && details["lineNumber"] == 1 &&
                 Str(details["stackTrace"]["callFrames"][0]["functionName"]) == "boom",
             "where it was thrown: " + Compact(details));
    }
    child.WaitFor("Waiting for the debugger to disconnect\\.\\.\\.\n");
    client.Close();
    Expect(child.WaitExit() == 1, "exit status 1");
  }
}

// What a confused or broken client sends: each gets an error or a closed
// connection, and the script goes on. A client that vanishes while the
// script is paused lets it run to its end.
void BadInputScenario(const Setup& setup) {
  Child child;
  child.Start({setup.tarnRun, "--inspect-brk=127.0.0.1:0", setup.scripts + "/debug_target.js"});
  Listening at = WaitListening(child, "127\\.0\\.0\\.1");
  const std::string address = "127.0.0.1:" + std::to_string(at.port);
  {
    // Not HTTP at all: the connection is closed.
    asio::io_context ioc;
    tcp::socket socket(ioc);
    socket.connect(tcp::endpoint(asio::ip::make_address("127.0.0.1"), at.port));
    asio::write(socket, asio::buffer(std::string("\x01\x02 nonsense\r\n\r\n")));
    char byte;
    bool closed = false;
    socket.async_read_some(asio::buffer(&byte, 1), [&](boost::system::error_code error, size_t) {
      closed = error == asio::error::eof || error == asio::error::connection_reset;
    });
    ioc.run_for(kWait);
    Expect(closed, "a request that is not HTTP closes the connection");
  }
  Expect(Get(at.port, "/json/version", "").status == 200, "a request without Host is answered");
  Expect(Get(at.port, "/json/list", "[::1]:" + std::to_string(at.port)).status == 200,
         "an IPv6 Host header is taken");
  Expect(Get(at.port, "/json/list", "127.0.0.1.example:1").status == 400,
         "a host name that only starts like an address is refused");

  Session client("client");
  Expect(client.Connect(at.port, "/" + at.id), "the client connects");
  Json::Value answer = client.SendRaw("this is not JSON");
  std::printf("not JSON -> %s\n", Compact(answer).c_str());
  Expect(answer.isMember("error"), "text that is not JSON gets an error");
  answer = client.SendRaw(R"({"id": 7, "method": "No.suchMethod", "params": {}})");
  Expect(answer["id"] == 7 && answer.isMember("error"), "an unknown method gets an error");
  answer = client.SendRaw(R"({"id": 8, "method": "NodeRuntime.notifyWhenWaitingForDisconnect",)"
                          R"( "params": [1, 2]})");
  Expect(answer["id"] == 8, "odd NodeRuntime parameters are answered: " + Compact(answer));
  answer = client.SendRaw(R"({"id": 9, "method": "Runtime.evaluate", "params": "x"})");
  Expect(answer.isMember("error"), "parameters that are not an object get an error");
  answer = client.SendRaw(R"([{"id": 10}])");
  Expect(answer.isMember("error"), "a message that is not an object gets an error");
  client.Call("Debugger.enable");
  client.Call("Runtime.runIfWaitingForDebugger");
  client.WaitEvent("Debugger.paused");
  client.Drop();
  int status = child.WaitExit();
  Expect(status == 3, "the script ran to tarn.exit(3) once the client vanished, status " +
                          std::to_string(status));
  Expect(child.Stdout() == "sum is 5 é✓\n", "stdout: " + child.Stdout());
  Expect(child.Stderr().find("Waiting for the debugger") == std::string::npos,
         "nobody is waited for");
}

}  // namespace

// The forms users type, as node reads them: a value only after "=", so the
// script's name after --inspect or --inspect-brk is the script. The default
// address may be held by another run on this machine: then the message node
// prints, and the script runs without a debugger, which these forms allow
// as well.
const char* const kDefaultAddress =
    "(?:Debugger listening on ws://127\\.0\\.0\\.1:9229/([0-9a-f-]{36})|"
    "Starting inspector on 127\\.0\\.0\\.1:9229 failed)";

void RunsToItsEnd(Child& child, const std::string& what) {
  int status = child.WaitExit();
  Expect(status == 4 && child.Stdout() == "ran to the end\n", what + ": the script ran");
  Expect(child.Stderr().find("not an IP address") == std::string::npos,
         what + ": the script's name is no option value");
}

void ArgumentFormsScenario(const Setup& setup) {
  const std::string script = setup.scripts + "/debug_no_client.js";
  {
    Child child;
    child.Start({setup.tarnRun, "--no-bridges", "--inspect", script});
    child.WaitFor(kDefaultAddress);
    RunsToItsEnd(child, "--inspect SCRIPT");
  }
  {
    Child child;
    child.Start({setup.tarnRun, "--no-bridges", "--inspect=9230", script});
    child.WaitFor(
        "(?:Debugger listening on ws://127\\.0\\.0\\.1:9230/|"
        "Starting inspector on 127\\.0\\.0\\.1:9230 failed)");
    RunsToItsEnd(child, "--inspect=9230 SCRIPT");
  }
  {
    Child child;
    child.Start({setup.tarnRun, "--no-bridges", "--inspect=127.0.0.1:0", script});
    WaitListening(child, "127\\.0\\.0\\.1");
    RunsToItsEnd(child, "--inspect=127.0.0.1:0 SCRIPT");
  }
  {
    // Options of the same name after the script are the script's own.
    Child child;
    child.Start({setup.tarnRun, "--no-bridges", "--inspect=127.0.0.1:0", setup.scripts + "/args.js",
                 "--inspect", "--inspect-brk=1"});
    WaitListening(child, "127\\.0\\.0\\.1");
    Expect(child.WaitExit() == 0 && child.Stdout() == "[\"--inspect\",\"--inspect-brk=1\"]\n",
           "the script's arguments are handed over as given");
  }
  {
    // The README's example: it waits for a debugger, which lets it run.
    Child child;
    child.Start({setup.tarnRun, "--inspect-brk", script});
    std::vector<std::string> groups = child.WaitFor(kDefaultAddress);
    if (groups.size() > 1 && !groups[1].empty()) {
      std::this_thread::sleep_for(std::chrono::milliseconds(200));
      Expect(child.Stdout().empty(), "--inspect-brk SCRIPT waits for a debugger");
      Session devtools("client");
      Expect(devtools.Connect(9229, "/" + groups[1]), "the debugger attaches");
      devtools.Call("Runtime.runIfWaitingForDebugger");
      child.WaitFor("ran to the end\n", false);
      devtools.Close();
    } else {
      std::printf("127.0.0.1:9229 is taken here: --inspect-brk SCRIPT ran without waiting\n");
    }
    RunsToItsEnd(child, "--inspect-brk SCRIPT");
  }
}

int main(int argc, char* argv[]) {
  if (argc != 4) {
    std::fprintf(stderr, "usage: %s SCENARIO TARN_RUN SCRIPTS_DIR\n", argv[0]);
    return 2;
  }
  signal(SIGPIPE, SIG_IGN);
  const std::map<std::string, void (*)(const Setup&)> scenarios = {
      {"session", SessionScenario},        {"two_clients", TwoClientsScenario},
      {"busy_script", BusyScriptScenario}, {"public_address", PublicAddressScenario},
      {"port_in_use", PortInUseScenario},  {"bad_input", BadInputScenario},
      {"uncaught", UncaughtScenario},      {"argument_forms", ArgumentFormsScenario},
  };
  auto found = scenarios.find(argv[1]);
  if (found == scenarios.end()) {
    std::fprintf(stderr, "unknown scenario %s\n", argv[1]);
    return 2;
  }
  try {
    found->second(Setup{argv[2], argv[3]});
  } catch (const TestFailure& failure) {
    std::printf("FAILED: %s\n", failure.what());
    return 1;
  } catch (const std::exception& e) {
    std::printf("FAILED with %s\n", e.what());
    return 1;
  }
  std::printf("ok\n");
  return 0;
}
