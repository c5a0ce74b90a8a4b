#pragma once

// Checks of --tvr_location. Each reports on standard error why it failed.

// Whether the backup product's location exists.
bool location_is_there();

// Whether the shell can run commands below that location: they are built from it without quotes.
bool location_can_be_run();
