#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <boost/filesystem/path.hpp>

#include "tests/faults/traced_call.h"

namespace sandbox::faults {

enum class Kind { directory, file, link };

struct File {
  Kind kind = Kind::file;
  std::string bytes;  // of a link, its target

  bool operator==(const File& other) const { return kind == other.kind && bytes == other.bytes; }
};

// Files by their paths below a root.
using Files = std::map<std::string, File>;

// A model of a disk, which knows of each file and directory what a power cut cannot take back, and which
// changes may be lost.
//
// A change is a size of a file, bytes in a file, or entries of a directory. A sync of a file makes its
// earlier sizes and bytes durable, a sync of a directory its earlier entries; nothing else does. Other
// changes have reached the disk or not, independently of each other; bytes in sectors of 512. A rename is
// one change, as on every file system with a journal.
//
// It leaves out what no run relies on: locks, logs, shared memory of SQLite, configuration and product.
//
// Threads: one thread.
class Disk {
 public:
  using Number = std::uint64_t;  // of a change, in the order of the changes
  // Whether this sector of this change has reached the disk.
  using Reaches = std::function<bool(Number change, std::uint64_t sector)>;

  // All that is in `directory` now is durable. Calls name it `root`.
  Disk(const boost::filesystem::path& directory, const boost::filesystem::path& root);

  // Whether the call has changed or synced something.
  // Errors: std::runtime_error for a call below the root that the model does not know.
  bool apply(const TracedCall& call);

  // The changes that may be lost.
  std::vector<Number> unsynced() const;

  // What a power cut leaves, if these changes have reached the disk.
  Files after_power_cut(const Reaches& reaches) const;

  // Replaces all in the directory, except what a disk leaves out, by these files.
  static void write(const Files& files, const boost::filesystem::path& root);

 private:
  using Id = std::size_t;
  using Entries = std::map<std::string, Id>;
  using NewEntries = std::vector<std::pair<std::string, Id>>;  // k_none removes one

  struct Change {
    enum class What { size, bytes, entries } what;
    Number number = 0;
    std::uint64_t at = 0;  // the size, or the offset of the bytes
    std::string bytes = {};
    NewEntries entries = {};
  };

  struct Node {
    Kind kind = Kind::directory;
    // Durable.
    std::string bytes = {};
    Entries entries = {};
    std::vector<Change> unsynced = {};
    // As the run sees them.
    std::uint64_t size_now = 0;
    Entries entries_now = {};
  };

  static constexpr Id k_none = static_cast<Id>(-1);

  Id load(const boost::filesystem::path& path);
  bool is_modelled(const std::string& path) const;
  Id directory_of(const std::string& path) const;
  Id find(const std::string& path) const;
  void add(Id node, Change change);
  void set_entries(Id directory, const NewEntries& entries);
  static void change(Entries& entries, const NewEntries& to);
  void name(const std::string& path, Id node);
  void make(const std::string& path, Node node);
  void resize(const std::string& path, std::uint64_t size);
  void write_bytes(const std::string& path, std::uint64_t offset, const std::string& bytes);
  void move(const std::string& from, const std::string& to);
  void sync(const std::string& path);
  void collect(Id id, const std::string& path, const Reaches& reaches, Files& files) const;
  void collect_unsynced(Id id, std::vector<bool>& seen, std::vector<Number>& numbers) const;
  static std::string bytes_after(const Node& node, const Reaches& reaches);
  static Entries entries_after(const Node& node, const Reaches& reaches);

  const std::string m_root;
  std::vector<Node> m_nodes;
  Number m_changes = 0;
};

}  // namespace sandbox::faults
