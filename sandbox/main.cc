#include <cctype>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>

#include <boost/program_options.hpp>

#include "config/version.h"
#include "sandbox/generator.h"
#include "sandbox/list_pos.h"
#include "sandbox/storage_builder.h"

namespace {

namespace po = boost::program_options;

constexpr const char* k_usage =
    "Usage: mdfixup-sandbox create DIR [OPTION]...\n"
    "       mdfixup-sandbox list CATALOG\n"
    "create: makes a whole storage in the new directory DIR, with a simulated backup product, for\n"
    "mdfixup to be tried on. Prints what was planted, which a run must report.\n"
    "list: prints every path object below the directory CATALOG, with all that is stored of it.\n";

po::options_description describe(sandbox::Plan& plan) {
  po::options_description options("Options");
  auto add = options.add_options();
  add("clients", po::value(&plan.clients)->default_value(plan.clients), "clients");
  add("policies", po::value(&plan.policies)->default_value(plan.policies), "policies a client");
  add("images", po::value(&plan.images)->default_value(plan.images), "images a policy");
  add("copies", po::value(&plan.copies)->default_value(plan.copies), "copies an image");
  add("pairs", po::value(&plan.pairs)->default_value(plan.pairs),
      "pairs of clients whose directories hold each other's POs, beside the others");
  add("record_bytes", po::value(&plan.record_bytes)->default_value(plan.record_bytes),
      "bytes of each PO's record");
  add("miscased", po::value(&plan.miscased_share)->default_value(plan.miscased_share, "0.05"),
      "share of the copies that stand under another spelling of the client's name");
  add("orphans", po::value(&plan.orphan_share)->default_value(plan.orphan_share, "0.05"),
      "share of the copies that the backup catalog no longer has");
  add("missing", po::value(&plan.missing_share)->default_value(plan.missing_share, "0.05"),
      "share of the copies that only the backup catalog has");
  add("seed", po::value(&plan.seed)->default_value(plan.seed), "seed of all that is random");
  add("version", "print the version");
  add("help", "show this help");
  return options;
}

// The library would turn a negative count into a huge one.
void refuse_negative_values(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    const std::size_t value = word.rfind("--", 0) == 0 ? word.find('=') + 1 : 0;
    if (word.size() > value + 1 && word[value] == '-' && std::isdigit(word[value + 1]) != 0) {
      throw std::invalid_argument("the value in '" + word + "' is negative");
    }
  }
}

void check(const sandbox::Plan& plan) {
  constexpr std::size_t k_most = 10000000;
  for (const std::size_t count :
       {std::size_t{plan.clients}, std::size_t{plan.policies}, std::size_t{plan.images},
        std::size_t{plan.copies}, std::size_t{plan.pairs}, plan.record_bytes}) {
    if (count > k_most) throw std::invalid_argument("a count must be at most 10000000");
  }
  const double shares[] = {plan.miscased_share, plan.orphan_share, plan.missing_share};
  double sum = 0;
  for (const double share : shares) {
    // Written so that it is true for NaN too.
    if (!(share >= 0 && share <= 1)) throw std::invalid_argument("a share must be from 0 to 1");
    sum += share;
  }
  if (sum > 1) throw std::invalid_argument("the shares add up to more than 1");
}

void print(const sandbox::StorageBuilder& storage, const sandbox::Generated& generated) {
  const std::string root = storage.root().string();
  const std::string mdfixup = "  mdfixup --tvr_location " + storage.product().string() + " ";
  std::cout << "Storage:               " << root << "\n"
            << "Policy directories:    " << generated.policy_dirs << "\n"
            << "POs:                   " << generated.pos << "\n"
            << "Image copies:          " << generated.copies << ", and "
            << generated.miscased_copies << " under another spelling of their client's name\n"
            << "A scan reports:        " << generated.scan_lines.size()
            << " policy directories (planted/scan.txt)\n"
            << "A dry run reports:     " << generated.orphan_lines.size()
            << " orphan copies (planted/orphans.txt)\n"
            << "                       " << generated.missing_lines.size()
            << " missing copies (planted/missing.txt), with the miscased ones,\n"
            << "                       which the backup catalog lists under their own spelling\n"
            << "To try:\n"
            << "  export KSREGISTRY=" << storage.registry_file().string() << "\n"
            << mdfixup << "--scan_client_name_case\n"
            << mdfixup << "--FORCE_DEDUPE_METADATA_CONSISTENCY --dry_run --num_threads 4\n"
            << mdfixup << "--repair_client_name_case\n"
            << mdfixup << "--FORCE_DEDUPE_METADATA_CONSISTENCY\n";
}

int run(int argc, char** argv) {
  sandbox::Plan plan;
  const po::options_description visible = describe(plan);
  po::options_description all;
  all.add(visible).add_options()("command", po::value<std::string>())("dir",
                                                                      po::value<std::string>());
  po::positional_options_description words;
  words.add("command", 1).add("dir", 1);
  refuse_negative_values(argc, argv);
  po::variables_map given;
  po::store(po::command_line_parser(argc, argv).options(all).positional(words).run(), given);
  po::notify(given);
  if (given.count("help") != 0) {
    std::cout << k_usage << visible;
    return 0;
  }
  if (given.count("version") != 0) {
    std::cout << version_text("mdfixup-sandbox");
    return 0;
  }
  const bool complete = given.count("dir") != 0;
  const std::string command = complete ? given["command"].as<std::string>() : "";
  if (command == "create") {
    check(plan);
    const sandbox::StorageBuilder storage(given["dir"].as<std::string>());
    print(storage, sandbox::generate(storage, plan));
    return 0;
  }
  if (command == "list") {
    for (const std::string& line : sandbox::list_pos(given["dir"].as<std::string>())) {
      std::cout << line << "\n";
    }
    return 0;
  }
  std::cerr << k_usage << visible;
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const std::exception& error) {
    std::cerr << std::string("mdfixup-sandbox: ") + error.what() + "\n";
    return 1;
  }
}
