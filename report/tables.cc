#include "report/sections.h"

#include "report/wording.h"

namespace report {

namespace {

using record::RunReader;
using record::Severity;
using record::Task;
using Columns = std::vector<Column>;

const Column k_client{"client", "Client"};
const Column k_policy{"policy", "Policy"};
const Column k_target{"target_client", "To the client"};
const Column k_basename{"basename", "PO", Kind::verbatim};
const Column k_oldest{"oldest_backup_time", "Oldest, UTC", Kind::time};
const Column k_newest{"newest_backup_time", "Newest, UTC", Kind::time};
const Column k_pos{"pos", "POs", Kind::number, true};

Value cell(const RunReader::Row& row, std::size_t column, Kind kind) {
  if (kind == Kind::number) return row.count(column);
  if (kind == Kind::time) return row.number(column);
  return row.text(column);
}

// A table with the rows of "SELECT `select` FROM `from`", one column of the query for each of `columns`.
// Opens the record for each visit: a report of many runs would hold too many open files otherwise.
Table query(const RunFile& file, RunReader& counter, const char* key, const char* caption,
            const Columns& columns, const std::string& select, const std::string& from) {
  const auto rows = [name = file.file, columns, sql = "SELECT " + select + " FROM " + from](
                        const RowVisitor& visit, std::int64_t limit) {
    const auto take = [&](const RunReader::Row& row) {
      Row shown;
      for (const Column& column : columns) {
        shown.facts.push_back({column, cell(row, shown.facts.size(), column.kind)});
      }
      visit(shown);
    };
    RunReader(name).rows(sql, take, limit);
  };
  return {key, caption, counter.count("(SELECT 1 FROM " + from + ")"), rows};
}

// Joins the names to rows that have a `directory`.
const std::string k_with_names =
    " LEFT JOIN directory d ON d.id = directory"
    " LEFT JOIN client_policy p ON p.id = d.client_policy";
const std::string k_with_target = k_with_names + " LEFT JOIN client_policy t ON t.id = target";

template <class RowOf>
Table table_of_groups(const char* key, const char* caption, const Images& images, RowOf row_of,
                      const char* when_empty, const char* note) {
  return {key,        caption, images.groups.size(), rows_of(images.groups, row_of),
          when_empty, note,    images.timeline};
}

// The rows point into the contents, so each copy of the table shares them.
Table orphans_of(const RunFile& file, const SharedContents& contents) {
  const bool deleted = file.is_deletion();
  const char* const unapproved = deleted && !file.run.of_run.empty() ? "Not approved" : "";
  const auto row_of = [deleted, unapproved, keep = contents](const Group* group) {
    const bool is_known = group->has_share();
    const bool all = group->loses_everything();
    Row row{
        {{k_client, group->client},
         {k_policy, group->policy},
         {{"copies", "Orphan copies", Kind::number, true}, group->orphans.count},
         {{"dir_copies", "Copies there", Kind::number, true},
          null_unless(is_known, group->dir_copies)},
         {{"dir_pos"}, null_unless(is_known, group->dir_pos)},
         {{"share", "Share", Kind::share}, null_unless(is_known, is_known ? group->share() : 0)},
         {{"loses_everything"}, null_unless(is_known, all)},
         {k_oldest, group->orphans.oldest},
         {k_newest, group->orphans.newest},
         {k_pos, group->pos},
         {{"bytes", "Bytes", Kind::number, true}, group->bytes},
         {{"other_copies_pos", "Of other copies", Kind::number, true}, group->other_copies_pos},
         {{"kept_copies", deleted ? "Not deleted" : "", Kind::number, true}, group->kept},
         {{"unapproved_copies", unapproved, Kind::number, true}, group->unapproved}}};
    if (all) row.mark = "all";
    if (all) row.tag = deleted ? "lost everything" : "would lose everything";
    if (group->other_copies_pos != 0) row.tag += all ? ", other copies too" : "other copies too";
    return row;
  };
  return table_of_groups("orphans", "Orphan copies", contents->orphans, row_of,
                         "None: the record lists no orphan copy.", "");
}

Table missing_of(const SharedContents& contents) {
  const auto row_of = [keep = contents](const Group* group) {
    return Row{{{k_client, group->client},
                {k_policy, group->policy},
                {{"copies", "Missing copies", Kind::number, true}, group->missing.count},
                {k_oldest, group->missing.oldest},
                {k_newest, group->missing.newest},
                {{"dir_failed"}, group->dir_failed}},
               group->dir_failed ? "bad" : "",
               group->dir_failed ? "directory failed: not compared" : ""};
  };
  return table_of_groups(
      "missing", "Missing copies", contents->missing, row_of,
      "None: the record lists no missing copy.",
      "Copies that the backup catalog lists and the metadata lacks. A deletion "
      "does not touch them. All images of a failed directory are among them, and "
      "copies whose POs carry another spelling of the client's name.");
}

std::vector<Table> scan_tables(const RunFile& file, RunReader& reader) {
  Table clients = query(
      file, reader, "clients", "Clients with POs under another spelling",
      {k_client, {"directories", "Policy directories", Kind::number, true}}, "client, count(*)",
      "directory JOIN client_policy p ON p.id = client_policy WHERE state IS NOT 'failed' GROUP BY "
      "client ORDER BY client");
  clients.note = "Repair them before a deletion, which may take such POs.";
  clients.when_empty = "No client has POs under another spelling of its name in what was read.";
  return {clients};
}

Table names_of(const RunFile& file, RunReader& reader, const char* key, const char* caption) {
  return query(file, reader, key, caption, {k_client, k_policy, k_basename, {"reason", "Reason"}},
               "client, policy, basename, u.reason", "unparsed u" + k_with_names);
}

std::vector<Table> repair_tables(const RunFile& file, RunReader& reader) {
  return {query(file, reader, "collisions", "Collisions: POs that stayed because of another one",
                {k_client, k_policy, k_target, k_basename},
                "p.client, p.policy, t.client, basename", "collision" + k_with_target),
          query(file, reader, "moves", "POs moved between directories",
                {k_client, k_policy, k_target, k_pos}, "p.client, p.policy, t.client, count(*)",
                "moved" + k_with_target +
                    " GROUP BY directory, target ORDER BY count(*) DESC, moved.id"),
          query(file, reader, "links", "Symbolic links below the catalog",
                {{"path", "Link", Kind::verbatim},
                 {"target", "Leads to", Kind::verbatim},
                 {"removed", "Removed", Kind::word}},
                "path, target, iif(removed, 'yes', 'no')", "link"),
          names_of(file, reader, "unread", "POs that stayed because they could not be read")};
}

std::vector<Table> restore_tables(const RunFile& file, RunReader& reader) {
  return {query(file, reader, "collisions", "Collisions: POs that a different one stands in for",
                {k_client, k_policy, k_basename}, "client, policy, basename",
                "collision" + k_with_names),
          query(file, reader, "restored",
                file.is_restore_dry_run() ? "POs that would be put back" : "POs put back",
                {k_client, k_policy, {"restored_pos", "POs", Kind::number, true}},
                "client, policy, sum(restored_pos)",
                "directory JOIN client_policy p ON p.id = client_policy WHERE restored_pos != 0 "
                "GROUP BY p.id ORDER BY client, policy")};
}

std::vector<Table> consistency_tables(const RunFile& file, RunReader& reader,
                                      const SharedContents& contents) {
  Table others = query(file, reader, "other_copies", "POs of other copies that the deletion takes",
                       {k_basename,
                        k_client,
                        k_policy,
                        {"backup_time", "Backup, UTC", Kind::time},
                        {"copy_number", "Copy", Kind::number}},
                       "basename, client, policy, backup_time, copy",
                       "collateral LEFT JOIN orphan o ON o.id = orphan" + k_with_names +
                           (file.is_deletion() ? " WHERE o.deleted" : ""));
  others.note =
      "One that belongs to an orphan goes anyway. One under another spelling: repair first. Any "
      "other may be of a live image: do not run the deletion.";
  return {orphans_of(file, contents), others,
          names_of(file, reader, "names_left_out", "POs left out of the comparison"),
          missing_of(contents)};
}

Table directories_of(const RunFile& file, RunReader& reader, const char* key, const char* caption,
                     const std::string& condition) {
  return query(
      file, reader, key, caption,
      {{"directory", "Directory", Kind::verbatim}, {"reason", "Reason"}},
      "catalog || '/' || dsid || '/' || client || '/' || policy, reason",
      "directory LEFT JOIN client_policy p ON p.id = client_policy, run WHERE " + condition);
}

}  // namespace

std::vector<Table> tables_of(const RunFile& file, RunReader& reader,
                             const SharedContents& contents) {
  const Task task = file.run.task;
  std::vector<Table> tables;
  if (task == Task::scan) tables = scan_tables(file, reader);
  if (task == Task::repair) tables = repair_tables(file, reader);
  if (file.is_restore()) tables = restore_tables(file, reader);
  if (file.lists_orphans()) tables = consistency_tables(file, reader, contents);
  tables.push_back(
      directories_of(file, reader, "failed_directories", "Failed directories", "state = 'failed'"));
  if (!file.has_end()) {
    tables.push_back(directories_of(file, reader, "unfinished_directories",
                                    "Directories in hand when the run stopped", "state IS NULL"));
  }
  const Column text{"text", "Text", Kind::verbatim};
  tables.push_back(
      query(file, reader, "errors", "Errors", {text}, "text", messages(Severity::error)));
  tables.push_back(
      query(file, reader, "warnings", "Warnings", {text}, "text", messages(Severity::warning)));
  return tables;
}

// Programs read the text form too, so its numbers have no commas.
Table images_of(const RunFile& file) {
  const auto rows = [file](const RowVisitor& visit, std::int64_t limit) {
    const char* const undeleted = file.is_deletion() ? "not deleted" : "would go";
    const auto take = [&](const RunReader::Row& row) {
      const std::int64_t time = row.number(1);
      visit({{{{"image", "Image"}, row.text(0) + "_" + std::to_string(time)},
              {{"client"}, row.text(0)},
              {{"time", "Time, UTC", Kind::word}, utc(time)},
              {{"backup_time"}, time},
              {{"copy_number", "Copy", Kind::word}, row.number(2)},
              {{"pos", "POs", Kind::word}, row.number(3)},
              {{"bytes", "Bytes", Kind::word}, row.number(4)},
              {{"policy", "Policy"}, row.text(5)},
              {{"state", "State", Kind::word}, row.number(6) != 0 ? "deleted" : undeleted},
              {{"run", "Run", Kind::word}, file.id}}});
    };
    RunReader(file.file).rows(
        "SELECT client, backup_time, copy, o.pos, bytes, policy, deleted FROM orphan o" +
            k_with_names,
        take, limit);
  };
  return {"images", "Orphan copies", 0, rows};
}

}  // namespace report
