#pragma once

#include <functional>
#include <string>

#include "record/findings.h"
#include "tool/storage_paths.h"

// What every program that works on the storage does before its task.
//
// Threads: the main thread, while no other runs.

// Prepares the process: its signals, its descriptors, the environment of its children, `progname`.
void prepare_process(const char* argv0);

// Runs `work` on the configured storage, with the storage's lock held and the run log open. Returns
// what `work` returns; or 1, after a message, if another run holds the lock or there is no log
// directory.
// Errors: Cr_ErrnoException for the configuration; those of `work`.
int run_on_storage(int argc, char** argv, const std::function<int(const StoragePaths&)>& work);

// Begins the record of the run. Later warnings and errors of the run log go into it too.
void begin_record(const StoragePaths& storage, int argc, char** argv);

// Notes the task in run log and record, and the storage in the run log: the arguments do not name
// it.
void log_mode(const std::string& mode, record::Task task, const StoragePaths& storage);
