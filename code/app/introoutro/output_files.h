#pragma once
// Every file a job writes, registered before the job starts. claim() checks them all
// against the inputs and each other before anything is read, and creates the missing
// ones; unless the job is marked complete, the files it created or changed are
// removed again, so a failed or interrupted job leaves no output behind.

#include <mutex>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace ns_introoutro {

class output_files {
public:
  output_files() = default;
  // discard() unless keep() was called.
  ~output_files();
  output_files(const output_files&) = delete;
  output_files& operator=(const output_files&) = delete;

  // A path the job will write, named in messages as `what` ("the output", "the
  // preview"). "-" is standard output; "" (an option not given) is ignored.
  void add(const std::string& what, const std::string& path);

  // Throws std::runtime_error naming the path unless every output can be written
  // without harm: none is an input or another output, under any name (a link, ./),
  // standard output is neither a terminal nor an input, and each file can be created.
  // Creates the missing files, empty. Reads nothing. Call once, after every add().
  void claim(const std::vector<std::string>& inputs);

  // The job completed: every file stays.
  void keep();
  // Removes each file that claim() created or that changed since; a file that was
  // there before and was not touched stays. Any thread; only the first call acts.
  void discard();

private:
  struct output {
    std::string what;
    std::string path;
    std::string target;  // the path with its last link resolved: what discard() removes
    bool created = false;
    bool regular = false;  // a regular file, there after claim()
    struct stat before {};
  };

  std::vector<output> files;
  std::mutex mutex;  // guards files and settled
  bool settled = false;
};

}  // namespace ns_introoutro
