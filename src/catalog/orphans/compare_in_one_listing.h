#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "catalog/orphans/dir_table.h"
#include "catalog/orphans/visit_pos_not_in_tvr_catalog.h"

namespace catalog {

// The same comparison with one listing of the whole backup catalog. It has three steps: read all
// databases, list the backup catalog, pass the orphans to the visitor V. In this order, an image
// that is written after the listing never looks like an orphan: no database had it when it was
// read.
//
// Threads: as the base. The workers are idle during the listing.
// Errors: as the base. A failed listing is reported and ends the traversal before any orphan is
//   visited.
template <class V>
class CompareInOneListing final : public VisitPOsNotInTVRCatalog<V> {
 public:
  using VisitPOsNotInTVRCatalog<V>::VisitPOsNotInTVRCatalog;

  int visit_dir(const boost::filesystem::path& policy_dir) override;
  std::unique_ptr<DirsSource> open_dirs() const override;
  std::optional<TaskStep> step() const override;

 protected:
  using AfterWalk = BaseTraverseCatalog::AfterWalk;

  AfterWalk after_walk() override;
  void list_rest() override;

 private:
  using Clock = std::chrono::steady_clock;
  enum class Step { reading, listing, orphans };

  void begin(Step step);
  bool list_catalog();
  void match(const TVRImage& image);
  void look_up(const TVRImage& image);
  void match(DirTable::Entry* dir);
  void visit_orphans(const boost::filesystem::path& policy_dir, DirTable::Entry& dir,
                     record::Directory& directory);

  std::atomic<Step> m_step{Step::reading};
  std::atomic<Clock::time_point> m_step_start{Clock::now()};
  DirTable m_dirs;
  bool m_is_listed = false;

  // Of the listing.
  std::atomic<std::uint64_t> m_images{0};
  record::MissingCopy m_image;            // the current image
  std::vector<std::uint32_t> m_numbers;   // of its copies, each once
  DirTable::Range m_matching;             // the directories of its client and policy
  bool m_is_missing = false;              // there are none, and the run includes them
  record::DirCounts m_counts_of_no_dirs;  // of images without a directory
};

}  // namespace catalog
