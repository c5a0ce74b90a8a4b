#include "tests/faults/disk.h"

#include <algorithm>
#include <stdexcept>

#include <boost/algorithm/string/predicate.hpp>
#include <boost/filesystem/operations.hpp>

#include "files/storage_layout.h"
#include "sandbox/text_file.h"

namespace fs = boost::filesystem;

namespace sandbox::faults {

using boost::algorithm::contains;
using boost::algorithm::ends_with;
using boost::algorithm::starts_with;

namespace {

constexpr std::uint64_t k_sector = 512;

bool is_left_out(const std::string& name) {
  return name == "quorv" || name == "etc" || name == layout::k_lock_file ||
         ends_with(name, ".log") || ends_with(name, "-shm");
}

std::string name_of(const std::string& path) {
  return fs::path(path).filename().string();
}

bool reaches_always(Disk::Number /*change*/, std::uint64_t /*sector*/) {
  return true;
}

std::string joined(const std::string& directory, const std::string& path) {
  return starts_with(path, "/") ? path : directory + "/" + path;
}

}  // namespace

Disk::Disk(const fs::path& directory, const fs::path& root) : m_root(root.string()) {
  (void)load(directory);
}

Disk::Id Disk::load(const fs::path& path) {
  const Id id = m_nodes.size();
  m_nodes.emplace_back();
  if (fs::is_symlink(path)) {
    m_nodes[id].kind = Kind::link;
    m_nodes[id].bytes = fs::read_symlink(path).string();
  } else if (fs::is_regular_file(path)) {
    m_nodes[id].kind = Kind::file;
    m_nodes[id].bytes = read_text(path);
    m_nodes[id].size_now = m_nodes[id].bytes.size();
  } else {
    for (const auto& entry : fs::directory_iterator(path)) {
      const std::string name = entry.path().filename().string();
      if (is_left_out(name)) continue;
      const Id child = load(entry.path());
      m_nodes[id].entries[name] = m_nodes[id].entries_now[name] = child;
    }
  }
  return id;
}

bool Disk::is_modelled(const std::string& path) const {
  if (path == m_root) return true;
  if (!starts_with(path, m_root + "/")) return false;
  const fs::path below = path.substr(m_root.size() + 1);
  return std::none_of(below.begin(), below.end(),
                      [](const fs::path& name) { return is_left_out(name.string()); });
}

Disk::Id Disk::directory_of(const std::string& path) const {
  return find(fs::path(path).parent_path().string());
}

// Follows links, except the last name.
Disk::Id Disk::find(const std::string& path) const {
  Id id = 0;
  fs::path so_far = m_root;
  for (const fs::path& name : fs::path(path.substr(std::min(path.size(), m_root.size() + 1)))) {
    if (m_nodes[id].kind == Kind::link)
      id = find((so_far.parent_path() / m_nodes[id].bytes).string());
    const auto entry = m_nodes.at(id).entries_now.find(name.string());
    if (entry == m_nodes[id].entries_now.end()) return k_none;
    id = entry->second;
    so_far /= name;
  }
  return id;
}

bool Disk::apply(const TracedCall& call) {
  const std::vector<std::string>& words = call.words;
  const std::string first = words.at(0);
  const std::string second = words.size() > 1 ? words[1] : "";
  const bool has_directory = ends_with(call.name, "at") && words.size() > 1;
  const std::string path = has_directory ? joined(first, second) : first;
  if (!is_modelled(call.name == "symlink" ? second : path)) return false;
  if (call.name == "openat") {
    const bool makes = contains(words.at(2), "O_CREAT") && find(path) == k_none;
    if (makes) make(path, {Kind::file});
    const bool cuts = contains(words.at(2), "O_TRUNC");
    if (cuts) resize(path, 0);
    return makes || cuts;
  }
  if (call.name == "write") {
    // The program writes without an offset only at the end of a file.
    write_bytes(path, m_nodes.at(find(path)).size_now, second.substr(0, std::stoull(call.result)));
  } else if (call.name == "pwrite64") {
    write_bytes(path, std::stoull(words.at(3)), second.substr(0, std::stoull(call.result)));
  } else if (call.name == "ftruncate") {
    resize(path, std::stoull(second));
  } else if (call.name == "fsync" || call.name == "fdatasync") {
    sync(path);
  } else if (call.name == "mkdir") {
    make(path, {Kind::directory});
  } else if (call.name == "symlink") {
    make(second, {Kind::link, first});
  } else if (call.name == "rename") {
    move(path, second);
  } else if (call.name == "link") {
    name(second, find(path));
  } else if (call.name == "unlink" || call.name == "unlinkat" || call.name == "rmdir") {
    name(path, k_none);
  } else {
    throw std::runtime_error("the replay does not know " + call.name + " of " + path);
  }
  return true;
}

void Disk::add(Id node, Change change) {
  change.number = ++m_changes;
  m_nodes.at(node).unsynced.push_back(std::move(change));
}

void Disk::set_entries(Id directory, const NewEntries& entries) {
  change(m_nodes.at(directory).entries_now, entries);
  add(directory, {Change::What::entries, 0, 0, {}, entries});
}

void Disk::change(Entries& entries, const NewEntries& to) {
  for (const auto& [name, id] : to) {
    entries[name] = id;
    if (id == k_none) entries.erase(name);
  }
}

void Disk::name(const std::string& path, Id node) {
  set_entries(directory_of(path), {{name_of(path), node}});
}

void Disk::make(const std::string& path, Node node) {
  m_nodes.push_back(std::move(node));
  name(path, m_nodes.size() - 1);
}

void Disk::resize(const std::string& path, std::uint64_t size) {
  const Id id = find(path);
  if (m_nodes.at(id).size_now == size) return;
  m_nodes[id].size_now = size;
  add(id, {Change::What::size, 0, size});
}

void Disk::write_bytes(const std::string& path, std::uint64_t offset, const std::string& bytes) {
  const std::uint64_t end = offset + bytes.size();
  if (end > m_nodes.at(find(path)).size_now) resize(path, end);
  add(find(path), {Change::What::bytes, 0, offset, bytes});
}

void Disk::move(const std::string& from, const std::string& to) {
  if (directory_of(from) != directory_of(to))
    throw std::runtime_error("the replay knows only renames within a directory, not to " + to);
  set_entries(directory_of(from), {{name_of(to), find(from)}, {name_of(from), k_none}});
}

void Disk::sync(const std::string& path) {
  const Id id = find(path);
  if (id == k_none) return;  // it was removed
  Node& node = m_nodes[id];
  if (node.kind == Kind::file) {
    node.bytes = bytes_after(node, reaches_always);
  } else {
    node.entries = entries_after(node, reaches_always);
  }
  node.unsynced.clear();
}

std::vector<Disk::Number> Disk::unsynced() const {
  std::vector<bool> seen(m_nodes.size());
  std::vector<Number> numbers;
  collect_unsynced(0, seen, numbers);
  std::sort(numbers.begin(), numbers.end());
  return numbers;
}

// Of all that some power cut can leave.
void Disk::collect_unsynced(Id id, std::vector<bool>& seen, std::vector<Number>& numbers) const {
  if (id == k_none || seen[id]) return;
  seen[id] = true;
  for (const auto& [name, child] : m_nodes[id].entries) collect_unsynced(child, seen, numbers);
  for (const Change& change : m_nodes[id].unsynced) {
    numbers.push_back(change.number);
    for (const auto& [name, child] : change.entries) collect_unsynced(child, seen, numbers);
  }
}

Files Disk::after_power_cut(const Reaches& reaches) const {
  Files files;
  collect(0, "", reaches, files);
  return files;
}

void Disk::collect(Id id, const std::string& path, const Reaches& reaches, Files& files) const {
  const Node& node = m_nodes[id];
  if (!path.empty()) {
    const bool is_file = node.kind == Kind::file;
    files[path] = {node.kind, is_file ? bytes_after(node, reaches) : node.bytes};
  }
  for (const auto& [name, child] : entries_after(node, reaches))
    collect(child, (fs::path(path) / name).string(), reaches, files);
}

// Bytes beyond the size on the disk are there, and appear when the file grows over them.
std::string Disk::bytes_after(const Node& node, const Reaches& reaches) {
  std::string bytes = node.bytes;
  std::uint64_t size = bytes.size();
  for (const Change& change : node.unsynced) {
    if (change.what == Change::What::size) {
      if (!reaches(change.number, 0)) continue;
      size = change.at;
      bytes.resize(std::min<std::uint64_t>(bytes.size(), size));
      continue;
    }
    const std::uint64_t end = change.at + change.bytes.size();
    for (std::uint64_t begin = change.at; begin < end;) {
      const std::uint64_t sector = begin / k_sector;
      const std::uint64_t next = std::min(end, (sector + 1) * k_sector);
      if (reaches(change.number, sector)) {
        bytes.resize(std::max<std::uint64_t>(bytes.size(), next));
        bytes.replace(begin, next - begin, change.bytes, begin - change.at, next - begin);
      }
      begin = next;
    }
  }
  bytes.resize(size);
  return bytes;
}

Disk::Entries Disk::entries_after(const Node& node, const Reaches& reaches) {
  Entries entries = node.entries;
  for (const Change& change : node.unsynced) {
    if (reaches(change.number, 0)) Disk::change(entries, change.entries);
  }
  return entries;
}

void Disk::write(const Files& files, const fs::path& root) {
  for (const auto& entry : fs::directory_iterator(root)) {
    const std::string name = name_of(entry.path().string());
    if (!is_left_out(name) || name == layout::k_lock_file) fs::remove_all(entry.path());
  }
  for (const auto& [path, file] : files) {
    const fs::path target = root / path;
    if (file.kind == Kind::directory) fs::create_directory(target);
    if (file.kind == Kind::file) write_text(target, file.bytes);
    if (file.kind == Kind::link) fs::create_symlink(file.bytes, target);
  }
}

}  // namespace sandbox::faults
