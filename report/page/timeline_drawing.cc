#include "report/page/parts.h"

#include <algorithm>
#include <vector>

#include <boost/format.hpp>

#include "report/escape.h"
#include "report/wording.h"

namespace report::page {

namespace {

using Bars = std::vector<Timeline::Bar>;

constexpr double k_top = 18;      // room for the number above the highest bar
constexpr double k_height = 104;  // of the highest bar
constexpr double k_bottom = k_top + k_height;
constexpr double k_all = 100;  // percent

std::string copies(std::uint64_t count) {
  return counted(count, "copy", "copies");
}

void draw_scale(std::uint64_t most, std::ostream& out) {
  out << boost::format(R"(<text class="axis" x="0" y="%1%">%2%</text>)") % (k_top - 5) %
             copies(most);
  for (const double y : {k_top, k_bottom}) {
    out << boost::format(R"(<line x1="0" x2="100%%" y1="%1%" y2="%1%"/>)") % y;
  }
  out << "\n";
}

void draw_bars(const Bars& bars, std::uint64_t most, double step, std::ostream& out) {
  constexpr double k_filled = 0.82;
  constexpr double k_least = 2;   // pixels, to be visible
  constexpr double k_widest = 5;  // percent
  const double width = std::min(k_widest, k_filled * step);
  for (std::size_t i = 0; i < bars.size(); ++i) {
    const double share = share_of(bars[i].count, most);
    const double height = share == 0 ? 0 : std::max(k_least, k_height * share);
    const double x = step * static_cast<double>(i);
    // A transparent column over the bar shows the title for a low bar too.
    out << boost::format(
               "<g role=\"img\"><title>%1%: %2%</title><rect class=\"bar\" x=\"%3$.3f%%\" "
               "y=\"%4$.1f\" width=\"%5$.3f%%\" height=\"%6$.1f\"/><rect class=\"column\" "
               "x=\"%3$.3f%%\" y=\"%7%\" width=\"%8$.3f%%\" height=\"%9%\"/></g>\n") %
               bars[i].label % copies(bars[i].count) % x % (k_bottom - height) % width % height %
               k_top % step % k_height;
  }
}

// Labels all bars if they are few; else the first, two between and, right-aligned, the last.
void draw_labels(const Bars& bars, bool few, double step, std::ostream& out) {
  constexpr double k_baseline = k_bottom + 15;
  const std::size_t labels = few ? bars.size() : 4;
  for (std::size_t i = 0; i < labels; ++i) {
    const bool at_end = !few && i + 1 == labels;
    const std::size_t bar = at_end ? bars.size() - 1 : i * bars.size() / labels;
    out << boost::format(
               R"(<text class="axis" x="%1$.3f%%" y="%2%" text-anchor="%3%">%4%</text>)") %
               (at_end ? k_all : step * static_cast<double>(bar)) % k_baseline %
               (at_end ? "end" : "start") % bars[bar].label;
  }
}

}  // namespace

void draw_timeline(const Timeline& timeline, const std::string& what, const std::string& id,
                   std::ostream& out) {
  constexpr std::size_t k_max_bars = 72;
  constexpr double k_character = 2.3;  // percent, on a phone
  const Bars bars = timeline.bars(k_max_bars);
  if (timeline.beyond() != 0) {
    out << "<p class=\"note\">" << copies(timeline.beyond())
        << " with a time that can be none of a backup: not in the drawing.</p>\n";
  }
  if (bars.empty()) return;
  // Few bars do not spread over the width of the page.
  const double widest_step = k_character * static_cast<double>(bars.front().label.size());
  const double step = std::min(widest_step, k_all / static_cast<double>(bars.size()));
  const bool few = widest_step * static_cast<double>(bars.size()) <= k_all;
  const auto highest = std::max_element(
      bars.begin(), bars.end(), [](const auto& a, const auto& b) { return a.count < b.count; });
  out << "<figure><figcaption>" << html(what) << " by time of backup, UTC</figcaption>\n"
      << R"(<svg class="timeline" width="100%" height="146" role="group" aria-labelledby=")" << id
      << "-t " << id << "-d\">\n<title id=\"" << id << "-t\">" << html(what)
      << " by time of backup</title><desc id=\"" << id << "-d\">From " << bars.front().label
      << " to " << bars.back().label << "; the most, " << copies(highest->count) << ", in "
      << highest->label << ".</desc>\n";
  draw_scale(highest->count, out);
  draw_bars(bars, highest->count, step, out);
  draw_labels(bars, few, step, out);
  out << "</svg></figure>\n";
}

}  // namespace report::page
