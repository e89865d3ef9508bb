// What most sources of the tool include, compiled once for all of them. No file includes this one.
#pragma once

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "cmake/precompiled/libraries.h"
