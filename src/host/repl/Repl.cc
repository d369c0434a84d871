// The interactive prompt. Everything here runs on the script thread, from
// the GLib loop: a watch on stdin feeds libedit, each finished line is
// compiled and run as a script of its own ("REPL1", "REPL2"...), and its
// value is printed as node's prompt prints it (util.inspect's text). Input that awaits at its top
// level runs as an async function; the prompt returns when its promise settles, the loop running
// meanwhile.
#include "repl/Repl.h"
#include "engine/ScriptText.h"

#include <glib-unix.h>
#include <histedit.h>
#include <langinfo.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "ScriptBridge.h"
#include "console/ApiHelp.h"
#include "console/ValueFormat.h"
#include "engine/Runtime.h"
#include "repl/Completion.h"
#include "repl/InterruptWatch.h"
#include "repl/ReplOutput.h"
#include "repl/ReplSource.h"
#include "repl/ReplText.h"

#ifndef TARN_VERSION
#define TARN_VERSION "0.0.0"
#endif

namespace tarn {
namespace host {

namespace {

using host::Utf8;
using repl::Trim;
using repl::Utf8;
using repl::Wide;

const char kHelp[] =
    ".break    Sometimes you get stuck, this gets you out\n"
    ".clear    Alias for .break\n"
    ".editor   Enter editor mode\n"
    ".exit     Exit the REPL\n"
    ".help     Print this help message\n"
    ".help q.NAME  Print the reference of the QDUtil method or constant NAME\n"
    "\n"
    "Press Ctrl+C to abort current expression, Ctrl+D to exit the REPL\n";

constexpr int kHistorySize = 1000;

const char kInterrupted[] = "Script execution was interrupted by Ctrl+C";

class Repl : public Extension {
 public:
  const char* name() const override { return "repl"; }

  void install(v8::Isolate* isolate, v8::Local<v8::Context> context,
               v8::Local<v8::Object> tarn) override {
    (void)tarn;
    runtime_ = Runtime::Current();
    isolate_ = isolate;
    if (!runtime_) return;
    // The console is made on first use; the prompt uses it at once, and
    // completion (which reads no accessor) then sees its methods.
    {
      v8::TryCatch tryCatch(isolate);
      v8::Local<v8::Value> console;
      if (!context->Global()->Get(context, Text(isolate, "console")).ToLocal(&console)) {
        tryCatch.Reset();
      }
    }
    runtime_->SetErrorSink([this](v8::Local<v8::Value> error) { OnAsyncError(error); });
    // The prompt keeps the loop running until it closes.
    runtime_->Hold();
    holding_ = true;
    // It starts once the bridges have their context and the loop turns.
    GSource* source = g_idle_source_new();
    g_source_set_callback(
        source,
        [](gpointer self) -> gboolean {
          static_cast<Repl*>(self)->Start();
          return G_SOURCE_REMOVE;
        },
        this, nullptr);
    g_source_attach(source, runtime_->MainContext());
    g_source_unref(source);
  }

  void stop() override {
    if (std::this_thread::get_id() != owner_) {
      // A signal's clean-up, from the signal thread: only the terminal.
      if (terminalSaved_) tcsetattr(STDIN_FILENO, TCSANOW, &terminal_);
      return;
    }
    if (editLine_ && reading_) std::fputs("\n", stdout);
    Shutdown();
    pending_.Reset();
  }

 private:
  enum class State { Starting, Reading, Evaluating, Closed };

  // --- start and end ----------------------------------------------------

