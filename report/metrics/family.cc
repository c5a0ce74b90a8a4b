#include "report/metrics/family.h"

#include <boost/format.hpp>

namespace report {

void Family::add(const std::string& label, std::uint64_t value) {
  m_samples.push_back({label, std::to_string(value)});
}

void Family::add_nanoseconds(const std::string& label, std::int64_t value) {
  constexpr double k_second = 1e9;
  m_samples.push_back(
      {label, (boost::format("%.3f") % (static_cast<double>(value) / k_second)).str()});
}

std::string Family::text() const {
  if (m_samples.empty()) return "";
  std::string lines = "# HELP " + m_name + " " + m_help + "\n# TYPE " + m_name + " gauge\n";
  for (const Sample& sample : m_samples) {
    lines +=
        m_name + (sample.label.empty() ? "" : "{" + sample.label + "}") + " " + sample.value + "\n";
  }
  return lines;
}

}  // namespace report
