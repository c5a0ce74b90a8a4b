#include "catalog/podb/base_visit_podb.h"

#include <boost/lexical_cast.hpp>

#include "dct/log_file.h"
#include "platform/sqlite_podb.h"

namespace fs = boost::filesystem;

namespace catalog::podb {

BaseVisitPODB::BaseVisitPODB(const fs::path& policy_dir, dct::util::LogFile& log)
    : m_policy_dir(policy_dir), m_log(log) {
  auto element = m_policy_dir.end();
  m_policy = (--element)->string();
  m_client = (--element)->string();
  m_dsid = boost::lexical_cast<long>((--element)->string());
  for (auto above = m_policy_dir.begin(); above != element; ++above) m_catalog_root /= *above;
  m_podb.reset(new SQLitePODB(m_catalog_root.string(), m_policy_dir.string()));
}

BaseVisitPODB::~BaseVisitPODB() = default;

void BaseVisitPODB::write_to_log(const std::string& text) const {
  m_log.write(text);
}

}  // namespace catalog::podb
