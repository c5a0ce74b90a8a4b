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

// The rows that `list` passes on, as `cells_of` has them. Each view opens the record anew: many may be
// shown.
template <class RowType, class List>
auto rows_of(const RunFile& file, List list, Cells (*cells_of)(const RowType&)) {
  return [name = file.file, list, cells_of](const RowVisitor& visit, std::int64_t most) {
    RunReader reader(name);
    list(
        reader, [&](const RowType& row) { visit({cells_of(row)}); }, most);
  };
}

template <class RowType>
auto rows_of(const RunFile& file,
             void (RunReader::*list)(const RunReader::Visitor<RowType>&, std::int64_t),
             Cells (*cells_of)(const RowType&)) {
  return rows_of(file, std::mem_fn(list), cells_of);
}

Table messages_of(const RunFile& file, Severity severity, const char* key, const char* caption) {
  const auto list = [severity](RunReader& reader, const RunReader::TextVisitor& visit,
                               std::int64_t most) {
    visit_messages(reader, severity, most, visit);
  };
  return make_table(
      key, caption, severity == Severity::error ? file.errors : file.warnings,
      {{"text", "Text", Kind::verbatim}},
      rows_of<std::string>(file, list, [](const std::string& text) -> Cells { return {text}; }));
}

// Those that failed, or those that were in hand when the run stopped.
Table directories_of(const RunFile& file, bool failed, std::uint64_t count) {
  const auto list = [failed, catalog = file.run.catalog](
                        RunReader& reader, const RunReader::Visitor<RunReader::DirectoryRow>& visit,
                        std::int64_t most) {
    reader.directories([&](RunReader::DirectoryRow row) {
      if (row.done || row.failed != failed || !takes(most)) return;
      row.directory.dsid.insert(0, catalog + "/");
      visit(row);
    });
  };
  return make_table(
      failed ? "failed_directories" : "unfinished_directories",
      failed ? "Failed directories" : "Directories in hand when the run stopped", count,
      {{"directory", "Directory", Kind::verbatim}, {"reason", failed ? "Reason" : ""}},
      rows_of<RunReader::DirectoryRow>(file, list, [](const RunReader::DirectoryRow& row) -> Cells {
        const record::Directory& dir = row.directory;
        return {dir.dsid + "/" + dir.client + "/" + dir.policy, row.reason};
      }));
}

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
  const auto only = [&](Column column) { return are_orphans ? column : none; };
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

std::vector<Table> scan_tables(const SharedContents& contents) {
  const auto rows = [contents](const RowVisitor& visit, std::int64_t most) {
    for (const auto& [client, dirs] : contents->dirs_of_clients) {
      if (takes(most)) visit({{client, dirs}});
    }
  };
  Table clients = make_table(
      "clients", "Clients with POs under another spelling", contents->dirs_of_clients.size(),
      {k_client, {"directories", "Policy directories", Kind::number, true}}, rows);
  clients.note = "Repair them before a deletion, which may take such POs.";
  clients.when_empty = "No client has POs under another spelling of its name in what was read.";
  return {clients};
}

std::vector<Table> repair_tables(const RunFile& file, RunReader& reader, const Contents& contents) {
  using Move = RunReader::MoveRow;
  using Collision = RunReader::CollisionRow;
  using record::Link;
  return {make_table("collisions", "Collisions: POs that stayed because of another one",
                     contents.listed.collisions, {k_client, k_policy, k_target, k_basename},
                     rows_of<Collision>(file, &RunReader::collisions,
                                        [](const Collision& row) -> Cells {
                                          return {row.client, row.policy,
                                                  row.collision.target_client,
                                                  row.collision.basename};
                                        })),
          make_table("moves", "POs moved between directories", contents.moves,
                     {k_client, k_policy, k_target, k_pos},
                     rows_of<Move>(file, &RunReader::moves,
                                   [](const Move& row) -> Cells {
                                     return {row.client, row.policy, row.target_client, row.pos};
                                   })),
          make_table("links", "Symbolic links below the catalog", reader.count("link"),
                     {{"path", "Link", Kind::verbatim},
                      {"target", "Leads to", Kind::verbatim},
                      {"removed", "Removed", Kind::word}},
                     rows_of<Link>(file, &RunReader::links, [](const Link& row) -> Cells {
                       return {row.path, row.target, row.removed};
                     }))};
}

std::vector<Table> consistency_tables(const RunFile& file, const SharedContents& contents) {
  using Collateral = RunReader::CollateralRow;
  using Unparsed = RunReader::UnparsedRow;
  const bool gone = file.run.task == Task::deletion;
  Table others = make_table(
      "other_copies", "POs of other copies that the deletion takes",
      contents->listed.other_copies_pos,
      {k_basename,
       k_client,
       k_policy,
       {"backup_time", "Backup, UTC", Kind::time},
       {"copy_number", "Copy", Kind::number}},
      rows_of<Collateral>(file, &RunReader::collateral, [](const Collateral& row) -> Cells {
        return {row.basename, row.client, row.policy, row.backup_time,
                std::uint64_t(row.copy_number)};
      }));
  others.note =
      "One that belongs to an orphan goes anyway. One under another spelling: repair first. Any "
      "other may be of a live image: do not run the deletion.";
  Table names =
      make_table("names_left_out", "POs left out of the comparison", contents->names_left_out,
                 {k_client, k_policy, k_basename, {"reason", "Reason"}},
                 rows_of<Unparsed>(file, &RunReader::unparsed, [](const Unparsed& row) -> Cells {
                   return {row.client, row.policy, row.name.basename, row.name.reason};
                 }));
  return {groups_of(contents, true, gone), others, names, groups_of(contents, false, gone)};
}

}  // namespace

std::vector<Table> tables_of(const RunFile& file, RunReader& reader,
                             const SharedContents& contents) {
  const Task task = file.run.task;
  std::vector<Table> tables;
  if (task == Task::scan) tables = scan_tables(contents);
  if (task == Task::repair) tables = repair_tables(file, reader, *contents);
  if (task == Task::dry_run || task == Task::deletion) tables = consistency_tables(file, contents);
  tables.push_back(directories_of(file, true, contents->failed_dirs));
  tables.push_back(directories_of(file, false, file.has_end() ? 0 : contents->open_dirs));
  tables.push_back(messages_of(file, Severity::error, "errors", "Errors"));
  tables.push_back(messages_of(file, Severity::warning, "warnings", "Warnings"));
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
  const auto rows = [file, undeleted](const RowVisitor& visit, std::int64_t /*most*/) {
    RunReader reader(file.file);
    std::unordered_map<std::int64_t, record::Directory> dirs;
    const record::Directory none;
    reader.directories(
        [&](const RunReader::DirectoryRow& row) { dirs[row.directory.id] = row.directory; });
    reader.orphans([&](const RunReader::OrphanRow& row) {
      const record::Orphan& orphan = row.orphan;
      const auto known = dirs.find(row.directory);
      const record::Directory& dir = known == dirs.end() ? none : known->second;
      visit({{dir.client + "_" + std::to_string(orphan.backup_time), dir.client,
              utc(orphan.backup_time), orphan.backup_time, std::int64_t(orphan.copy_number),
              std::int64_t(orphan.pos), std::int64_t(orphan.bytes), dir.policy,
              orphan.deleted ? "deleted" : undeleted, file.id}});
    });
  };
  return make_table("images", "Orphan copies", 0, std::move(columns), rows);
}

}  // namespace report
