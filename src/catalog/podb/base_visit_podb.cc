#include "catalog/podb/base_visit_podb.h"

#include "dct/log_file.h"

namespace catalog::podb {

BaseVisitPODB::BaseVisitPODB(const boost::filesystem::path& policy_dir, dct::util::LogFile& log,
                             record::Directory& directory, SQLitePODB::Access access)
    : m_policy_dir(policy_dir),
      m_location(policy_dir),
      m_podb(new SQLitePODB(m_location.tree_root.string(), policy_dir.string(), access)),
      m_log(log),
      m_directory(directory) {}

BaseVisitPODB::~BaseVisitPODB() = default;

void BaseVisitPODB::write_to_log(const std::string& text) const {
  m_log.write(text);
}

}  // namespace catalog::podb