  void Start() {
    if (state_ != State::Starting || runtime_->Exiting()) return;
    if (tcgetattr(STDIN_FILENO, &terminal_) == 0) terminalSaved_ = true;
    // libedit shows and stores text by the locale's character set: UTF-8
    // when the environment names none.
    if (!std::setlocale(LC_CTYPE, "") || std::strcmp(nl_langinfo(CODESET), "UTF-8") != 0) {
      std::setlocale(LC_CTYPE, "C.UTF-8");
    }
    std::printf("Welcome to tarn-run %s (V8 %s).\nType \".help\" for more information.\n",
                TARN_VERSION, v8::V8::GetVersion());
    std::fflush(stdout);

    editLine_ = el_init("tarn-run", stdin, stdout, stderr);
    if (!editLine_) {
      std::fprintf(stderr, "tarn-run: cannot start the line editor\n");
      Close(false);
      return;
    }
    el_set(editLine_, EL_CLIENTDATA, this);
    el_set(editLine_, EL_EDITOR, "emacs");
    // Signals stay with the host; Ctrl+C reaches the prompt as a character.
    el_set(editLine_, EL_SIGNAL, 0);
    el_set(editLine_, EL_SETTY, "-d", "-isig", nullptr);
    el_set(editLine_, EL_PROMPT, &Repl::PromptText);
    el_wset(editLine_, EL_GETCFN, &Repl::ReadChar);
    // Wide names: libedit keeps these pointers (the narrow call copies them
    // and never frees the copies).
    el_wset(editLine_, EL_ADDFN, L"tarn-complete", L"Complete a name", &Repl::CompleteKey);
    el_set(editLine_, EL_BIND, "^I", "tarn-complete", nullptr);
    history_ = history_init();
    if (history_) {
      HistEvent event;
      history(history_, &event, H_SETSIZE, kHistorySize);
      history(history_, &event, H_SETUNIQUE, 1);
      const char* home = std::getenv("HOME");
      if (home && *home) {
        historyPath_ = std::string(home) + "/.tarn_repl_history";
        history(history_, &event, H_LOAD, historyPath_.c_str());
      }
      el_set(editLine_, EL_HIST, history, history_);
    }
    // The user's own key bindings (~/.editrc), as other libedit programs.
    el_source(editLine_, nullptr);

    GSource* watch = g_unix_fd_source_new(STDIN_FILENO,
                                          static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR));
    g_source_set_callback(watch, G_SOURCE_FUNC(&Repl::Readable), this, nullptr);
    watch_ = g_source_attach(watch, runtime_->MainContext());
    g_source_unref(watch);
    state_ = State::Reading;
    ShowPrompt();
  }

  // Ends the prompt and with it the run, at once (pending timers and
  // listeners or not), with tarn.exitCode.
  void Close(bool newline) {
    if (state_ == State::Closed) return;
    if (newline && editLine_) std::fputs("\n", stdout);
    state_ = State::Closed;
    Shutdown();
    std::fflush(stdout);
    if (runtime_ && !runtime_->Exiting()) runtime_->RequestExit(ExitCode());
  }

  int ExitCode() {
    v8::HandleScope handleScope(isolate_);
    v8::Local<v8::Context> context = runtime_->Context();
    return context.IsEmpty() ? 0 : repl::ExitCodeOf(isolate_, context);
  }

  void Shutdown() {
    state_ = State::Closed;
    if (watch_) {
      if (GSource* source = g_main_context_find_source_by_id(runtime_->MainContext(), watch_)) {
        g_source_destroy(source);
      }
      watch_ = 0;
    }
    if (editLine_) {
      if (reading_) el_set(editLine_, EL_UNBUFFERED, 0);
      reading_ = false;
      el_end(editLine_);
      editLine_ = nullptr;
    }
    if (history_) {
      history_end(history_);
      history_ = nullptr;
    }
    if (terminalSaved_) {
      tcsetattr(STDIN_FILENO, TCSANOW, &terminal_);
      terminalSaved_ = false;
    }
    if (runtime_) {
      // From now on errors end the run, as in a script.
      runtime_->SetErrorSink(nullptr);
      if (holding_) {
        holding_ = false;
        runtime_->Release();
      }
    }
  }

  // --- reading ----------------------------------------------------------

  static char* PromptText(EditLine* editLine) {
    Repl* self = Self(editLine);
    if (self->editorMode_) return const_cast<char*>("");
    return const_cast<char*>(self->buffered_.empty() ? "> " : "... ");
  }

  static Repl* Self(EditLine* editLine) {
    void* data = nullptr;
    el_get(editLine, EL_CLIENTDATA, &data);
    return static_cast<Repl*>(data);
  }

  // Shows a fresh prompt and takes keys again.
  void ShowPrompt() {
    if (state_ != State::Reading || !editLine_) return;
    if (reading_) el_set(editLine_, EL_UNBUFFERED, 0);
    el_set(editLine_, EL_UNBUFFERED, 1);
    reading_ = true;
  }

