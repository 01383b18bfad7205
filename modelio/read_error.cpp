#include "modelio/read_error.hpp"

#include <algorithm>

namespace ov::modelio {
namespace {

constexpr std::size_t kMaxWarnings = 100;
constexpr std::size_t kMaxQuoted = 64;  // longer names would push the reason off the screen

std::string message(std::string_view file, std::int64_t line, std::string_view reason) {
    std::string text(file);
    if (line > 0) text.append(":").append(std::to_string(line));
    return text.append(": ").append(reason);
}

}  // namespace

ReadError::ReadError(Kind kind, std::string_view file, std::int64_t line, std::string_view reason)
    : std::runtime_error(message(file, line, reason)), kind_(kind), line_(line), reason_(reason) {}

std::string quoted(std::string_view name) {
    std::string text = "'";
    for (const char c : name.substr(0, kMaxQuoted)) {
        const auto byte = static_cast<unsigned char>(c);
        text.push_back(byte < 0x20 || byte == 0x7f ? '?' : c);
    }
    if (name.size() > kMaxQuoted) text += "...";
    return text + "'";
}

void Reporter::failAt(std::int64_t where, std::string_view reason) const {
    throw ReadError(ReadError::Kind::Invalid, file_, where, reason);
}

void Reporter::warnAt(std::int64_t where, std::string text) {
    if (warnings_.size() < kMaxWarnings)
        warnings_.push_back({where, std::move(text)});
    else
        ++dropped_;
}

std::vector<Warning> Reporter::takeWarnings() {
    std::stable_sort(warnings_.begin(), warnings_.end(),
                     [](const Warning& a, const Warning& b) { return a.line < b.line; });
    if (dropped_ > 0)
        warnings_.push_back({0, "and " + std::to_string(dropped_) + " more warnings"});
    dropped_ = 0;
    return std::move(warnings_);
}

}  // namespace ov::modelio
