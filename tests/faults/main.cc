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

#include "sandbox/pid_files_lock.h"
#include "tests/faults/series.h"
#include "tests/faults/subject.h"
#include "tests/faults/verdict.h"

namespace fs = boost::filesystem;
namespace po = boost::program_options;

namespace sandbox::faults {

namespace {

constexpr const char* k_usage =
    "Usage: mdfixup-faults PROGRAM [OPTION]...\n"
    "Runs PROGRAM, an mdfixup, on small storages again and again, makes one step of each run\n"
    "fail, and checks the result against the promises. Exit status 1: a promise is broken, or no\n"
    "run met the fault. Options select tasks, faults and points; without them all are tried, with\n"
    "one point for signals and pairs. The task forced, which has services, runs only with "
    "signals.\n";

// The tasks or faults with these names; all if there are no names.
// Errors: std::invalid_argument for an unknown name.
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

// In memory if possible: the calls are the same, and thousands of runs wait for no disk.
fs::path place_for_storages() {
  const char* memory = "/dev/shm";
  const bool is_chosen = std::getenv("TMPDIR") != nullptr || ::access(memory, W_OK) != 0;
  // Traces have the paths that links lead to.
  return fs::canonical(is_chosen ? fs::temp_directory_path() : memory) /
         fs::unique_path("mdfixup-faults.%%%%%%");
}

bool try_task(const Settings& settings, const Task& task, const fs::path& dir) {
  fs::create_directories(dir);
  const Subject subject(dir, settings, task);
  if (task.resumed) stop_half_way(subject);
  const Baseline baseline = run_baseline(subject);
  bool all_well = true;
  for (const Fault& fault : choose(all_faults(), settings.faults)) {
    // Unless it is requested, a task with services runs only with signals.
    if (task.services && settings.tasks.empty() && fault.intent != Intent::interrupt) continue;
    all_well = run_series(subject, baseline, fault) && all_well;
  }
  return all_well;
}

po::options_description describe(Settings& settings) {
  po::options_description options("Options");
  auto add = options.add_options();
  add("program", po::value(&settings.program), "the same as the first word");
  add("fault", po::value(&settings.faults),
      "kill, EIO, ENOSPC, EIO+, ENOSPC+ (from then on), signal, pairs (of runs at once), power, "
      "power_random");
  add("task", po::value(&settings.tasks),
      "scan, dry_run, deletion, one_listing, repair, resumed, forced, approved, approved_one, "
      "undeletion, unrepair, resumed_unrepair");
  add("points", po::value(&settings.points), "the number of points of each run, drawn at random");
  add("calls", po::value(&settings.calls), "system calls; by default all that matter to the fault");
  add("at", po::value(&settings.at), "one point, as pwrite64:7, or a power cut");
  add("seed", po::value(&settings.seed), "seed of the random numbers");
  add("scale", po::value(&settings.scale), "multiplies the directories");
  add("threads", po::value(&settings.threads), "threads of the program");
  add("help", "show this help");
  return options;
}

bool run(int argc, char** argv, const fs::path& dir) {
  Settings settings;
  const po::options_description options = describe(settings);
  po::positional_options_description words;
  words.add("program", 1);
  po::variables_map given;
  po::store(po::command_line_parser(argc, argv).options(options).positional(words).run(), given);
  po::notify(given);
  if (given.count("help") != 0 || settings.program.empty()) {
    std::cout << k_usage << options;
    return given.count("help") != 0;
  }
  settings.undo = (fs::path(settings.program).parent_path() / "../undo/mdfixup-undo").string();
  const bool with_services = isolate_pid_files();
  bool all_well = true;
  for (const Task& task : choose(all_tasks(), settings.tasks)) {
    const bool left_out = task.services && !with_services;
    if (left_out) std::cout << task.name << ": left out, because /var/run cannot be isolated\n";
    all_well =
        (left_out ? settings.tasks.empty() : try_task(settings, task, dir / task.name)) && all_well;
  }
  return all_well;
}

}  // namespace

}  // namespace sandbox::faults

int main(int argc, char** argv) {
  const fs::path dir = sandbox::faults::place_for_storages();
  bool all_well = false;
  try {
    all_well = sandbox::faults::run(argc, argv, dir);
  } catch (const std::exception& error) {
    std::cerr << std::string("mdfixup-faults: ") + error.what() + "\n";
  }
  boost::system::error_code ignored;
  fs::remove_all(dir, ignored);
  return all_well ? 0 : 1;
}
