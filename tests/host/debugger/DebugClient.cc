// A DevTools-protocol client, as Chrome DevTools and VS Code are, that drives
// tarn-run --inspect and --inspect-brk over real sockets on 127.0.0.1:
//   debug_client SCENARIO TARN_RUN SCRIPTS_DIR
// It reads the debugger's address from tarn-run's stderr, asks /json/list and
// /json/version, and talks to the WebSocket. Every wait has a deadline; a
// tarn-run still running when a scenario ends is killed. A cross build's
// emulator (TARN_EMULATOR) starts tarn-run when it is set.
#include <signal.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

#include "ProtocolClient.h"

namespace {

using namespace debugclient;

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

// help() among the console's helpers: a QDUtil method's reference text,
// for what the console evaluates only (includeCommandLineAPI), never as a
// global of the script.
void ConsoleHelpScenario(const Setup& setup) {
  Child child;
  child.Start({setup.tarnRun, "--inspect-brk=127.0.0.1:0", setup.scripts + "/debug_help.js"});
  Listening at = WaitListening(child, "127\\.0\\.0\\.1");
  Session devtools("client");
  Expect(devtools.Connect(at.port, "/" + at.id), "the client connects");
  devtools.Call("Runtime.enable");
  devtools.Call("Debugger.enable");
  devtools.Call("Runtime.runIfWaitingForDebugger");
  devtools.WaitEvent("Debugger.paused");
  auto console = [&](const std::string& expression) {
    Json::Value answer = devtools.Call(
        "Runtime.evaluate", Object({{"expression", expression}, {"includeCommandLineAPI", true}}));
    std::printf("%s -> %s\n", expression.c_str(), Compact(answer["result"]).c_str());
    Expect(Str(answer["result"]["type"]) == "string", expression + " answers a text");
    return Str(answer["result"]["value"]);
  };
  const std::string entry = console("help(QDUtil.prototype.getAppId)");
  Expect(
      entry.rfind("q.getAppId(): string\n  Place 22 of the table", 0) == 0 &&
          entry.find("  Fails: \"\" when the package name cannot be read\n") != std::string::npos,
      "help(method) is the method's reference entry");
  Expect(console("help('q.getAppId')") == entry, "help('q.getAppId') is the same entry");
  Expect(console("help('powerStandby')") ==
             "QDUtil has no method or constant \"powerStandby\"; did you mean powerStanby?\n",
         "a misspelt name gets the near one");
  Expect(console("help()").rfind("help(q.NAME) or help(\"NAME\")", 0) == 0,
         "help() says how to use it");
  Json::Value global = devtools.Evaluate("typeof help");
  Expect(Str(global["value"]) == "undefined", "help is no global of the script");
  devtools.Call("Debugger.resume");
  child.WaitFor("Waiting for the debugger to disconnect\\.\\.\\.\n");
  devtools.Close();
  Expect(child.WaitExit() == 0, "exit status 0");
  Expect(child.Stdout() == "the package is org.tarn.firstscreen\n", "stdout: " + child.Stdout());
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
      {"session", SessionScenario},
      {"two_clients", TwoClientsScenario},
      {"busy_script", BusyScriptScenario},
      {"public_address", PublicAddressScenario},
      {"port_in_use", PortInUseScenario},
      {"bad_input", BadInputScenario},
      {"uncaught", UncaughtScenario},
      {"console_help", ConsoleHelpScenario},
      {"argument_forms", ArgumentFormsScenario},
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
