// A long run of the engine host under a mixed load, for growth and stalls:
//
//   soak_bench TARN_RUN QDUTIL_LIBRARY SOAK_JS [--seconds N] [--warmup N]
//              [--sample N] [--snapshot N] [--capture N] [--rate N]
//              [--max-growth MB_PER_HOUR] [--max-rss-growth MB_PER_HOUR]
//              [--max-call-ms N] [--probe PATH] [--tmpdir PATH]
//
// tarn-run runs SOAK_JS (every bound method in a mix, power events fired
// from the simulated TV's thread, Bluetooth enumerations, a capture every
// --capture seconds and a heap snapshot every --snapshot seconds, 0 for none)
// while this program sends the home screen's signals on a private
// bus at RATE per second. Beside QDUtil it loads the measuring bridge PATH
// (default: libsoak_probe.so in ../lib from this program), which reads the
// allocator's bytes in use. The script samples its footprint every --sample
// seconds (after a full collection). After --seconds the program says "stop",
// and prints the growth per hour after the warm-up (least squares over the
// samples, and the median of the slopes between samples) of RSS, of the
// allocator's bytes in use and of the script heap, the calls and events, and
// the slowest call. The bounds below are checked against the median of the
// slopes: V8 uncommits part of its heap for a few seconds now and then (RSS
// and the heap's committed total dip by megabytes together), and a few such
// dips early or late in a run tilt a least-squares line by more than the
// bound while nothing grows.
//
// The simulated TV's root, which holds its /proc, is made in --tmpdir
// (default: /dev/shm when it is a writable folder, else the inherited
// TMPDIR): on the set /proc is in memory, and a root on the PC's disk adds
// the disk's stalls to the calls that write there (hundreds of ms while a
// build runs beside).
//
// Heap snapshots stay with the engine's heap profiler for the life of the
// process, so each one taken adds to the footprint: the script measures the
// bytes in use each one added, and the growth is also given without them. It
// fails (status 1) when the run fails, an event is missing, a call threw, a
// call other than a capture or snapshot took longer than --max-call-ms, the
// bytes in use (apart from the snapshots) or the script heap grow beyond
// --max-growth, or RSS (apart from the snapshots) beyond --max-rss-growth
// (default: the same; "inf" leaves RSS unchecked, for builds whose allocator
// is not the one the set runs).
#include <fcntl.h>
#include <json/json.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "PrivateBus.h"

