#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <random>
#include <string>
#include <system_error>
#include <thread>

#include <boost/filesystem/operations.hpp>
#include <boost/program_options.hpp>

#include "sandbox/faults/injection.h"
#include "sandbox/faults/subject.h"
#include "sandbox/faults/verdict.h"

namespace {

namespace fs = boost::filesystem;
namespace po = boost::program_options;
using sandbox::Ended;
using sandbox::faults::Intent;
using sandbox::faults::Point;
using sandbox::faults::Subject;
using sandbox::faults::Task;
using sandbox::faults::Undisturbed;

constexpr const char* k_usage =
    "Usage: mdfixup-faults PROGRAM [OPTION]...\n"
    "Runs PROGRAM, an mdfixup, on small storages again and again, lets one step of each run fail,\n"
    "and holds what it leaves behind against what is promised. Exit status 1 when it breaks one.\n";

// Whatever changes a file, a directory or a database.
const std::string k_changing_calls =
    "write,pwrite64,fsync,fdatasync,rename,unlink,truncate,ftruncate,mkdir,rmdir,link,chmod,chown";
// Whatever else may fail, pipes and children among it.
const std::string k_other_calls =
    ",openat,read,pread64,lseek,fcntl,getdents64,pipe2,vfork,clone,clone3,wait4";

struct Fault {
  std::string name;
  Intent intent;
  std::string what;  // in strace's words; empty for signals, which come at any time
  bool from_then_on;
};

const std::vector<Fault>& all_faults() {
  static const std::vector<Fault> faults{
      {"kill", Intent::kill, "signal=KILL", false},
      {"EIO", Intent::fail, "error=EIO", false},
      {"EIO+", Intent::fail, "error=EIO", true},
      {"ENOSPC", Intent::fail, "error=ENOSPC", false},
      {"ENOSPC+", Intent::fail, "error=ENOSPC", true},
      {"signal", Intent::interrupt, "", false},
  };
  return faults;
}

struct Settings {
  std::string program;
  std::vector<std::string> faults;
  std::vector<std::string> tasks;
  std::string calls;
  std::string at;
  unsigned points = 0;
  unsigned seed = 1;
  unsigned scale = 1;
  unsigned threads = 1;
};

bool is_wanted(const std::vector<std::string>& names, const std::string& name) {
  return names.empty() || std::find(names.begin(), names.end(), name) != names.end();
}

// One task under one fault.
class Series {
 public:
  Series(const Settings& settings, const Subject& subject, const Undisturbed& undisturbed,
         const Fault& fault)
      : m_settings(settings),
        m_subject(subject),
        m_undisturbed(undisturbed),
        m_fault(fault),
        m_random(settings.seed) {}

  // Returns whether every run kept what is promised.
  bool run() {
    if (m_fault.what.empty()) {
      send_signals();
    } else {
      inject_at_points();
    }
    std::cout << m_subject.task().name << " " << m_fault.name << ": " << m_runs << " runs, "
              << m_reached << " did not end with 0, " << m_failures << " failures" << std::endl;
    return m_failures == 0;
  }

 private:
  void inject_at_points();
  void send_signals();
  std::vector<Point> draw_points();
  void judge(const Ended& ended, Intent intent, const std::string& moment);

