#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include <boost/filesystem/operations.hpp>
#include <boost/program_options.hpp>

#include "sandbox/faults/fault.h"
#include "sandbox/faults/injection.h"
#include "sandbox/faults/series.h"
#include "sandbox/faults/subject.h"
#include "sandbox/faults/task.h"
#include "sandbox/faults/verdict.h"

namespace {

namespace fs = boost::filesystem;
namespace po = boost::program_options;
using sandbox::faults::Fault;
using sandbox::faults::Intent;
using sandbox::faults::Moments;
using sandbox::faults::Point;
using sandbox::faults::Series;
using sandbox::faults::Subject;
using sandbox::faults::Task;
using sandbox::faults::Undisturbed;

constexpr const char* k_usage =
    "Usage: mdfixup-faults PROGRAM [OPTION]...\n"
    "Runs PROGRAM, an mdfixup, on small storages again and again, lets one step of each run fail,\n"
    "and holds what it leaves behind against what is promised. Exit status 1 when it breaks a\n"
    "promise, or when no run met the fault.\n";

struct Settings {
  std::string program;
  std::vector<std::string> faults;
  std::vector<std::string> tasks;
  Moments moments;
  unsigned scale = 1;
  unsigned threads = 1;
};

// The tasks or faults of those names; all when none are given.
// Errors: std::invalid_argument for a name that none has.
template <class Named>
std::vector<Named> choose(const std::vector<Named>& all, const std::vector<std::string>& names) {
  if (names.empty()) return all;
  std::vector<Named> chosen;
  for (const std::string& name : names) {
    const auto found =
        std::find_if(all.begin(), all.end(), [&](const Named& one) { return one.name == name; });
    if (found == all.end()) throw std::invalid_argument("there is no task or fault '" + name + "'");
    chosen.push_back(*found);
  }
  return chosen;
}

// A directory for the storages, in memory if possible: the calls are the same there, and thousands of
// runs wait for no disk.
class WorkDir {
 public:
  WorkDir() : m_path(place() / fs::unique_path("mdfixup-faults.%%%%%%")) {}
  ~WorkDir() {
    boost::system::error_code ignored;
    fs::remove_all(m_path, ignored);
  }
  WorkDir(const WorkDir&) = delete;
  WorkDir& operator=(const WorkDir&) = delete;

  const fs::path& path() const { return m_path; }

 private:
  static fs::path place() {
    const fs::path memory = "/dev/shm";
    const bool chosen = std::getenv("TMPDIR") != nullptr;
    return !chosen && ::access(memory.c_str(), W_OK) == 0 ? memory : fs::temp_directory_path();
  }

  const fs::path m_path;
};

// Kills a repair half-way, and makes what it left the beginning.
void stop_half_way(const Subject& subject, bool all_threads) {
  const std::vector<Point> points = points_of(subject, "pwrite64", all_threads);
  subject.restore();
  const Point& middle = points.at(points.size() / 2);
  (void)subject.run(inject(middle, "signal=KILL", false, all_threads, "/dev/null"));
  if (!subject.is_locked()) throw std::runtime_error("the repair could not be killed half-way");
  subject.remove_lock();
  subject.keep();
}

bool try_task(const Settings& settings, const Task& task, const fs::path& dir) {
  fs::create_directories(dir);
  const Subject subject(dir, settings.program, task, settings.scale, settings.threads);
  if (task.resumed) stop_half_way(subject, settings.moments.all_threads);
  const Undisturbed undisturbed = run_undisturbed(subject);
  bool all_well = true;
  for (const Fault& fault : choose(sandbox::faults::all_faults(), settings.faults)) {
    // Where services are not asked for, they are of interest to signals alone.
    if (task.services && settings.tasks.empty() && fault.intent != Intent::interrupt) continue;
    all_well = Series(settings.moments, subject, undisturbed, fault).run() && all_well;
  }
  return all_well;
}

bool try_tasks(const Settings& settings, bool with_services) {
  const WorkDir dir;
  bool all_well = true;
  for (const Task& task : choose(sandbox::faults::all_tasks(), settings.tasks)) {
    if (task.services && !with_services) {
      std::cout << task.name << ": left out, for /var/run cannot be set apart\n";
      all_well = all_well && settings.tasks.empty();
    } else {
      all_well = try_task(settings, task, dir.path() / task.name) && all_well;
    }
  }
  return all_well;
}

// Gives this process and what it starts a /var/run of their own, so that services are simulated
// beside any other run, and real ones are neither seen nor touched. Only a privileged user can; false
// for another one.
bool isolate_pid_files() {
  return ::unshare(CLONE_NEWNS) == 0 &&
         ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         ::mount("none", "/var/run", "tmpfs", 0, nullptr) == 0;
}

po::options_description describe(Settings& settings) {
  po::options_description options("Options");
  auto add = options.add_options();
  add("fault", po::value(&settings.faults),
      "kill, EIO, ENOSPC, EIO+, ENOSPC+ (from then on) or signal; all when not given");
  add("task", po::value(&settings.tasks),
      "scan, dry_run, deletion, repair, resumed or forced (with services); all when not given");
  add("points", po::value(&settings.moments.points),
      "that many moments of each run, drawn at random; all when not given, but one for signals");
  add("calls", po::value(&settings.moments.calls),
      "these system calls, as strace wants them; all that matter to the fault when not given");
  add("at", po::value(&settings.moments.at), "one moment alone, as pwrite64:7");
  add("seed", po::value(&settings.moments.seed), "seed of what is drawn");
  add("scale", po::value(&settings.scale), "multiplies the directories");
  add("threads", po::value(&settings.threads), "threads of the program");
  add("help", "show this help");
  return options;
}

void check(const Settings& settings) {
  constexpr unsigned k_most = 100000;  // below what a negative number wraps to
  for (const unsigned count : {settings.moments.points, settings.scale, settings.threads}) {
    if (count > k_most) throw std::invalid_argument("a count must be from 0 to 100000");
  }
}

int run(int argc, char** argv) {
  Settings settings;
  const po::options_description visible = describe(settings);
  po::options_description all;
  all.add(visible).add_options()("program", po::value(&settings.program)->required());
  po::positional_options_description words;
  words.add("program", 1);
  po::variables_map given;
  po::store(po::command_line_parser(argc, argv).options(all).positional(words).run(), given);
  if (argc < 2 || given.count("help") != 0) {
    (argc < 2 ? std::cerr : std::cout) << k_usage << visible;
    return argc < 2 ? 1 : 0;
  }
  po::notify(given);
  check(settings);
  settings.moments.all_threads = settings.threads > 1;
  settings.moments.options = " --threads " + std::to_string(settings.threads) + " --scale " +
                             std::to_string(settings.scale);
  return try_tasks(settings, isolate_pid_files()) ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const std::exception& error) {
    std::cerr << std::string("mdfixup-faults: ") + error.what() + "\n";
    return 1;
  }
}
