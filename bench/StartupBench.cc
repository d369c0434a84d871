// Start-up of tarn-run on an empty script against the minimal embedder
// (bench/MinimalEmbedder.cc: V8 alone, the same libnode) and, for scale,
// `node -e 0`: each command is started many times in turn; the medians and
// the ratios are printed.
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

extern char** environ;

namespace {

// Wall time of one run in milliseconds; negative when the command failed.
double RunOnce(const std::vector<std::string>& command) {
  std::vector<char*> argv;
  for (const std::string& word : command) argv.push_back(const_cast<char*>(word.c_str()));
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", 0, 0);
  auto start = std::chrono::steady_clock::now();
  pid_t pid;
  int rc = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (rc != 0) return -1;
  int status = 0;
  waitpid(pid, &status, 0);
  auto end = std::chrono::steady_clock::now();
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) return -1;
  return std::chrono::duration<double, std::milli>(end - start).count();
}

double Median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  return v[v.size() / 2];
}

}  // namespace

int main(int argc, char* argv[]) {
  if (argc < 5) {
    std::fprintf(stderr, "usage: %s TARN_RUN MINIMAL_EMBEDDER BRIDGE EMPTY_SCRIPT [RUNS]\n",
                 argv[0]);
    return 2;
  }
  int runs = argc > 5 ? std::atoi(argv[5]) : 30;
  if (runs < 1) runs = 1;
  const std::string script = argv[4];
  // Each pair does the same work but for what tarn-run adds around it: the
  // GLib loop, console and timers, the simulated set, signals.
  struct Pair {
    const char* what;
    std::vector<std::string> tarn;
    std::vector<std::string> minimal;
    std::vector<double> tarnTimes, minimalTimes;
  } pairs[] = {
      {"with the bridge",
       {argv[1], "-b", argv[3], script},
       {argv[2], "--bridge", argv[3], script},
       {},
       {}},
      {"no bridge", {argv[1], "--no-bridges", script}, {argv[2], script}, {}, {}},
  };
  const std::vector<std::string> node = {"node", "-e", "0"};
  // Warm the page cache for each before measuring.
  for (Pair& pair : pairs) {
    if (RunOnce(pair.tarn) < 0 || RunOnce(pair.minimal) < 0) {
      std::fprintf(stderr, "a run failed (%s) on %s\n", pair.what, script.c_str());
      return 1;
    }
  }
  const bool haveNode = RunOnce(node) >= 0;
  std::vector<double> nodeTimes;
  for (int i = 0; i < runs; ++i) {
    for (Pair& pair : pairs) {
      pair.tarnTimes.push_back(RunOnce(pair.tarn));
      pair.minimalTimes.push_back(RunOnce(pair.minimal));
    }
    if (haveNode) nodeTimes.push_back(RunOnce(node));
  }
  std::printf("runs: %d each, interleaved; medians\n", runs);
  double withBridge = 0;
  for (Pair& pair : pairs) {
    const double t = Median(pair.tarnTimes), m = Median(pair.minimalTimes);
    if (withBridge == 0) withBridge = t;
    std::printf(
        "%-16s tarn-run %7.2f ms, minimal embedder %7.2f ms, ratio %5.2f (target <= 1.10)\n",
        pair.what, t, m, t / m);
  }
  if (haveNode) {
    const double n = Median(nodeTimes);
    std::printf("%-16s node -e 0 %6.2f ms; tarn-run with the bridge / node %5.2f\n", "for scale", n,
                withBridge / n);
  } else {
    std::printf("node is not installed: not compared\n");
  }
  return 0;
}
