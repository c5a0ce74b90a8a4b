#include "report/page/consistency.h"

#include <algorithm>

#include "report/escape.h"
#include "report/page/section.h"
#include "report/page/table.h"
#include "report/page/timeline_drawing.h"
#include "report/wording.h"

namespace report::page {

namespace {

// What is said of the orphans: they are gone only after a deletion.
struct Tense {
  const char* title;
  const char* copies;
  const char* pos;
  const char* losing;
};

Tense tense_of(Task task) {
  if (task == Task::deletion) {
    return {"what the deletion took", "Copies that went", "POs deleted", "lost everything"};
  }
  return {"what a deletion would take", "Copies that would go", "POs that would go",
          "would lose everything"};
}

// One number at the head of the section.
struct Figure {
  std::string number;
  std::string label;
  std::string of;  // what it is a part of, if anything
  bool is_alarming = false;
};

Figure figure(std::uint64_t count, const char* one, const char* many) {
  return {with_commas(count), count == 1 ? one : many, "", false};
}

Figure alarming(Figure figure) {
  figure.is_alarming = figure.number != "0";
  return figure;
}

void write(const Figure& figure, std::ostream& out) {
  out << "<li" << (figure.is_alarming ? " class=\"alarming\"" : "") << "><b>" << figure.number
      << "</b> " << figure.label;
  if (!figure.of.empty()) out << " <small>" << figure.of << "</small>";
  out << "</li>\n";
}

// Nothing is claimed of directories of which no log tells what they held.
Figure losing_everything(const Images& orphans, const Tense& tense) {
  const auto unknown = std::count_if(orphans.groups.begin(), orphans.groups.end(),
                                     [](const ImageGroup& group) { return !group.dir_copies; });
  const std::uint64_t losing = orphans.groups_losing_everything;
  Figure result = alarming(figure(losing, "directory", "directories"));
  result.label += std::string(" ") + tense.losing;
  if (unknown != 0) {
    result.of = "not known of " + with_commas(static_cast<std::uint64_t>(unknown));
    if (losing == 0) result.number = "?";
  }
  return result;
}

std::string share_of_all(std::uint64_t part, std::uint64_t all) {
  if (all == 0) return "";
  return ", " + percent(static_cast<double>(part) / static_cast<double>(all));
}

void write_figures(const ConsistencyDetails& details, std::ostream& out) {
  const Images& orphans = details.orphans;
  const Tense tense = tense_of(details.task);
  Figure copies = figure(orphans.copies, "orphan copy", "orphan copies");
  Figure dirs = figure(orphans.groups.size(), "directory with orphans", "directories with orphans");
  Figure pos = figure(orphans.taken_pos, tense.pos, tense.pos);
  Figure missing = figure(details.missing.copies, "missing copy", "missing copies");
  if (orphans.copies_left_out != 0) dirs.of = "and more ";
  if (details.run && details.run->summary) {
    const Summary& summary = *details.run->summary;
    copies.of = "of " + with_commas(summary.copies) + share_of_all(orphans.copies, summary.copies);
    dirs.of += "of " + with_commas(summary.dirs);
    pos.of = "of " + with_commas(summary.pos);
  }
  missing.of = "in the backup catalog alone";
  if (!details.orphans_were_read) copies.number = dirs.number = pos.number = "?";
  if (!details.missing_were_read) missing.number = "?";
  out << "<ul class=\"figures\">\n";
  write(copies, out);
  write(dirs, out);
  write(losing_everything(orphans, tense), out);
  write(pos, out);
  write(alarming(figure(orphans.other_copies_pos, "of these: PO of another copy",
                        "of these: POs of other copies")),
        out);
  write(missing, out);
  write(alarming(figure(details.failed.count, "failed directory", "failed directories")), out);
  out << "</ul>\n";
}

void say_groups_left_out(const Images& images, std::ostream& out) {
  say_rows_left_out(std::min(images.groups.size(), k_most_rows), images.groups.size(), out);
  if (images.copies_left_out == 0) return;
  write_note(counted(images.copies_left_out, "copy", "copies") +
                 " of further clients and policies are counted above; only the logs name them.",
             out);
}

std::string share_cell(const ImageGroup& group) {
  constexpr double k_hundred = 100;
  const auto share = group.share();
  if (!share) return "?";
  return R"(<svg class="share" aria-hidden="true"><rect width=")" +
         std::to_string(*share * k_hundred) + R"(%" height="100%"/></svg>)" + percent(share);
}

void write_orphan_row(const ImageGroup& group, const Tense& tense, Table& table) {
  const bool all = group.loses_everything();
  std::string tag = all ? tense.losing : "";
  if (group.other_copies_pos != 0) tag += all ? ", other copies too" : "other copies too";
  table.row(all ? "all" : "");
  table.cell(html(group.client) +
             (tag.empty() ? "" : " <strong class=\"tag\">" + tag + "</strong>"));
  table.text(group.policy);
  table.number(group.copies);
  table.number(group.dir_copies);
  table.cell(share_cell(group), group.share() ? std::to_string(*group.share()) : "");
  table.time(group.oldest);
  table.time(group.newest);
  table.number(group.taken_pos);
  table.number(group.other_copies_pos);
}

