#pragma once
// Runs a program as a child process with files for its standard streams and a time
// limit, so that a hang fails the test instead of stalling the suite.

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

namespace introoutro_test {

struct run_result {
  int status = -1;  // exit status; -1 when killed or not run
  bool hung = false;
  std::string err;
};

struct run_setup {
  std::string stdin_file = "/dev/null";
  std::string stdout_file = "/dev/null";
  bool stdout_closed_pipe = false;  // stdout is a pipe whose reading end is closed
  std::string stderr_file;
  std::string cwd;  // the child's working directory, when set
  std::chrono::seconds limit{240};
  // Called with the child's id once it is started, before waiting for it (to feed it,
  // signal it).
  std::function<void(pid_t)> while_running;
};

// Standard input from `in`, standard output to `out`.
inline run_setup streams(const std::string& in, const std::string& out = "/dev/null") {
  run_setup s;
  s.stdin_file = in;
  s.stdout_file = out;
  return s;
}

inline run_result run_program(const std::string& program, const std::vector<std::string>& args, const run_setup& s) {
  run_result r;
  int pipe_fds[2] = {-1, -1};
  if (s.stdout_closed_pipe && pipe(pipe_fds) != 0) return r;
  const pid_t child = fork();
  if (child == 0) {
    const int in = open(s.stdin_file.c_str(), O_RDONLY);
    const int out = s.stdout_closed_pipe ? pipe_fds[1] : open(s.stdout_file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    const int err = open(s.stderr_file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (in < 0 || out < 0 || err < 0) _exit(126);
    if (!s.cwd.empty() && chdir(s.cwd.c_str()) != 0) _exit(126);
    dup2(in, 0);
    dup2(out, 1);
    dup2(err, 2);
    if (s.stdout_closed_pipe) close(pipe_fds[0]);
    std::vector<char*> argv{const_cast<char*>(program.c_str())};
    for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    execv(program.c_str(), argv.data());
    _exit(127);
  }
  if (s.stdout_closed_pipe) {
    close(pipe_fds[0]);
    close(pipe_fds[1]);
  }
  if (s.while_running) s.while_running(child);
  const auto deadline = std::chrono::steady_clock::now() + s.limit;
  int wstatus = 0;
  while (waitpid(child, &wstatus, WNOHANG) == 0) {
    if (std::chrono::steady_clock::now() > deadline) {
      kill(child, SIGKILL);
      waitpid(child, &wstatus, 0);
      r.hung = true;
      break;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  if (!r.hung && WIFEXITED(wstatus)) r.status = WEXITSTATUS(wstatus);
  std::ifstream err(s.stderr_file, std::ios::binary);
  r.err.assign(std::istreambuf_iterator<char>(err), {});
  return r;
}

}  // namespace introoutro_test
