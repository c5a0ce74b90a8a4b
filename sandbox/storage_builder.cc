#include "sandbox/storage_builder.h"

#include <fstream>
#include <functional>
#include <random>

#include <boost/filesystem/operations.hpp>

#include "catalog/walk/dirs_iterator.h"
#include "config/inifile.h"
#include "cr/config.h"
#include "podb/po.h"
#include "podb/spadb.h"
#include "sandbox/commands.h"
#include "sandbox/text_file.h"
#include "status/status.h"

namespace fs = boost::filesystem;

namespace sandbox {

const std::string k_disk_pool = "dp_sandbox";

namespace {

void require(cr_status_t status, const fs::path& policy_dir) {
  if (status != k_status_ok) {
    throw Cr_ErrnoException(status, "could not fill " + policy_dir.string(),
                            CRStatusToStringA(status));
  }
}

// Lines as long as the product's: mdfixup reads few of the fields.
std::string image_line(const std::string& client, const std::string& policy,
                       std::int64_t backup_time) {
  const std::string time = std::to_string(backup_time);
  return "IMAGE " + client + " 0 0 13 " + client + "_" + time + " " + policy +
         " 0 *NULL* root Full 0 3 " + time + " 64 1893456000 0 0 102400 1 1 0 " + policy + "_" +
         time +
         "_FULL.f *NULL* *NULL* 0 1 0 2 0 *NULL* 0 0 0 0 0 0 *NULL* 0 0 0 *NULL* "
         "1024 0 0 *NULL* *NULL* 0 0 0 0 0 *NULL* *NULL* 0 0 0 0 *NULL* 0 0 *NULL*\n";
}

std::string frag_line(std::uint32_t copy, std::int64_t backup_time, const std::string& disk_pool) {
  return "FRAG " + std::to_string(copy) + " 1 102400 0 2 6 1 media1.example.lan 65536 0 " +
         std::to_string(backup_time) + " 0 0 *NULL* @aaaab;KestrelVolume;kestrel;" + disk_pool +
         ";1 0 0 0 *NULL* 102400 0 65537 0 0 0 1 1893456000 0 *NULL* 0 0\n";
}

}  // namespace

StorageBuilder::StorageBuilder(const fs::path& dir) : m_root(fs::absolute(dir)) {
  fs::create_directories(m_root);
  if (!fs::is_empty(m_root)) {
    throw Cr_ErrnoException(EEXIST, "the directory " + m_root.string() + " is not empty");
  }
  write_configuration();
  fs::create_directories(tree_dir() / catalog::k_walked_dsid_name);
  fs::create_directories(log_dir());
  SpaDB::create_spa_database(m_root.string(), {"POOLEVENT{state:up}", "GCEVENT{segments:0}"});
  write_product();
}

fs::path StorageBuilder::policy_dir(const std::string& client, const std::string& policy) const {
  return tree_dir() / catalog::k_walked_dsid_name / client / policy;
}

void StorageBuilder::write_configuration() const {
  const fs::path config = m_root / "etc" / "storage.cfg";
  fs::create_directories(config.parent_path());
  cr::Inifile(registry_file().string())
      .save_new(cr::k_registry_key, "ConfigFilePath", config.string());
  cr::Inifile file(config.string());
  file.save_new(cr::k_storage_section, cr::k_root_dir_entry, m_root.string());
  file.save(cr::k_storage_section, cr::k_log_dir_entry, log_dir().string());
}

void StorageBuilder::write_product() const {
  for (const Command& command : commands()) {
    write_command(product() / command.path, command.text);
  }
  fs::create_directories(product() / "images");
}

void StorageBuilder::list_image(const std::string& client, const std::string& policy,
                                std::int64_t backup_time, const std::vector<std::uint32_t>& copies,
                                const std::string& disk_pool) const {
  if (copies.empty()) return;
  std::string text = image_line(client, policy, backup_time);
  for (const std::uint32_t copy : copies) text += frag_line(copy, backup_time, disk_pool);
  write_text(product() / "images" / client / policy, text, std::ios::app);
}

PolicyDirWriter::PolicyDirWriter(const fs::path& policy_dir, std::size_t record_bytes,
                                 std::uint64_t seed)
    : m_database(policy_dir.parent_path().parent_path().parent_path(), policy_dir),
      m_record_bytes(record_bytes),
      m_seed(seed) {
  require(m_database.do_begin_transaction(), policy_dir);
}

void PolicyDirWriter::put(const std::string& basename) {
  constexpr int k_poid_digits = 64;
  constexpr unsigned k_byte_values = 256;
  constexpr std::int64_t k_mtime = 1600000000;
  std::minstd_rand random(static_cast<std::uint32_t>(std::hash<std::string>()(basename) ^ m_seed));
  PO po(POCreate());
  POData& data = po.data();
  data.basename = basename;
  for (int i = 0; i < k_poid_digits; ++i) data.poid += "0123456789abcdef"[(random() >> 8) % 16];
  for (std::size_t i = 0; i < m_record_bytes; ++i) {
    data.record += static_cast<char>((random() >> 8) % k_byte_values);
  }
  data.size = static_cast<std::int64_t>(random());
  data.mtime = k_mtime + static_cast<std::int64_t>(random() % 86400);
  require(m_database.put(&po), basename);
}

void PolicyDirWriter::finish() {
  require(m_database.do_commit_transaction(), "a policy directory");
}

}  // namespace sandbox
