#include "tests/faults/power_cuts.h"

#include <signal.h>

#include <algorithm>
#include <functional>
#include <iostream>
#include <random>
#include <set>
#include <stdexcept>
#include <utility>
#include <vector>

#include <boost/algorithm/string/predicate.hpp>

#include "files/storage_layout.h"
#include "tests/faults/disk.h"

namespace fs = boost::filesystem;

namespace sandbox::faults {

namespace {

using boost::algorithm::ends_with;
using boost::algorithm::starts_with;

enum class Reach { synced, only, without, random };
const std::vector<std::string> k_reach_names{"synced", "only", "without", "random"};

struct Cut {
  std::size_t point = 0;  // the number of calls before it
  Reach reach = Reach::synced;
  std::uint64_t number = 0;  // of the change, or the seed

  std::string name() const {
    return std::to_string(point) + ":" + k_reach_names[static_cast<std::size_t>(reach)] + ":" +
           std::to_string(number);
  }
};
using Cuts = std::vector<Cut>;

// "point:reach:number", as --at has it.
Cut parse_cut(const std::string& text) {
  const std::size_t first = text.find(':');
  const std::size_t last = text.rfind(':');
  const auto name = std::find(k_reach_names.begin(), k_reach_names.end(),
                              text.substr(first + 1, last - first - 1));
  if (first == last || name == k_reach_names.end())
    throw std::invalid_argument("'" + text + "' is no power cut, such as 7:only:12");
  return {std::stoul(text), static_cast<Reach>(name - k_reach_names.begin()),
          std::stoull(text.substr(last + 1))};
}

// A seed decides the share of changes that have reached the disk; some others have in part.
bool reaches_at_random(std::uint64_t seed, Disk::Number change, std::uint64_t sector) {
  std::minstd_rand share(static_cast<unsigned>(seed));
  std::minstd_rand random(static_cast<unsigned>(seed * 7919 + change));
  share.discard(3);
  random.discard(3);
  if (random() < share()) return true;
  if (random() % 2 == 0) return false;
  std::minstd_rand piece(static_cast<unsigned>(random() + sector));
  piece.discard(3);
  return piece() % 2 == 0;
}

Files after(const Disk& disk, const Cut& cut) {
  return disk.after_power_cut([&](Disk::Number change, std::uint64_t sector) {
    switch (cut.reach) {
      case Reach::synced:
        return false;
      case Reach::only:
        return change == cut.number;
      case Reach::without:
        return change != cut.number;
      case Reach::random:
        return reaches_at_random(cut.number, change, sector);
    }
    return false;
  });
}

std::size_t fingerprint(const Files& files) {
  std::string all;
  for (const auto& [path, file] : files) {
    all += path + '\0' + std::to_string(static_cast<int>(file.kind)) +
           std::to_string(file.bytes.size()) + '\0' + file.bytes;
  }
  return std::hash<std::string>()(all);
}

Files tree_of(const Files& files) {
  Files tree;
  for (const auto& [path, file] : files) {
    if (!starts_with(path, "log/")) tree[path] = file;
  }
  return tree;
}

// An even share, the last one among them; all if there are not so many.
Cuts share_of(const Cuts& cuts, std::size_t most) {
  if (cuts.size() <= most) return cuts;
  Cuts share;
  for (std::size_t i = 0; i < cuts.size(); ++i) {
    if (i * most / cuts.size() != (i + 1) * most / cuts.size()) share.push_back(cuts[i]);
  }
  return share;
}

// Of a resumed task, what the run before it did not sync may still be lost.
Disk disk_before(const Subject& subject) {
  const fs::path& root = subject.storage_root();
  if (!subject.task().resumed) return {root, root};
  Disk disk(subject.before_stop(), root);
  const std::string logs = (root / "log/").string();
  for (const TracedCall& call : traced_calls(subject.stopped_trace())) {
    const auto is_log = [&](const std::string& word) { return starts_with(word, logs); };
    if (std::none_of(call.words.begin(), call.words.end(), is_log)) (void)disk.apply(call);
  }
  return disk;
}

struct PowerCuts {
  const Subject& m_subject;
  const Baseline& m_baseline;
  const Fault& m_fault;
  const Settings& m_settings = m_subject.settings();
  Disk m_before = disk_before(m_subject);
  std::vector<TracedCall> m_calls = {};
  std::set<std::pair<bool, std::size_t>> m_tried = {};  // after the end of the run, fingerprint
  std::set<std::size_t> m_trees = {};                   // fingerprints of metadata trees
  unsigned m_failures = 0;

