// Reading a model: the door of this folder.
#pragma once

#include <string>
#include <string_view>

#include "modelio/model_data.hpp"
#include "modelio/read_error.hpp"

namespace ov::modelio {

/// Reads an MPS or QPS model, fixed or free format, plain or gzip-compressed; `-` is standard
/// input. Throws ReadError, whose text names the file, the line and the reason.
[[nodiscard]] ModelData readModel(const std::string& path);

/// The same for text in memory; `file` is the name for messages.
[[nodiscard]] ModelData readModelText(std::string_view text, std::string_view file);

}  // namespace ov::modelio
