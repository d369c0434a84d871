// tarn-run: runs a script in the engine host with the bridges loaded, the way
// the TV's engine runs home-screen scripts.
#include <dlfcn.h>
#include <fcntl.h>
#include <glib.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "AppConfig.h"
#include "Logger.h"
#include "beside_program.h"
#include "code_value.h"
#include "debugger.h"
#include "engine_options.h"
#include "equals_value.h"
#include "extensions.h"
#include "simview.h"
#include "tarn/host/Host.h"
#include "types_text.h"

#ifndef TARN_VERSION
#define TARN_VERSION "0.0.0"
#endif
#ifndef TARN_DEFAULT_BRIDGE
#define TARN_DEFAULT_BRIDGE "libqdutil.so"
#endif
#ifndef TARN_REPL_MODULE
#define TARN_REPL_MODULE "libtarnrepl.so"
#endif

namespace {

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  size_t start = 0;
  while (start <= text.size()) {
    size_t end = text.find(separator, start);
    if (end == std::string::npos) end = text.size();
    if (end > start) parts.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return parts;
}

// The QDUtil bridge.
std::string DefaultBridge() { return besideProgram(TARN_DEFAULT_BRIDGE); }

// The interactive prompt lives in a module of its own, loaded only when it
// starts (its line editor costs a script run nothing). Null with a message.
std::unique_ptr<tarn::host::Extension> LoadRepl(std::string* error) {
  std::string path = besideProgram(TARN_REPL_MODULE);
  void* module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!module) {
    *error = std::string("cannot load the interactive prompt: ") + dlerror();
    return nullptr;
  }
  using Factory = tarn::host::Extension* (*)();
  auto factory = reinterpret_cast<Factory>(dlsym(module, "tarnReplExtension"));
  if (!factory) {
    *error = path + " has no tarnReplExtension";
    return nullptr;
  }
  return std::unique_ptr<tarn::host::Extension>(factory());
}

// The GOption side of an option whose value only follows "=" (read by
// EqualsValueOptions around the parse).
gboolean AcceptOption(const gchar*, const gchar*, gpointer, GError**) { return TRUE; }

// From a number 0..4 or a level name; -1 when neither.
int ParseLevel(const char* text) {
  static const char* const names[] = {"error", "warn", "info", "debug", "trace"};
  for (int i = 0; i < 5; ++i) {
    if (strcasecmp(text, names[i]) == 0) return i;
  }
  if (text[0] >= '0' && text[0] <= '4' && text[1] == '\0') return text[0] - '0';
  return -1;
}

// What the command line gave, as GLib's option parser fills it in.
struct CommandLine {
  gchar** bridges = nullptr;
  gchar* logLevel = nullptr;
  gchar* evalCode = nullptr;
  gchar* printCode = nullptr;
  gchar* tarnData = nullptr;
  gchar* appData = nullptr;
  gboolean noBridges = FALSE;
  gboolean version = FALSE;
  gboolean types = FALSE;
  gboolean module = FALSE;

  EngineOptions engine;

  CommandLine() = default;
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;
  ~CommandLine() {
    g_strfreev(bridges);
    for (gchar* text : {logLevel, evalCode, printCode, tarnData, appData}) g_free(text);
  }
};

