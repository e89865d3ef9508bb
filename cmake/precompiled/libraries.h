// What most sources of the libraries include, compiled once for all of them. No file includes this one.
#pragma once

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "ostra/core/format.h"
#include "ostra/core/hash_map.h"
#include "ostra/core/source_message.h"
#include "ostra/math/vector.h"
#include "ostra/object/interface.h"
