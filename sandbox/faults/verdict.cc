#include "sandbox/faults/verdict.h"

#include <signal.h>

#include <algorithm>
#include <iterator>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/predicate.hpp>

#include "platform/status.h"

namespace sandbox::faults {

namespace {

using Lines = std::vector<std::string>;
using boost::algorithm::contains;
using boost::algorithm::ends_with;
using boost::algorithm::starts_with;

constexpr const char* k_interrupted = "Interrupted: ";

Lines sorted(Lines lines) {
  std::sort(lines.begin(), lines.end());
  return lines;
}

// The lines of `wanted`, each as often as it stands there, that `given` lacks.
Lines lacking(const Lines& wanted, const Lines& given) {
  const Lines left = sorted(wanted);
  const Lines right = sorted(given);
  Lines result;
  std::set_difference(left.begin(), left.end(), right.begin(), right.end(),
                      std::back_inserter(result));
  return result;
}

// Without the directories that they are in, each once: a move that was cut short leaves two.
Lines anywhere(const Lines& pos) {
  Lines lines;
  for (const std::string& line : pos) lines.push_back(line.substr(line.find('|') + 1));
  lines = sorted(lines);
  lines.erase(std::unique(lines.begin(), lines.end()), lines.end());
  return lines;
}

Lines together(const Lines& first, const Lines& second) {
  Lines lines = first;
  lines.insert(lines.end(), second.begin(), second.end());
  return lines;
}

// What is in one of them and not in the other.
Lines difference(const Lines& first, const Lines& second) {
  return together(lacking(first, second), lacking(second, first));
}

// The texts that stand between the two, wherever they do.
Lines named_between(const std::string& text, const std::string& begin, const std::string& end) {
  Lines names;
  for (std::size_t at = text.find(begin); at != std::string::npos; at = text.find(begin, at)) {
    at += begin.size();
    names.push_back(text.substr(at, text.find(end, at) - at));
  }
  return names;
}

// A link is named by its whole path, of which a file's name is the end.
bool is_named(const std::string& line, const Lines& names) {
  return std::any_of(names.begin(), names.end(), [&](const std::string& name) {
    return contains(line, name) || ends_with(name, line.substr(line.find('/')));
  });
}

Lines without_digits(Lines lines) {
  for (std::string& line : lines) {
    line.erase(std::remove_if(line.begin(), line.end(), boost::algorithm::is_digit()), line.end());
  }
  return lines;
}

class Judge {
 public:
  Judge(const Subject& subject, const Undisturbed& undisturbed, const Ended& ended,
        const Disturbance& disturbance)
      : m_subject(subject),
        m_undisturbed(undisturbed),
        m_ended(ended),
        m_done(disturbance),
        m_reports(subject.reports(ended)) {}

  std::string judge() {
    const State now = m_subject.state();
    judge_end();
    judge_metadata(now);
    if (m_ended.exit_status == 0) judge_success(now);
    judge_run_log();
    judge_services();
    judge_next_run();
    return m_wrong;
  }

 private:
  void expect(bool right, const std::string& text) {
    if (!right) m_wrong += "  " + text + "\n";
  }
  void expect_none(const Lines& lines, const std::string& text) {
    expect(lines.empty(), text + (lines.empty() ? "" : ": " + lines.front()));
  }

  void judge_end();
  void judge_metadata(const State& now);
  void judge_success(const State& now);
  void judge_run_log();
  void judge_services();
  void judge_next_run();