  // Leaves the line: the terminal as it was (signals, echo) while code runs.
  void EndLine() {
    if (reading_ && editLine_) el_set(editLine_, EL_UNBUFFERED, 0);
    reading_ = false;
    // libedit left the terminal in its normal mode; while the prompt is
    // away, keys are read as they come, unechoed, and Ctrl+C is a key, not
    // SIGINT (which would end the run): typed-ahead lines and Ctrl+D wait
    // for the prompt, and Ctrl+C stops the code that runs.
    if (terminalSaved_ && state_ != State::Closed) {
      struct termios keys = terminal_;
      keys.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO | ISIG | IEXTEN);
      keys.c_cc[VMIN] = 1;
      keys.c_cc[VTIME] = 0;
      tcsetattr(STDIN_FILENO, TCSADRAIN, &keys);
    }
  }

  static gboolean Readable(gint, GIOCondition, gpointer self) {
    return static_cast<Repl*>(self)->OnReadable();
  }

  gboolean OnReadable() {
    unsigned char buffer[4096];
    ssize_t count = read(STDIN_FILENO, buffer, sizeof buffer);
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) return G_SOURCE_CONTINUE;
    if (count <= 0) {
      // The terminal is gone: as Ctrl+D.
      watch_ = 0;
      if (state_ == State::Reading) {
        Close(true);
      } else {
        endOfInput_ = true;
      }
      return G_SOURCE_REMOVE;
    }
    for (ssize_t i = 0; i < count; ++i) {
      if (buffer[i] == 0x03 && state_ == State::Evaluating) {
        // Ctrl+C while a line awaits: the prompt stops waiting (the
        // promise itself cannot be stopped).
        AbandonAwait();
        continue;
      }
      input_.push_back(buffer[i]);
    }
    ProcessInput();
    return state_ == State::Closed ? G_SOURCE_REMOVE : G_SOURCE_CONTINUE;
  }

  void AbandonAwait() {
    pending_.Reset();
    v8::HandleScope handleScope(isolate_);
    v8::Context::Scope contextScope(runtime_->Context());
    PrintError(v8::Exception::Error(Text(isolate_, kInterrupted)));
    state_ = State::Reading;
    ShowPrompt();
  }

  bool LineEmpty() const {
    const LineInfoW* line = el_wline(editLine_);
    return line->lastchar == line->buffer;
  }

  void ProcessInput() {
    while (state_ == State::Reading && reading_ && !input_.empty()) {
      unsigned char c = input_.front();
      if (c == 0x03) {
        input_.pop_front();
        Interrupt();
        continue;
      }
      if (c == 0x04 && (editorMode_ || LineEmpty())) {
        input_.pop_front();
        if (editorMode_) {
          FinishEditor();
        } else {
          Close(true);
        }
        continue;
      }
      int count = 0;
      const wchar_t* line = el_wgets(editLine_, &count);
      if (line && count > 0 && line[count - 1] == L'\n') {
        OnLine(Utf8(line, line + count - 1));
      }
    }
    if (state_ == State::Reading && endOfInput_ && input_.empty()) Close(true);
  }

  // libedit's source of characters: what the watch has read, as UTF-8. A
  // character split across reads is completed by a blocking read, as are
  // the rest of a key's escape sequence.
  static int ReadChar(EditLine* editLine, wchar_t* out) {
    Repl* self = Self(editLine);
    auto next = [self](unsigned char* byte) {
      if (!self->input_.empty()) {
        *byte = self->input_.front();
        self->input_.pop_front();
        return true;
      }
      for (;;) {
        ssize_t count = read(STDIN_FILENO, byte, 1);
        if (count == 1) return true;
        if (count < 0 && errno == EINTR) continue;
        self->endOfInput_ = true;
        return false;
      }
    };
    return repl::ReadWideChar(
        next, [self](unsigned char byte) { self->input_.push_front(byte); }, out);
  }

  // Ctrl+C: clears a line or an unfinished input; twice on an empty line,
  // ends the prompt.
  void Interrupt() {
    bool empty = LineEmpty() && buffered_.empty() && !editorMode_;
    EndLine();
    if (empty) {
      if (sawInterrupt_) {
        Close(true);
        return;
      }
      std::fputs("\n(To exit, press Ctrl+C again or Ctrl+D or type .exit)\n", stdout);
      sawInterrupt_ = true;
    } else {
      std::fputs("\n", stdout);
      sawInterrupt_ = false;
    }
    buffered_.clear();
    editorMode_ = false;
    editorBuffer_.clear();
    ShowPrompt();
  }

