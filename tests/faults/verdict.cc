#include "tests/faults/verdict.h"

#include <signal.h>

#include <algorithm>
#include <iterator>
#include <regex>

#include <boost/algorithm/string/predicate.hpp>
#include <boost/filesystem/operations.hpp>

#include "status/status.h"

namespace sandbox::faults {

namespace {

using boost::algorithm::contains;
using boost::algorithm::ends_with;
using boost::algorithm::starts_with;

// The lines of `wanted` that `given` lacks or has less often.
Lines lacking(const Lines& wanted, const Lines& given) {
  Lines result;
  std::set_difference(wanted.begin(), wanted.end(), given.begin(), given.end(),
                      std::inserter(result, result.end()));
  return result;
}

// The POs without clients and duplicates: an interrupted move leaves a PO in the directories of two
// clients, both of one policy.
Lines anywhere(const Lines& pos) {
  std::set<std::string> lines;
  for (const std::string& line : pos) lines.insert(line.substr(line.find('/') + 1));
  return {lines.begin(), lines.end()};
}

Lines together(Lines first, const Lines& second) {
  first.insert(second.begin(), second.end());
  return first;
}

// The lines that are in only one of them.
Lines difference(const Lines& first, const Lines& second) {
  return together(lacking(first, second), lacking(second, first));
}

// The first group of each match.
Lines named_in(const std::string& text, const std::regex& pattern) {
  return {std::sregex_token_iterator(text.begin(), text.end(), pattern, 1),
          std::sregex_token_iterator()};
}

// Whether the line names one of these POs or links. A link's name is its whole path.
bool is_named(const std::string& line, const Lines& names) {
  return std::any_of(names.begin(), names.end(), [&](const std::string& name) {
    return contains(line, name) || ends_with(name, line.substr(line.find('/')));
  });
}

Lines without_digits(const Lines& lines) {
  Lines result;
  for (const std::string& line : lines)
    result.insert(std::regex_replace(line, std::regex("[0-9]"), ""));
  return result;
}

struct Judge {
  const Subject& m_subject;
  const Baseline& m_baseline;
  const Ended& m_ended;
  const Disturbance& m_done;
  const Reports m_reports = m_subject.reports(m_ended);
  const bool m_succeeded = m_ended.exit_status == 0;
  std::string m_wrong = {};

  std::string judge() {
    const State now = m_subject.state();
    judge_end();
    judge_metadata(now);
    judge_run_log();
    judge_record();
    if (m_succeeded) {
      judge_work(now);
      judge_logs();
    }
    judge_services();
    if (m_done.is_repeated) judge_next_run();
    return m_wrong;
  }

  std::string judge_storage() {
    judge_metadata(m_subject.state());
    judge_next_run();
    return m_wrong;
  }

  void expect(bool right, const std::string& text) {
    if (!right) m_wrong += "  " + text + "\n";
  }
  void expect_none(const Lines& lines, const std::string& text) {
    for (const std::string& line : lines) m_wrong.append("  " + text).append(": " + line + "\n");
  }

  void judge_end() {
    const bool is_locked = boost::filesystem::exists(m_subject.lock_file());
    expect(!m_ended.timed_out, "hangs");
    if (m_ended.signal != 0) {
      const bool was_meant = (m_done.intent == Intent::kill && m_ended.signal == SIGKILL) ||
                             m_done.intent == Intent::cut_power ||
                             // The handlers exist only while the run has its lock.
                             (m_ended.signal == m_done.signal && !is_locked);
      expect(was_meant, "crashed by signal " + std::to_string(m_ended.signal));
      return;
    }
    expect(!is_locked || m_done.keeps_lock, "leaves its lock");
    if (m_succeeded) return;
    const std::string status = "exit status " + std::to_string(m_ended.exit_status);
    expect(!m_ended.err.empty() || m_done.mutes, status + ", and does not say why");
    if (m_done.intent != Intent::interrupt) return;
    expect(m_ended.exit_status == m_subject.task().failed_exit_status, status);
    const Lines notices = named_in(m_ended.err, std::regex("(Interrupted: )"));
    expect(notices.size() == 1, "does not say once that it was interrupted");
  }

