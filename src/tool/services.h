#pragma once

#include <functional>

#include <boost/filesystem/path.hpp>

// Stops the services that use the metadata, when --force was given; otherwise only looks. True when
// they are stopped. Tells standard error which commands to type when they are not.
// Errors: Cr_ErrnoException when it cannot be found out.
bool StopServices(const boost::filesystem::path& tvr_location);

// Starts the services, when --force was given; otherwise tells standard output which commands to
// type. Whether they ran before is not remembered.
void StartServices(const boost::filesystem::path& tvr_location);

// Does work for which the services were stopped, and then starts them or asks for it, whatever happened.
// Returns what the work does. Errors: those of the work.
bool then_start_services(const boost::filesystem::path& tvr_location,
                         const std::function<bool()>& work);

// Prints the commands that start the services to standard output.
void print_start_commands(const boost::filesystem::path& tvr_location);