  const Settings& m_settings;
  const Subject& m_subject;
  const Undisturbed& m_undisturbed;
  const Fault& m_fault;
  std::mt19937 m_random;
  unsigned m_runs = 0;
  unsigned m_reached = 0;
  unsigned m_failures = 0;
};

std::vector<Point> Series::draw_points() {
  const std::size_t colon = m_settings.at.find(':');
  if (colon != std::string::npos) {
    const auto n = static_cast<unsigned>(std::stoul(m_settings.at.substr(colon + 1)));
    return {{m_settings.at.substr(0, colon), n}};
  }
  const std::string more = m_fault.intent == Intent::fail ? k_other_calls : "";
  const std::string calls = m_settings.calls.empty() ? k_changing_calls + more : m_settings.calls;
  std::vector<Point> points = points_of(m_subject, calls, m_settings.threads > 1);
  if (m_settings.points != 0 && m_settings.points < points.size()) {
    std::shuffle(points.begin(), points.end(), m_random);
    points.resize(m_settings.points);
  }
  return points;
}

void Series::inject_at_points() {
  // A run that takes so long waits for something that never comes.
  const std::vector<std::string> bounded{"timeout", "-s", "KILL", "100"};
  for (const Point& point : draw_points()) {
    m_subject.restore();
    std::vector<std::string> prefix = bounded;
    const auto strace = inject(point, m_fault.what, m_fault.from_then_on, m_settings.threads > 1);
    prefix.insert(prefix.end(), strace.begin(), strace.end());
    const bool can_tell = point.call != "write" || !m_fault.from_then_on;
    judge(m_subject.run(prefix), can_tell ? m_fault.intent : Intent::silence,
          " --at " + point.call + ":" + std::to_string(point.n));
  }
}

// To the program alone or, as a terminal does, to the commands that it runs as well.
void Series::send_signals() {
  using std::chrono::microseconds;
  using std::chrono::steady_clock;
  m_subject.restore();
  const auto start = steady_clock::now();
  (void)m_subject.run({});
  const auto whole = std::chrono::duration_cast<microseconds>(steady_clock::now() - start).count();
  std::uniform_int_distribution<std::int64_t> any_time(0, whole);
  constexpr int k_signals[] = {SIGINT, SIGTERM, SIGHUP};
  for (unsigned i = 0; i < std::max(m_settings.points, 1U); ++i) {
    m_subject.restore();
    const int signal = k_signals[m_random() % std::size(k_signals)];
    const bool to_all = m_random() % 2 == 0;
    const microseconds delay(any_time(m_random));
    const auto child = m_subject.start({"setsid"});
    std::this_thread::sleep_for(delay);
    (void)::kill(to_all ? -child->pid() : child->pid(), signal);
    judge(child->wait(), m_fault.intent,
          ", signal " + std::to_string(signal) + (to_all ? " to all" : "") + " after " +
              std::to_string(delay.count()) + " us");
  }
}

void Series::judge(const Ended& ended, Intent intent, const std::string& moment) {
  ++m_runs;
  if (ended.exit_status != 0) ++m_reached;
  const std::string wrong = sandbox::faults::judge(m_subject, m_undisturbed, ended, intent);
  if (wrong.empty()) return;
  ++m_failures;
  std::cout << "--task " << m_subject.task().name << " --fault " << m_fault.name << moment
            << ": exit status " << ended.exit_status << "\n"
            << wrong << "  standard error: " << ended.err.substr(0, ended.err.find('\n'))
            << std::endl;
}

// Kills a repair half-way, and makes what it left the beginning.
void stop_half_way(const Subject& subject, bool all_threads) {
  const std::vector<Point> points = points_of(subject, "pwrite64", all_threads);
  subject.restore();
  (void)subject.run(inject(points.at(points.size() / 2), "signal=KILL", false, all_threads));
  subject.remove_lock();
  subject.keep();
}

bool try_task(const Settings& settings, const Task& task, const fs::path& dir) {
  fs::create_directories(dir);
  const Subject subject(dir, settings.program, task, settings.scale, settings.threads);
  if (task.resumed) stop_half_way(subject, settings.threads > 1);
  const Undisturbed undisturbed = run_undisturbed(subject);
  bool all_well = true;
  for (const Fault& fault : all_faults()) {
    // Without signals there is nothing to see of the services.
    if (!is_wanted(settings.faults, fault.name) || (task.services && !fault.what.empty())) continue;
    all_well = Series(settings, subject, undisturbed, fault).run() && all_well;
  }
  return all_well;
}

// In memory if possible: the calls are the same there, and thousands of runs wait for no disk.
fs::path place_for_storages() {
  const fs::path memory = "/dev/shm";
  const bool chosen = std::getenv("TMPDIR") != nullptr;
  return !chosen && ::access(memory.c_str(), W_OK) == 0 ? memory : fs::temp_directory_path();
}

bool try_tasks(const Settings& settings) {
  const fs::path dir = place_for_storages() / fs::unique_path("mdfixup-faults.%%%%%%");
  bool all_well = true;
  for (const Task& task : sandbox::faults::all_tasks()) {
    if (!is_wanted(settings.tasks, task.name)) continue;
    all_well = try_task(settings, task, dir / task.name) && all_well;
  }
  fs::remove_all(dir);
  return all_well;
}

// Gives this process and what it starts a /var/run of their own, so that services are simulated
// beside any other run, and real ones are neither seen nor touched. Only a privileged user can; for
// another one the machine's own is looked at.
void isolate_pid_files() {
  if (::unshare(CLONE_NEWNS) != 0) return;
  if (::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
      ::mount("none", "/var/run", "tmpfs", 0, nullptr) != 0) {
    throw std::system_error(errno, std::generic_category(), "could not set /var/run apart");
  }
}

po::options_description describe(Settings& settings) {
  po::options_description options("Options");
  auto add = options.add_options();
  add("fault", po::value(&settings.faults),
      "kill, EIO, ENOSPC, EIO+, ENOSPC+ (from then on) or signal; all when not given");
  add("task", po::value(&settings.tasks),
      "scan, dry_run, deletion, repair, resumed or forced (with services); all when not given");
  add("points", po::value(&settings.points),
      "that many moments of each run, drawn at random; all when not given, but one for signals");
  add("calls", po::value(&settings.calls),
      "these system calls, as strace wants them; all that matter to the fault when not given");
  add("at", po::value(&settings.at), "one moment alone, as pwrite64:7");
  add("seed", po::value(&settings.seed), "seed of what is drawn");
  add("scale", po::value(&settings.scale), "multiplies the directories");
  add("threads", po::value(&settings.threads), "threads of the program");
  return options;
}

int run(int argc, char** argv) {
  Settings settings;
  const po::options_description visible = describe(settings);
  po::options_description all;
  all.add(visible).add_options()("program", po::value(&settings.program)->required());
  po::positional_options_description words;
  words.add("program", 1);
  if (argc < 2) {
    std::cerr << k_usage << visible;
    return 1;
  }
  po::variables_map given;
  po::store(po::command_line_parser(argc, argv).options(all).positional(words).run(), given);
  po::notify(given);
  isolate_pid_files();
  return try_tasks(settings) ? 0 : 1;
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