  void AddHistory(const std::string& line) {
    if (!history_ || Trim(line).empty()) return;
    HistEvent event;
    history(history_, &event, H_ENTER, line.c_str());
    // Written at once, so a session that ends any way keeps its lines; a
    // missing or read-only home only means none are kept.
    if (!historyPath_.empty()) history(history_, &event, H_SAVE, historyPath_.c_str());
  }

  void OnLine(const std::string& text) {
    EndLine();
    sawInterrupt_ = false;
    if (editorMode_) {
      editorBuffer_ += text + "\n";
      ShowPrompt();
      return;
    }
    AddHistory(text);
    std::string trimmed = Trim(text);
    if (trimmed.size() > 1 && trimmed[0] == '.' && trimmed[1] != '.' &&
        !(trimmed[1] >= '0' && trimmed[1] <= '9')) {
      Command(trimmed);
      return;
    }
    Evaluate(buffered_.empty() ? text : buffered_ + "\n" + text);
  }

  void Command(const std::string& line) {
    std::string word = line.substr(0, line.find_first_of(" \t"));
    if (word == ".exit") {
      Close(false);
      return;
    }
    if (word == ".help") {
      std::string topic = Trim(line.substr(word.size()));
      std::fputs(topic.empty() ? kHelp : ApiHelpText(topic).c_str(), stdout);
    } else if (word == ".break" || word == ".clear") {
      buffered_.clear();
    } else if (word == ".editor") {
      buffered_.clear();
      editorMode_ = true;
      editorBuffer_.clear();
      std::fputs("// Entering editor mode (Ctrl+D to finish, Ctrl+C to cancel)\n", stdout);
    } else {
      std::fputs("Invalid REPL keyword\n", stdout);
    }
    std::fflush(stdout);
    ShowPrompt();
  }

  void FinishEditor() {
    const LineInfoW* line = el_wline(editLine_);
    std::string code = editorBuffer_ + Utf8(line->buffer, line->lastchar);
    EndLine();
    std::fputs("\n", stdout);
    editorMode_ = false;
    editorBuffer_.clear();
    if (Trim(code).empty()) {
      ShowPrompt();
      return;
    }
    Evaluate(code);
  }

  // --- evaluating -------------------------------------------------------

  // One input: compiled (as more lines wait, or as an async function when it
  // awaits at its top level), run with Ctrl+C watched, and its value
  // printed, at once or when its promise settles.
  void Evaluate(const std::string& code) {
    if (Trim(code).empty()) {
      buffered_.clear();
      ShowPrompt();
      return;
    }
    if (isolate_->IsExecutionTerminating()) isolate_->CancelTerminateExecution();
    v8::HandleScope handleScope(isolate_);
    v8::Local<v8::Context> context = runtime_->Context();
    v8::Context::Scope contextScope(context);
    Compiled compiled;
    if (!Compile(context, code, &compiled)) {
      ShowPrompt();  // more lines may complete it, or its error was shown
      return;
    }
    buffered_.clear();
    for (const std::string& declared : repl::DeclaredNames(code)) declared_.insert(declared);

    v8::Local<v8::Value> result;
    bool ran = RunWatched(context, compiled.script, &result);
    if (ran && compiled.async && result->IsPromise()) {
      AwaitResult(context, result.As<v8::Promise>(), compiled.returnsValue);
    } else if (ran) {
      PrintValue(result);
    }
    runtime_->AfterScriptWork();
    if (runtime_->Exiting()) {
      // tarn.exit(): the loop ends with its code.
      Close(false);
      return;
    }
    if (state_ == State::Reading) ShowPrompt();
  }

  struct Compiled {
    v8::Local<v8::Script> script;
    bool async = false;         // an async function's call: its promise is awaited
    bool returnsValue = false;  // the promise's value is {value: ...}
  };

