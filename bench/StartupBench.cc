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
  if (argc < 4) {
    std::fprintf(stderr, "usage: %s TARN_RUN MINIMAL_EMBEDDER EMPTY_SCRIPT [RUNS]\n", argv[0]);
    return 2;
  }
  int runs = argc > 4 ? std::atoi(argv[4]) : 30;
  if (runs < 1) runs = 1;
  const std::vector<std::string> tarn = {argv[1], argv[3]};
  const std::vector<std::string> minimal = {argv[2], argv[3]};
  const std::vector<std::string> node = {"node", "-e", "0"};
  // Warm the page cache for each before measuring.
  if (RunOnce(tarn) < 0) {
    std::fprintf(stderr, "tarn-run failed on %s\n", argv[3]);
    return 1;
  }
  if (RunOnce(minimal) < 0) {
    std::fprintf(stderr, "the minimal embedder failed on %s\n", argv[3]);
    return 1;
  }
  const bool haveNode = RunOnce(node) >= 0;
  std::vector<double> tarnTimes, minimalTimes, nodeTimes;
  for (int i = 0; i < runs; ++i) {
    tarnTimes.push_back(RunOnce(tarn));
    minimalTimes.push_back(RunOnce(minimal));
    if (haveNode) nodeTimes.push_back(RunOnce(node));
  }
  const double t = Median(tarnTimes), m = Median(minimalTimes);
  std::printf("runs: %d each, interleaved\n", runs);
  std::printf("%-36s %8.2f ms (median)\n", "tarn-run on an empty script", t);
  std::printf("%-36s %8.2f ms (median)\n", "minimal V8 embedder, same script", m);
  std::printf("%-36s %8.2f   (target <= 1.10)\n", "ratio tarn-run / minimal embedder", t / m);
  if (haveNode) {
    const double n = Median(nodeTimes);
    std::printf("%-36s %8.2f ms (median)\n", "node -e 0", n);
    std::printf("%-36s %8.2f\n", "ratio tarn-run / node", t / n);
  } else {
    std::printf("node is not installed: not compared\n");
  }
  return 0;
}
