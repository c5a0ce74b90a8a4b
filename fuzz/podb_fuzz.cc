#include <unistd.h>

#include <boost/filesystem/operations.hpp>

#include "catalog/client_name_case/repair_podb.h"
#include "catalog/client_name_case/scan_podb.h"
#include "catalog/messages/scan_messages.h"
#include "catalog/orphans/delete_orphan_pos.h"
#include "catalog/orphans/print_orphan_pos.h"
#include "dct/log_file.h"
#include "files/storage_layout.h"
#include "fuzz/memory_file.h"
#include "record/run_record.h"
#include "sandbox/text_file.h"

namespace {

namespace fs = boost::filesystem;
namespace podb = catalog::podb;

// A metadata tree with one policy directory.
const fs::path k_root = fs::temp_directory_path() / std::to_string(::getpid());
const fs::path k_policy_dir = k_root / "2/hosta/p";

// The images of the directory in the backup catalog.
const std::string k_listing =
    "IMAGE hosta 0 0 13 hosta_1 p 0 *NULL* root Full 0 3 1 64\n"
    "FRAG 1 1 1 0 2 6 1 m 6 0 1 0 0 *NULL* a;b;c;pool;1 0 0 0 *NULL* 7 0 1 0 0 0 1\n";

// Calls the action with a log and a directory to count in.
template <class Action>
void visit(const std::string& database, const Action& action) {
  static dct::util::LogFile log("/dev/null");
  static catalog::RunTotals totals;
  fs::remove_all(k_root / "2");
  sandbox::write_text(k_policy_dir / layout::k_po_database, database);
  record::Directory directory = catalog::directory_of(k_policy_dir);
  (void)fuzz::succeeds([&] { action(log, totals, directory); });
}

template <class Visitor>
void compare(dct::util::LogFile& log, catalog::RunTotals& totals, record::Directory& directory) {
  fuzz::set_command(k_listing);
  catalog::ConsistencyMessages findings(log, log, totals);
  Visitor visitor(k_policy_dir, findings, directory, "/", "pool", Visitor::access);
  visitor.compare_metadata_impl();
  visitor.visit_image_copies_not_in_TV_impl();
}

void scan(dct::util::LogFile& log, catalog::RunTotals& totals, record::Directory& directory) {
  catalog::ScanMessages findings(log, totals);
  (void)podb::ScanPODB(k_policy_dir, findings, directory).visit_podb_impl();
}

void repair(dct::util::LogFile& log, catalog::RunTotals& totals, record::Directory& directory) {
  catalog::RepairMessages findings(log, log, totals);
  (void)podb::RepairPODB(k_policy_dir, findings, directory).visit_podb_impl();
}

}  // namespace

// A deletion requires a record.
extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  fs::create_directories(k_root / "log");
  record::run_record().begin(k_root / "log", {});
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string database = fuzz::text_of(data, size);
  visit(database, scan);
  visit(database, compare<podb::PrintOrphanPOs>);
  visit(database, compare<podb::DeleteOrphanPOs>);
  visit(database, repair);
  return 0;
}
