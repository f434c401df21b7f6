// Test helper: temporary file names that stay apart when several test processes
// run at the same time (ctest -j).
#ifndef TESTS_UNIQUE_NAME_H
#define TESTS_UNIQUE_NAME_H

#include <string>
#include <unistd.h>

inline std::string uniqueName(const char* name) { return "perfdc_" + std::to_string(getpid()) + "_" + name; }

#endif