  void judge_metadata(const State& now) {
    const State& before = m_baseline.before;
    const bool restores = m_subject.task().effect == Effect::restores;
    const State& most = restores ? m_baseline.after : before;
    const State& least = restores ? before : m_baseline.after;
    expect_none(lacking(anywhere(now.pos), anywhere(most.pos)), "holds a PO that was not there");
    expect_none(lacking(anywhere(least.pos), anywhere(now.pos)), "loses a PO");
    if (m_subject.task().effect == Effect::deletes) {
      const Lines gone = lacking(anywhere(before.pos), anywhere(now.pos));
      expect_none(lacking(gone, m_subject.saved_pos()), "deletes a PO without saving it");
    }
    if (m_subject.task().effect != Effect::none) return;
    expect_none(difference(before.pos, now.pos), "changes a PO");
    expect_none(difference(before.files, now.files), "makes or removes a file");
  }

  // A repair that succeeds may leave only these POs and links, and reports them.
  Lines unmoved() const {
    return named_in(m_ended.err,
                    std::regex("unable to get the po for basename (.*) and directory"));
  }
  Lines kept_links() const {
    return named_in(m_ended.err, std::regex("the symbolic link (.*) could not be removed"));
  }

  void judge_work(const State& now) {
    const State& whole = m_baseline.after;
    for (const std::string& line : difference(whole.pos, now.pos))
      expect(is_named(line, unmoved()), "ends well with work undone: " + line);
    for (const std::string& file : difference(whole.files, now.files)) {
      // A target directory without POs is missing, too.
      expect(!unmoved().empty() || is_named(file, kept_links()),
             "ends well and leaves other files: " + file);
    }
  }

  // A successful run reports all lines of the baseline; in the run log, numbers may differ.
  void judge_logs() {
    const Reports& whole = m_baseline.reports;
    expect_none(lacking(whole.out, m_reports.out), "ends well and does not print");
    const Lines pos = unmoved();
    const bool left_some = !pos.empty() || !kept_links().empty();
    for (const std::string& line :
         lacking(whole.task_logs, together(m_reports.task_logs, m_reports.err))) {
      // Moves through a link's path are logged with that path.
      const bool excused = left_some && (starts_with(line, "Moved ") ||
                                         starts_with(line, "Client ") || is_named(line, pos));
      expect(excused, "ends well and does not log: " + line);
    }
    const Lines run_log = together(m_reports.run_log, m_reports.err);
    expect_none(lacking(without_digits(whole.run_log), without_digits(run_log)),
                "ends well and does not log");
  }

  // Every line begins with its time.
  void judge_run_log() {
    for (const std::string& line : m_reports.run_log) {
      expect(line.size() > 30 && line[4] == '-' && line[10] == ' ' && line[23] == ' ',
             "tears a line of its log: " + line);
    }
  }

  // A killed run leaves a readable record or none. Any other run has a complete record, or reports that
  // it could not be written.
  void judge_record() {
    const std::vector<record::Run> runs = m_subject.records();
    expect(runs.size() <= 1, "leaves several records");
    const std::string report = runs.empty() ? "" : m_subject.report();
    const bool is_open = !runs.empty() && runs[0].end.ending == record::Ending::none;
    expect(is_open == contains(report, "no end recorded"), "reports another end: " + report);
    const Ended list = m_subject.undo({"list"});
    expect(list.exit_status == 0, "the undo cannot read it: " + list.err);
    if (m_ended.signal != 0 || contains(m_ended.err, "the record of this run, ")) return;
    // A run that fails early has no record, and no log to report that.
    if (runs.empty()) return expect(!m_succeeded, "ends well without a record");
    const record::RunEnd& end = runs[0].end;
    expect(end.ending != record::Ending::none || m_done.mutes, "leaves a record without an end");
    expect((end.exit_status == m_ended.exit_status) || m_done.mutes, "records another exit status");
    if (!m_succeeded || !unmoved().empty() || !kept_links().empty()) return;
    for (const record::Count& count : record::k_counts) {
      const std::uint64_t recorded = runs[0].counts.*count.value;
      const std::uint64_t whole = m_baseline.record.counts.*count.value;
      // The bytes lack POs whose size could not be read; all POs are counted.
      const bool is_sizes = count.value == &record::DirCounts::taken_bytes;
      const bool is_right =
          is_sizes && m_done.intent == Intent::fail ? recorded <= whole : recorded == whole;
      expect(is_right, std::string("ends well and does not record ") + count.many);
    }
  }