  // The input as a script of its own ("REPL<n>"). False when it does not
  // compile: an unfinished input is kept in buffered_ for the next line,
  // any other error is shown.
  bool Compile(v8::Local<v8::Context> context, const std::string& code, Compiled* out) {
    const std::string name = "REPL" + std::to_string(++counter_);
    v8::ScriptOrigin origin(isolate_, Text(isolate_, name));
    v8::TryCatch tryCatch(isolate_);
    auto compile = [&](const std::string& source) {
      tryCatch.Reset();
      return v8::Script::Compile(context, Text(isolate_, source), &origin).ToLocal(&out->script);
    };
    // A braced line is an object literal, as printed values are read.
    std::string trimmed = Trim(code);
    if (trimmed.front() == '{' && trimmed.back() != ';' && compile("(" + code + "\n)")) {
      return true;
    }
    if (compile(code)) return true;
    v8::Local<v8::Value> error = tryCatch.Exception();
    v8::Local<v8::Message> message = tryCatch.Message();
    std::string text = message.IsEmpty() ? std::string() : Utf8(isolate_, message->Get());
    repl::SourceShape shape = repl::ScanSource(code);
    if (shape.open || text == "Uncaught SyntaxError: Unexpected end of input" ||
        text == "Uncaught SyntaxError: Unterminated template literal") {
      buffered_ = code;
      return false;
    }
    if (shape.mentionsAwait) {
      out->async = true;
      repl::AwaitWrap wrap;
      if (repl::WrapTopLevelAwait(code, &wrap) && compile(wrap.code)) {
        out->returnsValue = wrap.returnsValue;
        return true;
      }
      if (compile("(async () => { return { value: (" + code + "\n) }; })()")) {
        out->returnsValue = true;
        return true;
      }
      if (compile("(async () => {\n" + code + "\n})()")) return true;
    }
    buffered_.clear();
    PrintError(error);
    return false;
  }

  // Runs the compiled input while a thread watches for Ctrl+C; an error it
  // throws is shown. Keys typed meanwhile wait for the prompt.
  bool RunWatched(v8::Local<v8::Context> context, v8::Local<v8::Script> script,
                  v8::Local<v8::Value>* result) {
    bool ran;
    repl::InterruptWatch watch(isolate_);
    {
      v8::TryCatch tryCatch(isolate_);
      ran = script->Run(context).ToLocal(result);
      if (!ran && !tryCatch.HasTerminated() && !runtime_->Exiting()) {
        PrintError(tryCatch.Exception());
      }
    }
    watch.Stop(&input_);
    if (watch.Interrupted() && !runtime_->Exiting()) {
      // Stopped by Ctrl+C (or just after it ended): the prompt goes on.
      isolate_->CancelTerminateExecution();
      if (!ran) PrintError(v8::Exception::Error(Text(isolate_, kInterrupted)));
    }
    return ran;
  }

  // The prompt waits for an awaiting input's promise, the loop running.
  void AwaitResult(v8::Local<v8::Context> context, v8::Local<v8::Promise> promise,
                   bool returnsValue) {
    // The handlers know which wait they end: one given up with Ctrl+C may
    // settle during a later one.
    v8::Local<v8::Value> ids[] = {v8::External::New(isolate_, this),
                                  v8::Number::New(isolate_, ++awaitId_)};
    v8::Local<v8::Array> self = v8::Array::New(isolate_, ids, 2);
    v8::Local<v8::Function> onFulfilled, onRejected;
    v8::Local<v8::Promise> chained;
    if (v8::Function::New(context, &Repl::Fulfilled, self).ToLocal(&onFulfilled) &&
        v8::Function::New(context, &Repl::Rejected, self).ToLocal(&onRejected) &&
        promise->Then(context, onFulfilled, onRejected).ToLocal(&chained)) {
      pending_.Reset(isolate_, promise);
      awaitReturnsValue_ = returnsValue;
      state_ = State::Evaluating;
    }
  }

  static void Fulfilled(const v8::FunctionCallbackInfo<v8::Value>& info) { Settle(info, true); }
  static void Rejected(const v8::FunctionCallbackInfo<v8::Value>& info) { Settle(info, false); }

  static void Settle(const v8::FunctionCallbackInfo<v8::Value>& info, bool fulfilled) {
    v8::Isolate* isolate = info.GetIsolate();
    v8::Local<v8::Context> context = isolate->GetCurrentContext();
    v8::Local<v8::Array> ids = info.Data().As<v8::Array>();
    v8::Local<v8::Value> self, id;
    if (!ids->Get(context, 0).ToLocal(&self) || !ids->Get(context, 1).ToLocal(&id)) return;
    auto* repl = static_cast<Repl*>(self.As<v8::External>()->Value());
    if (id.As<v8::Number>()->Value() != repl->awaitId_) return;
    repl->Settled(info.Length() > 0 ? info[0] : v8::Undefined(isolate).As<v8::Value>(), fulfilled);
  }

