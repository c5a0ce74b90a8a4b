#include "report/model.h"

#include <algorithm>
#include <utility>

namespace report {

void Notes::add(std::string text, std::size_t most) {
  ++count;
  if (first.size() < most) first.push_back(std::move(text));
}

void Notes::add_in_front(std::string text, std::size_t most) {
  ++count;
  first.insert(first.begin(), std::move(text));
  if (first.size() > most) first.pop_back();
}

std::optional<double> ImageGroup::share() const {
  if (!dir_copies || *dir_copies == 0) return std::nullopt;
  return std::min(1.0, static_cast<double>(copies) / static_cast<double>(*dir_copies));
}

bool Report::whole() const {
  return std::all_of(files.begin(), files.end(),
                     [](const SourceFile& file) { return file.whole(); });
}

bool Report::has_content() const {
  return !runs.empty() || !consistency.empty() || !scans.empty() || !repairs.empty();
}

}  // namespace report
