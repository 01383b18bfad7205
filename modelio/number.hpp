// Numbers of model files: strict reading, the same in every locale.
#pragma once

#include <string_view>

namespace ov::modelio {

enum class NumberKind { Finite, Infinite, Malformed };

/// Reads the whole of `text` as a decimal number: `12`, `-.5`, `1.e-3`, `2.5D+01` (Fortran's
/// exponent), `inf`, `-Infinity`. Too large a number is Infinite with its sign, too small a one is
/// Finite with the value 0. NaN, hexadecimal and anything left over are Malformed.
[[nodiscard]] NumberKind readNumber(std::string_view text, double& value);

}  // namespace ov::modelio
