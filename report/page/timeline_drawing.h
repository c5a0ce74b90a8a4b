#pragma once

#include <ostream>
#include <string>

#include "report/timeline.h"

namespace report::page {

// Draws how many copies were backed up when, as bars. Widths are shares of what room there is, so that
// texts keep their size on a phone. `what` names the copies and is escaped; `id` must be the only one
// of its kind on the page.
void draw_timeline(const Timeline& timeline, const std::string& what, const std::string& id,
                   std::ostream& out);

}  // namespace report::page
