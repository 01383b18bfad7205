// The command lines of the benchmark programs: one way to name folders of models, one way to fail.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "bench/problem_files.hpp"

namespace bench {

inline constexpr int wrongUsage = 64;

/// What every program that reads models takes: their folders, and perhaps one model's name.
struct ModelArguments {
    std::vector<std::string> folders;
    std::string only;

    [[nodiscard]] bool wants(const std::string& name) const { return only.empty() || only == name; }
};

/// Calls visit(file) for every model that is wanted, folder by folder.
template <class Visit>
void visitModels(const ModelArguments& arguments, Visit visit) {
    for (const std::string& folder : arguments.folders)
        for (const ProblemFile& file : listProblems(folder))
            if (arguments.wants(file.name)) visit(file);
}

inline CLI::Option* addFolders(CLI::App& app, ModelArguments& arguments) {
    app.add_option("--only", arguments.only, "the one model or grid to run")->type_name("NAME");
    return app.add_option("FOLDER", arguments.folders, "folders of MPS or QPS models")
        ->check(CLI::ExistingDirectory);
}

/// 0 to go on, otherwise the program's exit status plus one: help has been asked for and printed,
/// or what is wrong has been told.
inline int readArguments(CLI::App& app, int argc, char** argv) {
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& request) {
        return app.exit(request) + 1;
    } catch (const CLI::ParseError& error) {
        app.exit(error);
        return wrongUsage + 1;
    }
    return 0;
}

}  // namespace bench
