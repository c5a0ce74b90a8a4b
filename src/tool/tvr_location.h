#pragma once

// Whether commands below the backup product's location can be run: they are built from it as it
// stands, unquoted. Standard error is told when they cannot.
bool location_can_be_run();
