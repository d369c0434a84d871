// The interactive prompt. Everything here runs on the script thread, from
// the GLib loop: a watch on stdin feeds libedit, each finished line is
// compiled and run as a script of its own ("REPL1", "REPL2"...), and its
// value is printed as node's prompt prints it (util.inspect's text). Input that awaits at its top
// level runs as an async function; the prompt returns when its promise settles, the loop running
// meanwhile.
#include "Repl.h"
#include "ScriptText.h"

#include <fcntl.h>
#include <glib-unix.h>
#include <histedit.h>
#include <langinfo.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
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

#include "ReplSource.h"
#include "Runtime.h"
#include "ScriptBridge.h"
#include "ValueFormat.h"
#include "repl/ReplHelp.h"

#ifndef TARN_VERSION
#define TARN_VERSION "0.0.0"
#endif

namespace tarn {
namespace host {

namespace {

using host::Utf8;

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

void AppendUtf8(std::string* out, wchar_t c) {
  auto u = static_cast<uint32_t>(c);
  if (u > 0x10FFFF || (u >= 0xD800 && u <= 0xDFFF)) u = 0xFFFD;
  if (u < 0x80) {
    out->push_back(static_cast<char>(u));
  } else if (u < 0x800) {
    out->push_back(static_cast<char>(0xC0 | (u >> 6)));
    out->push_back(static_cast<char>(0x80 | (u & 0x3F)));
  } else if (u < 0x10000) {
    out->push_back(static_cast<char>(0xE0 | (u >> 12)));
    out->push_back(static_cast<char>(0x80 | ((u >> 6) & 0x3F)));
    out->push_back(static_cast<char>(0x80 | (u & 0x3F)));
  } else {
    out->push_back(static_cast<char>(0xF0 | (u >> 18)));
    out->push_back(static_cast<char>(0x80 | ((u >> 12) & 0x3F)));
    out->push_back(static_cast<char>(0x80 | ((u >> 6) & 0x3F)));
    out->push_back(static_cast<char>(0x80 | (u & 0x3F)));
  }
}

std::string Utf8(const wchar_t* begin, const wchar_t* end) {
  std::string out;
  for (const wchar_t* p = begin; p < end; ++p) AppendUtf8(&out, *p);
  return out;
}

std::wstring Wide(const std::string& text) {
  std::wstring out;
  for (size_t i = 0; i < text.size();) {
    auto c = static_cast<unsigned char>(text[i]);
    int length = c < 0x80 ? 1 : (c >> 5) == 6 ? 2 : (c >> 4) == 14 ? 3 : (c >> 3) == 30 ? 4 : 0;
    if (length == 0 || i + static_cast<size_t>(length) > text.size()) {
      out.push_back(L'\uFFFD');
      ++i;
      continue;
    }
    uint32_t u = length == 1 ? c : c & (0x7F >> length);
    for (int k = 1; k < length; ++k)
      u = (u << 6) | (static_cast<unsigned char>(text[i + k]) & 0x3F);
    out.push_back(static_cast<wchar_t>(u));
    i += static_cast<size_t>(length);
  }
  return out;
}

std::string Trim(const std::string& text) {
  size_t begin = text.find_first_not_of(" \t\r\n");
  if (begin == std::string::npos) return std::string();
  size_t end = text.find_last_not_of(" \t\r\n");
  return text.substr(begin, end - begin + 1);
}

bool IdentifierPart(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
         c == '$' || (static_cast<unsigned char>(c) >= 0x80);
}

bool Identifier(const std::string& name) {
  if (name.empty() || (name[0] >= '0' && name[0] <= '9')) return false;
  return std::all_of(name.begin(), name.end(), IdentifierPart);
}

// A thrown error's stack without the frames of the prompt's own script: the
// frame of the input's top level and whatever called it.
std::string TrimReplFrames(const std::string& stack) {
  std::string out;
  size_t start = 0;
  bool first = true;
  while (start <= stack.size()) {
    size_t end = stack.find('\n', start);
    if (end == std::string::npos) end = stack.size();
    std::string line = stack.substr(start, end - start);
    std::string trimmed = Trim(line);
    if (!first && trimmed.compare(0, 3, "at ") == 0) {
      std::string where = trimmed.substr(3);
      if (where.compare(0, 6, "async ") == 0) where = where.substr(6);
      // "at REPL3:1:7": a top level (the input's, or its async wrapper's).
      if (where.compare(0, 4, "REPL") == 0 && where.find(' ') == std::string::npos) break;
    }
    out += (first ? "" : "\n") + line;
    first = false;
    start = end + 1;
  }
  return out;
}

const char kInterrupted[] = "Script execution was interrupted by Ctrl+C";

// While a line's code runs, the script thread cannot read the terminal: a
// thread of its own does, and Ctrl+C there stops the code
// (TerminateExecution may be called from any thread). Other keys are kept,
// in order, for the prompt.
class InterruptWatch {
 public:
  explicit InterruptWatch(v8::Isolate* isolate) : isolate_(isolate) {
    if (pipe2(wake_, O_CLOEXEC) != 0) return;
    thread_ = std::thread([this] { Watch(); });
  }