  void Settled(v8::Local<v8::Value> value, bool fulfilled) {
    if (state_ != State::Evaluating || pending_.IsEmpty()) return;
    pending_.Reset();
    v8::Local<v8::Context> context = runtime_->Context();
    if (!fulfilled) {
      PrintError(value);
    } else if (awaitReturnsValue_ && value->IsObject()) {
      // Our own {value: ...}: a plain data property.
      v8::TryCatch tryCatch(isolate_);
      v8::Local<v8::Value> inner;
      if (value.As<v8::Object>()->Get(context, Text(isolate_, "value")).ToLocal(&inner)) {
        PrintValue(inner);
      }
    } else {
      PrintValue(v8::Undefined(isolate_));
    }
    // Back to the prompt once this microtask is over: input typed meanwhile
    // may run code of its own.
    GSource* source = g_idle_source_new();
    g_source_set_callback(
        source,
        [](gpointer data) -> gboolean {
          auto* repl = static_cast<Repl*>(data);
          if (repl->state_ != State::Evaluating) return G_SOURCE_REMOVE;
          if (repl->runtime_->Exiting()) {
            repl->Close(false);
            return G_SOURCE_REMOVE;
          }
          repl->state_ = State::Reading;
          repl->ShowPrompt();
          repl->ProcessInput();
          return G_SOURCE_REMOVE;
        },
        this, nullptr);
    g_source_attach(source, runtime_->MainContext());
    g_source_unref(source);
  }

  // --- printing ----------------------------------------------------------

  void PrintValue(v8::Local<v8::Value> value) {
    repl::PrintValue(isolate_, runtime_->Context(), value);
  }
  void PrintError(v8::Local<v8::Value> error) {
    repl::PrintError(isolate_, runtime_->Context(), error);
  }

  // From the runtime: an error of a timer, a listener or a rejected promise
  // while the prompt is open.
  void OnAsyncError(v8::Local<v8::Value> error) {
    if (state_ == State::Closed) return;
    bool atPrompt = reading_;
    if (atPrompt) std::fputs("\r\n", stdout);
    PrintError(error);
    if (atPrompt && editLine_) el_set(editLine_, EL_REFRESH);
  }

  // --- completion --------------------------------------------------------

  static unsigned char CompleteKey(EditLine* editLine, int) { return Self(editLine)->Complete(); }

  unsigned char Complete() {
    const LineInfoW* line = el_wline(editLine_);
    std::string prefix;
    std::vector<std::string> matches;
    {
      v8::HandleScope handleScope(isolate_);
      v8::Local<v8::Context> context = runtime_->Context();
      v8::Context::Scope contextScope(context);
      v8::TryCatch tryCatch(isolate_);
      matches = repl::CompletionMatches(isolate_, context, Utf8(line->buffer, line->cursor),
                                        declared_, &prefix);
    }
    if (matches.empty()) return CC_REFRESH_BEEP;
    // What all matches share beyond what is typed goes in.
    std::string common = repl::CommonPrefix(matches);
    if (common.size() > prefix.size()) {
      el_winsertstr(editLine_, Wide(common.substr(prefix.size())).c_str());
      return CC_REFRESH;
    }
    if (matches.size() == 1) return CC_REFRESH;
    repl::ListMatches(matches);
    return CC_REDISPLAY;
  }

  Runtime* runtime_ = nullptr;
  v8::Isolate* isolate_ = nullptr;
  std::thread::id owner_ = std::this_thread::get_id();
  bool holding_ = false;
  State state_ = State::Starting;
  EditLine* editLine_ = nullptr;
  History* history_ = nullptr;
  std::string historyPath_;
  guint watch_ = 0;
  bool reading_ = false;  // libedit has the terminal (its unbuffered mode)
  bool endOfInput_ = false;
  std::deque<unsigned char> input_;
  std::string buffered_;  // an unfinished input's lines
  bool editorMode_ = false;
  std::string editorBuffer_;
  bool sawInterrupt_ = false;
  int counter_ = 0;
  std::set<std::string> declared_;
  v8::Global<v8::Promise> pending_;
  bool awaitReturnsValue_ = false;
  double awaitId_ = 0;
  struct termios terminal_ {};
  bool terminalSaved_ = false;
};

}  // namespace

}  // namespace host
}  // namespace tarn

extern "C" __attribute__((visibility("default"))) tarn::host::Extension* tarnReplExtension() {
  return new tarn::host::Repl();
}
