#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace report {

// A metric with its samples, all of them gauges.
class Family {
 public:
  Family(std::string name, std::string help) : m_name(std::move(name)), m_help(std::move(help)) {}

  // `label` is empty or as in the text format: task="scan". Its value is a word of our own.
  void add(const std::string& label, std::uint64_t value);
  // A time or duration in nanoseconds, shown in seconds.
  void add_nanoseconds(const std::string& label, std::int64_t value);

  // The lines of the text format; none without a sample.
  std::string text() const;

 private:
  struct Sample {
    std::string label;
    std::string value;
  };

  std::string m_name;
  std::string m_help;
  std::vector<Sample> m_samples;
};

}  // namespace report