  void judge_services() {
    const Task& task = m_subject.task();
    if (task.effect == Effect::none || m_ended.exit_status < 0 || m_done.mutes) return;
    if (!task.services) return judge_request_for_services();
    if (!m_succeeded && m_done.intent != Intent::interrupt) return;
    // The commands may meet the fault, too; the run reports that.
    const bool is_reported =
        contains(m_ended.err, "Could not stop") || contains(m_ended.err, "services may not run");
    const int expected = m_succeeded ? k_all_services : 0;
    expect(m_subject.services() == expected || is_reported, "leaves other services");
  }

  // The run requests the services again, except an unfinished repair. A deletion and a restore request
  // them even if they fail before the first line.
  void judge_request_for_services() {
    const Effect effect = m_subject.task().effect;
    const bool deletes = effect == Effect::deletes || effect == Effect::restores;
    const bool requests = contains("\n" + m_ended.out, "\nPlease start");
    const bool must_request = m_succeeded || (deletes && !m_reports.task_logs.empty());
    const bool lost_output = contains(m_ended.err, "not all that it reports") ||
                             contains(m_ended.err, "the record of this run, ");
    expect(requests || !must_request || lost_output, "does not request the services");
    expect(!requests || must_request || lost_output || deletes,
           "requests the services though it is not finished");
  }

  void judge_next_run() {
    // As an operator does after a kill. judge_end reports other locks that are left.
    boost::filesystem::remove(m_subject.lock_file());
    const Ended again = m_subject.run({});
    expect(again.exit_status == 0,
           "the next run ends with " + std::to_string(again.exit_status) + ": " + again.err);
    const State now = m_subject.state();
    expect_none(difference(now.pos, m_baseline.after.pos), "the next run ends with other POs");
    expect_none(difference(now.files, m_baseline.after.files), "and with other files");
    if (m_done.is_undone) judge_undo(again);
  }

  // All changes of all runs can be undone, unless services run.
  void judge_undo(const Ended& again) {
    const Task& task = m_subject.task();
    const bool changes = task.effect == Effect::deletes || task.effect == Effect::moves;
    const bool lacks_record = contains(m_ended.err + again.err, "the record of this run, ");
    if (!changes || task.services || task.resumed || lacks_record) return;
    const std::string errors = m_subject.undo_runs();
    expect(errors.empty(), "cannot be undone: " + errors);
    const State now = m_subject.state();
    expect_none(difference(now.pos, m_baseline.before.pos), "and is undone with other POs");
    expect_none(lacking(m_baseline.before.files, now.files), "and without a file");
  }
};

}  // namespace

Baseline run_baseline(const Subject& subject) {
  Baseline baseline;
  subject.restore();
  baseline.before = subject.state();
  const Ended ended = subject.run({});
  baseline.after = subject.state();
  baseline.reports = subject.reports(ended);
  baseline.record = subject.records().at(0);
  const bool changes = baseline.after.pos != baseline.before.pos;
  const bool undoes = subject.task().effect == Effect::restores;
  const bool is_undone = baseline.after.pos == subject.original().pos &&
                         baseline.after.files == subject.original().files;
  const bool does_its_task =
      changes == (subject.task().effect != Effect::none) && is_undone == (undoes || !changes);
  if (ended.exit_status != 0 || baseline.reports.run_log.empty() || !does_its_task) {
    throw Cr_ErrnoException(EINVAL, "the baseline run does not do its task", ended.err);
  }
  return baseline;
}

std::string judge(const Subject& subject, const Baseline& baseline, const Ended& ended,
                  const Disturbance& disturbance) {
  try {
    return Judge{subject, baseline, ended, disturbance}.judge();
  } catch (const std::exception& error) {
    return "  " + std::string(error.what()) + "\n";
  }
}

std::string judge_storage(const Subject& subject, const Baseline& baseline) {
  return Judge{subject, baseline, {}, {}}.judge_storage();
}

}  // namespace sandbox::faults
