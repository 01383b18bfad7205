// Why a model could not be read: the one exception of this folder, and the reporter that raises it.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "modelio/model_data.hpp"

namespace ov::modelio {

/// `what()` reads `file:line: reason`, or `file: reason` when no line can be named.
class ReadError : public std::runtime_error {
public:
    enum class Kind { NoSuchFile, Invalid };

    ReadError(Kind kind, std::string_view file, std::int64_t line, std::string_view reason);

    [[nodiscard]] Kind kind() const { return kind_; }
    [[nodiscard]] std::int64_t line() const { return line_; }
    [[nodiscard]] const std::string& reason() const { return reason_; }

private:
    Kind kind_;
    std::int64_t line_;
    std::string reason_;
};

/// A name from the model in quotes, fit for a terminal: cut when long, control bytes as '?'.
[[nodiscard]] std::string quoted(std::string_view name);

/// Knows the file and the current line while a model is parsed.
class Reporter {
public:
    explicit Reporter(std::string_view file) : file_(file) {}

    std::int64_t line = 0;

    [[noreturn]] void fail(std::string_view reason) const { failAt(line, reason); }
    [[noreturn]] void failAt(std::int64_t where, std::string_view reason) const;
    void warn(std::string text) { warnAt(line, std::move(text)); }
    /// At most a hundred warnings are kept; the rest is counted in one last line.
    void warnAt(std::int64_t where, std::string text);
    [[nodiscard]] std::vector<Warning> takeWarnings();

private:
    std::string file_;
    std::vector<Warning> warnings_;
    std::int64_t dropped_ = 0;
};

}  // namespace ov::modelio