// Parses the options, each extension's among them; what follows the script
// name stays in argv for the script. False (status 2) with the message
// printed.
bool ParseOptions(int* argc, char*** argv, CommandLine* line,
                  const std::vector<std::unique_ptr<tarn::host::Extension>>& extensions) {
  GOptionEntry entries[] = {
      {"bridge", 'b', 0, G_OPTION_ARG_FILENAME_ARRAY, &line->bridges,
       "Bridge library to load (repeatable; default: $TARN_BRIDGES, else the built QDUtil bridge)",
       "PATH"},
      {"no-bridges", 0, 0, G_OPTION_ARG_NONE, &line->noBridges, "Load no bridge at all", nullptr},
      {"log-level", 'l', 0, G_OPTION_ARG_STRING, &line->logLevel,
       "Log threshold: error, warn, info, debug, trace or 0-4 (default: $TARN_LOG_LEVEL, else "
       "warn)",
       "LEVEL"},
      {"tarn-data", 0, 0, G_OPTION_ARG_FILENAME, &line->tarnData,
       "Device path of the running app's data folder", "PATH"},
      {"app-data", 0, 0, G_OPTION_ARG_FILENAME, &line->appData,
       "Device path where the app writes its own files (default: its data folder)", "PATH"},
      {"eval", 'e', 0, G_OPTION_ARG_STRING, &line->evalCode,
       "Run CODE instead of a script file (arguments after it are tarn.args)", "CODE"},
      {"print", 'p', 0, G_OPTION_ARG_STRING, &line->printCode,
       "As --eval, then print the value of CODE as console.log does", "CODE"},
      {"module", 0, 0, G_OPTION_ARG_NONE, &line->module,
       "Run SCRIPT, -e CODE or standard input as an ES module (SCRIPT.mjs always is one)", nullptr},
      // Their value only after "=" (read by EqualsValueOptions).
      {"inspect", 0, G_OPTION_FLAG_NO_ARG, G_OPTION_ARG_CALLBACK,
       reinterpret_cast<gpointer>(AcceptOption),
       "Let a debugger (Chrome DevTools, VS Code) attach, on 127.0.0.1:9229 or "
       "--inspect=[HOST:]PORT",
       nullptr},
      {"inspect-brk", 0, G_OPTION_FLAG_NO_ARG, G_OPTION_ARG_CALLBACK,
       reinterpret_cast<gpointer>(AcceptOption),
       "As --inspect (--inspect-brk=[HOST:]PORT), and wait for the debugger, stopped at the "
       "script's first line",
       nullptr},
      {"sim-view", 0, G_OPTION_FLAG_NO_ARG, G_OPTION_ARG_CALLBACK,
       reinterpret_cast<gpointer>(AcceptOption),
       "Serve a live view of the simulated TV, on 127.0.0.1:9300 or --sim-view=[HOST:]PORT; the "
       "run stays up for it until Ctrl+C",
       nullptr},
      {"sim-view-readonly", 0, G_OPTION_FLAG_NO_ARG, G_OPTION_ARG_CALLBACK,
       reinterpret_cast<gpointer>(AcceptOption),
       "As --sim-view (--sim-view-readonly=[HOST:]PORT), with no controls", nullptr},
      {"version", 'V', 0, G_OPTION_ARG_NONE, &line->version, "Print the version and exit", nullptr},
      {"types", 0, 0, G_OPTION_ARG_NONE, &line->types,
       "Print the TypeScript declarations of the script API (qdutil.d.ts) and exit", nullptr},
      {"max-old-space-size", 0, 0, G_OPTION_ARG_STRING, &line->engine.maxOldSpace,
       "The script heap's limit, in megabytes (as V8's --max-old-space-size)", "MB"},
      {"max_old_space_size", 0, G_OPTION_FLAG_HIDDEN, G_OPTION_ARG_STRING,
       &line->engine.maxOldSpace, nullptr, "MB"},
      {"stack-size", 0, 0, G_OPTION_ARG_STRING, &line->engine.stackSize,
       "The script's stack, in kilobytes (as V8's --stack-size)", "KB"},
      {"stack_size", 0, G_OPTION_FLAG_HIDDEN, G_OPTION_ARG_STRING, &line->engine.stackSize, nullptr,
       "KB"},
      {"expose-gc", 0, 0, G_OPTION_ARG_NONE, &line->engine.exposeGc,
       "Give scripts gc() to collect garbage at once", nullptr},
      {"expose_gc", 0, G_OPTION_FLAG_HIDDEN, G_OPTION_ARG_NONE, &line->engine.exposeGc, nullptr,
       nullptr},
      {"js-flags", 0, 0, G_OPTION_ARG_STRING_ARRAY, &line->engine.jsFlags,
       "Other V8 flags, as one text (\"--flag1 --flag2=value\"; repeatable)", "FLAGS"},
      {"v8-options", 0, 0, G_OPTION_ARG_NONE, &line->engine.listOptions,
       "Print V8's own options and exit", nullptr},
      {"heapsnapshot-near-heap-limit", 0, 0, G_OPTION_ARG_STRING, &line->engine.snapshotsNearLimit,
       "Write up to N heap snapshots into the app's data folder as the heap nears its limit", "N"},
      {nullptr, 0, 0, G_OPTION_ARG_NONE, nullptr, nullptr, nullptr}};

  GOptionContext* options = g_option_context_new("[SCRIPT.js [ARGUMENTS...]]");
  g_option_context_set_summary(options,
                               "Runs SCRIPT.js in the Tarn engine host with the bridges loaded.\n"
                               "The process ends when no timer, task or listener is pending, "
                               "or at tarn.exit(code).\n"
                               "Without SCRIPT.js the script is read from stdin, or, when stdin "
                               "is a terminal, an interactive prompt starts.");
  g_option_context_add_main_entries(options, entries, nullptr);
  for (auto& extension : extensions) {
    if (GOptionGroup* group = extension->optionGroup()) g_option_context_add_group(options, group);
  }
  // Options end at the script name; what follows belongs to the script.
  g_option_context_set_strict_posix(options, TRUE);
  EqualsValueOptions equalsValue(
      {"--inspect-brk", "--inspect", "--sim-view-readonly", "--sim-view"});
  equalsValue.prepare(*argc, *argv);
  CodeValueCheck codeValue;
  codeValue.prepare(*argc, *argv);
  GError* error = nullptr;
  bool parsed = g_option_context_parse(options, argc, argv, &error);
  const std::string codeMissing = parsed ? codeValue.missing(*argc, *argv) : "";
  equalsValue.finish(*argc, *argv);
  if (!codeMissing.empty()) {
    std::fprintf(stderr, "tarn-run: %s requires an argument\nTry tarn-run --help.\n",
                 codeMissing.c_str());
    g_option_context_free(options);
    return false;
  }
  for (const auto& given : equalsValue.given()) {
    if (given.name.rfind("--sim-view", 0) == 0) {
      noteSimViewOption(given.name, given.hasValue, given.value);
    } else {
      inspectOption(given.name.c_str(), given.hasValue ? given.value.c_str() : nullptr, nullptr,
                    nullptr);
    }
  }
  if (!parsed) {
    std::fprintf(stderr, "tarn-run: %s\nTry tarn-run --help.\n", error->message);
    g_error_free(error);
  }
  g_option_context_free(options);
  return parsed;
}

