#pragma once

#include <functional>

#include <boost/filesystem/path.hpp>

// With --force, stops the services that use the metadata; without, only checks them. Returns whether they
// are stopped. If not, prints the commands that stop them to standard error.
// Errors: Cr_ErrnoException if the state of the services cannot be determined.
bool StopServices(const boost::filesystem::path& tvr_location);

// With --force, starts the services, even if they did not run before. Without, prints the commands that
// start them to standard output.
void StartServices(const boost::filesystem::path& tvr_location);

// Runs `work` and then StartServices, even if the work fails or throws. Returns what `work` returns.
// Errors: those of `work`.
bool then_start_services(const boost::filesystem::path& tvr_location,
                         const std::function<bool()>& work);

// Prints the commands that start the services to standard output.
void print_start_commands(const boost::filesystem::path& tvr_location);