  bool run() {
    record();
    Cuts cuts = m_fault.is_random ? random_cuts() : all_cuts();
    if (!m_settings.at.empty()) cuts = {parse_cut(m_settings.at)};
    std::stable_sort(cuts.begin(), cuts.end(),
                     [](const Cut& a, const Cut& b) { return a.point < b.point; });
    auto next = cuts.cbegin();
    replay([&](std::size_t point, const Disk& disk) {
      for (; next != cuts.cend() && next->point == point; ++next) try_cut(disk, *next);
    });
    std::cout << m_subject.task().name << " " << m_fault.name << ": " << m_tried.size() << " runs, "
              << m_tried.size() << " struck, " << m_failures << " failures" << std::endl;
    return m_failures == 0 && next == cuts.cend();
  }

  // Keeps only the calls that change or sync something.
  void record() {
    const Ended ended = m_subject.run(trace_changes(m_subject.trace_file()));
    if (ended.exit_status != 0) throw std::runtime_error("the traced run failed: " + ended.err);
    Disk disk = m_before;
    for (TracedCall& call : traced_calls(m_subject.trace_file())) {
      if (disk.apply(call)) m_calls.push_back(std::move(call));
    }
    const auto all = [](Disk::Number, std::uint64_t) { return true; };
    const fs::path& root = m_subject.storage_root();
    if (disk.after_power_cut(all) != Disk(root, root).after_power_cut(all))
      throw std::runtime_error("the replay does not end like the run");
  }

  void replay(const std::function<void(std::size_t point, const Disk& disk)>& at_point) const {
    Disk disk = m_before;
    at_point(0, disk);
    for (std::size_t point = 1; point <= m_calls.size(); ++point) {
      (void)disk.apply(m_calls[point - 1]);
      at_point(point, disk);
    }
  }

  Cuts all_cuts() const {
    Cuts synced;
    Cuts others;
    Cuts withouts;
    replay([&](std::size_t point, const Disk& disk) {
      const bool is_new = point == 0 || ends_with(m_calls[point - 1].name, "sync");
      if (is_new || point == m_calls.size()) synced.push_back({point, Reach::synced, 0});
      for (const Disk::Number change : disk.unsynced()) {
        others.push_back({point, Reach::only, change});
        withouts.push_back({point, Reach::without, change});
      }
    });
    others.insert(others.end(), withouts.begin(), withouts.end());
    const std::size_t most = m_settings.points != 0 ? m_settings.points : others.size();
    Cuts cuts = share_of(synced, most);
    const Cuts more = share_of(others, most - cuts.size());
    cuts.insert(cuts.end(), more.begin(), more.end());
    return cuts;
  }

  Cuts random_cuts() const {
    std::mt19937 random(m_settings.seed);
    std::uniform_int_distribution<std::size_t> any_point(1, m_calls.size());
    Cuts cuts(std::max(m_settings.points, 1U));
    for (Cut& cut : cuts) {
      cut.point = any_point(random);
      cut.reach = Reach::random;
      cut.number = random();
    }
    return cuts;
  }

  void try_cut(const Disk& disk, const Cut& cut) {
    const Files files = after(disk, cut);
    const bool has_ended = cut.point == m_calls.size();
    if (!m_tried.insert({has_ended, fingerprint(files)}).second) return;
    Disk::write(files, m_subject.storage_root());
    Ended ended;
    ended.signal = SIGKILL;
    // What takes longest: the next run, which the metadata tree decides, and the undo.
    const bool is_undone = m_tried.size() % 8 == 0 || !m_settings.at.empty();
    const bool is_repeated = m_trees.insert(fingerprint(tree_of(files))).second || is_undone;
    std::string wrong = judge(m_subject, m_baseline, ended,
                              {Intent::cut_power, SIGKILL, false, false, is_repeated, is_undone});
    // Services that start next would make an empty tree.
    if (has_ended && files.count(layout::k_metadata_tree) == 0)
      wrong += "  the run ended well, and the tree is not in its place\n";
    if (wrong.empty()) return;
    ++m_failures;
    std::cout << "--task " << m_subject.task().name << " --fault " << m_fault.name << " --at "
              << cut.name() << " --scale " << m_settings.scale << ": after "
              << (cut.point == 0 ? "nothing" : described(m_calls[cut.point - 1])) << "\n"
              << wrong << std::flush;
  }

  static std::string described(const TracedCall& call) {
    return call.name + " " + call.words.at(call.name == "openat" ? 1 : 0);
  }
};

}  // namespace

bool run_power_cuts(const Subject& subject, const Baseline& baseline, const Fault& fault) {
  const bool changes_nothing = subject.task().effect == Effect::none;
  if (changes_nothing || subject.settings().threads != 1) {
    std::cout << subject.task().name << " " << fault.name
              << ": left out, which needs a task that changes something and one thread\n";
    return true;
  }
  subject.restore();
  return PowerCuts{subject, baseline, fault}.run();
}

}  // namespace sandbox::faults