// The log threshold from -l, else from TARN_LOG_LEVEL; false (status 2) for
// a value that is neither a level's name nor its number.
bool SetLogLevel(const char* option) {
  if (option) {
    int level = ParseLevel(option);
    if (level < 0) {
      std::fprintf(stderr, "tarn-run: unknown log level \"%s\"\n", option);
      return false;
    }
    tarn::util::Logger::setThreshold(level);
  } else if (const char* fromEnvironment = std::getenv("TARN_LOG_LEVEL");
             fromEnvironment && *fromEnvironment) {
    // The same values as -l, and the same refusal: a typo must not silently
    // give the default threshold.
    int level = ParseLevel(fromEnvironment);
    if (level < 0) {
      std::fprintf(stderr, "tarn-run: unknown log level \"%s\" in TARN_LOG_LEVEL\n",
                   fromEnvironment);
      return false;
    }
    tarn::util::Logger::setThreshold(level);
  }
  return true;
}

// What runs (a script file, standard input, -e or -p code, or the prompt)
// and the script's arguments. False (status 2) when nothing is given to run.
bool ChooseInput(int argc, char* argv[], const CommandLine& line,
                 tarn::host::HostOptions* hostOptions, bool* interactive) {
  // argv[0] is the program; the script comes next, possibly after "--".
  // With -e or -p there is no script: everything after the options is
  // tarn.args.
  int first = 1;
  if (first < argc && std::strcmp(argv[first], "--") == 0) ++first;
  if (line.evalCode || line.printCode) {
    hostOptions->evaluate = true;
    hostOptions->print = line.printCode != nullptr;
    hostOptions->code = line.evalCode ? line.evalCode : line.printCode;
    --first;
  } else if (first >= argc && isatty(STDIN_FILENO)) {
    // No script and a terminal: the interactive prompt, in an otherwise
    // empty run.
    *interactive = true;
    hostOptions->evaluate = true;
    hostOptions->code.clear();
    --first;
  } else if (first >= argc && fcntl(STDIN_FILENO, F_GETFD) != -1) {
    // No script and a pipe or a file on stdin: that is the script.
    hostOptions->scriptPath = "-";
    --first;
  } else if (first >= argc) {
    std::fprintf(stderr, "tarn-run: no script given\nTry tarn-run --help.\n");
    return false;
  } else {
    hostOptions->scriptPath = argv[first];
  }
  for (int i = first + 1; i < argc; ++i) hostOptions->scriptArgs.push_back(argv[i]);
  return true;
}

