#include <benchmark/benchmark.h>

#include <sstream>
#include <string>

#include <boost/filesystem/operations.hpp>

#include "report/collect.h"
#include "report/views.h"
#include "sandbox/text_file.h"

namespace {

namespace fs = boost::filesystem;

constexpr std::int64_t k_orphans = 500000;  // with two lines each

// The orphan log of a dry run in which `dirs` directories lose copies; removed at the end.
class Log {
 public:
  explicit Log(std::int64_t dirs) {
    std::string text;
    for (std::int64_t i = 0; i < k_orphans; ++i) {
      const std::string name = std::to_string(i / 50 % dirs);
      text += "Would have deleted the POs for the image: {client: client" + name +
              ", policy: policy" + name + ", backup_time: " + std::to_string(1500000000 + i * 97) +
              ", copy_number: 1}.\nWould delete 2 POs.\n";
    }
    fs::create_directories(m_dir);
    sandbox::write_text(path(), text);
  }
  Log(const Log&) = delete;
  Log& operator=(const Log&) = delete;
  ~Log() {
    boost::system::error_code ignored;
    fs::remove_all(m_dir, ignored);
  }

  std::string path() const { return (m_dir / "OrphanImages_1.log").string(); }

 private:
  const fs::path m_dir = fs::temp_directory_path() / fs::unique_path();
};

// Reads a log of a million lines and shows it.
void Report(benchmark::State& state, void (*write)(const report::Report&, std::ostream&)) {
  const Log log(state.range(0));
  for (auto _ : state) {
    const report::Report report = report::collect({log.path()});
    std::ostringstream out;
    write(report, out);
    if (report.consistency.at(0).orphans.copies != k_orphans) state.SkipWithError("not all came");
  }
  state.SetItemsProcessed(state.iterations() * 2 * k_orphans);
}
BENCHMARK_CAPTURE(Report, text, report::write_text)->Arg(10)->Arg(10000);
BENCHMARK_CAPTURE(Report, json, report::write_json)->Arg(10)->Arg(10000);
BENCHMARK_CAPTURE(Report, page, report::write_page)->Arg(10)->Arg(10000);

}  // namespace
