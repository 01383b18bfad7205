// One data line of a model file, cut into its fields: the place where fixed and free format differ.
#pragma once

#include <string_view>

#include "modelio/read_error.hpp"

namespace ov::modelio {

enum class Layout { Free, Fixed };

/// What a section's data lines consist of.
enum class LineShape {
    Row,     ///< code name
    Matrix,  ///< name key value [key value]
    Vector,  ///< [set] key value [key value]
    Bound,   ///< code [set] key [value]
    Words    ///< one word, in the field of the name
};

/// `code` is the row sense or bound type, `name` the row, column or set (a set may be blank).
struct Fields {
    std::string_view code;
    std::string_view name;
    std::string_view key[2];
    std::string_view value[2];
    int numPairs = 0;
};

/// Bound types that stand without a number.
[[nodiscard]] bool isValueless(std::string_view boundType);

/// Cuts `line`, which holds no line end. Free format separates by blanks, so that a blank set name
/// shows in the count of the fields alone; fixed format goes by columns: 2-3, 5-12, 15-22, 25-36,
/// 40-47, 50-61, names may hold blanks. Fails through `report`.
[[nodiscard]] Fields splitLine(std::string_view line, Layout layout, LineShape shape,
                               const Reporter& report);

/// First word of `text`, which is shortened by it; empty at the end.
[[nodiscard]] std::string_view takeWord(std::string_view& text);

}  // namespace ov::modelio