void write_orphans(const ConsistencyDetails& details, const std::string& id, std::ostream& out) {
  const Images& orphans = details.orphans;
  const Tense tense = tense_of(details.task);
  heading(id, tense.copies, out);
  if (!details.orphans_were_read) return write_note("No orphan log was read.", out);
  if (orphans.copies == 0) return write_note("None: the logs list no orphan copy.", out);
  draw_timeline(orphans.timeline, tense.copies, id + "-time", out);
  say_groups_left_out(orphans, out);
  Table table(out, "Orphan copies by client and policy; times are UTC",
              {{"Client"},
               {"Policy"},
               {"Orphan copies", Column::number, true},
               {"Copies there", Column::number, true},
               {"Share", Column::number},
               {"Oldest", Column::time},
               {"Newest", Column::time},
               {tense.pos, Column::number, true},
               {"Of other copies", Column::number, true}});
  const std::size_t shown = std::min(orphans.groups.size(), k_most_rows);
  for (std::size_t i = 0; i < shown; ++i) write_orphan_row(orphans.groups[i], tense, table);
  table.end();
}

void write_missing(const Images& missing, const std::string& id, std::ostream& out) {
  heading(id, "Missing copies", out);
  if (missing.copies == 0) {
    return write_note("None: the logs list no missing copy.", out);
  }
  write_note(
      "Copies that the backup catalog lists and the metadata lacks. A deletion does not touch "
      "them. "
      "All images of a failed directory are among them, and copies whose POs carry another "
      "spelling "
      "of the client's name.",
      out);
  draw_timeline(missing.timeline, "Missing copies", id + "-time", out);
  say_groups_left_out(missing, out);
  Table table(out, "Missing copies by client and policy; times are UTC",
              {{"Client"},
               {"Policy"},
               {"Missing copies", Column::number, true},
               {"Oldest", Column::time},
               {"Newest", Column::time}});
  const std::size_t shown = std::min(missing.groups.size(), k_most_rows);
  for (std::size_t i = 0; i < shown; ++i) {
    const ImageGroup& group = missing.groups[i];
    table.row(group.dir_failed ? "bad" : "");
    table.cell(
        html(group.client) +
        (group.dir_failed ? " <strong class=\"tag\">directory failed: not compared</strong>" : ""));
    table.text(group.policy);
    table.number(group.copies);
    table.time(group.oldest);
    table.time(group.newest);
  }
  table.end();
}

void write_other_pos(const ConsistencyDetails& details, const std::string& id, std::ostream& out) {
  if (details.orphans.other_copies_pos == 0) return;
  const std::size_t kept = details.other_pos.size();
  heading(id, "POs of other copies that the deletion takes", out);
  write_note(
      "One that belongs to an orphan goes anyway. One under another spelling: repair first. Any "
      "other may be of a live image: do not run the deletion.",
      out);
  if (details.orphans.other_copies_pos > kept) {
    write_note("The first " + with_commas(kept) + " of " +
                   with_commas(details.orphans.other_copies_pos) + "; the log names all.",
               out);
  }
  const std::size_t shown = std::min(kept, k_most_rows);
  say_rows_left_out(shown, kept, out);
  Table table(out, "POs of other copies, and the orphan with which each goes",
              {{"PO", Column::verbatim},
               {"Orphan's client"},
               {"Policy"},
               {"Backup, UTC", Column::time},
               {"Copy", Column::number}});
  for (std::size_t i = 0; i < shown; ++i) {
    const OtherPO& po = details.other_pos[i];
    table.row();
    table.cell(code(po.basename));
    table.text(po.client);
    table.text(po.policy);
    table.time(po.backup_time);
    table.number(po.copy_number);
  }
  table.end();
}

}  // namespace

void write_consistency(const ConsistencyDetails& details, const std::string& id,
                       std::ostream& out) {
  open_section(id, title_of(details) + ": " + tense_of(details.task).title, out);
  write_concerns(concerns_of(details), id, out);
  write_figures(details, out);
  write_run_facts(details, id, out);
  write_orphans(details, id + id_of(Concern::About::whole_dirs), out);
  write_other_pos(details, id + id_of(Concern::About::other_copies), out);
  write_troubles(details, id, out);
  if (details.missing_were_read) write_missing(details.missing, id + "-missing", out);
  if (details.unparsed_names.count != 0) {
    heading(id + id_of(Concern::About::names), "POs left out of the comparison", out);
    write_notes(details.unparsed_names, out);
  }
  close_section(details, out);
}

}  // namespace report::page
