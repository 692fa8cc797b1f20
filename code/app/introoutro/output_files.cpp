#include "introoutro/output_files.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace ns_introoutro {

namespace {

constexpr const char* standard_output = "standard output";

// A regular file, by what tells it apart whatever its name.
struct identity {
  std::string name;
  dev_t device = 0;
  ino_t inode = 0;
};

bool same(const struct stat& a, const identity& b) { return a.st_dev == b.device && a.st_ino == b.inode; }

// Only regular files can be destroyed by writing; a device such as /dev/null may be
// read and written by one job.
bool identify(const std::string& path, identity& out) {
  struct stat st {};
  const int got = path == "-" ? ::fstat(STDIN_FILENO, &st) : ::stat(path.c_str(), &st);
  if (got != 0 || !S_ISREG(st.st_mode)) return false;
  out = {path == "-" ? "standard input" : path, st.st_dev, st.st_ino};
  return true;
}

[[noreturn]] void refuse(const std::string& path, const std::string& why) {
  throw std::runtime_error((path == "-" ? standard_output : path) + ": " + why);
}

[[noreturn]] void refuse_errno(const std::string& path, const char* what) {
  refuse(path, std::string(what) + ": " + std::strerror(errno));
}

bool changed(const struct stat& before, const struct stat& now) {
  return before.st_ino != now.st_ino || before.st_dev != now.st_dev || before.st_size != now.st_size ||
         before.st_mtim.tv_sec != now.st_mtim.tv_sec || before.st_mtim.tv_nsec != now.st_mtim.tv_nsec;
}

}  // namespace

output_files::~output_files() { discard(); }

void output_files::add(const std::string& what, const std::string& path) {
  const std::lock_guard<std::mutex> lock(mutex);
  if (!path.empty()) files.push_back({what, path, path});
}

void output_files::claim(const std::vector<std::string>& inputs) {
  // A signal can discard() from the watcher thread while the files are still being
  // claimed: it then waits, and removes what the claim created.
  const std::lock_guard<std::mutex> lock(mutex);
  std::vector<identity> read;
  for (const std::string& in : inputs) {
    identity id;
    if (!in.empty() && identify(in, id)) read.push_back(id);
  }
  const output* to_standard_output = nullptr;
  for (output& o : files) {
    if (o.path == "-") {
      if (to_standard_output != nullptr) {
        refuse(o.path, o.what + " and " + to_standard_output->what + " cannot both be written to it");
      }
      to_standard_output = &o;
      // A terminal would show megabytes of pictures as garbage.
      if (::isatty(STDOUT_FILENO) == 1) {
        throw std::runtime_error("standard output is a terminal: write " + o.what +
                                 " to a file, or pipe it into a program");
      }
      if (::fstat(STDOUT_FILENO, &o.before) == 0 && S_ISREG(o.before.st_mode)) o.regular = true;
      continue;
    }
    if (::stat(o.path.c_str(), &o.before) == 0) {
      if (S_ISDIR(o.before.st_mode)) refuse(o.path, "is a directory");
      o.regular = S_ISREG(o.before.st_mode);
      if (o.regular && ::access(o.path.c_str(), W_OK) != 0) refuse_errno(o.path, "cannot write");
      // Through a link, the file written is the link's target.
      char* resolved = ::realpath(o.path.c_str(), nullptr);
      if (resolved != nullptr) o.target = resolved;
      std::free(resolved);
      continue;
    }
    if (errno != ENOENT) refuse_errno(o.path, "cannot create");
    // Created now, so that a directory that is missing or not writable is found
    // before the job starts rather than after it.
    const int fd = ::open(o.path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0) refuse_errno(o.path, "cannot create");
    o.created = true;
    const int got = ::fstat(fd, &o.before);
    ::close(fd);
    if (got != 0) refuse_errno(o.path, "cannot create");
    o.regular = true;
  }
  // By identity, not by name: all of them exist now.
  for (size_t i = 0; i < files.size(); ++i) {
    const output& o = files[i];
    if (!o.regular) continue;
    for (const identity& in : read) {
      if (same(o.before, in)) refuse(o.path, o.what + " is also the input " + in.name);
    }
    for (size_t j = 0; j < i; ++j) {
      if (files[j].regular && same(o.before, {files[j].path, files[j].before.st_dev, files[j].before.st_ino})) {
        refuse(o.path, o.what + " is the same file as " + files[j].what + " " + files[j].path);
      }
    }
  }
}

void output_files::keep() {
  const std::lock_guard<std::mutex> lock(mutex);
  settled = true;
}

void output_files::discard() {
  const std::lock_guard<std::mutex> lock(mutex);
  if (settled) return;
  settled = true;
  for (const output& o : files) {
    // Standard output is only closed: whatever reads it sees the stream end.
    if (!o.regular || o.path == "-") continue;
    struct stat now {};
    if (::stat(o.target.c_str(), &now) != 0) continue;
    if (o.created || changed(o.before, now)) ::unlink(o.target.c_str());
  }
}

}  // namespace ns_introoutro
