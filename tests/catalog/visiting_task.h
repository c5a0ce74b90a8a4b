#pragma once

#include <functional>

#include <boost/filesystem/path.hpp>

#include "catalog/base_traverse_catalog.h"

// A task that does in each directory of a catalog what the test says, and logs beside it.
class VisitingTask : public catalog::BaseTraverseCatalog {
 public:
  VisitingTask(const boost::filesystem::path& dir, unsigned threads, bool stop_on_error,
               std::function<int()> visit)
      : BaseTraverseCatalog(dir / "log", dir / "catalog", threads, stop_on_error),
        m_visit(std::move(visit)) {
    init_log_file(log_dir(), "task.log");
  }
  int visit_dir(const boost::filesystem::path& /*policy_dir*/) override { return m_visit(); }
  std::string findings() const override { return "7 findings"; }

 private:
  const std::function<int()> m_visit;
};
