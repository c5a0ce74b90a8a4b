#pragma once

#include <string>
#include <vector>

namespace sandbox {

class StorageBuilder;

namespace faults {

// What a task does to the metadata when nothing goes wrong, and so what may be found when it did.
enum class Effect { none, moves, deletes };

// A task of the program that faults are tried on.
struct Task {
  std::string name;
  std::vector<std::string> arguments;
  Effect effect = Effect::none;
  int failed_exit_status = 1;
  bool resumed = false;   // it goes on where one that was killed half-way stopped
  bool services = false;  // the simulated services run when it starts
};

// Scan, dry run, deletion, repair, a repair after one that was killed half-way, and one that stops
// the services itself.
const std::vector<Task>& all_tasks();

// Fills a storage with something to do for each of them: POs out of place, directories with POs of
// each other, a name that stands in two directories with different contents, orphans, missing
// images, and a symbolic link. `scale` multiplies the directories.
void plant_for_all_tasks(const StorageBuilder& storage, unsigned scale);

}  // namespace faults
}  // namespace sandbox
