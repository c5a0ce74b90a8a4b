#include "sandbox/faults/task.h"

#include <boost/filesystem/operations.hpp>

#include "sandbox/planter.h"
#include "sandbox/storage_builder.h"

namespace sandbox::faults {

const std::vector<Task>& all_tasks() {
  const std::string consistency = "--FORCE_DEDUPE_METADATA_CONSISTENCY";
  const std::string repair = "--repair_client_name_case";
  constexpr int k_failed_scan = 255;
  static const std::vector<Task> tasks{
      {"scan", {"--scan_client_name_case"}, Effect::none, k_failed_scan},
      {"dry_run", {consistency, "--dry_run"}, Effect::none},
      {"deletion", {consistency}, Effect::deletes},
      {"repair", {repair}, Effect::moves},
      {"resumed", {repair}, Effect::moves, 1, true},
      {"forced", {repair, "--force"}, Effect::moves, 1, false, true},
  };
  return tasks;
}

void plant_for_all_tasks(const StorageBuilder& storage, unsigned scale) {
  Plan plan;
  plan.clients = scale;
  plan.images = 8;
  plan.pairs = scale;
  plan.miscased_share = 0.2;
  plan.orphan_share = 0.3;
  (void)plant(storage, plan);
  constexpr std::size_t k_record_bytes = 16;
  std::uint64_t seed = 0;
  // Two of the three names collide.
  for (const std::string client : {"both", "Both"}) {
    PolicyDirWriter dir(storage.policy_dir(client, "policy"), k_record_bytes, ++seed);
    for (const std::string image : {"1600000000", "1600000001"}) {
      dir.put("Both_" + image + "_C1_F1.img");
    }
    if (client == "both") dir.put("Both_1600000002_C1_F1.img");
    dir.finish();
  }
  boost::filesystem::create_symlink("both", storage.policy_dir("BOTH", "policy").parent_path());
}

}  // namespace sandbox::faults
