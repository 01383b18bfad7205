// The sections of an MPS/QPS file in their order, for one layout of the lines.
#pragma once

#include <string_view>

#include "modelio/fields.hpp"
#include "modelio/model_data.hpp"

namespace ov::modelio {

/// Parses a whole model. `file` is the name for messages. Throws ReadError.
[[nodiscard]] ModelData parseMps(std::string_view text, std::string_view file, Layout layout);

}  // namespace ov::modelio
