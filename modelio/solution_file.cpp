#include "modelio/solution_file.hpp"

#include <fmt/format.h>

#include <string>

namespace ov::modelio {
namespace {

constexpr std::size_t kFlushAt = std::size_t{1} << 16;

class Writer {
public:
    explicit Writer(std::FILE* file) : file_(file) {}

    template <class... Args>
    void line(fmt::format_string<Args...> format, Args&&... args) {
        fmt::format_to(std::back_inserter(buffer_), format, std::forward<Args>(args)...);
        buffer_.push_back('\n');
        if (buffer_.size() >= kFlushAt) flush();
    }

    bool finish() {
        flush();
        return good_ && std::fflush(file_) == 0;
    }

private:
    void flush() {
        good_ = good_ && std::fwrite(buffer_.data(), 1, buffer_.size(), file_) == buffer_.size();
        buffer_.clear();
    }

    std::FILE* file_;
    fmt::memory_buffer buffer_;
    bool good_ = true;
};

void writeTable(Writer& writer, const std::vector<std::string>& names,
                const std::vector<double>& first, const std::vector<double>& second) {
    for (std::size_t i = 0; i < names.size(); ++i)
        writer.line("{} {:.17g} {:.17g}", names[i], first[i], second[i]);
}

}  // namespace

bool writeSolution(std::FILE* file, const ModelData& model, const SolutionView& solution) {
    Writer writer(file);
    writer.line("# ovsolve solution");
    writer.line("status {}", solution.status);
    writer.line("objective {:.17g}", solution.objective);
    writer.line("columns {}", model.numCol);
    writeTable(writer, model.colName, solution.value, solution.reducedCost);
    writer.line("rows {}", model.numRow);
    writeTable(writer, model.rowName, solution.activity, solution.dual);
    return writer.finish();
}

}  // namespace ov::modelio
