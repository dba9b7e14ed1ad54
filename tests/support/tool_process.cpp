#include "tool_process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

pid_t startTool(const std::string& tool, const std::string& dir, const std::vector<std::string>& args,
                const std::string& in, const std::string& out, const std::string& err) {
  pid_t pid = fork();
  if (pid != 0) return pid;
  if (chdir(dir.c_str()) != 0) _exit(126);
  int input = open(in.empty() ? "/dev/null" : in.c_str(), O_RDONLY);
  int output = open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  int error = err == out ? output : open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  if (input < 0 || output < 0 || error < 0) _exit(126);
  // A runaway write (the object export pads a header label wider than every
  // name until the output refuses) fails at 256 MB instead of filling the
  // disk; a run that never ends is ended by the alarm, which exec keeps.
  struct rlimit limit;
  if (getrlimit(RLIMIT_FSIZE, &limit) == 0) {
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_cur, rlim_t{256} << 20);
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  signal(SIGXFSZ, SIG_IGN);
  alarm(60);
  dup2(input, 0);
  dup2(output, 1);
  dup2(error, 2);
  std::string name = std::filesystem::path(tool).filename().string();
  std::vector<char*> argv{name.data()};
  for (const auto& a : args) argv.push_back(const_cast<char*>(a.c_str()));
  argv.push_back(nullptr);
  char* env[] = {const_cast<char*>("LC_ALL=C"), const_cast<char*>("PATH=/usr/bin:/bin"), nullptr};
  execve(tool.c_str(), argv.data(), env);
  _exit(127);
}

int waitForTool(pid_t pid) {
  int status = 0;
  if (waitpid(pid, &status, 0) != pid) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
