// The bytes of a model: a plain or gzip-compressed file, or standard input.
#pragma once

#include <cstdint>
#include <string>

namespace ov::modelio {

/// Guards against input that would eat the machine.
struct TextLimits {
    std::int64_t maxBytes = std::int64_t{4} << 30;
    /// A compressed file that has grown past `ratioFrom` bytes may not exceed `maxRatio` times its
    /// size: models compress 3 to 50 times, only a file made to burst compresses 500 times.
    std::int64_t ratioFrom = std::int64_t{64} << 20;
    std::int64_t maxRatio = 500;
};

/// The name by which messages call `path`: itself, or `<stdin>` for `-`.
[[nodiscard]] std::string displayName(const std::string& path);

/// Reads all of `path` (`-` is standard input), decompressing when it is gzip.
/// Throws ReadError: NoSuchFile, or Invalid for anything else that fails.
[[nodiscard]] std::string loadText(const std::string& path, const TextLimits& limits = {});

}  // namespace ov::modelio
