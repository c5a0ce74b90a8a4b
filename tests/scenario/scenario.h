#pragma once

#include <gtest/gtest.h>

#include <boost/algorithm/string.hpp>
#include <boost/filesystem/operations.hpp>

#include "tests/support/scene.h"

// Whole runs of the program, a namespace for each file, and what all of them use.
namespace scenario {

namespace fs = boost::filesystem;
using boost::algorithm::contains;
using boost::algorithm::ends_with;
using boost::algorithm::starts_with;
using support::Ended;
using support::lines_beginning;
using support::Scene;
using support::Words;

}  // namespace scenario
