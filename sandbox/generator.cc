#include "sandbox/generator.h"

#include <algorithm>
#include <cctype>
#include <random>

#include <boost/filesystem/path.hpp>

#include "sandbox/storage_builder.h"
#include "sandbox/text_file.h"

namespace sandbox {

namespace {

enum class Fate { plain, orphan, missing, miscased };

std::string numbered(const std::string& word, unsigned number) {
  constexpr std::size_t k_digits = 5;
  const std::string digits = std::to_string(number);
  return word + std::string(k_digits - std::min(k_digits, digits.size()), '0') + digits;
}

// Past times, a whole number of seconds apart, so that even millions of images differ.
std::int64_t backup_time(unsigned image, unsigned images) {
  constexpr std::int64_t k_first = 1602000000;
  constexpr std::int64_t k_span_seconds = 150000000;
  return k_first + k_span_seconds / std::max(images, 1U) * image;
}

class Generator {
 public:
  Generator(const StorageBuilder& storage, const Plan& plan)
      : m_storage(storage), m_plan(plan), m_random(plan.seed) {}

  Generated generate() {
    for (unsigned client = 1; client <= m_plan.clients; ++client) {
      for (unsigned policy = 1; policy <= m_plan.policies; ++policy) {
        make_dir(numbered("client", client), numbered("policy", policy));
      }
    }
    for (unsigned pair = 1; pair <= m_plan.pairs; ++pair) {
      make_half_of_pair(numbered("pair", pair), numbered("PAIR", pair), 0);
      make_half_of_pair(numbered("PAIR", pair), numbered("pair", pair), 2);
    }
    for (auto* lines :
         {&m_generated.scan_lines, &m_generated.orphan_lines, &m_generated.missing_lines}) {
      std::sort(lines->begin(), lines->end());
    }
    return m_generated;
  }

 private:
  void make_dir(const std::string& client, const std::string& policy);
  void make_half_of_pair(const std::string& client, const std::string& other, unsigned first_image);
  void make_image(PolicyDirWriter& dir, const std::string& client, const std::string& policy,
                  std::int64_t time);
  void put_copy(PolicyDirWriter& dir, const std::string& client, std::int64_t time, unsigned copy);
  void expect_orphan(const std::string& client, const std::string& policy, std::int64_t time,
                     unsigned copy);
  void expect_missing(const std::string& client, const std::string& policy, std::int64_t time,
                      unsigned copy);
  Fate draw_fate();
  std::string other_spelling(std::string client);

  const StorageBuilder& m_storage;
  const Plan& m_plan;
  std::mt19937_64 m_random;
  Generated m_generated;
};

void Generator::make_dir(const std::string& client, const std::string& policy) {
  PolicyDirWriter dir(m_storage.policy_dir(client, policy), m_plan.record_bytes, m_plan.seed);
  const std::size_t miscased_before = m_generated.miscased_copies;
  for (unsigned image = 0; image < m_plan.images; ++image) {
    make_image(dir, client, policy, backup_time(image, m_plan.images));
  }
  dir.finish();
  ++m_generated.policy_dirs;
  if (m_generated.miscased_copies != miscased_before) {
    m_generated.scan_lines.push_back("Client " + client + " has name case-sensitivity issues.\n");
  }
}

// One image of the client and one of the other client, where the backup catalog lists it.
void Generator::make_half_of_pair(const std::string& client, const std::string& other,
                                  unsigned first_image) {
  constexpr unsigned k_images_of_pair = 4;
  const std::string policy = numbered("policy", 1);
  PolicyDirWriter dir(m_storage.policy_dir(client, policy), m_plan.record_bytes, m_plan.seed);
  unsigned image = first_image;
  for (const std::string& spelling : {client, other}) {
    const std::int64_t time = backup_time(image++, k_images_of_pair);
    put_copy(dir, spelling, time, 1);
    m_storage.list_image(spelling, policy, time, {1});
    if (spelling == other) expect_missing(other, policy, time, 1);
  }
  dir.finish();
  ++m_generated.policy_dirs;
  ++m_generated.copies;
  ++m_generated.miscased_copies;
  m_generated.scan_lines.push_back("Client " + client + " has name case-sensitivity issues.\n");
}

void Generator::make_image(PolicyDirWriter& dir, const std::string& client,
                           const std::string& policy, std::int64_t time) {
  const std::string spelling = other_spelling(client);
  std::vector<std::uint32_t> listed;
  std::vector<std::uint32_t> listed_miscased;
  for (unsigned copy = 1; copy <= m_plan.copies; ++copy) {
    const Fate fate = draw_fate();
    if (fate == Fate::miscased) {
      put_copy(dir, spelling, time, copy);
      listed_miscased.push_back(copy);
      expect_missing(spelling, policy, time, copy);
      ++m_generated.miscased_copies;
      continue;
    }
    if (fate != Fate::missing) {
      put_copy(dir, client, time, copy);
      ++m_generated.copies;
    }
    if (fate != Fate::orphan) listed.push_back(copy);
    if (fate == Fate::missing) expect_missing(client, policy, time, copy);
    if (fate == Fate::orphan) expect_orphan(client, policy, time, copy);
  }
  m_storage.list_image(client, policy, time, listed);
  m_storage.list_image(spelling, policy, time, listed_miscased);
}

void Generator::put_copy(PolicyDirWriter& dir, const std::string& client, std::int64_t time,
                         unsigned copy) {
  const std::string prefix = client + "_" + std::to_string(time) + "_C" + std::to_string(copy);
  for (const char* rest : {"_F1.img", "_HDR.info"}) {
    dir.put(prefix + rest);
    ++m_generated.pos;
  }
}

void Generator::expect_orphan(const std::string& client, const std::string& policy,
                              std::int64_t time, unsigned copy) {
  m_generated.orphan_lines.push_back("{client: " + client + ", policy: " + policy +
                                     ", backup_time: " + std::to_string(time) +
                                     ", copy_number: " + std::to_string(copy) + "}.\n");
}

void Generator::expect_missing(const std::string& client, const std::string& policy,
                               std::int64_t time, unsigned copy) {
  m_generated.missing_lines.push_back(client + "_" + std::to_string(time) + "|" + client + "|" +
                                      policy + "|" + std::to_string(copy) + "|\n");
}

Fate Generator::draw_fate() {
  const double drawn = std::uniform_real_distribution<double>()(m_random);
  if (drawn < m_plan.miscased_share) return Fate::miscased;
  if (drawn < m_plan.miscased_share + m_plan.orphan_share) return Fate::orphan;
  if (drawn < m_plan.miscased_share + m_plan.orphan_share + m_plan.missing_share) {
    return Fate::missing;
  }
  return Fate::plain;
}

std::string Generator::other_spelling(std::string client) {
  const auto to_upper = [](char c) {
    return static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  };
  const bool whole = m_random() % 2 == 0;
  std::transform(client.begin(), whole ? client.end() : client.begin() + 1, client.begin(),
                 to_upper);
  return client;
}

void write_lines(const boost::filesystem::path& file, const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line;
  write_text(file, text);
}

}  // namespace

Generated generate(const StorageBuilder& storage, const Plan& plan) {
  Generated generated = Generator(storage, plan).generate();
  const boost::filesystem::path dir = storage.root() / "planted";
  write_lines(dir / "scan.txt", generated.scan_lines);
  write_lines(dir / "orphans.txt", generated.orphan_lines);
  write_lines(dir / "missing.txt", generated.missing_lines);
  return generated;
}

}  // namespace sandbox
