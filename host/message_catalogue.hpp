// The English texts of the module's numbered messages.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <string>

#include "host/host.hpp"

namespace ov {

/// One message. `arguments` has a letter per argument: i a 32-bit integer, d a double. `text` is a
/// format of std::format's form that takes them in order.
struct CatalogueEntry {
    std::uint32_t id;
    const char* arguments;
    const char* text;
};

/// Null for an id that the catalogue does not hold.
const CatalogueEntry* findMessage(std::uint32_t id);
const CatalogueEntry* firstMessage();
std::size_t numMessages();

/// What a line of the given message level is.
LineKind kindOfLevel(std::int32_t level);

/// The line of a message. Warnings and errors begin with WARNING: or ERROR:, and a line of the
/// iteration table ends with `elapsedSeconds`. An unknown id is rendered with its number.
std::string renderMessage(std::int32_t level, std::uint32_t id, double elapsedSeconds,
                          std::va_list arguments);

}  // namespace ov
