#include "report/fleet/fleet.h"

#include <time.h>

#include <algorithm>
#include <atomic>
#include <iterator>
#include <map>
#include <new>
#include <set>
#include <stdexcept>
#include <thread>
#include <tuple>

#include <boost/algorithm/string/predicate.hpp>
#include <boost/filesystem/operations.hpp>

#include "report/fleet/extract.h"
#include "report/fleet/host.h"
#include "report/wording.h"

namespace report::fleet {

namespace {

namespace fs = boost::filesystem;

using Hosts = std::vector<Host>;

constexpr const char* k_state_end = ".state.json";
constexpr const char* k_hosts = "hosts";  // the table of all

constexpr std::size_t k_most_directories = 100;  // of all hosts, in the table of the worst

void cut(std::string& name, const std::string& end) {
  if (boost::algorithm::ends_with(name, end)) name.resize(name.size() - end.size());
}

// "media01" for media01.json and for media01.state.json.
std::string name_of(const std::string& file) {
  std::string name = boost::filesystem::path(file).filename().string();
  cut(name, ".json");
  cut(name, ".state");
  return name;
}

// What one file says of a host.
struct File {
  std::string path;
  bool is_of_playbook = false;
  std::optional<HostReport> report = {};
  std::optional<Reached> reached = {};
  std::string fault = {};
};

File read(const std::string& path) {
  File file{path, boost::algorithm::ends_with(path, k_state_end)};
  try {
    const Value object = extract(path);
    if (is_of_playbook(object)) file.is_of_playbook = true;
    if (file.is_of_playbook) {
      file.reached = reached(object);
    } else {
      file.report = host_report(object);
    }
  } catch (const std::bad_alloc&) {
    file.fault = "too large for a report";
  } catch (const std::exception& error) {
    file.fault = error.what();
  }
  return file;
}

// Reads the files in as many threads as there are processors.
std::vector<File> read_all(const Texts& paths) {
  std::vector<File> files(paths.size());
  std::atomic<std::size_t> next{0};
  const auto work = [&] {
    for (std::size_t i = next++; i < paths.size(); i = next++) files[i] = read(paths[i]);
  };
  std::vector<std::thread> threads;
  for (unsigned i = 1; i < std::thread::hardware_concurrency(); ++i) threads.emplace_back(work);
  work();
  for (std::thread& thread : threads) thread.join();
  return files;
}

// Two paths of one file are the same here. A link counts as a file of its own.
fs::path normal(const std::string& file) {
  boost::system::error_code error;
  const fs::path folder = fs::weakly_canonical(fs::absolute(fs::path(file).parent_path()), error);
  return folder / fs::path(file).filename();
}

Texts without_repeated(const Texts& files) {
  std::set<fs::path> seen;
  Texts once;
  std::copy_if(files.begin(), files.end(), std::back_inserter(once),
               [&](const std::string& file) { return seen.insert(normal(file)).second; });
  return once;
}

void add(File file, Host& host) {
  if (file.is_of_playbook) {
    host.state_file = file.path;
    host.reached = std::move(file.reached);
    host.reached_fault = file.fault;
  } else {
    host.file = file.path;
    host.report = std::move(file.report);
    host.fault = file.fault;
  }
}

// Joins the two files of a host, which are in one folder. Hosts of the same name keep their folders in it.
Hosts joined(std::vector<File> files) {
  std::map<fs::path, Host> hosts;
  for (File& file : files) {
    fs::path place = normal(file.path).parent_path() / name_of(file.path);
    const std::string& taken = file.is_of_playbook ? hosts[place].state_file : hosts[place].file;
    if (!taken.empty()) place = normal(file.path);  // "media01" beside "media01.json"
    add(std::move(file), hosts[place]);
  }
  std::map<std::string, int> names;
  for (const auto& [place, host] : hosts) ++names[place.filename().string()];
  Hosts result;
  for (auto& [place, host] : hosts) {
    const std::string name = place.filename().string();
    host.name = names[name] == 1 ? name : place.string();
    result.push_back(std::move(host));
  }
  return result;
}

std::string section_id(std::size_t index) {
  return "host" + std::to_string(index + 1);
}

// "20 hosts: 1 not reached, 12 clean"
std::string summary_of(const Hosts& hosts) {
  std::map<State, std::uint64_t> counts;
  for (const Host& host : hosts) ++counts[host.state];
  std::string text = counted(hosts.size(), "host", "hosts");
  const char* separator = ": ";
  for (const auto& [state, count] : counts) {
    text += separator + with_commas(count) + " " + fleet::name_of(state);
    separator = ", ";
  }
  return text + ".";
}

// The gravest reason of each host that needs attention.
std::vector<Concern> concerns_of(const Hosts& hosts) {
  constexpr std::size_t k_most = 50;
  std::vector<Concern> concerns;
  std::size_t others = 0;
  for (std::size_t i = 0; i < hosts.size() && needs_attention(hosts[i].state); ++i) {
    const Host& host = hosts[i];
    if (concerns.size() == k_most) {
      ++others;
      continue;
    }
    Concern concern{host.name + ": " + host.reasons.front()};
    concern.section = section_id(i);
    concerns.push_back(concern);
  }
  if (others != 0) {
    concerns.push_back({"and " + counted(others, "other host", "other hosts") + ", in the table"});
    concerns.back().section = k_hosts;
  }
  return concerns;
}

const Value& value_of(const Row& row, const std::string& key) {
  const auto fact = std::find_if(row.facts.begin(), row.facts.end(),
                                 [&](const Fact& each) { return each.column.key == key; });
  static const Value k_none;
  return fact == row.facts.end() ? k_none : fact->value;
}

// Those that lose everything first, then by share and number of orphans.
auto rank_of(const Row& row) {
  const Value& share = value_of(row, "share");
  const Value& copies = value_of(row, "copies");
  return std::make_tuple(*row.mark == '\0', share.is_number() ? -share.get<double>() : 0.0,
                         copies.is_number() ? -copies.get<double>() : 0.0);
}

// The directories of all hosts with the gravest findings.
Table worst_directories(const Hosts& hosts) {
  std::vector<Row> rows;
  for (std::size_t i = 0; i < hosts.size(); ++i) {
    if (!hosts[i].report) continue;
    const auto take = [&](Row row) {
      row.facts.insert(row.facts.begin(), Fact{{"host", "Host"}, hosts[i].name});
      row.section = section_id(i);
      rows.push_back(std::move(row));
    };
    hosts[i].report->dry_run.findings.rows(take, -1);
  }
  std::stable_sort(rows.begin(), rows.end(),
                   [](const Row& a, const Row& b) { return rank_of(a) < rank_of(b); });
  rows.resize(std::min(rows.size(), k_most_directories));
  return {"directories",
          "Directories to look at before a deletion, at most " + std::to_string(k_kept_rows) +
              " of a host",
          rows.size(), rows_of(rows, [](const Row& row) { return row; })};
}

}  // namespace

Report make_report(const Texts& files) {
  if (files.empty()) throw std::invalid_argument("--fleet takes the JSON reports of hosts");
  const std::int64_t now = ::time(nullptr);
  Hosts hosts = joined(read_all(without_repeated(files)));
  for (Host& host : hosts) judge(host, now);
  std::stable_sort(hosts.begin(), hosts.end(),
                   [](const Host& a, const Host& b) { return a.state < b.state; });
  Report report;
  report.naming = k_fleet_naming;
  report.head["time"] = now;
  report.summary = summary_of(hosts);
  report.concerns = concerns_of(hosts);
  std::vector<Row> rows;
  for (const Host& host : hosts) {
    const std::string id = section_id(rows.size());
    rows.push_back(row_of(host, id));
    report.sections.push_back(section_of(host, id));
    if (!host.fault.empty()) report.faults.push_back({host.file, host.fault});
    if (!host.reached_fault.empty()) report.faults.push_back({host.state_file, host.reached_fault});
  }
  report.overview = {k_hosts, "Hosts, the most urgent first; times are UTC", rows.size(),
                     rows_of(rows, [](const Row& row) { return row; })};
  report.tables = {worst_directories(hosts)};
  return report;
}

}  // namespace report::fleet
