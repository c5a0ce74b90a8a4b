#include "catalog/walk/dir_filter.h"

namespace catalog {

namespace {

bool has(const std::set<std::string>& names, const std::string& client, const std::string& policy) {
  return names.count(client) != 0 || names.count(client + "/" + policy) != 0;
}

}  // namespace

// A name with a second "/" would exclude nothing, and a deletion would then take too much.
bool DirFilter::is_name(const std::string& text) {
  const std::size_t slash = text.find('/');
  if (slash == std::string::npos) return !text.empty();
  return slash != 0 && slash + 1 != text.size() && text.find('/', slash + 1) == std::string::npos;
}

bool DirFilter::wants(const std::string& client, const std::string& policy) const {
  if (!m_only.empty() && !has(m_only, client, policy)) return false;
  return !has(m_except, client, policy);
}

}  // namespace catalog
