#include "tool/run_program.h"

#include <exception>
#include <string>

#include "console/run_log.h"
#include "console/standard_streams.h"
#include "dct/report_error.h"
#include "record/run_record.h"
#include "signals/interrupt.h"
#include "status/status.h"
#include "tool/exit_status.h"

namespace {

// A successful run that could not write all its reports has failed. The record reports its own failures.
int with_reports(int result) {
  if (result != k_exit_success) return result;
  if (!console::standard_output_is_whole() || console::reports_were_lost()) {
    dct::report_error("The run ended well, but not all that it reports could be written.\n");
    return k_exit_failure;
  }
  return record::run_record().failed() ? k_exit_failure : result;
}

record::RunEnd aborted(const std::string& text) {
  dct::report_error("Aborting with error:  " + text + "\n");
  return {record::Ending::exception, text, 0};
}

}  // namespace

int run_program(const std::function<int()>& work) {
  constexpr int k_aborted = 1;
  constexpr int k_exit_status_bits = 0xff;
  int result = k_aborted;
  record::RunEnd end;
  const util::SignalGuard
      signals;  // outside the try: signals stay caught until the record is closed
  try {
    result = work();
    const bool was_stopped = util::interrupted() && result != k_exit_success;
    end.ending = was_stopped ? record::Ending::signal : record::Ending::orderly;
  } catch (const Cr_ErrnoException& error) {
    end = aborted(error.GetString());
  } catch (const std::exception& error) {
    end = aborted(error.what());
  }
  result = with_reports(result);
  end.exit_status = result & k_exit_status_bits;
  record::run_record().end(end);
  result = with_reports(result);  // again: the end of the record may have failed
  InfoA("end: exit status " + std::to_string(result & k_exit_status_bits));
  // That line may be the one that was lost.
  return result == k_exit_success && console::reports_were_lost() ? k_exit_failure : result;
}
