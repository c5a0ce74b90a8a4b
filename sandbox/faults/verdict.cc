#include "sandbox/faults/verdict.h"

#include <signal.h>

#include <algorithm>
#include <iterator>

#include <boost/algorithm/string/predicate.hpp>

#include "platform/status.h"

namespace sandbox::faults {

namespace {

using Lines = std::vector<std::string>;
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

class Judge {
 public:
  Judge(const Subject& subject, const Undisturbed& undisturbed, const Ended& ended, Intent intent)
      : m_subject(subject),
        m_undisturbed(undisturbed),
        m_ended(ended),
        m_intent(intent),
        m_reports(subject.reports(ended)) {}

  std::string judge() {
    judge_end();
    judge_metadata(m_subject.state());
    if (m_ended.exit_status == 0) judge_success(m_subject.state());
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
  const Intent m_intent;
  const Reports m_reports;
  std::string m_wrong;
};

void Judge::judge_end() {
  if (m_ended.signal != 0) {
    const bool was_meant = (m_intent == Intent::kill && m_ended.signal == SIGKILL) ||
                           // Before its handlers are there and after they are gone.
                           (m_intent == Intent::interrupt && !m_subject.is_locked());
    expect(was_meant, "crashed by signal " + std::to_string(m_ended.signal));
    return;
  }
  expect(m_ended.exit_status != 128 + SIGKILL, "hangs");
  const bool told = !m_ended.err.empty() || m_ended.exit_status == 0 || m_intent == Intent::silence;
  expect(told, "fails with " + std::to_string(m_ended.exit_status) + " and does not say why");
  if (m_intent != Intent::interrupt) return;  // removing the lock may be what failed
  expect(!m_subject.is_locked(), "leaves its lock");
  if (m_ended.exit_status == 0) return;
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
  // A PO that cannot be read, or a link that cannot be removed, is told of and left behind; it does
  // not fail the repair.
  const auto left_behind = [](const std::string& line) {
    return line.find("unable to get the po for basename") != std::string::npos ||
           line.find("could not be removed") != std::string::npos;
  };
  if (std::any_of(m_reports.err.begin(), m_reports.err.end(), left_behind)) return;
  expect(now.pos == m_undisturbed.after.pos, "ends well with work undone");
  expect(now.files == m_undisturbed.after.files, "ends well and leaves other files");
  const Reports& whole = m_undisturbed.reports;
  expect_none(lacking(whole.out, m_reports.out), "ends well and does not print");
  expect_none(lacking(whole.task_logs, together(m_reports.task_logs, m_reports.err)),
              "ends well and does not log");
}

// No line of it is torn, and none is lost.
void Judge::judge_run_log() {
  for (const std::string& line : m_reports.run_log) {
    expect(line.size() > 30 && line[4] == '-' && line[10] == ' ' && line[23] == ' ',
           "tears a line of its log: " + line);
  }
  if (m_ended.exit_status != 0) return;
  const auto is_end = [](const std::string& line) {
    return boost::algorithm::ends_with(line, "end: exit status 0");
  };
  const Lines lines = together(m_reports.run_log, m_reports.err);
  expect(std::any_of(lines.begin(), lines.end(), is_end), "does not log its end");
}

// Whoever has been told to stop the services is told to start them again, but for a repair that is
// not through.
void Judge::judge_services() {
  const Effect effect = m_subject.task().effect;
  if (effect == Effect::none || m_ended.exit_status < 0 || m_intent != Intent::interrupt) return;
  if (m_subject.task().services) {
    // The signal may have ended the commands as well, some half-way, which is told then.
    const bool told = m_ended.err.find("Could not stop") != std::string::npos ||
                      m_ended.err.find("services may not run") != std::string::npos;
    const int expected = m_ended.exit_status == 0 ? k_all_services : 0;
    expect(m_subject.services() == expected || told, "leaves other services");
    return;
  }
  const bool told = std::any_of(m_reports.out.begin(), m_reports.out.end(),
                                [](const auto& line) { return starts_with(line, "Please start"); });
  const bool has_begun = effect == Effect::deletes && !m_reports.task_logs.empty();
  expect(told == (m_ended.exit_status == 0 || has_begun), "leaves the services otherwise");
}

void Judge::judge_next_run() {
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
    throw Cr_ErrnoException(EINVAL, "the undisturbed run fails", ended.err);
  }
  undisturbed.after = subject.state();
  undisturbed.reports = subject.reports(ended);
  return undisturbed;
}

std::string judge(const Subject& subject, const Undisturbed& undisturbed, const Ended& ended,
                  Intent intent) {
  try {
    return Judge(subject, undisturbed, ended, intent).judge();
  } catch (const std::exception& error) {
    return "  " + std::string(error.what()) + "\n";
  }
}

}  // namespace sandbox::faults