  const Subject& m_subject;
  const Undisturbed& m_undisturbed;
  const Ended& m_ended;
  const Disturbance& m_done;
  const Reports m_reports;
  std::string m_wrong;
};

void Judge::judge_end() {
  if (m_ended.timed_out) {
    expect(false, "hangs");
    return;
  }
  if (m_ended.signal != 0) {
    const bool was_meant = (m_done.intent == Intent::kill && m_ended.signal == SIGKILL) ||
                           // Before its handlers are there and after they are gone.
                           (m_ended.signal == m_done.signal && !m_subject.is_locked());
    expect(was_meant, "crashed by signal " + std::to_string(m_ended.signal));
    return;
  }
  expect(!m_subject.is_locked() || m_done.keeps_lock, "leaves its lock");
  if (m_ended.exit_status == 0) return;
  expect(!m_ended.err.empty() || m_done.mutes,
         "fails with " + std::to_string(m_ended.exit_status) + " and does not say why");
  if (m_done.intent != Intent::interrupt) return;
  expect(m_ended.exit_status == m_subject.task().failed_exit_status,
         "exit status " + std::to_string(m_ended.exit_status));
  const auto notices =
      std::count_if(m_reports.err.begin(), m_reports.err.end(),
                    [](const auto& line) { return starts_with(line, k_interrupted); });
  expect(notices == 1, "does not say once that it was interrupted");
}

void Judge::judge_metadata(const State& now) {
  const Lines before = anywhere(m_undisturbed.before.pos);
  expect_none(lacking(anywhere(now.pos), before), "holds a PO that was not there");
  switch (m_subject.task().effect) {
    case Effect::none:
      expect(now.pos == m_undisturbed.before.pos, "changes POs");
      expect(now.files == m_undisturbed.before.files, "makes or removes files");
      break;
    case Effect::moves:
      expect_none(lacking(before, anywhere(now.pos)), "loses a PO");
      break;
    case Effect::deletes:
      expect_none(lacking(m_undisturbed.after.pos, now.pos), "deletes what is no orphan");
      break;
  }
}

void Judge::judge_success(const State& now) {
  // What is told and left behind, which does not fail the repair, is all that may be undone.
  const Lines pos =
      named_between(m_ended.err, "unable to get the po for basename ", " and directory");
  const Lines links = named_between(m_ended.err, "the symbolic link ", " could not be removed");
  const State& whole = m_undisturbed.after;
  for (const std::string& line : difference(whole.pos, now.pos)) {
    expect(is_named(line, pos), "ends well with work undone: " + line);
  }
  for (const std::string& file : difference(whole.files, now.files)) {
    // The directory of a target that took nothing is not there either.
    expect(!pos.empty() || is_named(file, links), "ends well and leaves other files: " + file);
  }
  const Reports& told = m_undisturbed.reports;
  expect_none(lacking(told.out, m_reports.out), "ends well and does not print");
  for (const std::string& line :
       lacking(told.task_logs, together(m_reports.task_logs, m_reports.err))) {
    // Moves go by the path that a link leads along, too.
    const bool excused =
        !(pos.empty() && links.empty()) &&
        (starts_with(line, "Moved ") || starts_with(line, "Client ") || is_named(line, pos));
    expect(excused, "ends well and does not log: " + line);
  }
}

// No line of it lacks its beginning, and a run that ends well has told all that an undisturbed one
// does, numbers apart.
void Judge::judge_run_log() {
  for (const std::string& line : m_reports.run_log) {
    expect(line.size() > 30 && line[4] == '-' && line[10] == ' ' && line[23] == ' ',
           "tears a line of its log: " + line);
  }
  if (m_ended.exit_status != 0) return;
  const Lines lines = together(m_reports.run_log, m_reports.err);
  expect_none(lacking(without_digits(m_undisturbed.reports.run_log), without_digits(lines)),
              "ends well and does not log");
}

// Whoever has been told to stop the services is told to start them again, but for a repair that is
// not through.
void Judge::judge_services() {
  const Task& task = m_subject.task();
  if (task.effect == Effect::none || m_ended.exit_status < 0 || m_done.mutes) return;
  if (task.services) {
    // The commands may have met the fault as well, some half-way, which is told then.
    const bool told =
        contains(m_ended.err, "Could not stop") || contains(m_ended.err, "services may not run");
    if (m_ended.exit_status != 0 && m_done.intent != Intent::interrupt) return;
    const int expected = m_ended.exit_status == 0 ? k_all_services : 0;
    expect(m_subject.services() == expected || told, "leaves other services");
    return;
  }
  const bool told = std::any_of(m_reports.out.begin(), m_reports.out.end(),
                                [](const auto& line) { return starts_with(line, "Please start"); });
  const bool must_tell =
      m_ended.exit_status == 0 || (task.effect == Effect::deletes && !m_reports.task_logs.empty());
  const bool lost_output = contains(m_ended.err, "not all that it reports");
  expect(told || !must_tell || lost_output, "does not ask for the services");
  // A deletion asks for them even where it failed before its first line.
  const bool may_tell = must_tell || lost_output || task.effect == Effect::deletes;
  expect(!told || may_tell, "asks for the services though it is not through");
}

void Judge::judge_next_run() {
  // By hand, as an operator does after a kill; whatever else left it was told of above.
  m_subject.remove_lock();
  const Ended again = m_subject.run({});
  expect(again.exit_status == 0,
         "the next run ends with " + std::to_string(again.exit_status) + ": " + again.err);
  const State now = m_subject.state();
  expect(now.pos == m_undisturbed.after.pos, "the next run ends with other POs");
  expect_none(lacking(now.files, m_undisturbed.after.files), "the next run leaves a file");
  expect_none(lacking(m_undisturbed.after.files, now.files), "the next run lacks a file");
}

}  // namespace

Undisturbed run_undisturbed(const Subject& subject) {
  Undisturbed undisturbed;
  subject.restore();
  undisturbed.before = subject.state();
  const Ended ended = subject.run({});
  if (ended.exit_status != 0) {
    const std::string status = std::to_string(ended.exit_status);
    throw Cr_ErrnoException(EINVAL, "the undisturbed run ends with " + status, ended.err);
  }
  undisturbed.after = subject.state();
  undisturbed.reports = subject.reports(ended);
  const bool changes = undisturbed.after.pos != undisturbed.before.pos;
  if (undisturbed.reports.run_log.empty() || changes != (subject.task().effect != Effect::none)) {
    throw Cr_ErrnoException(EINVAL, "the undisturbed run does not do its task");
  }
  return undisturbed;
}

std::string judge(const Subject& subject, const Undisturbed& undisturbed, const Ended& ended,
                  const Disturbance& disturbance) {
  try {
    return Judge(subject, undisturbed, ended, disturbance).judge();
  } catch (const std::exception& error) {
    return "  " + std::string(error.what()) + "\n";
  }
}

}  // namespace sandbox::faults
