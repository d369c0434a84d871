// Latency and sustained rate of the home screen's signals reaching a script
// listener, beside a plain GIO subscriber on the same private bus in the
// same run:
//
//   dbus_signal_bench TARN_RUN QDUTIL_LIBRARY LISTENER_JS [COUNT] [RATE]
//
// Both subscribers answer every signal with a signal of their own (the
// script through "sendMessageTRT", the plain one directly), and this program
// times each answer against the emission of the signal it answers, so both
// figures include one more bus hop. Phase 1 sends COUNT signals paced at
// RATE per second (latency p50, p99); phase 2 sends COUNT as fast as one GIO
// connection can (sustained rate: COUNT over the time to the last answer).
#include <gio/gio.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "PrivateBus.h"

namespace {

constexpr const char* kPath = "/org/tarn/FirstScreen";
constexpr const char* kInterface = "org.tarn.FirstScreen";

struct Echoes {
  std::vector<gint64> script;
  std::vector<gint64> plain;
};
Echoes echoes;

void onScriptEcho(GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*,
                  GVariant*, gpointer) {
  echoes.script.push_back(g_get_monotonic_time());
}

void onPlainEcho(GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*,
                 GVariant*, gpointer) {
  echoes.plain.push_back(g_get_monotonic_time());
}

// The plain subscriber: answers each home-screen signal on its own thread.
void onPlainSignal(GDBusConnection* connection, const gchar*, const gchar*, const gchar*,
                   const gchar*, GVariant*, gpointer) {
  g_dbus_connection_emit_signal(connection, nullptr, "/org/tarn/Bench", "org.tarn.Bench", "Echo",
                                nullptr, nullptr);
}

void emit(GDBusConnection* connection, const char* text) {
  g_dbus_connection_emit_signal(connection, nullptr, kPath, kInterface, "RecentChanged",
                                g_variant_new("(s)", text), nullptr);
}

// Turns the default main context until cond() or `seconds` pass.
gboolean keepTicking(gpointer) { return G_SOURCE_CONTINUE; }

// Turns the default main context until cond() or `seconds` pass; blocks
// between events (a 2 ms tick re-checks cond).
template <typename Cond>
bool spin(Cond cond, double seconds) {
  const gint64 deadline = g_get_monotonic_time() + static_cast<gint64>(seconds * 1e6);
  const guint tick = g_timeout_add(2, keepTicking, nullptr);
  bool met = true;
  while (!cond()) {
    if (g_get_monotonic_time() > deadline) {
      met = false;
      break;
    }
    g_main_context_iteration(nullptr, TRUE);
  }
  g_source_remove(tick);
  return met;
}

double percentile(std::vector<double> values, double p) {
  std::sort(values.begin(), values.end());
  const size_t index = std::min(values.size() - 1, static_cast<size_t>(p * values.size()));
  return values[index];
}

// Per phase, script listener [0] against plain subscriber [1].
struct Result {
  double p50[2], p99[2], rate[2];
};

// Phase 1 paced at `rate`, latencies from each emission to its answer;
// phase 2 unpaced, answers per second. False when answers are missing.
bool Measure(GDBusConnection* bench, size_t count, double rate, Result* result) {
  for (int phase = 0; phase < 2; ++phase) {
    echoes.script.clear();
    echoes.plain.clear();
    std::vector<gint64> sent(count);
    std::thread sender([&] {
      const gint64 start = g_get_monotonic_time();
      for (size_t i = 0; i < count; ++i) {
        if (phase == 0) {
          const gint64 due = start + static_cast<gint64>(i * 1e6 / rate);
          const gint64 wait = due - g_get_monotonic_time();
          if (wait > 0) g_usleep(wait);
        }
        sent[i] = g_get_monotonic_time();
        emit(bench, "{\"bench\":1}");
      }
    });
    const bool all =
        spin([&] { return echoes.script.size() >= count && echoes.plain.size() >= count; }, 120);
    sender.join();
    if (!all) {
      std::fprintf(stderr, "phase %d: answers script %zu plain %zu of %zu\n", phase + 1,
                   echoes.script.size(), echoes.plain.size(), count);
      return false;
    }
    const std::vector<gint64>* got[2] = {&echoes.script, &echoes.plain};
    for (int s = 0; s < 2; ++s) {
      if (phase == 0) {
        std::vector<double> latency;
        for (size_t i = 0; i < count; ++i) latency.push_back(double((*got[s])[i] - sent[i]));
        result->p50[s] = percentile(latency, 0.50);
        result->p99[s] = percentile(latency, 0.99);
      } else {
        result->rate[s] = count / ((got[s]->back() - sent[0]) / 1e6);
      }
    }
    spin([] { return false; }, 0.3);
  }

  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) {
    std::fprintf(stderr,
                 "usage: dbus_signal_bench TARN_RUN QDUTIL_LIBRARY LISTENER_JS [COUNT] [RATE]\n");
    return 2;
  }
  const size_t count = argc > 4 ? std::strtoul(argv[4], nullptr, 10) : 5000;
  const double rate = argc > 5 ? std::strtod(argv[5], nullptr) : 5000;

