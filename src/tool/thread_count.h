#pragma once

// The worker threads to use: as many as were asked for, or as the limit of open files carries. Fewer
// are a warning in the run log.
unsigned thread_count();
