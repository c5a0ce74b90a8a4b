#include <unistd.h>

#include <boost/filesystem/operations.hpp>

#include "catalog/podb/delete_orphan_pos.h"
#include "catalog/podb/print_orphan_pos.h"
#include "catalog/podb/repair_podb.h"
#include "catalog/podb/scan_podb.h"
#include "dct/log_file.h"
#include "fuzz/memory_file.h"
#include "sandbox/text_file.h"

namespace {

namespace fs = boost::filesystem;
namespace podb = catalog::podb;

// A catalog with one policy directory.
const fs::path k_root = fs::temp_directory_path() / std::to_string(::getpid());
const fs::path k_policy_dir = k_root / "2" / "hosta" / "p";

// What the backup catalog has of the directory.
const std::string k_listing =
    "IMAGE hosta 0 0 13 hosta_1 p 0 *NULL* root Full 0 3 1 64\n"
    "FRAG 1 1 1 0 2 6 1 m 6 0 1 0 0 *NULL* a;b;c;pool;1 0 0 0 *NULL* 7 0 1 0 0 0 1\n";

template <class Visit>
void visit(const std::string& database, const Visit& action) {
  fs::remove_all(k_root / "2");
  sandbox::write_text(k_policy_dir / "po.db", database);
  (void)fuzz::succeeds(action);
}

template <class Visitor>
void compare(dct::util::LogFile& log) {
  fuzz::set_command(k_listing);
  Visitor visitor(k_policy_dir, log, log, "/", "pool");
  visitor.compare_metadata_impl();
  visitor.visit_image_copies_not_in_TV_impl();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static dct::util::LogFile log("/dev/null");
  const std::string database = fuzz::text_of(data, size);
  visit(database, [] { (void)podb::ScanPODB(k_policy_dir, log).visit_podb_impl(); });
  visit(database, [] { compare<podb::PrintOrphanPOs>(log); });
  visit(database, [] { compare<podb::DeleteOrphanPOs>(log); });
  visit(database, [] { (void)podb::RepairPODB(k_policy_dir, log, log).visit_podb_impl(); });
  return 0;
}
