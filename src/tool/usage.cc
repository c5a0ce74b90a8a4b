#include "tool/usage.h"

#include "console/standard_streams.h"
#include "tool/option_table.h"

namespace {

// Scripts match this text, so its wording faults stay.
constexpr const char* k_usage =
    R"(This utility can be run on a Tavrin Media Server to perform certain tasks
(listed below) with respect to the metadata stored in the deduplication
database.

The default action (if no flags are provided) is to show this help message

)"
    "Client name case-sensitivity options: \n"
    R"(     --scan_client_name_case
         Scan for client name case-sensitivity mismatches in the metadata.
         If mismatches are found, the offending client names are written
         to stdout and to a log file.
         Note: this scanning does not modify the deduplication database
               and it may be run at any time.
     --repair_client_name_case
         Note: this option requires stopping services on the media server
               that is associated with the deduplication storage that is
               to be repaired.
         Repair client name case sensitivity issues in the metadata.
     --force
         Optional argument to --repair_client_name_case to automatically
         start and stop tvsvcwatch and the deduplication services.

)"
    "Deduplication metadata consistency options: \n"
    R"(     --FORCE_DEDUPE_METADATA_CONSISTENCY
         Deletes the metadata for all images stored on this deduplication
         storage unit that do not have a corresponding image in the Tavrin
         catalog.
         NOTE: deleted images cannot be recovered!
         This option is for metadata Disaster Recovery.
     --FORCE_CONSISTENCY_ALL_IMAGE [default: false]
         Force the deduplication metadata to be consistent with the Tavrin
         catalog even there are images waiting to be imported.
         NOTE: This option is not recommended, deleted images cannot be recovered!
         This option is works together with FORCE_DEDUPE_METADATA_CONSISTENCY.
     --num_threads [default: 1]
         Optional argument to use multiple threads to
         reduce the real time needed to complete the process
     --catalog_backup_time [default: 0]
         Optional argument to be able to correctly identify
         missing images for those client and policy name pairs
         that do not have an entry in the current dedupe metadata.
         NOTE: the value of 0 means that this option will be ignored.
     --dry_run [default: false]
         Optional argument to show image info for the orphan images,
         and does not actually delete the images.
     --tvr_disk_pool [default: N/A]
         Specify the Tavrin disk pool name configured for this server.
         This option must be used when the disk pool name cannot be determined
         from the hostname, for example, Tavrin Nimbrel.

     -h --help        show this help
)";

}  // namespace

void Usage() {
  console::print("Usage: " + progname + " [OPTION]...\n" + k_usage);
}