  ~InterruptWatch() { Stop(); }

  // Ends the watch; what it read besides the Ctrl+C goes to *keys.
  void Stop(std::deque<unsigned char>* keys = nullptr) {
    if (thread_.joinable()) {
      char byte = 0;
      while (write(wake_[1], &byte, 1) < 0 && errno == EINTR) {
      }
      thread_.join();
    }
    for (int& fd : wake_) {
      if (fd >= 0) close(fd);
      fd = -1;
    }
    if (keys) keys->insert(keys->end(), keys_.begin(), keys_.end());
    keys_.clear();
  }

  bool Interrupted() const { return interrupted_.load(); }

 private:
  void Watch() {
    bool input = true;
    for (;;) {
      struct pollfd fds[2] = {{wake_[0], POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
      if (poll(fds, input ? 2 : 1, -1) < 0) {
        if (errno == EINTR) continue;
        return;
      }
      if (fds[0].revents) return;
      if (!fds[1].revents) continue;
      unsigned char buffer[256];
      ssize_t count = read(STDIN_FILENO, buffer, sizeof buffer);
      if (count < 0 && errno == EINTR) continue;
      if (count <= 0) {
        input = false;  // the end of input is the prompt's to see
        continue;
      }
      for (ssize_t i = 0; i < count; ++i) {
        if (buffer[i] == 0x03 && !interrupted_.load()) {
          interrupted_.store(true);
          isolate_->TerminateExecution();
        } else {
          keys_.push_back(buffer[i]);
        }
      }
    }
  }

  v8::Isolate* isolate_;
  int wake_[2] = {-1, -1};
  std::thread thread_;
  std::atomic<bool> interrupted_{false};
  std::vector<unsigned char> keys_;  // read by the watch only until joined
};

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
    if (context.IsEmpty()) return 0;
    v8::Context::Scope contextScope(context);
    v8::TryCatch tryCatch(isolate_);
    v8::Local<v8::Value> tarn, code;
    if (!context->Global()->Get(context, Text(isolate_, "tarn")).ToLocal(&tarn) ||
        !tarn->IsObject() ||
        !tarn.As<v8::Object>()->Get(context, Text(isolate_, "exitCode")).ToLocal(&code) ||
        !code->IsNumber()) {
      return 0;
    }
    return Bridge::detail::toIntegral<int>(code.As<v8::Number>()->Value());
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
    unsigned char first;
    if (!next(&first)) return 0;
    int length = first < 0x80         ? 1
                 : (first >> 5) == 6  ? 2
                 : (first >> 4) == 14 ? 3
                 : (first >> 3) == 30 ? 4
                                      : 0;
    if (length == 0) {
      *out = L'\uFFFD';
      return 1;
    }
    uint32_t code = length == 1 ? first : first & (0x7F >> length);
    for (int i = 1; i < length; ++i) {
      unsigned char byte;
      if (!next(&byte)) return 0;
      if ((byte & 0xC0) != 0x80) {
        self->input_.push_front(byte);
        *out = L'\uFFFD';
        return 1;
      }
      code = (code << 6) | (byte & 0x3F);
    }
    *out = static_cast<wchar_t>(code);
    return 1;
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
    const std::string name = "REPL" + std::to_string(++counter_);
    v8::ScriptOrigin origin(isolate_, Text(isolate_, name));

    v8::Local<v8::Script> script;
    bool async = false;
    bool returnsValue = false;
    {
      v8::TryCatch tryCatch(isolate_);
      auto compile = [&](const std::string& source) {
        tryCatch.Reset();
        return v8::Script::Compile(context, Text(isolate_, source), &origin).ToLocal(&script);
      };
      // A braced line is an object literal, as printed values are read.
      std::string trimmed = Trim(code);
      bool compiled =
          trimmed.front() == '{' && trimmed.back() != ';' && compile("(" + code + "\n)");
      if (!compiled) compiled = compile(code);
      if (!compiled) {
        v8::Local<v8::Value> error = tryCatch.Exception();
        v8::Local<v8::Message> message = tryCatch.Message();
        std::string text = message.IsEmpty() ? std::string() : Utf8(isolate_, message->Get());
        repl::SourceShape shape = repl::ScanSource(code);
        if (shape.open || text == "Uncaught SyntaxError: Unexpected end of input" ||
            text == "Uncaught SyntaxError: Unterminated template literal") {
          // More lines may complete it.
          buffered_ = code;
          ShowPrompt();
          return;
        }
        if (shape.mentionsAwait) {
          repl::AwaitWrap wrap;
          if (repl::WrapTopLevelAwait(code, &wrap) && compile(wrap.code)) {
            compiled = async = true;
            returnsValue = wrap.returnsValue;
          } else if (compile("(async () => { return { value: (" + code + "\n) }; })()")) {
            compiled = async = returnsValue = true;
          } else if (compile("(async () => {\n" + code + "\n})()")) {
            compiled = async = true;
          }
        }
        if (!compiled) {
          buffered_.clear();
          PrintError(error);
          ShowPrompt();
          return;
        }
      }
    }
    buffered_.clear();
    for (const std::string& declared : repl::DeclaredNames(code)) declared_.insert(declared);

    v8::Local<v8::Value> result;
    bool ran;
    InterruptWatch watch(isolate_);
    {
      v8::TryCatch tryCatch(isolate_);
      ran = script->Run(context).ToLocal(&result);
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
    if (ran && async && result->IsPromise()) {
      v8::Local<v8::Promise> promise = result.As<v8::Promise>();
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

  // A line's value as node's prompt shows it: util.inspect's text (texts in
  // quotes), not console.log's.
  void PrintValue(v8::Local<v8::Value> value) {
    v8::Local<v8::Context> context = runtime_->Context();
    v8::TryCatch tryCatch(isolate_);
    const std::string text = Inspect(context, value);
    if (tryCatch.HasCaught() || tryCatch.HasTerminated()) return;
    std::printf("%s\n", text.c_str());
    std::fflush(stdout);
  }

  // "Uncaught " and the error's stack without the prompt's own frames, or,
  // for a thrown value that is no error, its inspected text.
  void PrintError(v8::Local<v8::Value> error) {
    if (error.IsEmpty()) error = v8::Undefined(isolate_);
    v8::Local<v8::Context> context = runtime_->Context();
    if (error->IsNativeError()) {
      v8::TryCatch tryCatch(isolate_);
      v8::Local<v8::Value> stack;
      if (error.As<v8::Object>()->Get(context, Text(isolate_, "stack")).ToLocal(&stack) &&
          stack->IsString()) {
        std::printf("Uncaught %s\n", TrimReplFrames(Utf8(isolate_, stack)).c_str());
        std::fflush(stdout);
        return;
      }
    }
    v8::TryCatch tryCatch(isolate_);
    std::string text = Inspect(context, error);
    if (tryCatch.HasCaught() || tryCatch.HasTerminated()) {
      text = DescribeThrown(isolate_, context, error, true);
    }
    std::printf("Uncaught %s\n", text.c_str());
    std::fflush(stdout);
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

  // A property's value when reading it runs no code: a data property found
  // on the object or its prototypes, never a getter, an accessor of native
  // code, a proxy or an interceptor.
  bool PlainProperty(v8::Local<v8::Context> context, v8::Local<v8::Object> object,
                     const std::string& name, v8::Local<v8::Value>* value) {
    v8::Local<v8::String> key = Text(isolate_, name);
    v8::Local<v8::Value> current = object;
    for (int depth = 0; depth < 64 && current->IsObject(); ++depth) {
      v8::Local<v8::Object> holder = current.As<v8::Object>();
      if (holder->IsProxy() || holder->HasRealNamedCallbackProperty(context, key).FromMaybe(true)) {
        return false;
      }
      if (holder->HasRealNamedProperty(context, key).FromMaybe(false)) {
        v8::Local<v8::Value> descriptor;
        if (!holder->GetOwnPropertyDescriptor(context, key).ToLocal(&descriptor) ||
            !descriptor->IsObject()) {
          return false;
        }
        v8::Local<v8::Object> fields = descriptor.As<v8::Object>();
        if (!fields->HasOwnProperty(context, Text(isolate_, "value")).FromMaybe(false)) {
          return false;
        }
        return fields->Get(context, Text(isolate_, "value")).ToLocal(value);
      }
      current = holder->GetPrototype();
    }
    return false;
  }

  void Names(v8::Local<v8::Context> context, v8::Local<v8::Value> value,
             std::set<std::string>* names, bool skipObjectPrototype = false) {
    v8::Local<v8::Value> objectPrototype;
    if (skipObjectPrototype) objectPrototype = v8::Object::New(isolate_)->GetPrototype();
    for (int depth = 0; depth < 64 && value->IsObject(); ++depth) {
      v8::Local<v8::Object> object = value.As<v8::Object>();
      if (object->IsProxy()) return;
      if (!objectPrototype.IsEmpty() && object->StrictEquals(objectPrototype)) return;
      v8::Local<v8::Array> keys;
      if (!object
               ->GetOwnPropertyNames(
                   context, static_cast<v8::PropertyFilter>(v8::ALL_PROPERTIES | v8::SKIP_SYMBOLS),
                   v8::KeyConversionMode::kConvertToString)
               .ToLocal(&keys)) {
        return;
      }
      for (uint32_t i = 0; i < keys->Length(); ++i) {
        v8::Local<v8::Value> key;
        if (!keys->Get(context, i).ToLocal(&key)) return;
        std::string text = Utf8(isolate_, key);
        if (Identifier(text) && !(skipObjectPrototype && text == "constructor")) {
          names->insert(text);
        }
      }
      value = object->GetPrototype();
    }
  }

  unsigned char Complete() {
    const LineInfoW* line = el_wline(editLine_);
    std::string before = Utf8(line->buffer, line->cursor);
    size_t start = before.size();
    while (start > 0 && (IdentifierPart(before[start - 1]) || before[start - 1] == '.')) --start;
    std::string chain = before.substr(start);
    // A member of something computed (a call, an index) is not completed:
    // finding it would run code.
    if (chain.empty() || chain[0] == '.') return CC_REFRESH_BEEP;
    size_t dot = chain.rfind('.');
    std::string prefix = dot == std::string::npos ? chain : chain.substr(dot + 1);
    std::string base = dot == std::string::npos ? std::string() : chain.substr(0, dot);

    std::set<std::string> names;
    {
      v8::HandleScope handleScope(isolate_);
      v8::Local<v8::Context> context = runtime_->Context();
      v8::Context::Scope contextScope(context);
      v8::TryCatch tryCatch(isolate_);
      if (base.empty()) {
        // Globals and earlier lines' declarations; what every object has
        // (Object.prototype's members) is no name to type on its own.
        Names(context, context->Global(), &names, true);
        names.insert(declared_.begin(), declared_.end());
      } else {
        v8::Local<v8::Value> value;
        if (!Resolve(context, base, &value)) return CC_REFRESH_BEEP;
        if (!value->IsObject()) {
          if (value->IsNullOrUndefined()) return CC_REFRESH_BEEP;
          v8::Local<v8::Object> wrapper;
          if (!value->ToObject(context).ToLocal(&wrapper)) return CC_REFRESH_BEEP;
          value = wrapper;
        }
        Names(context, value, &names);
      }
    }
    std::vector<std::string> matches;
    for (const std::string& name : names) {
      if (name.compare(0, prefix.size(), prefix) == 0) matches.push_back(name);
    }
    if (matches.empty()) return CC_REFRESH_BEEP;
    // What all matches share beyond what is typed goes in.
    std::string common = matches.front();
    for (const std::string& match : matches) {
      size_t k = 0;
      while (k < common.size() && k < match.size() && common[k] == match[k]) ++k;
      common.resize(k);
    }
    if (common.size() > prefix.size()) {
      el_winsertstr(editLine_, Wide(common.substr(prefix.size())).c_str());
      return CC_REFRESH;
    }
    if (matches.size() == 1) return CC_REFRESH;
    ListMatches(matches);
    return CC_REDISPLAY;
  }

  // The value of a dotted name: the first part a global or a declared name,
  // the rest plain properties.
  bool Resolve(v8::Local<v8::Context> context, const std::string& chain,
               v8::Local<v8::Value>* value) {
    std::vector<std::string> parts;
    size_t start = 0;
    while (start <= chain.size()) {
      size_t end = chain.find('.', start);
      if (end == std::string::npos) end = chain.size();
      parts.push_back(chain.substr(start, end - start));
      start = end + 1;
    }
    for (const std::string& part : parts) {
      if (!Identifier(part)) return false;
    }
    v8::Local<v8::Value> current;
    if (declared_.count(parts[0])) {
      // A let, const or class of an earlier line lives outside the global
      // object: reading a bare name runs no code.
      v8::Local<v8::Script> script;
      if (!v8::Script::Compile(context, Text(isolate_, parts[0])).ToLocal(&script) ||
          !script->Run(context).ToLocal(&current)) {
        return false;
      }
    } else if (!PlainProperty(context, context->Global(), parts[0], &current)) {
      return false;
    }
    for (size_t i = 1; i < parts.size(); ++i) {
      if (!current->IsObject()) {
        v8::Local<v8::Object> wrapper;
        if (current->IsNullOrUndefined() || !current->ToObject(context).ToLocal(&wrapper)) {
          return false;
        }
        current = wrapper;
      }
      if (!PlainProperty(context, current.As<v8::Object>(), parts[i], &current)) return false;
    }
    *value = current;
    return true;
  }

  void ListMatches(const std::vector<std::string>& matches) {
    size_t width = 0;
    for (const std::string& match : matches) width = std::max(width, match.size());
    width += 2;
    struct winsize size;
    size_t columns = 80;
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) columns = size.ws_col;
    size_t perRow = std::max<size_t>(1, columns / width);
    std::string text = "\r\n";
    for (size_t i = 0; i < matches.size(); ++i) {
      text += matches[i];
      bool endOfRow = (i + 1) % perRow == 0 || i + 1 == matches.size();
      text += endOfRow ? std::string("\r\n") : std::string(width - matches[i].size(), ' ');
    }
    text += "\r\n";
    std::fputs(text.c_str(), stdout);
    std::fflush(stdout);
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
