#include <nlohmann/json.hpp>

#include "report/concerns.h"
#include "report/escape.h"
#include "report/views.h"
#include "report/wording.h"

namespace report {

namespace {

using Json = nlohmann::ordered_json;

// Raised when a field goes or changes its meaning; new fields may come without.
constexpr int k_version = 1;

template <class T>
Json or_null(const std::optional<T>& value) {
  return value ? Json(*value) : Json(nullptr);
}

Json texts(const std::vector<std::string>& all) {
  Json list = Json::array();
  for (const std::string& text : all) list.push_back(valid_utf8(text));
  return list;
}

Json notes(const Notes& notes) {
  return {{"count", notes.count}, {"first", texts(notes.first)}};
}

const char* key_of(Task task) {
  switch (task) {
    case Task::scan:
      return "scan";
    case Task::repair:
      return "repair";
    case Task::dry_run:
      return "dry_run";
    case Task::deletion:
      return "deletion";
    case Task::consistency:
      return "dry_run_or_deletion";
    case Task::unknown:
      break;
  }
  return "none";
}

Json summary(const std::optional<Summary>& found) {
  if (!found) return nullptr;
  return {{"policy_directories", found->dirs},
          {"failed_directories", found->failed_dirs},
          {"pos", found->pos},
          {"copies", found->copies},
          {"orphan_copies", found->orphan_copies},
          {"missing_copies", found->missing_copies},
          {"pos_taken", found->taken_pos},
          {"pos_of_other_copies", found->other_copies_pos},
          {"pos_moved", found->moved_pos},
          {"collisions", found->collisions},
          {"seconds", valid_utf8(found->seconds)}};
}

Json run(const Run& run) {
  return {{"task", key_of(run.task)},
          {"start", valid_utf8(run.start)},
          {"start_time", run.start_time},
          {"last_line", valid_utf8(run.end)},
          {"last_line_time", run.end_time},
          {"pid", run.pid},
          {"arguments", valid_utf8(run.arguments)},
          {"exit_status", or_null(run.exit_status)},
          {"interrupted", run.interrupted},
          {"summary", summary(run.summary)},
          {"progress", valid_utf8(run.progress)},
          {"warnings", notes(run.warnings)},
          {"errors", notes(run.errors)}};
}

Json timeline(const Timeline& timeline) {
  constexpr std::size_t k_most_bars = 1200;  // a hundred years of months
  Json bars = Json::array();
  for (const Timeline::Bar& bar : timeline.bars(k_most_bars)) {
    bars.push_back({{"period", bar.label}, {"copies", bar.count}});
  }
  return {{"bars", bars}, {"copies_without_a_time", timeline.beyond()}};
}

Json image_group(const ImageGroup& group, bool are_orphans) {
  Json json{{"client", valid_utf8(group.client)},
            {"policy", valid_utf8(group.policy)},
            {"copies", group.copies},
            {"oldest_backup_time", group.oldest},
            {"newest_backup_time", group.newest}};
  if (are_orphans) {
    json["directory_copies"] = or_null(group.dir_copies);
    json["directory_pos"] = or_null(group.dir_pos);
    json["share"] = or_null(group.share());
    json["loses_everything"] = group.loses_everything();
    json["pos_taken"] = group.taken_pos;
    json["pos_of_other_copies"] = group.other_copies_pos;
  } else {
    json["directory_failed"] = group.dir_failed;
  }
  return json;
}

Json images(const Images& images, bool are_orphans) {
  Json groups = Json::array();
  for (const ImageGroup& group : images.groups) groups.push_back(image_group(group, are_orphans));
  Json json{{"copies", images.copies}};
  if (are_orphans) {
    json["pos_taken"] = images.taken_pos;
    json["pos_of_other_copies"] = images.other_copies_pos;
    json["directories_losing_everything"] = images.groups_losing_everything;
  }
  json["timeline"] = timeline(images.timeline);
  json["copies_left_out"] = images.copies_left_out;
  json["groups"] = std::move(groups);
  return json;
}

Json details(const Details& details, const std::vector<Concern>& concerns) {
  Json failed = Json::array();
  for (const FailedDir& dir : details.failed.first) {
    failed.push_back({{"directory", valid_utf8(dir.dir)}, {"reason", valid_utf8(dir.reason)}});
  }
  Json to_look_at = Json::array();
  for (const Concern& concern : concerns) to_look_at.push_back(valid_utf8(concern.text));
  return {{"task", key_of(details.task)},
          {"time", details.time},
          {"concerns", std::move(to_look_at)},
          {"files", texts(details.files)},
          {"run", details.run ? run(*details.run) : Json(nullptr)},
          {"failed_directories", {{"count", details.failed.count}, {"first", std::move(failed)}}},
          {"errors", notes(details.errors)}};
}

Json consistency(const ConsistencyDetails& found) {
  Json json = details(found, concerns_of(found));
  json["orphans"] = found.orphans_were_read ? images(found.orphans, true) : Json(nullptr);
  Json other_pos = Json::array();
  for (const OtherPO& po : found.other_pos) {
    other_pos.push_back({{"basename", valid_utf8(po.basename)},
                         {"client", valid_utf8(po.client)},
                         {"policy", valid_utf8(po.policy)},
                         {"backup_time", po.backup_time},
                         {"copy_number", po.copy_number}});
  }
  json["pos_of_other_copies"] = {{"count", found.orphans.other_copies_pos},
                                 {"first", std::move(other_pos)}};
  json["missing"] = found.missing_were_read ? images(found.missing, false) : Json(nullptr);
  json["names_left_out"] = notes(found.unparsed_names);
  return json;
}

Json scan(const ScanDetails& found) {
  Json json = details(found, concerns_of(found));
  json["directories_with_issues"] = found.dirs_with_issues;
  Json clients = Json::array();
  for (const ScannedClient& client : found.clients) {
    clients.push_back({{"client", valid_utf8(client.client)}, {"directories", client.dirs}});
  }
  json["directories_left_out"] = found.dirs_left_out;
  json["clients"] = std::move(clients);
  return json;
}

Json repair(const RepairDetails& found) {
  Json json = details(found, concerns_of(found));
  json["pos_moved"] = found.moved_pos;
  Json moves = Json::array();
  for (const Move& move : found.moves) {
    moves.push_back(
        {{"from", valid_utf8(move.from)}, {"to", valid_utf8(move.to)}, {"pos", move.pos}});
  }
  json["moves_left_out"] = found.moves_left_out;
  json["moves"] = std::move(moves);
  json["collisions"] = notes(found.collisions);
  return json;
}

Json source_file(const SourceFile& file) {
  return {{"path", valid_utf8(file.path)},
          {"lines", file.lines},
          {"whole", file.whole()},
          {"fault", valid_utf8(fault_of(file))}};
}

template <class T, class F>
Json list(const std::vector<T>& all, F to_json) {
  Json json = Json::array();
  for (const T& one : all) json.push_back(to_json(one));
  return json;
}

}  // namespace

void write_json(const Report& report, std::ostream& out) {
  const Json json{{"schema", "mdfixup-report"},
                  {"version", k_version},
                  {"whole", report.whole()},
                  {"runs", list(report.runs, run)},
                  {"runs_left_out", report.runs_left_out},
                  {"consistency", list(report.consistency, consistency)},
                  {"scans", list(report.scans, scan)},
                  {"repairs", list(report.repairs, repair)},
                  {"files", list(report.files, source_file)},
                  {"files_not_read", report.files_not_read}};
  constexpr int k_indent = 2;
  out << json.dump(k_indent) << "\n";
}

}  // namespace report