namespace {

const char kProgram[] = "soak_bench";

struct Settings {
  double seconds = 300, warmup = 120, sample = 5, snapshot = 180, capture = 10, rate = 20;
  double maxGrowth = 1, maxRssGrowth = -1, maxCallMs = 50;
  std::string probe;
  std::string tmpdir;
};

// What the script reported, filled by the reader thread.
struct Reports {
  std::mutex mutex;
  std::vector<Json::Value> samples;
  Json::Value done;
  std::atomic<bool> ready{false};
  std::atomic<bool> finished{false};
};

bool ParseSettings(int argc, char** argv, Settings* s) {
  const std::pair<const char*, double*> names[] = {{"--seconds", &s->seconds},
                                                   {"--warmup", &s->warmup},
                                                   {"--sample", &s->sample},
                                                   {"--snapshot", &s->snapshot},
                                                   {"--capture", &s->capture},
                                                   {"--rate", &s->rate},
                                                   {"--max-growth", &s->maxGrowth},
                                                   {"--max-call-ms", &s->maxCallMs},
                                                   {"--max-rss-growth", &s->maxRssGrowth}};
  for (int i = 4; i < argc; i += 2) {
    if (std::strcmp(argv[i], "--probe") == 0 && i + 1 < argc) {
      s->probe = argv[i + 1];
      continue;
    }
    if (std::strcmp(argv[i], "--tmpdir") == 0 && i + 1 < argc) {
      s->tmpdir = argv[i + 1];
      continue;
    }
    bool known = false;
    for (const auto& name : names) {
      if (std::strcmp(argv[i], name.first) != 0 || i + 1 >= argc) continue;
      char* end = nullptr;
      *name.second = std::strtod(argv[i + 1], &end);
      known = *end == '\0' && *name.second >= 0;
    }
    if (!known) {
      std::fprintf(stderr, "%s: bad option %s\n", kProgram, argv[i]);
      return false;
    }
  }
  if (s->maxRssGrowth < 0) s->maxRssGrowth = s->maxGrowth;
  if (s->tmpdir.empty() && access("/dev/shm", W_OK | X_OK) == 0) s->tmpdir = "/dev/shm";
  if (s->probe.empty()) {
    gchar* self = g_file_read_link("/proc/self/exe", nullptr);
    gchar* bin = g_path_get_dirname(self ? self : argv[0]);
    s->probe = std::string(bin) + "/../lib/libsoak_probe.so";
    g_free(bin);
    g_free(self);
  }
  return true;
}

void ReadReports(int fd, Reports* reports) {
  std::FILE* in = fdopen(fd, "r");
  char* line = nullptr;
  size_t size = 0;
  Json::CharReaderBuilder builder;
  std::unique_ptr<Json::CharReader> parser(builder.newCharReader());
  while (getline(&line, &size, in) > 0) {
    std::string text(line);
    if (!text.empty() && text.back() == '\n') text.pop_back();
    auto report = [&](const char* prefix, Json::Value* value) {
      size_t length = std::strlen(prefix);
      if (text.compare(0, length, prefix) != 0) return false;
      std::string errors;
      return parser->parse(text.data() + length, text.data() + text.size(), value, &errors);
    };
    Json::Value value;
    std::lock_guard<std::mutex> lock(reports->mutex);
    if (text == "@@soak ready") {
      reports->ready = true;
    } else if (report("@@soak sample ", &value)) {
      reports->samples.push_back(value);
    } else if (report("@@soak done ", &value)) {
      reports->done = value;
    } else {
      std::fprintf(stderr, "%s\n", text.c_str());
    }
  }
  std::free(line);
  std::fclose(in);
  reports->finished = true;
}

using Measure = std::function<double(const Json::Value&)>;

Measure field(const char* name) {
  return [name](const Json::Value& sample) { return sample[name].asDouble(); };
}

// A measure less what the heap snapshots taken so far have added to the
// bytes in use.
Measure apartFromSnapshots(const char* name) {
  return [name](const Json::Value& sample) {
    return sample[name].asDouble() - sample["snapshotKept"].asDouble();
  };
}

// Least-squares slope of `measure` over the samples from `from` seconds on,
// in megabytes per hour; also the first and last value there.
double GrowthPerHour(const std::vector<Json::Value>& samples, const Measure& measure, double from,
                     double* first, double* last) {
  double n = 0, st = 0, sv = 0, stt = 0, stv = 0;
  *first = *last = 0;
  for (const Json::Value& sample : samples) {
    const double t = sample["t"].asDouble(), v = measure(sample) / (1 << 20);
    if (t < from) continue;
    if (n == 0) *first = v;
    *last = v;
    n += 1, st += t, sv += v, stt += t * t, stv += t * v;
  }
  const double d = n * stt - st * st;
  return n >= 2 && d > 0 ? (n * stv - st * sv) / d * 3600 : 0;
}

// The median of the slopes between every two samples from `from` seconds on
// (the Theil-Sen estimate), in megabytes per hour. A reading that dips or
// jumps for a moment (V8 giving back its young generation's spare half, or
// a snapshot's passing buffers) moves a least-squares slope by megabytes an
// hour, depending on where in the run it falls; it barely moves this one. Long
// runs are thinned to 2000 evenly spaced samples.
double MedianSlopePerHour(const std::vector<Json::Value>& samples, const Measure& measure,
                          double from) {
  std::vector<std::pair<double, double>> points;
  for (const Json::Value& sample : samples) {
    const double t = sample["t"].asDouble();
    if (t >= from) points.emplace_back(t, measure(sample) / (1 << 20));
  }
  const size_t stride = points.size() / 2000 + 1;
  std::vector<double> slopes;
  for (size_t i = 0; i < points.size(); i += stride) {
    for (size_t j = i + stride; j < points.size(); j += stride) {
      const double dt = points[j].first - points[i].first;
      if (dt > 0) slopes.push_back((points[j].second - points[i].second) / dt * 3600);
    }
  }
  if (slopes.empty()) return 0;
  const size_t middle = slopes.size() / 2;
  std::nth_element(slopes.begin(), slopes.begin() + middle, slopes.end());
  const double upper = slopes[middle];
  if (slopes.size() % 2) return upper;
  return (upper + *std::max_element(slopes.begin(), slopes.begin() + middle)) / 2;
}

void Emit(GDBusConnection* connection, const char* text) {
  g_dbus_connection_emit_signal(connection, nullptr, "/org/tarn/FirstScreen",
                                "org.tarn.FirstScreen", "RecentChanged", g_variant_new("(s)", text),
                                nullptr);
}

// Waits for the child up to `seconds`, then stops it; its wait status.
int WaitFor(GPid pid, double seconds) {
  int status = 0;
  for (double waited = 0; waited < seconds; waited += 0.05) {
    if (waitpid(pid, &status, WNOHANG) == pid) return status;
    g_usleep(50000);
  }
  std::fprintf(stderr, "%s: tarn-run did not end; stopping it\n", kProgram);
  kill(pid, SIGTERM);
  waitpid(pid, &status, 0);
  return status;
}

struct Growth {
  double first = 0, last = 0, perHour = 0, medianPerHour = 0;
};

Growth GrowthOf(const Reports& reports, double from, const Measure& measure) {
  Growth growth;
  growth.perHour = GrowthPerHour(reports.samples, measure, from, &growth.first, &growth.last);
  growth.medianPerHour = MedianSlopePerHour(reports.samples, measure, from);
  return growth;
}

void PrintGrowth(const char* name, const Growth& growth) {
  std::printf("  %-30s %8.2f MB -> %8.2f MB   growth %+8.2f MB/h   median slope %+8.2f MB/h\n",
              name, growth.first, growth.last, growth.perHour, growth.medianPerHour);
}

// The footprint's growth, with and without what the heap snapshots kept;
// false when one checked is beyond its bound.
bool ReportGrowth(const Settings& settings, const Reports& reports, std::string* why) {
  const double from = settings.warmup;
  const Growth rss = GrowthOf(reports, from, field("rss"));
  const Growth rssApart = GrowthOf(reports, from, apartFromSnapshots("rss"));
  const Growth used = GrowthOf(reports, from, field("inUse"));
  const Growth usedApart = GrowthOf(reports, from, apartFromSnapshots("inUse"));
  const Growth heap = GrowthOf(reports, from, field("heapUsed"));
  const Growth heapTotal = GrowthOf(reports, from, field("heapTotal"));
  PrintGrowth("RSS", rss);
  PrintGrowth("RSS apart from snapshots", rssApart);
  PrintGrowth("bytes in use", used);
  PrintGrowth("bytes in use apart from snapshots", usedApart);
  PrintGrowth("script heap used", heap);
  PrintGrowth("script heap total", heapTotal);
  const Json::Value& done = reports.done;
  // RSS moves by megabytes between two readings a second apart, so only the
  // bytes in use tell what a snapshot kept.
  std::printf("  heap snapshots kept %.2f MB in use over %s snapshots\n",
              done["snapshotKept"].asDouble() / (1 << 20), done["snapshots"].asString().c_str());
  auto beyond = [why](const char* name, const Growth& growth, double bound) {
    if (growth.medianPerHour <= bound) return false;
    char text[160];
    std::snprintf(text, sizeof text,
                  "growth of %s %+.2f MB/h (median of slopes), over the bound of %g MB/h", name,
                  growth.medianPerHour, bound);
    *why = text;
    return true;
  };
  return !(beyond("RSS apart from snapshots", rssApart, settings.maxRssGrowth) ||
           beyond("the bytes in use apart from snapshots", usedApart, settings.maxGrowth) ||
           beyond("the script heap", heap, settings.maxGrowth));
}

int Report(const Settings& settings, const Reports& reports, long signalsSent, int status) {
  const Json::Value& done = reports.done;
  bool ok = true;
  auto fail = [&](const std::string& why) {
    std::printf("FAIL: %s\n", why.c_str());
    ok = false;
  };
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    fail("tarn-run ended with status " +
         std::to_string(WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status)));
  }
  if (done.isNull()) {
    fail("the script gave no summary");
    return 1;
  }
  const double expectedInterrupts = done["fired"].asDouble() * done["fireEvents"].asDouble();
  const double expectedDevices = done["btCalls"].asDouble() * done["bonded"].asDouble();
  std::printf("soak: %.0f s of load, warm-up %.0f s, a sample every %.0f s (%zu samples)\n",
              settings.seconds, settings.warmup, settings.sample, reports.samples.size());
  std::printf("  simulated root in %s\n",
              settings.tmpdir.empty() ? "the inherited TMPDIR" : settings.tmpdir.c_str());
  std::string growthFailure;
  const bool growthOk = ReportGrowth(settings, reports, &growthFailure);
  std::printf("  journal      %s entries so far (kept: the latest 200000)\n",
              done["journal"].asString().c_str());
  std::printf("  calls        %s (%s captures, %s heap snapshots), %s threw\n",
              done["calls"].asString().c_str(), done["captures"].asString().c_str(),
              done["snapshots"].asString().c_str(), done["errors"].asString().c_str());
  std::printf(
      "  events       %s signals of %ld sent, %s power interrupts of %.0f, %s devices of %.0f\n",
      done["signals"].asString().c_str(), signalsSent, done["interrupts"].asString().c_str(),
      expectedInterrupts, done["btDevices"].asString().c_str(), expectedDevices);
  std::printf("  slowest call %s ms (%s); capture %s ms, heap snapshot %s ms\n",
              done["slowest"]["ms"].asString().c_str(), done["slowest"]["name"].asString().c_str(),
              done["slowestCapture"].asString().c_str(),
              done["slowestSnapshot"].asString().c_str());
  std::printf("  over 50 ms  ");
  for (const auto& name : done["over50"].getMemberNames())
    std::printf(" %s x%s", name.c_str(), done["over50"][name].asString().c_str());
  std::printf("%s\n", done["over50"].empty() ? " none" : "");
  if (done["errors"].asInt() != 0) fail("a call threw: " + done["firstError"].asString());
  if (done["signals"].asDouble() != signalsSent) fail("signals were lost");
  if (done["interrupts"].asDouble() != expectedInterrupts) fail("interrupts were lost");
  if (done["btDevices"].asDouble() != expectedDevices) fail("devices were lost");
  if (done["slowest"]["ms"].asDouble() > settings.maxCallMs) fail("a call was too slow");
  if (!growthOk) fail(growthFailure);
  return ok ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  Settings settings;
  if (argc < 4 || !ParseSettings(argc, argv, &settings)) {
    std::fprintf(
        stderr,
        "usage: %s TARN_RUN QDUTIL_LIBRARY SOAK_JS [--seconds N] [--warmup N] "
        "[--sample N] [--snapshot N] [--capture N] [--rate N] [--max-growth MB_PER_HOUR] "
        "[--max-rss-growth MB_PER_HOUR] [--max-call-ms N] [--probe PATH] [--tmpdir PATH]\n",
        kProgram);
    return 2;
  }
  PrivateBus bus;
  if (!bus.start(kProgram)) return 1;
  GDBusConnection* connection = connectToBus(bus.address(), kProgram);
  roundTrip(connection);

  auto text = [](double v) { return std::to_string(static_cast<long>(v)); };
  std::vector<std::string> args{argv[1],
                                "--expose-gc",
                                "--log-level",
                                "error",
                                "--bridge",
                                argv[2],
                                "--bridge",
                                settings.probe,
                                argv[3],
                                text(settings.sample),
                                text(settings.snapshot),
                                text(settings.capture)};
  std::vector<std::string> env = bus.environment();
  if (!settings.tmpdir.empty()) {
    env.erase(std::remove_if(env.begin(), env.end(),
                             [](const std::string& e) { return e.rfind("TMPDIR=", 0) == 0; }),
              env.end());
    env.push_back("TMPDIR=" + settings.tmpdir);
  }
  std::vector<char*> argp = argumentVector(args), envp = argumentVector(env);
  GPid pid = 0;
  int out = -1;
  GError* error = nullptr;
  if (!g_spawn_async_with_pipes(nullptr, argp.data(), envp.data(), G_SPAWN_DO_NOT_REAP_CHILD,
                                nullptr, nullptr, &pid, nullptr, &out, nullptr, &error)) {
    std::fprintf(stderr, "%s: cannot start tarn-run: %s\n", kProgram, error->message);
    return 1;
  }
  Reports reports;
  std::thread reader(ReadReports, out, &reports);

  for (int i = 0; i < 6000 && !reports.ready && !reports.finished; ++i) g_usleep(50000);
  long sent = 0;
  if (reports.ready) {
    const gint64 start = g_get_monotonic_time();
    gint64 lastNote = start;
    while (!reports.finished) {
      const double elapsed = (g_get_monotonic_time() - start) / 1e6;
      if (elapsed >= settings.seconds) break;
      const long due = settings.rate > 0 ? static_cast<long>(elapsed * settings.rate) : 0;
      for (; sent < due; ++sent) Emit(connection, "{\"soak\":1}");
      if (g_get_monotonic_time() - lastNote > 60 * G_USEC_PER_SEC) {
        lastNote = g_get_monotonic_time();
        std::lock_guard<std::mutex> lock(reports.mutex);
        if (!reports.samples.empty()) {
          const Json::Value& s = reports.samples.back();
          std::fprintf(stderr, "%s: %.0f s, RSS %.1f MB, heap %.2f MB, %s calls\n", kProgram,
                       elapsed, s["rss"].asDouble() / (1 << 20),
                       s["heapUsed"].asDouble() / (1 << 20), s["calls"].asString().c_str());
        }
      }
      g_usleep(10000);
    }
    Emit(connection, "stop");
    roundTrip(connection);
  }
  const int status = WaitFor(pid, 300);
  reader.join();
  g_spawn_close_pid(pid);
  g_object_unref(connection);
  return Report(settings, reports, sent, status);
}