// -b paths, else $TARN_BRIDGES, else the QDUtil bridge; none with --no-bridges.
std::vector<std::string> ChooseBridges(const CommandLine& line) {
  std::vector<std::string> bridges;
  if (line.noBridges) return bridges;
  if (line.bridges) {
    for (gchar** path = line.bridges; *path; ++path) bridges.push_back(*path);
    return bridges;
  }
  const char* fromEnvironment = std::getenv("TARN_BRIDGES");
  return Split(fromEnvironment ? fromEnvironment : DefaultBridge(), ':');
}

// Starts the extensions, checks the simulated set's folder and adds the
// prompt when one runs. False (status 2) with the message printed.
bool StartExtensions(std::vector<std::unique_ptr<tarn::host::Extension>>* extensions,
                     bool interactive) {
  std::string message;
  for (auto& extension : *extensions) {
    if (!extension->start(&message)) {
      std::fprintf(stderr, "tarn-run: %s\n", message.c_str());
      return false;
    }
  }
  if (!simulatorRootUsable(&message)) {
    std::fprintf(stderr, "tarn-run: %s\n", message.c_str());
    return false;
  }
  if (interactive) {
    // Last, so that it starts once everything else is installed.
    std::unique_ptr<tarn::host::Extension> repl = LoadRepl(&message);
    if (!repl) {
      std::fprintf(stderr, "tarn-run: %s\n", message.c_str());
      return false;
    }
    extensions->push_back(std::move(repl));
  }
  return true;
}

}  // namespace

int main(int argc, char* argv[]) {
  tarn::host::ShareOneMallocArena();
  std::vector<std::unique_ptr<tarn::host::Extension>> extensions = tarnRunExtensions();
  CommandLine line;
  if (!ParseOptions(&argc, &argv, &line, extensions)) return 2;
  if (line.version) {
    std::printf("tarn-run %s (V8 %s)\n", TARN_VERSION, v8::V8::GetVersion());
    return 0;
  }
  if (line.types) return printTypes();
  if (line.engine.listOptions) {
    listEngineOptions();
    return 0;
  }
  if (!SetLogLevel(line.logLevel)) return 2;
  if (line.evalCode && line.printCode) {
    std::fprintf(stderr, "tarn-run: -e and -p cannot be given together\n");
    return 2;
  }
  if (line.module && line.printCode) {
    std::fprintf(stderr, "tarn-run: -p cannot print the value of a module (--module); use -e\n");
    return 2;
  }
  tarn::host::HostOptions hostOptions;
  hostOptions.programPath = argv[0];
  hostOptions.module = line.module;
  bool interactive = false;
  if (!ChooseInput(argc, argv, line, &hostOptions, &interactive)) return 2;
  hostOptions.bridges = ChooseBridges(line);
  std::string engineError;
  if (!engineFlags(line.engine, &hostOptions, &engineError)) {
    std::fprintf(stderr, "tarn-run: %s\n", engineError.c_str());
    return 2;
  }
  if (line.tarnData) AppConfig::Instance()->SetTarnDataPath(line.tarnData);
  if (line.appData) AppConfig::Instance()->SetAppDataPath(line.appData);

  int status = 0;
  std::unique_ptr<tarn::host::ScriptDebugger> debugger =
      startDebugger(hostOptions.evaluate            ? std::string("[eval]")
                    : hostOptions.scriptPath == "-" ? std::string("[stdin]")
                                                    : hostOptions.scriptPath,
                    &status);
  if (status != 0) return status;
  if (std::unique_ptr<tarn::host::Extension> view = startSimView(&status)) {
    extensions.push_back(std::move(view));
  } else if (status != 0) {
    return status;
  }
  if (!StartExtensions(&extensions, interactive)) return 2;

  tarn::host::Host host(hostOptions);
  for (auto& extension : extensions) host.AddExtension(extension.get());
  if (debugger) host.SetDebugger(debugger.get());
  return host.Run();
}
