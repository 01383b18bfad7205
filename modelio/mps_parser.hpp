// The sections of an MPS/QPS file in their order, for one layout of the lines.
#pragma once

#include <cstdint>
#include <string_view>

#include "modelio/fields.hpp"
#include "modelio/model_data.hpp"

namespace ov::modelio {

/// Parses a whole model. `file` is the name for messages. Throws ReadError; `lastLine` tells then
/// how far the parser came, which may be beyond the line of the error.
[[nodiscard]] ModelData parseMps(std::string_view text, std::string_view file, Layout layout,
                                 std::int64_t& lastLine);

}  // namespace ov::modelio