  PrivateBus bus;
  if (!bus.start("dbus_signal_bench")) return 1;
  const std::string& address = bus.address();

  GDBusConnection* bench = connectToBus(address, "dbus_signal_bench");
  g_dbus_connection_signal_subscribe(bench, nullptr, "org.tarn.Trtinstaller", "signal",
                                     "/org/tarn/Trtinstaller", nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
                                     onScriptEcho, nullptr, nullptr);
  g_dbus_connection_signal_subscribe(bench, nullptr, "org.tarn.Bench", "Echo", "/org/tarn/Bench",
                                     nullptr, G_DBUS_SIGNAL_FLAGS_NONE, onPlainEcho, nullptr,
                                     nullptr);
  roundTrip(bench);

  std::atomic<bool> plainDone{false};
  std::atomic<bool> plainReady{false};
  std::thread plain([&] {
    GMainContext* context = g_main_context_new();
    g_main_context_push_thread_default(context);
    GDBusConnection* connection = connectToBus(address, "dbus_signal_bench");
    g_dbus_connection_signal_subscribe(connection, nullptr, kInterface, nullptr, kPath, nullptr,
                                       G_DBUS_SIGNAL_FLAGS_NONE, onPlainSignal, nullptr, nullptr);
    roundTrip(connection);
    plainReady = true;
    while (!plainDone) g_main_context_iteration(context, TRUE);
    g_object_unref(connection);
    g_main_context_pop_thread_default(context);
    g_main_context_unref(context);
  });

  std::vector<std::string> env = bus.environment();
  std::vector<char*> envp = argumentVector(env);
  const char* runArgv[] = {argv[1], "--log-level", "error", "--bridge", argv[2], argv[3], nullptr};
  GPid runPid = 0;
  if (!g_spawn_async(nullptr, const_cast<char**>(runArgv), envp.data(), G_SPAWN_DEFAULT, nullptr,
                     nullptr, &runPid, nullptr)) {
    std::fprintf(stderr, "dbus_signal_bench: cannot start tarn-run\n");
    return 1;
  }

  // Probe until both subscribers answer, then let stragglers drain.
  const bool ready = spin(
      [&] {
        static gint64 last = 0;
        if (plainReady && g_get_monotonic_time() - last > 50000) {
          emit(bench, "probe");
          last = g_get_monotonic_time();
        }
        return !echoes.script.empty() && !echoes.plain.empty();
      },
      20);
  if (!ready) {
    std::fprintf(stderr, "dbus_signal_bench: the subscribers never answered\n");
    return 1;
  }
  spin([] { return false; }, 0.5);

  Result result{};
  const bool complete = Measure(bench, count, rate, &result);

  emit(bench, "stop");
  roundTrip(bench);
  int status = 0;
  for (int i = 0; i < 200; ++i) {
    if (waitpid(runPid, &status, WNOHANG) == runPid) break;
    g_usleep(10000);
    if (i == 199) kill(runPid, SIGTERM), waitpid(runPid, &status, 0);
  }
  plainDone = true;
  emit(bench, "wake");
  plain.join();
  g_object_unref(bench);
  g_spawn_close_pid(runPid);
  if (!complete) return 1;

  std::printf("%zu signals per phase; latency at %.0f signals/s, round trip through the bus\n",
              count, rate);
  std::printf("%-28s %12s %12s %14s\n", "", "p50 (us)", "p99 (us)", "rate (sig/s)");
  std::printf("%-28s %12.0f %12.0f %14.0f\n", "script listener (QDUtil)", result.p50[0],
              result.p99[0], result.rate[0]);
  std::printf("%-28s %12.0f %12.0f %14.0f\n", "plain GIO subscriber", result.p50[1], result.p99[1],
              result.rate[1]);
  std::printf("%-28s %12.2f %12.2f %14.2f\n", "ratio script / plain", result.p50[0] / result.p50[1],
              result.p99[0] / result.p99[1], result.rate[0] / result.rate[1]);
  return 0;
}
