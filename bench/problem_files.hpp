// The model files of a folder with their published optima, for the benchmark programs.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "cli/model_problem.hpp"
#include "host/ov.hpp"
#include "modelio/read_model.hpp"

namespace bench {

struct ProblemFile {
    std::string name, path;
    bool hasOptimum = false;
    double optimum = 0;
};

/// Column `optimum` of optima.tsv by problem name; empty when the folder has none.
inline std::map<std::string, double> readOptima(const std::filesystem::path& folder) {
    std::map<std::string, double> optima;
    std::ifstream file(folder / "optima.tsv");
    std::string line;
    std::getline(file, line);
    while (std::getline(file, line)) {
        std::istringstream fields(line);
        std::string name, field;
        std::getline(fields, name, '\t');
        while (std::getline(fields, field, '\t')) {
        }
        char* end = nullptr;
        const double value = std::strtod(field.c_str(), &end);
        if (end != field.c_str()) optima[name] = value;
    }
    return optima;
}

/// The models of `folder` in the order of their names. The name is the file's up to its first dot.
inline std::vector<ProblemFile> listProblems(const std::filesystem::path& folder) {
    const std::map<std::string, double> optima = readOptima(folder);
    std::vector<ProblemFile> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::string file = entry.path().filename().string();
        if (file.find(".QPS") == std::string::npos && file.find(".mps") == std::string::npos &&
            file.find(".qps") == std::string::npos && file.find(".MPS") == std::string::npos)
            continue;
        ProblemFile problem{file.substr(0, file.find('.')), entry.path().string()};
        if (const auto at = optima.find(problem.name); at != optima.end()) {
            problem.hasOptimum = true;
            problem.optimum = at->second;
        }
        files.push_back(problem);
    }
    std::sort(files.begin(), files.end(),
              [](const ProblemFile& a, const ProblemFile& b) { return a.name < b.name; });
    return files;
}

using ov::cli::toProblem;

}  // namespace bench
