// Start-up of tarn-run on an empty script against `node -e 0`: each command
// is started many times in turn; the medians and their ratio are printed.
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
  if (argc < 3) {
    std::fprintf(stderr, "usage: %s TARN_RUN EMPTY_SCRIPT [RUNS]\n", argv[0]);
    return 2;
  }
  int runs = argc > 3 ? std::atoi(argv[3]) : 30;
  std::vector<std::string> tarn = {argv[1], argv[2]};
  std::vector<std::string> node = {"node", "-e", "0"};
  std::vector<double> tarnTimes, nodeTimes;
  // Warm the page cache for both before measuring.
  if (RunOnce(tarn) < 0) {
    std::fprintf(stderr, "tarn-run failed on %s\n", argv[2]);
    return 1;
  }
  if (RunOnce(node) < 0) {
    std::fprintf(stderr, "node -e 0 failed (is node installed?)\n");
    return 1;
  }
  for (int i = 0; i < runs; ++i) {
    tarnTimes.push_back(RunOnce(tarn));
    nodeTimes.push_back(RunOnce(node));
  }
  double t = Median(tarnTimes), n = Median(nodeTimes);
  std::printf("runs: %d each, interleaved\n", runs);
  std::printf("%-32s %8.2f ms (median)\n", "tarn-run on an empty script", t);
  std::printf("%-32s %8.2f ms (median)\n", "node -e 0", n);
  std::printf("%-32s %8.2f   (target <= 0.35)\n", "ratio tarn-run / node", t / n);
  return 0;
}
