#pragma once

#include <functional>
#include <string>

#include "record/findings.h"
#include "tool/storage_paths.h"

// What every program that works on the storage does before its task.
//
// Threads: the main thread, while no other runs.

// Prepares the process: its signals, descriptors, the environment of its children, its name.
void prepare_process(const char* argv0);

// Runs `work` on the storage of the configuration: under its lock, which is held until `work` has
// ended, and with a run log that has noted the arguments. Returns what `work` returns; 1, after a
// message, when another run holds the lock or there is no log directory.
// Errors: Cr_ErrnoException for the configuration; what `work` throws.
int run_on_storage(int argc, char** argv, const std::function<int(const StoragePaths&)>& work);

// Begins the record of the run. Warnings and errors of the run log go into it from then on.
void begin_record(const StoragePaths& storage, int argc, char** argv);

// Notes in run log and record what was asked for, and in the run log the storage: what a run worked on
// is not known from its arguments, since most of it is found.
void log_mode(const std::string& mode, record::Task task, const StoragePaths& storage);

// Whether the product's location exists. Reports it on standard error if not.
bool location_is_there();
