#include "report/tables.h"

#include <functional>
#include <unordered_map>
#include <utility>

#include "report/wording.h"

namespace report {

namespace {

using record::RunReader;
using record::Severity;
using record::Task;
using Cells = std::vector<Value>;
using Columns = std::vector<Column>;

// The columns that many tables have.
const Column k_client{"client", "Client"};
const Column k_policy{"policy", "Policy"};
const Column k_target{"target_client", "To the client"};
const Column k_basename{"basename", "PO", Kind::verbatim};
const Column k_pos{"pos", "POs", Kind::number, true};

// Whether there is room for one more row, which it takes.
bool takes(std::int64_t& most) {
  if (most > 0) return most-- != 0;
  return most != 0;
}

Table make_table(const char* key, std::string caption, std::uint64_t count, Columns columns,
                 decltype(Table::rows) rows) {
  return {key, std::move(caption), "", "", std::move(columns), count, std::move(rows), {}};
}

// A table of what a query returns, which may begin with "SELECT": one column for each of the table's.
// Each view opens the record anew, since many may be shown.
Table query(const RunFile& file, RunReader& counter, const char* key, const char* caption,
            Columns columns, const std::string& select, const std::string& from) {
  const auto rows = [name = file.file, columns, sql = "SELECT " + select + " FROM " + from](
                        const RowVisitor& visit, std::int64_t most) {
    RunReader reader(name);
    const auto take = [&](const RunReader::Row& row) {
      Row shown;
      for (std::size_t i = 0; i < columns.size(); ++i) {
        const Kind kind = columns[i].kind;
        if (kind == Kind::number) {
          shown.cells.emplace_back(row.count(i));
        } else if (kind == Kind::time) {
          shown.cells.emplace_back(row.number(i));
        } else {
          shown.cells.emplace_back(row.text(i));
        }
      }
      visit(shown);
    };
    reader.rows(sql, take, most);
  };
  const std::uint64_t count = counter.count("(SELECT 1 FROM " + from + ")");
  return make_table(key, caption, count, columns, rows);
}

// What stands behind a table whose rows have the number of a directory.
const std::string k_with_names =
    " LEFT JOIN directory d ON d.id = directory LEFT JOIN client_policy p ON p.id = "
    "d.client_policy";
const std::string k_with_target = k_with_names + " LEFT JOIN client_policy t ON t.id = target";

Row row_of(const Group& group, bool are_orphans, bool gone) {
  const bool all = are_orphans && group.loses_everything();
  const bool is_known = group.has_share();
  Row row{{group.client, group.policy, group.copies, known(is_known, group.dir_copies),
           known(is_known, group.dir_pos), known(is_known, is_known ? group.share() : 0),
           known(is_known, all), group.oldest, group.newest, group.pos, group.bytes,
           group.other_copies_pos, group.kept, group.dir_failed}};
  if (all) row.mark = Mark::all;
  if (all) row.tag = gone ? "lost everything" : "would lose everything";
  if (group.other_copies_pos != 0) row.tag += all ? ", other copies too" : "other copies too";
  if (are_orphans || !group.dir_failed) return row;
  row.mark = Mark::bad;
  row.tag = "directory failed: not compared";
  return row;
}

// The orphans, or the missing copies, which have fewer columns.
Table groups_of(const SharedContents& contents, bool are_orphans, bool gone) {
  const Images& images = are_orphans ? contents->orphans : contents->missing;
  const auto rows = [=, &images, keep = contents](const RowVisitor& visit, std::int64_t most) {
    for (const Group* group : images.sorted) {
      if (takes(most)) visit(row_of(*group, are_orphans, gone));
    }
  };
  const Column none;
  const auto only = [&](const Column& column) { return are_orphans ? column : none; };
  Table table =
      make_table(are_orphans ? "orphans" : "missing",
                 are_orphans ? "Orphan copies" : "Missing copies", images.sorted.size(),
                 {k_client,
                  k_policy,
                  {"copies", are_orphans ? "Orphan copies" : "Missing copies", Kind::number, true},
                  only({"dir_copies", "Copies there", Kind::number, true}),
                  only({"dir_pos"}),
                  only({"share", "Share", Kind::share}),
                  only({"loses_everything"}),
                  {"oldest_backup_time", "Oldest, UTC", Kind::time},
                  {"newest_backup_time", "Newest, UTC", Kind::time},
                  only(k_pos),
                  only({"bytes", "Bytes", Kind::number, true}),
                  only({"other_copies_pos", "Of other copies", Kind::number, true}),
                  only({"kept_copies", gone ? "Not deleted" : "", Kind::number, true}),
                  are_orphans ? none : Column{"dir_failed"}},
                 rows);
  table.timeline = images.timeline;
  table.when_empty = are_orphans ? "None: the record lists no orphan copy."
                                 : "None: the record lists no missing copy.";
  if (!are_orphans) {
    table.note =
        "Copies that the backup catalog lists and the metadata lacks. A deletion does not touch "
        "them. All images of a failed directory are among them, and copies whose POs carry another "
        "spelling of the client's name.";
  }
  return table;
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

std::vector<Table> consistency_tables(const RunFile& file, RunReader& reader,
                                      const SharedContents& contents) {
  const bool gone = file.run.task == Task::deletion;
  Table others = query(file, reader, "other_copies", "POs of other copies that the deletion takes",
                       {k_basename,
                        k_client,
                        k_policy,
                        {"backup_time", "Backup, UTC", Kind::time},
                        {"copy_number", "Copy", Kind::number}},
                       "basename, client, policy, backup_time, copy",
                       "collateral LEFT JOIN orphan o ON o.id = orphan" + k_with_names);
  others.note =
      "One that belongs to an orphan goes anyway. One under another spelling: repair first. Any "
      "other may be of a live image: do not run the deletion.";
  const Table names = names_of(file, reader, "names_left_out", "POs left out of the comparison");
  return {groups_of(contents, true, gone), others, names, groups_of(contents, false, gone)};
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
  if (task == Task::dry_run || task == Task::deletion) {
    tables = consistency_tables(file, reader, contents);
  }
  tables.push_back(
      directories_of(file, reader, "failed_directories", "Failed directories", "state = 'failed'"));
  if (!file.has_end()) {
    tables.push_back(directories_of(file, reader, "unfinished_directories",
                                    "Directories in hand when the run stopped", "state IS NULL"));
  }
  tables.push_back(query(file, reader, "errors", "Errors", {{"text", "Text", Kind::verbatim}},
                         "text", messages(record::Severity::error)));
  tables.push_back(query(file, reader, "warnings", "Warnings", {{"text", "Text", Kind::verbatim}},
                         "text", messages(record::Severity::warning)));
  return tables;
}

// Texts are made for programs as well: numbers have no commas.
Table images_of(const RunFile& file) {
  const char* const undeleted = file.run.task == Task::dry_run ? "would go" : "not deleted";
  Columns columns{{"image", "Image"},
                  {"client"},
                  {"time", "Time, UTC", Kind::word},
                  {"backup_time"},
                  {"copy_number", "Copy", Kind::word},
                  {"pos", "POs", Kind::word},
                  {"bytes", "Bytes", Kind::word},
                  {"policy", "Policy"},
                  {"state", "State", Kind::word},
                  {"run", "Run", Kind::word}};
  const auto rows = [file, undeleted](const RowVisitor& visit, std::int64_t most) {
    RunReader reader(file.file);
    const auto take = [&](const RunReader::Row& row) {
      const std::int64_t time = row.number(1);
      visit({{row.text(0) + "_" + std::to_string(time), row.text(0), utc(time), time, row.number(2),
              row.number(3), row.number(4), row.text(5), row.number(6) != 0 ? "deleted" : undeleted,
              file.id}});
    };
    reader.rows("SELECT client, backup_time, copy, o.pos, bytes, policy, deleted FROM orphan o" +
                    k_with_names,
                take, most);
  };
  return make_table("images", "Orphan copies", 0, std::move(columns), rows);
}

}  // namespace report
