#include "modelio/number.hpp"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string>

namespace ov::modelio {
namespace {

NumberKind outOfRange(std::string_view text, double& value) {
    // The decimal exponent decides between overflow and underflow; strtod knows both, and the
    // locale cannot mislead it about the result's size.
    value = std::strtod(std::string(text).c_str(), nullptr);
    return std::isinf(value) ? NumberKind::Infinite : NumberKind::Finite;
}

NumberKind readPlain(std::string_view text, double& value) {
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (stop != end) return NumberKind::Malformed;
    if (error == std::errc::result_out_of_range) return outOfRange(text, value);
    if (error != std::errc() || std::isnan(value)) return NumberKind::Malformed;
    return std::isinf(value) ? NumberKind::Infinite : NumberKind::Finite;
}

}  // namespace

NumberKind readNumber(std::string_view text, double& value) {
    value = 0.0;
    if (!text.empty() && text.front() == '+') {
        text.remove_prefix(1);
        if (!text.empty() && text.front() == '-') return NumberKind::Malformed;
    }
    if (text.empty()) return NumberKind::Malformed;
    const std::size_t exponent = text.find_first_of("Dd");
    if (exponent == std::string_view::npos) return readPlain(text, value);
    if (text.find_first_of("eE") != std::string_view::npos) return NumberKind::Malformed;
    std::string copy(text);
    copy[exponent] = 'e';
    return readPlain(copy, value);
}

}  // namespace ov::modelio
