#pragma once

#include <string>

struct StoragePaths;

// Whether a repair that did not finish has left the catalog under its work name.
bool catalog_is_aside(const StoragePaths& storage);

// Whether the catalog has its name. Reports it on standard error if not.
bool catalog_is_there(const StoragePaths& storage);

// Where the catalog is then and how it gets back, as one line. `services_are_down` is false where they
// are known to run.
std::string catalog_aside_text(const StoragePaths& storage, bool services_are_down = true);
